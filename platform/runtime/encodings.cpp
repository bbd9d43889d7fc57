#include "platform/runtime/encodings.h"

#include <algorithm>
#include <iterator>

#include "contract/host.h"
#include "engine/text/mac_roman.h"

namespace runtime {
namespace {

// Well-formed sequences alone (the Unicode Standard, table 3-7): none longer than need be, no half of a pair, none
// beyond the last character.
std::optional<std::u32string> decodeUTF8(std::string_view bytes) {
  static constexpr struct {
    int mask, lead;  // of the first byte
    std::size_t more;
    char32_t least;
  } kForms[] = {{0x80, 0, 0, 0}, {0xE0, 0xC0, 1, 0x80}, {0xF0, 0xE0, 2, 0x800}, {0xF8, 0xF0, 3, 0x10000}};
  const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  std::u32string text;
  for (std::size_t i = 0; i < bytes.size();) {
    const int lead = at(i++);
    const auto* const form =
        std::find_if(std::begin(kForms), std::end(kForms), [lead](const auto& f) { return (lead & f.mask) == f.lead; });
    if (form == std::end(kForms) || form->more > bytes.size() - i) return std::nullopt;
    auto c = static_cast<char32_t>(lead & ~form->mask);
    for (const std::size_t end = i + form->more; i < end; ++i) {
      if ((at(i) & 0xC0) != 0x80) return std::nullopt;
      c = c << 6 | (at(i) & 0x3F);
    }
    if (c < form->least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return std::nullopt;
    text += c;
  }
  return text;
}

std::optional<std::u32string> decode(std::string_view bytes, std::uint32_t encoding) {
  if (encoding == kCFStringEncodingUTF8) return decodeUTF8(bytes);
  std::u32string text;
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
      bytes += static_cast<char>(macRomanByteOf(c).value_or('?'));
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
