// The host's references and the parts of its records that the plug-in looks into. A null reference is the host's nil.
#pragma once

#include <cstddef>
#include <cstdint>

struct REALobjectStruct;
struct REALgraphicsStruct;
struct REALpictureStruct;
struct REALmemoryBlockStruct;

// A host string, as hosts before 2013 show it: the text begins at the second byte of the buffer.
struct REALstringStruct {
  std::uint32_t none0;
  const char* buffer;
  std::uint32_t none2;
  std::uint32_t length;

  const char* text() const { return buffer != nullptr ? buffer + 1 : nullptr; }
};

// A host array of integers. `storage` is the address of the elements; newer hosts don't tell it here.
struct REALarrayInteger {
  std::uint32_t none0, none1;
  const std::int32_t* storage;
};

// A string's bytes in a wanted encoding; the last two words are the host's own.
struct REALstringData {
  const char* data;
  std::uint32_t size;
  std::uint32_t encoding;
  std::uint32_t none[2];
};

// How the host stores a picture. `pictureData` is a PicHandle or a GWorldPtr by kind, and stays the host's.
struct REALpictureDescription {
  std::uint32_t pictureKind = 0;
  void* pictureData = nullptr;
  std::int32_t width = 0, height = 0;
  std::uint32_t none[2] = {};
};

enum : std::uint32_t { kPictureKindPICT = 1, kPictureKindGWorld = 4 };

enum : std::uint32_t {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUTF8 = 0x08000100,
  kTextEncodingUnknown = 0xFFFF,
};

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(REALstringStruct) == 16 && offsetof(REALstringStruct, buffer) == 4 &&
              offsetof(REALstringStruct, length) == 12);
static_assert(offsetof(REALarrayInteger, storage) == 8);
static_assert(sizeof(REALstringData) == 20 && offsetof(REALstringData, size) == 4 &&
              offsetof(REALstringData, encoding) == 8);
static_assert(sizeof(REALpictureDescription) == 24 && offsetof(REALpictureDescription, pictureData) == 4 &&
              offsetof(REALpictureDescription, width) == 8 && offsetof(REALpictureDescription, height) == 12);
#endif
