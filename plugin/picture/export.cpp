// A picture of any kind as a PICT: one that is a PICT passes through, any other is drawn into a new recording.
#include "plugin/host/exchange.h"
#include "plugin/picture/handlers.h"

namespace {

// Records the picture on the current port, which keeps the colours set here. Null if no recording could be opened.
PicHandle Record(const LockedDescription& description) {
  quickdraw::BlackOnWhite();
  const OpenCPicParams params = PictureParams(description.width, description.height);
  const PicHandle pict = quickdraw::OpenCPicture(&params);
  if (pict == nullptr) return nullptr;
  host::REALDrawPicturePrimitive(description.picture, &params.srcRect, 0);
  quickdraw::ClosePicture();
  return pict;
}

REALstringStruct* BytesOf(PicHandle pict) {
  const auto handle = reinterpret_cast<Handle>(pict);
  if (handle == nullptr) return nullptr;
  HLock(handle);
  const char* bytes = *handle;
  REALstringStruct* string = BuildByteString(bytes, GetHandleSize(handle));
  HUnlock(handle);
  return string;
}

}  // namespace

REALpictureStruct* PichandlePicture(REALpictureStruct* picture) {
  if (picture == nullptr) return nullptr;
  LockedDescription description(picture);
  description.unlock();  // only the values are needed; the picture is drawn unlocked

  if (description.isPICT()) {
    host::REALLockObject(reinterpret_cast<REALobjectStruct*>(picture));
    return picture;
  }
  const PicHandle pict = Record(description);
  return pict != nullptr ? host::REALBuildPictureFromPicHandle(pict, 1) : nullptr;
}

REALstringStruct* PichandlePictureData(REALpictureStruct* picture) {
  if (picture == nullptr) return nullptr;
  LockedDescription description(picture);

  REALstringStruct* string = nullptr;
  if (description.isPICT()) {
    string = BytesOf(description.pict());
  } else if (const PicHandle pict = Record(description)) {
    string = BytesOf(pict);
    quickdraw::KillPicture(pict);
  }
  description.unlock();
  return string;
}
