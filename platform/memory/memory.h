// Memory Manager handles: a handle is the address of a master pointer, which moves when the block grows.
#pragma once

#include <cstddef>

#include "contract/handles.h"
#include "platform/visibility.h"

extern "C" {
PLATFORM_EXPORT std::int32_t GetHandleSize(Handle handle);  // bytes; 0 for what is no handle
PLATFORM_EXPORT void HLock(Handle handle);                  // locks are counted
PLATFORM_EXPORT void HUnlock(Handle handle);
PLATFORM_EXPORT Handle NewHandle(std::int32_t size);  // zeroed; null for a negative size or without memory
PLATFORM_EXPORT bool SetHandleSize(Handle handle, std::int32_t size);  // false, and no change, if it can't
PLATFORM_EXPORT void DisposeHandle(Handle handle);                     // what is no handle is left alone
}

namespace memory {

struct Audit {
  std::size_t handles;  // alive
  std::size_t locked;   // of these
};
PLATFORM_EXPORT Audit audit();

}  // namespace memory
