#include "plugin/host/strings.h"

#include <cstdlib>
#include <cstring>

namespace {

using LanguageFunction = const char*;
void* FindLanguageFunction(const LanguageFunction& declaration) {
  return host::REALLoadFrameworkMethod(nullptr, declaration);
}

// The length of a string in bytes.
constinit Slot<FindLanguageFunction, std::int32_t(REALstringStruct*)> LenB{"LenB( s as string ) as integer"};

constexpr std::int32_t kTerminatorSize = 4;  // ends text of any character size

constexpr std::uint8_t EmptyBufferUInt8[4] = {};
constexpr std::uint16_t EmptyBufferUInt16[4] = {};
constexpr std::uint32_t EmptyBufferUInt32[4] = {};

// A terminated copy of a string's bytes, with their number in `length`; the caller frees it. Null where there is no
// memory for it.
char* CopyBytes(REALstringStruct* string, std::int32_t& length) {
  length = LenB(string);
  if (length < 0 || length > INT32_MAX - kTerminatorSize) return nullptr;
  auto* copy = static_cast<char*>(std::malloc(static_cast<std::size_t>(length) + kTerminatorSize));
  if (copy == nullptr) return nullptr;
  const char* source = host::StringGetCString(string);
  if (source == nullptr) length = 0;
  if (length > 0) std::memcpy(copy, source, static_cast<std::size_t>(length));
  std::memset(copy + length, 0, kTerminatorSize);
  return copy;
}

}  // namespace

bool REALGetStringData(REALstringStruct* string, std::uint32_t encoding, REALstringData* out) {
  if (const auto get = host::PluginGetStringData.find()) return get(string, encoding, out) != 0;

  const bool hasBytes = host::StringGetCString.find() != nullptr;
  const bool hasLength = LenB.find() != nullptr;
  if (!hasBytes || !hasLength || string == nullptr) return false;

  REALstringStruct* converted = nullptr;
  if (encoding != kTextEncodingUnknown && host::REALGetStringEncoding(string) != encoding) {
    converted = host::REALConvertString(string, encoding);
    if (converted == nullptr) return false;
  }
  std::int32_t length = 0;
  char* copy = CopyBytes(converted != nullptr ? converted : string, length);
  if (converted != nullptr) host::REALUnlockString(converted);
  if (copy == nullptr) return false;

  out->encoding = encoding;
  out->size = static_cast<std::uint32_t>(length);
  out->data = copy;
  return true;
}

void REALDisposeStringData(REALstringData* record) {
  if (const auto dispose = host::PluginDisposeStringData.find()) return dispose(record);
  std::free(const_cast<char*>(record->data));
}

rbByteView::rbByteView(REALstringStruct* string) {
  if (string == nullptr) return;
  if (rbversion_rbversion >= 2013.0) {
    if (!REALGetStringData(string, kTextEncodingUnknown, &stringData)) return;
    hasStringData = 1;
    length = static_cast<std::int32_t>(stringData.size);
    bytes = stringData.data;
  } else {
    lockedString = string;
    host::REALLockString(string);
    length = static_cast<std::int32_t>(string->length);
    bytes = string->text();
  }
}

rbByteView::rbByteView(REALmemoryBlockStruct* block) {
  if (block == nullptr) return;
  lockedObject = reinterpret_cast<REALobjectStruct*>(block);
  host::REALLockObject(lockedObject);
  const std::int32_t size = host::REALMemoryBlockGetSize(block);
  if (const void* address = host::REALMemoryBlockGetPtr(block)) {
    bytes = static_cast<const char*>(address);
    length = size > 0 ? size : 0;
  }
}

rbByteView::~rbByteView() {
  if (lockedString != nullptr) host::REALUnlockString(lockedString);
  if (lockedObject != nullptr) host::REALUnlockObject(lockedObject);
  if (hasStringData != 0) REALDisposeStringData(&stringData);
}

rbText::rbText(REALstringStruct* string) {
  reset();
  if (string == nullptr) return;

  const auto encodingOf = host::REALGetStringEncoding.find();
  if (encodingOf == nullptr || encodingOf(string) != kTextEncodingUnknown) {
    strings[0] = string;
    host::REALLockString(string);
  } else {
    // Bytes without an encoding are taken for MacRoman, on a string of our own: the caller's isn't changed.
    const rbByteView view(string);
    if (view.bytes != nullptr && view.length >= 1 && view.length <= 0x7FFFFFFE) {
      strings[0] = host::REALBuildString(view.bytes, view.length);
      if (strings[0] != nullptr) host::REALSetStringEncoding(strings[0], kCFStringEncodingMacRoman);
    }
  }
  for (std::int32_t& length : lengths) length = -1;
}

rbText::~rbText() {
  for (REALstringStruct*& string : strings) {
    if (string != nullptr) host::REALUnlockString(string);
  }
  for (int i = 0; i < 5; ++i) {
    if (held[i] != 0) REALDisposeStringData(&stringData[i]);
  }
  for (void* copy : copies) {
    if (copy != nullptr) std::free(copy);  // there is hardly ever one, and a call each would be felt
  }
  reset();
}

void rbText::reset() {
  for (int i = 0; i < 6; ++i) {
    strings[i] = nullptr;
    lengths[i] = 0;
    bytes[i] = EmptyBufferUInt8;
    copies[i] = nullptr;
  }
  bytes[4] = EmptyBufferUInt16;
  bytes[5] = EmptyBufferUInt32;
  for (std::uint8_t& flag : held) flag = 0;
}

const char* rbText::MacRomanBytes() {
  if (lengths[kMacRoman] < 0) ConvertMacRoman();
  return static_cast<const char*>(bytes[kMacRoman]);
}

std::int32_t rbText::MacRomanLength() {
  if (lengths[kMacRoman] < 0) ConvertMacRoman();
  return lengths[kMacRoman];
}

const char* rbText::GetUTF8() {
  if (lengths[kUTF8] < 0) convert(kUTF8, kCFStringEncodingUTF8);
  return static_cast<const char*>(bytes[kUTF8]);
}

void rbText::convert(Form form, std::uint32_t encoding) {
  clear(form);
  if (strings[0] == nullptr) return;

  if (rbversion_rbversion >= 2012.0) {
    if (!REALGetStringData(strings[0], encoding, &stringData[form])) return;
    held[form] = 1;
    lengths[form] = static_cast<std::int32_t>(stringData[form].size);
    bytes[form] = stringData[form].data;
  } else {
    REALstringStruct* converted = host::REALConvertString(strings[0], encoding);
    strings[form + 1] = converted;
    if (converted == nullptr) return;
    lengths[form] = static_cast<std::int32_t>(converted->length);
    bytes[form] = converted->text();
  }
  terminate(form);
}

// Makes sure of a terminator after the text: the host's own, for which its buffers have a readable byte, or a copy's.
void rbText::terminate(Form form) {
  const std::int32_t length = lengths[form];
  if (bytes[form] == nullptr || length < 0) return clear(form);
  const auto* text = static_cast<const char*>(bytes[form]);
  if (text[length] == 0) return;
  if (length > INT32_MAX - kTerminatorSize) return clear(form);

  void* copy = std::calloc(static_cast<std::size_t>(length) + kTerminatorSize, 1);
  if (copy == nullptr) return clear(form);
  std::memcpy(copy, text, static_cast<std::size_t>(length));
  copies[form] = copy;
  bytes[form] = copy;
}

void rbText::clear(Form form) {
  lengths[form] = 0;
  bytes[form] = EmptyBufferUInt8;
}
