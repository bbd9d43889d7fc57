#include "plugin/host/exchange.h"

#include <cstdio>
#include <cstring>

REALmemoryBlockStruct* REALBuildMemoryblock(const void* bytes, std::int32_t size) {
  if (bytes == nullptr || size <= 0) return nullptr;

  REALmemoryBlockStruct* block = size <= 0x7FFFFFFE ? host::REALNewMemoryBlock(size) : nullptr;
  if (block == nullptr) {
    char message[200] = {};
    std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                  static_cast<long long>(size));
    RaiseException("OutOfMemoryException", message, 0);
    return nullptr;
  }
  void* address = host::REALMemoryBlockGetPtr(block);
  if (address == nullptr) {
    // A block that can't be filled is of no use to anybody, so its lock goes back.
    host::REALUnlockObject(reinterpret_cast<REALobjectStruct*>(block));
    return nullptr;
  }
  std::memcpy(address, bytes, static_cast<std::size_t>(size));
  return block;
}

void RaiseException(const char* className, const char* message, std::uint32_t number) {
  REALstringStruct* text = nullptr;
  const std::size_t length = message != nullptr ? std::strlen(message) : 0;
  if (length >= 1 && length <= 0x7FFFFFFE) {
    text = host::REALBuildString(message, static_cast<std::int32_t>(length));
    if (text != nullptr) host::REALSetStringEncoding(text, kCFStringEncodingASCII);
  }

  REALobjectStruct* exception = host::REALnewInstance(className);
  if (exception == nullptr) exception = host::REALnewInstance("RuntimeException");
  if (exception != nullptr) {
    host::REALSetPropValueString(exception, "Message", text);
    host::REALSetPropValueInt(exception, "ErrorNumber", static_cast<std::int32_t>(number));
    host::REALRaiseException(exception);
    host::REALUnlockObject(exception);
  }
  if (text != nullptr) host::REALUnlockString(text);
}

REALstringStruct* BuildByteString(const char* bytes, std::int32_t size) {
  if (bytes == nullptr || size < 1 || size > 0x7FFFFFFE) return nullptr;
  REALstringStruct* string = host::REALBuildString(bytes, size);
  if (string != nullptr) host::REALSetStringEncoding(string, kTextEncodingUnknown);
  return string;
}
