// The handlers behind the rows of `PICTMethods`, and what they share.
#pragma once

#include "plugin/host/host.h"
#include "plugin/quickdraw/quickdraw.h"
#include "plugin/recorder/recorder.h"

// The place of the data is the host's to choose; the record that it was written into is read anew on each call.
inline PICTData& DataOf(REALobjectStruct* object) {
  return *reinterpret_cast<PICTData*>(reinterpret_cast<char*>(object) + PICTClass.dataOffset);
}
inline bool HasPicture(REALobjectStruct* object) { return DataOf(object).PicHandle != nullptr; }

// Ends the recording if one is open. ClosePicture names no port: it closes the picture of the current one.
void EndRecording(PICTData& data);
// Ends the recording and destroys the picture, if there is one.
void DropPicture(PICTData& data);

// lifecycle.cpp
void CreatePicture(REALobjectStruct* object, std::int32_t width, std::int32_t height);
void rbClosePicture(REALobjectStruct* object);

// transfer.cpp
REALstringStruct* GetPicHandleDataS(REALobjectStruct* object);
void SetPicHandleDataS(REALobjectStruct* object, REALstringStruct* string);
REALmemoryBlockStruct* GetPicHandleDataM(REALobjectStruct* object);
void SetPicHandleDataM(REALobjectStruct* object, REALmemoryBlockStruct* block);
REALpictureStruct* ReturnPichandlePicture(REALobjectStruct* object);

// playback.cpp
void rbDrawpicture(REALobjectStruct* object, REALgraphicsStruct* graphics, std::int32_t x, std::int32_t y,
                   std::int32_t w, std::int32_t h);
void rbDrawpictureG(REALobjectStruct* object, std::int32_t world, std::int32_t x, std::int32_t y, std::int32_t w,
                    std::int32_t h);
std::int32_t rbCopyPicture(REALobjectStruct* object);

// text.cpp
void rbMacDrawText(REALobjectStruct* object, REALstringStruct* string);
void rbMacDrawTextXY(REALobjectStruct* object, REALstringStruct* string, std::int32_t x, std::int32_t y);
std::int32_t rbTextWidth(REALobjectStruct* object, REALstringStruct* string);
