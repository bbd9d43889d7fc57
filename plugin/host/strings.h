// Text and raw bytes out of host strings.
#pragma once

#include "plugin/host/host.h"

// Gets a string's bytes in the wanted encoding; kTextEncodingUnknown wants them unconverted. True means that `out`
// holds the bytes until REALDisposeStringData; false means that nothing is held. Works on hosts with and without a call
// for it.
bool REALGetStringData(REALstringStruct* string, std::uint32_t encoding, REALstringData* out);
void REALDisposeStringData(REALstringData* record);

// The bytes of one string or memory block, as they stand, for as long as the view lives.
class rbByteView {
 public:
  explicit rbByteView(REALstringStruct* string);
  explicit rbByteView(REALmemoryBlockStruct* block);
  ~rbByteView();
  rbByteView(const rbByteView&) = delete;
  rbByteView& operator=(const rbByteView&) = delete;

 private:
  REALstringStruct* lockedString = nullptr;
  REALobjectStruct* lockedObject = nullptr;
  REALstringData stringData = {};
  std::uint8_t hasStringData = 0;

 public:
  const char* bytes = nullptr;  // null if there are none
  std::int32_t length = 0;
};

// One host string for the length of a handler's call, as terminated text in MacRoman or UTF-8, converted on first use.
class rbText {
 public:
  explicit rbText(REALstringStruct* string);
  ~rbText();
  rbText(const rbText&) = delete;
  rbText& operator=(const rbText&) = delete;

  // Makes the MacRoman form; the two below run it when it isn't made yet.
  void ConvertMacRoman() { convert(kMacRoman, kCFStringEncodingMacRoman); }
  const char* MacRomanBytes();
  std::int32_t MacRomanLength();
  const char* GetUTF8();

 private:
  enum Form { kMacRoman = 1, kUTF8 = 3 };

  void reset();
  void convert(Form form, std::uint32_t encoding);
  void terminate(Form form);
  void clear(Form form);

  // Slot 0 of `strings` is the source; a form at n has its string at n + 1. A negative length: not made yet.
  REALstringStruct* strings[6];
  std::int32_t lengths[6];
  const void* bytes[6];
  void* copies[6];
  REALstringData stringData[5];
  std::uint8_t held[5];
};
