// What the plug-in hands to host code: memory blocks and exceptions.
#pragma once

#include "plugin/host/host.h"

// A new block with a copy of the bytes, and one lock, which is the caller's; null for no bytes, and where the host
// can't make one. A size that the host has no memory for raises an OutOfMemoryException.
REALmemoryBlockStruct* REALBuildMemoryblock(const void* bytes, std::int32_t size);

// Raises an exception of the class, or of RuntimeException where the host doesn't know the class. Returns to the
// caller, which then leaves its handler.
void RaiseException(const char* className, const char* message, std::uint32_t number);

// The bytes of a handle, from the first to the last, as a string without an encoding; null where there are none. The
// caller has locked the handle.
REALstringStruct* BuildByteString(const char* bytes, std::int32_t size);
