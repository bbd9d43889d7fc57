#include "platform/runtime/heap.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "engine/text/mac_roman.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"
#include "platform/runtime/host.h"

// Two words of the host's, then the word in which an array shows its elements.
struct REALobjectStruct {
  std::int32_t locks;
  runtime::Payload* payload;
  const std::int32_t* storage;
};
static_assert(sizeof(REALobjectStruct) <= runtime::kDataOffset &&
              offsetof(REALobjectStruct, storage) == offsetof(REALarrayInteger, storage));

namespace runtime {
namespace {

std::unordered_set<const void*>& objects() {
  static std::unordered_set<const void*> alive;
  return alive;
}

struct StringInfo {
  int locks;
  std::uint32_t encoding;
};
std::unordered_map<const void*, StringInfo>& strings() {
  static std::unordered_map<const void*, StringInfo> alive;
  return alive;
}

// Text is preceded by a byte that is the host's, and ended by zeros that aren't part of it.
constexpr std::size_t kTerminator = 4;

std::optional<std::u32string> decode(std::string_view bytes, std::uint32_t encoding) {
  std::u32string text;
  if (encoding == kCFStringEncodingUTF8) {
    for (std::size_t i = 0; i < bytes.size();) {
      const auto lead = static_cast<unsigned char>(bytes[i++]);
      int more = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
      if (more < 0 || i + static_cast<std::size_t>(more) > bytes.size()) return std::nullopt;
      char32_t c = more == 0 ? lead : lead & (0x3F >> more);
      for (; more > 0; --more) c = c << 6 | (static_cast<unsigned char>(bytes[i++]) & 0x3F);
      text += c;
    }
    return text;
  }
  if (encoding != kCFStringEncodingMacRoman && encoding != kCFStringEncodingASCII) return std::nullopt;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x80 && encoding == kCFStringEncodingASCII) return std::nullopt;
    text += value < 0x80 ? value : kMacRomanUpper[value - 0x80];
  }
  return text;
}

// A character that the encoding doesn't have becomes a question mark.
std::optional<std::string> encode(const std::u32string& text, std::uint32_t encoding) {
  std::string bytes;
  for (const char32_t c : text) {
    if (c < 0x80) {
      bytes += static_cast<char>(c);
    } else if (encoding == kCFStringEncodingUTF8) {
      if (c >= 0x10000) bytes += static_cast<char>(0xF0 | c >> 18);
      if (c >= 0x10000) bytes += static_cast<char>(0x80 | (c >> 12 & 0x3F));
      if (c >= 0x800 && c < 0x10000) bytes += static_cast<char>(0xE0 | c >> 12);
      bytes += static_cast<char>(c < 0x800 ? 0xC0 | c >> 6 : 0x80 | (c >> 6 & 0x3F));
      bytes += static_cast<char>(0x80 | (c & 0x3F));
    } else if (encoding == kCFStringEncodingMacRoman) {
      const char32_t* const end = std::end(kMacRomanUpper);
      const char32_t* const found = std::find(std::begin(kMacRomanUpper), end, c);
      bytes += found == end ? '?' : static_cast<char>(0x80 + (found - kMacRomanUpper));
    } else if (encoding == kCFStringEncodingASCII) {
      bytes += '?';
    } else {
      return std::nullopt;
    }
  }
  return bytes;
}

}  // namespace

Graphics::~Graphics() {
  if (picture != nullptr) {
    unlock(picture);
  } else {
    DisposeGWorld(port);
  }
}

PictureObject::~PictureObject() {
  if (!owns) return;
  if (pict != nullptr) KillPicture(pict);
  DisposeGWorld(world);
}

REALobjectStruct* newObject(std::unique_ptr<Payload> payload, std::uint32_t dataSize) {
  auto* object = static_cast<REALobjectStruct*>(std::calloc(1, std::size_t{kDataOffset} + dataSize));
  if (object == nullptr) return nullptr;
  object->locks = 1;
  object->payload = payload.release();
  objects().insert(object);
  return object;
}

void lock(REALobjectStruct* object) {
  if (payloadOf(object) != nullptr) ++object->locks;
}

void unlock(REALobjectStruct* object) {
  if (payloadOf(object) == nullptr || --object->locks > 0) return;
  if (const auto* instance = dynamic_cast<Instance*>(object->payload)) destroyInstance(*instance, object);
  objects().erase(object);
  delete object->payload;
  std::free(object);
}

int locksOf(const REALobjectStruct* object) { return payloadOf(object) != nullptr ? object->locks : 0; }

void showStorage(REALobjectStruct* array, const std::int32_t* elements) { array->storage = elements; }

Payload* payloadOf(const void* reference) {
  return objects().contains(reference) ? static_cast<const REALobjectStruct*>(reference)->payload : nullptr;
}

REALstringStruct* newString(std::string_view bytes, std::uint32_t encoding) {
  auto* string = static_cast<REALstringStruct*>(std::calloc(1, sizeof(REALstringStruct)));
  auto* buffer = static_cast<char*>(std::calloc(1, 1 + bytes.size() + kTerminator));
  if (string == nullptr || buffer == nullptr) {
    std::free(string);
    std::free(buffer);
    return nullptr;
  }
  if (!bytes.empty()) std::memcpy(buffer + 1, bytes.data(), bytes.size());
  string->buffer = buffer;
  string->length = static_cast<std::uint32_t>(bytes.size());
  strings()[string] = {1, encoding};
  return string;
}

bool isString(const void* reference) { return strings().contains(reference); }

void lock(REALstringStruct* string) {
  if (isString(string)) ++strings()[string].locks;
}

void unlock(REALstringStruct* string) {
  if (!isString(string) || --strings()[string].locks > 0) return;
  strings().erase(string);
  std::free(const_cast<char*>(string->buffer));
  std::free(string);
}

std::string_view bytesOf(const REALstringStruct* string) {
  return isString(string) ? std::string_view(string->text(), string->length) : std::string_view();
}

std::uint32_t encodingOf(const REALstringStruct* string) { return isString(string) ? strings()[string].encoding : 0; }

void setEncoding(REALstringStruct* string, std::uint32_t encoding) {
  if (isString(string)) strings()[string].encoding = encoding;
}

REALstringStruct* converted(REALstringStruct* string, std::uint32_t encoding) {
  if (!isString(string)) return nullptr;
  if (encodingOf(string) == encoding) {
    lock(string);
    return string;
  }
  const auto text = decode(bytesOf(string), encodingOf(string));
  const auto bytes = text ? encode(*text, encoding) : std::nullopt;
  return bytes ? newString(*bytes, encoding) : nullptr;
}

HeapAudit auditHeap() {
  HeapAudit audit = {objects().size(), strings().size(), 0};
  for (const void* object : objects()) {
    if (const auto* picture = as<PictureObject>(object)) {
      audit.descriptionLocks += static_cast<std::size_t>(picture->descriptionLocks);
    }
  }
  return audit;
}

}  // namespace runtime
