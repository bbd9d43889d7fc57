// The handlers behind the rows of `pictureMethods`, and what they share.
#pragma once

#include "plugin/host/host.h"
#include "plugin/quickdraw/quickdraw.h"

// export.cpp
REALpictureStruct* PichandlePicture(REALpictureStruct* picture);
REALstringStruct* PichandlePictureData(REALpictureStruct* picture);

// pixels.cpp
REALmemoryBlockStruct* CopyPixelsAsMemoryBlock(REALpictureStruct* picture);
void SetPixelsAsMemoryBlock(REALpictureStruct* picture, REALmemoryBlockStruct* block);
std::int32_t GetGWorldRowbytes(REALpictureStruct* picture);

// copies.cpp
bool FastDrawPicture10(REALpictureStruct* destination, REALpictureStruct* source, int sLeft, int sTop, int sWidth,
                       int sHeight, int dLeft, int dTop, int dWidth, int dHeight, int mode);
bool FastDrawPictureMask10(REALpictureStruct* destination, REALpictureStruct* source, REALpictureStruct* mask,
                           int sLeft, int sTop, int sWidth, int sHeight, int dLeft, int dTop, int dWidth, int dHeight);

// The host's description of a picture, which stays locked until `unlock`. Reads as a picture of no kind where the host
// can't fill it.
struct LockedDescription : REALpictureDescription {
  explicit LockedDescription(REALpictureStruct* of) : picture(of) { host::REALLockPictureDescription(picture, this); }
  // Not a destructor: several pictures are unlocked in the order in which they were locked.
  void unlock() { host::REALUnlockPictureDescription(picture); }

  bool isPICT() const { return pictureKind == kPictureKindPICT; }
  bool isGWorld() const { return pictureKind == kPictureKindGWorld; }
  PicHandle pict() const { return static_cast<PicHandle>(pictureData); }
  GWorldPtr world() const { return static_cast<GWorldPtr>(pictureData); }

  REALpictureStruct* picture;
};
