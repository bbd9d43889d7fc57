// Opening a recording, ending it, and the end of a recorder.
#include "plugin/recorder/handlers.h"

void EndRecording(PICTData& data) {
  if (data.isOpen == 0) return;
  quickdraw::ClosePicture();
  data.isOpen = 0;
}

void DropPicture(PICTData& data) {
  if (data.PicHandle == nullptr) return;
  EndRecording(data);
  quickdraw::KillPicture(data.PicHandle);
  data.PicHandle = nullptr;
}

void PICTConstructor(REALobjectStruct*) {}

void PICTDestructor(REALobjectStruct* object) { DropPicture(DataOf(object)); }

void CreatePicture(REALobjectStruct* object, std::int32_t width, std::int32_t height) {
  PICTData& data = DataOf(object);
  const quickdraw::SavedWorld saved;
  quickdraw::BlackOnWhite();
  const OpenCPicParams params = PictureParams(width, height);
  const PicHandle picture = quickdraw::OpenCPicture(&params);
  if (picture == nullptr) return;  // the earlier picture stays as it was, open or finished
  const PICTData earlier = data;
  data.Width = width;
  data.Height = height;
  data.isOpen = 1;
  data.PicHandle = picture;
  // An earlier recording is open on a port that nobody can name any more. Closing would end the picture of the current
  // port, and that port would go on writing into a destroyed one, so it is given up.
  if (earlier.PicHandle != nullptr && earlier.isOpen == 0) quickdraw::KillPicture(earlier.PicHandle);
}

void rbClosePicture(REALobjectStruct* object) {
  PICTData& data = DataOf(object);
  if (data.PicHandle != nullptr) EndRecording(data);
}
