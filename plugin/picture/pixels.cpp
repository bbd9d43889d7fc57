// The raw pixels of a picture that is stored in a GWorld.
#include <cstring>

#include "plugin/host/exchange.h"
#include "plugin/picture/handlers.h"

namespace {

// Calls `transfer` with the address of the pixels and their number of bytes, while they are locked.
template <class Transfer>
void ReachPixels(const LockedDescription& description, Transfer transfer) {
  if (!description.isGWorld()) return;
  const PixMapHandle pixels = quickdraw::GetGWorldPixMap(description.world());
  if (pixels == nullptr || quickdraw::LockPixels(pixels) == 0) return;
  const std::int32_t rowBytes = quickdraw::GetPixRowBytes(pixels);
  if (char* base = quickdraw::GetPixBaseAddr(pixels)) {
    const auto size = static_cast<std::uint32_t>(rowBytes) * static_cast<std::uint32_t>(description.height);
    transfer(base, static_cast<std::int32_t>(size));
  }
  quickdraw::UnlockPixels(pixels);
}

}  // namespace

REALmemoryBlockStruct* CopyPixelsAsMemoryBlock(REALpictureStruct* picture) {
  const quickdraw::SavedWorld saved;
  if (picture == nullptr) return nullptr;
  REALmemoryBlockStruct* block = nullptr;
  LockedDescription description(picture);
  ReachPixels(description, [&](const char* base, std::int32_t size) { block = REALBuildMemoryblock(base, size); });
  description.unlock();
  return block;
}

void SetPixelsAsMemoryBlock(REALpictureStruct* picture, REALmemoryBlockStruct* block) {
  if (block == nullptr) return RaiseException("NilObjectException", "Memoryblock is nil", 0);

  const quickdraw::SavedWorld saved;
  if (picture == nullptr) return;
  const void* bytes = host::REALMemoryBlockGetPtr(block);
  LockedDescription description(picture);
  if (bytes != nullptr) {
    ReachPixels(description, [&](char* base, std::int32_t size) {
      // A block that is too short gives what it holds.
      const std::int32_t available = host::REALMemoryBlockGetSize(block);
      const std::int32_t count = available < size ? available : size;
      if (count > 0) std::memcpy(base, bytes, static_cast<std::size_t>(count));
    });
  }
  description.unlock();
}

std::int32_t GetGWorldRowbytes(REALpictureStruct* picture) {
  const quickdraw::SavedWorld saved;
  if (picture == nullptr) return 0;
  std::int32_t rowBytes = 0;
  LockedDescription description(picture);
  if (description.isGWorld()) {
    if (const PixMapHandle pixels = quickdraw::GetGWorldPixMap(description.world())) {
      rowBytes = quickdraw::GetPixRowBytes(pixels);
    }
  }
  description.unlock();
  return rowBytes;
}
