#include "platform/runtime/encodings.h"

#include <algorithm>
#include <iterator>

#include "contract/host.h"
#include "engine/text/mac_roman.h"

namespace runtime {
namespace {

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

std::optional<std::string> convert(std::string_view bytes, std::uint32_t from, std::uint32_t to) {
  const auto text = decode(bytes, from);
  return text ? encode(*text, to) : std::nullopt;
}

}  // namespace runtime
