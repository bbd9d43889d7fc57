#include "engine/text/strikes.h"

#include <algorithm>

#include "engine/pict/bytes.h"
#include "engine/text/font_file.h"

namespace qd {

std::optional<Strike> Strike::read(std::span<const std::uint8_t> record) {
  ByteReader in(record);
  in.u16();  // the font's kind
  const std::size_t firstChar = in.u16(), lastChar = in.u16();
  in.u16();  // the widest character
  const int kern = in.s16();
  in.u16();  // the descent once more
  in.u16();  // the box's width
  Strike strike;
  strike.height_ = in.u16();
  const std::size_t widthsAt = in.at() + 2 * std::size_t{in.u16()};
  strike.extent_ = {in.s16(), in.s16()};
  in.u16();  // between lines
  strike.rowBytes_ = 2 * std::size_t{in.u16()};
  if (firstChar > lastChar || lastChar > 255 || strike.extent_.ascent + strike.extent_.descent != strike.height_)
    return {};
  strike.image_ = in.take(strike.rowBytes_ * static_cast<std::size_t>(strike.height_));

  // The character after the last is drawn for those that there aren't.
  const std::size_t count = lastChar - firstChar + 2;
  ByteReader columns(in.take(2 * (count + 1)));
  if (!in.good() || widthsAt > record.size()) return {};
  ByteReader widths(record.subspan(widthsAt));
  std::vector<std::optional<Glyph>> glyphs(count);
  std::uint16_t first = columns.u16();
  for (std::optional<Glyph>& glyph : glyphs) {
    constexpr int kMissing = 0xFFFF;
    const std::uint16_t end = columns.u16();
    const int width = widths.u16();
    if (end < first || end > strike.rowBytes_ * 8) return {};
    if (width != kMissing)
      glyph = {first, end, static_cast<std::int16_t>(kern + (width >> 8)), static_cast<std::uint8_t>(width)};
    first = end;
  }
  if (!widths.good() || !glyphs.back()) return {};
  for (std::size_t byte = 0; byte < strike.glyphs_.size(); ++byte) {
    const bool isThere = byte >= firstChar && byte <= lastChar && glyphs[byte - firstChar];
    strike.glyphs_[byte] = isThere ? *glyphs[byte - firstChar] : *glyphs.back();
  }
  return strike;
}

Box Strike::bounds(unsigned char byte) const {
  const Glyph& glyph = glyphs_[byte];
  return {-extent_.ascent, glyph.left, extent_.descent, glyph.left + glyph.end - glyph.first};
}

void Strike::draw(unsigned char byte, Pen at, Ink& ink) const {
  const Glyph& glyph = glyphs_[byte];
  const Box box = bounds(byte).offset(at.h, at.v);
  for (int y = std::max(box.top, ink.box().top); y < std::min(box.bottom, ink.box().bottom); ++y) {
    const std::uint8_t* const row = image_.data() + rowBytes_ * static_cast<std::size_t>(y - box.top);
    for (int column = glyph.first; column < glyph.end; ++column) {
      if ((row[column >> 3] & 0x80 >> (column & 7)) != 0) ink.add(y, box.left + column - glyph.first);
    }
  }
}

Strikes::Strikes(const std::filesystem::path& path) {
  if (!readFont(path, bytes_)) {
    fault_ = sentenceOfFault(path, "it can't be read");
  } else if (!read()) {
    fault_ = sentenceOfFault(path, "it is damaged");
  }
}

bool Strikes::read() {
  ByteReader in(bytes_);
  const int count = in.u16();
  for (int i = 0; i < count; ++i) {
    const int size = in.u16();
    const std::size_t at = in.u32();
    if (!in.good() || size < kSmallest || size > kLargest || at > bytes_.size()) return false;
    std::optional<Strike>& strike = strikes_[static_cast<std::size_t>(size)];
    strike = Strike::read(std::span(bytes_).subspan(at));
    if (!strike) return false;
  }
  return count > 0;
}

const Strike* Strikes::get(int size) const {
  if (size < kSmallest || size > kLargest || !fault_.empty()) return nullptr;
  const std::optional<Strike>& strike = strikes_[static_cast<std::size_t>(size)];
  return strike ? &*strike : nullptr;
}

}  // namespace qd
