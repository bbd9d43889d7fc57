// The picture's bytes, out and in, and the picture itself, out. The bytes are what the handle holds, neither parsed nor
// changed.
#include <cstring>

#include "plugin/host/exchange.h"
#include "plugin/host/strings.h"
#include "plugin/recorder/handlers.h"

namespace {

// What `build` makes of the bytes of the recorder's picture, or null. A recording goes on.
template <class Result>
Result* GetBytes(REALobjectStruct* object, Result* (*build)(const char* bytes, std::int32_t size)) {
  const auto handle = reinterpret_cast<Handle>(DataOf(object).PicHandle);
  if (handle == nullptr) return nullptr;
  const std::int32_t size = GetHandleSize(handle);
  if (size < 1) return nullptr;
  HLock(handle);
  Result* result = build(*handle, size);
  HUnlock(handle);
  return result;
}

REALmemoryBlockStruct* BuildBlock(const char* bytes, std::int32_t size) { return REALBuildMemoryblock(bytes, size); }

// A new handle with a copy of the bytes, or null.
Handle CopyToHandle(const rbByteView& view) {
  if (view.length == 0 || view.bytes == nullptr) return nullptr;
  const Handle handle = NewHandle(view.length);
  if (handle == nullptr) return nullptr;
  HLock(handle);
  if (*handle != nullptr) std::memcpy(*handle, view.bytes, static_cast<std::size_t>(view.length));
  HUnlock(handle);
  return handle;
}

// The old picture goes before the new value is looked at: nil or no bytes clear the recorder.
template <class Value>
void SetBytes(REALobjectStruct* object, Value* value) {
  PICTData& data = DataOf(object);
  DropPicture(data);
  data.isOpen = 0;  // also where host code took the handle of an open picture away
  Handle handle = nullptr;
  {
    const rbByteView view(value);
    handle = CopyToHandle(view);
  }
  data.PicHandle = reinterpret_cast<PicHandle>(handle);
}

}  // namespace

REALstringStruct* GetPicHandleDataS(REALobjectStruct* object) { return GetBytes(object, BuildByteString); }
REALmemoryBlockStruct* GetPicHandleDataM(REALobjectStruct* object) { return GetBytes(object, BuildBlock); }
void SetPicHandleDataS(REALobjectStruct* object, REALstringStruct* string) { SetBytes(object, string); }
void SetPicHandleDataM(REALobjectStruct* object, REALmemoryBlockStruct* block) { SetBytes(object, block); }

REALpictureStruct* ReturnPichandlePicture(REALobjectStruct* object) {
  PICTData& data = DataOf(object);
  if (data.PicHandle == nullptr) return nullptr;
  EndRecording(data);
  REALpictureStruct* picture = host::REALBuildPictureFromPicHandle(data.PicHandle, 1);
  data.PicHandle = nullptr;
  return picture;
}
