#include "engine/text/text.h"

#include <cmath>
#include <tuple>

#include "engine/text/mac_roman.h"

namespace qd {
namespace {

enum Face : std::uint8_t {
  kBold = 1,
  kItalic = 2,
  kUnderline = 4,
  kOutline = 8,
  kShadow = 16,
  kCondense = 32,
  kExtend = 64,
};

constexpr int kDefaultSize = 12;
constexpr int kMostSize = 2048;  // beyond it the outlines are drawn at this size

FontSize sizeOf(const TextState& style) {
  const int size = style.size > 0 ? style.size : kDefaultSize;
  const auto scaled = [size](int numerator, int denominator) {
    if (numerator <= 0 || denominator <= 0) return std::min(size, kMostSize);
    return std::clamp((size * numerator + denominator / 2) / denominator, 1, kMostSize);
  };
  return {scaled(style.numerator.h, style.denominator.h), scaled(style.numerator.v, style.denominator.v)};
}

struct Typeface {
  const Font& font;
  FontSize size;
  Typeface(Fonts& fonts, const TextState& style)
      : font(fonts.get(familyOf(style.font, style.fontName), (style.face & kBold) != 0, (style.face & kItalic) != 0)),
        size(sizeOf(style)) {}
};

char32_t unicodeOf(unsigned char byte) { return byte < 0x80 ? byte : kMacRomanUpper[byte - 0x80]; }

int advanceOf(const Typeface& typeface, const TextState& style, unsigned char byte) {
  int advance = static_cast<int>(std::lround(typeface.font.advance(unicodeOf(byte), typeface.size.h)));
  if ((style.face & kCondense) != 0) --advance;
  if ((style.face & kExtend) != 0) ++advance;
  if (byte == ' ') advance += (style.extra + 0x8000) >> 16;
  return std::max(advance, 0);
}

Region merged(std::vector<GlyphRun> runs) {
  std::sort(runs.begin(), runs.end(),
            [](const GlyphRun& a, const GlyphRun& b) { return std::tie(a.y, a.left) < std::tie(b.y, b.left); });
  RegionBuilder builder;
  for (const GlyphRun& run : runs) builder.run(run.y, run.left, run.right);
  return builder.take();
}

// Hollow characters: what surrounds them by a pixel; a shadow falls to the right and below.
Region hollow(const Region& text, bool hasShadow) {
  Region wide = text;
  for (const auto& [h, v] : {std::pair(-1, 0), {1, 0}, {0, -1}, {0, 1}}) wide = unite(wide, text.offset(h, v));
  if (hasShadow) {
    wide = unite(wide, wide.offset(1, 1));
    wide = unite(wide, wide.offset(1, 1));
  }
  return subtract(wide, text);
}

}  // namespace

int textWidth(Fonts& fonts, const TextState& style, std::string_view bytes) {
  const Typeface typeface(fonts, style);
  std::int64_t width = 0;
  for (const char byte : bytes) width += advanceOf(typeface, style, static_cast<unsigned char>(byte));
  return static_cast<int>(width);
}

void scanText(Fonts& fonts, const TextState& style, Point at, std::string_view bytes, const Box& clip, RunSink& sink) {
  const Typeface typeface(fonts, style);
  if (!typeface.font.fault().empty()) return fonts.lose(typeface.font);
  std::vector<GlyphRun> runs;
  constexpr int kAround = 4;  // what a hollow character needs of the pixels around it
  const Box near = clip.inset(-kAround, -kAround);
  const auto mayShow = [&near](const GlyphRun& run) {
    return run.y >= near.top && run.y < near.bottom && run.right > near.left && run.left < near.right;
  };
  int pen = at.h;
  const int reach = reachOf(typeface.size);
  const bool isNear = at.v + reach > clip.top && at.v - reach < clip.bottom;
  for (const char byte : bytes) {
    if (pen - reach >= clip.right) break;
    const int here = pen;
    pen += advanceOf(typeface, style, static_cast<unsigned char>(byte));
    if (!isNear || here + reach <= clip.left) continue;
    for (const GlyphRun& run : typeface.font.runs(unicodeOf(static_cast<unsigned char>(byte)), typeface.size)) {
      const GlyphRun placed = {at.v + run.y, here + run.left, here + run.right};
      if (mayShow(placed)) runs.push_back(placed);
    }
  }
  if ((style.face & kUnderline) != 0) {
    const int thickness = std::max(1, typeface.size.v / 24);
    for (int y = 0; y < thickness; ++y) runs.push_back({at.v + 1 + y, at.h, at.h + textWidth(fonts, style, bytes)});
  }
  const Region text = merged(std::move(runs));
  const bool isHollow = (style.face & (kOutline | kShadow)) != 0;
  (isHollow ? hollow(text, (style.face & kShadow) != 0) : text).emit(sink);
}

Box textBox(Fonts& fonts, const TextState& style, Point at, std::string_view bytes) {
  const Typeface typeface(fonts, style);
  const auto [ascent, descent] = typeface.font.extent(typeface.size.v);
  return {at.v - ascent, at.h, at.v + descent, at.h + textWidth(fonts, style, bytes)};
}

}  // namespace qd
