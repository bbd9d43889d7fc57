#include "engine/text/text.h"

#include <cmath>
#include <map>
#include <tuple>

#include "engine/text/fonts.h"
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
constexpr std::uint8_t kHalfCovered = 128;
constexpr std::size_t kMostGlyphs = 4096;  // remembered

struct Run {
  int y, left, right;
};

// Pixels per em, across and down.
struct Size {
  int h, v;
};

Size sizeOf(const TextState& style) {
  const int size = style.size > 0 ? style.size : kDefaultSize;
  const auto scaled = [size](int numerator, int denominator) {
    if (numerator <= 0 || denominator <= 0) return std::min(size, kMostSize);
    return std::clamp((size * numerator + denominator / 2) / denominator, 1, kMostSize);
  };
  return {scaled(style.numerator.h, style.denominator.h), scaled(style.numerator.v, style.denominator.v)};
}

struct Typeface {
  const Font& font;
  Size size;
  explicit Typeface(const TextState& style)
      : font(Font::get(familyOf(style.font, style.fontName), (style.face & kBold) != 0, (style.face & kItalic) != 0)),
        size(sizeOf(style)) {}
};

char32_t unicodeOf(unsigned char byte) { return byte < 0x80 ? byte : kMacRomanUpper[byte - 0x80]; }

// The runs of one character at (0, 0), remembered by font, size and character.
const std::vector<Run>& runsOf(const Typeface& typeface, char32_t character) {
  using Key = std::tuple<const Font*, int, int, char32_t>;
  static std::map<Key, std::vector<Run>> remembered;
  if (remembered.size() > kMostGlyphs) remembered.clear();
  const auto [entry, isNew] = remembered.try_emplace({&typeface.font, typeface.size.h, typeface.size.v, character});
  if (!isNew) return entry->second;
  const Coverage coverage = typeface.font.rasterize(character, typeface.size.h, typeface.size.v);
  for (int y = 0; y < coverage.height; ++y) {
    const std::uint8_t* row =
        coverage.pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(coverage.width);
    for (int x = 0; x < coverage.width;) {
      const int left = x;
      while (x < coverage.width && row[x] >= kHalfCovered) ++x;
      if (x > left) entry->second.push_back({coverage.top + y, coverage.left + left, coverage.left + x});
      while (x < coverage.width && row[x] < kHalfCovered) ++x;
    }
  }
  return entry->second;
}

int advanceOf(const Typeface& typeface, const TextState& style, unsigned char byte) {
  int advance = static_cast<int>(std::lround(typeface.font.advance(unicodeOf(byte), typeface.size.h)));
  if ((style.face & kCondense) != 0) --advance;
  if ((style.face & kExtend) != 0) ++advance;
  if (byte == ' ') advance += (style.extra + 0x8000) >> 16;
  return std::max(advance, 0);
}

Region merged(std::vector<Run> runs) {
  std::sort(runs.begin(), runs.end(),
            [](const Run& a, const Run& b) { return std::tie(a.y, a.left) < std::tie(b.y, b.left); });
  RegionBuilder builder;
  for (const Run& run : runs) builder.run(run.y, run.left, run.right);
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

int textWidth(const TextState& style, std::string_view bytes) {
  const Typeface typeface(style);
  std::int64_t width = 0;
  for (const char byte : bytes) width += advanceOf(typeface, style, static_cast<unsigned char>(byte));
  return static_cast<int>(width);
}

void scanText(const TextState& style, Point at, std::string_view bytes, const Box& clip, RunSink& sink) {
  const Typeface typeface(style);
  std::vector<Run> runs;
  int pen = at.h;
  // No character goes further than twice its size from where it stands.
  const int reach = 2 * std::max(typeface.size.h, typeface.size.v) + 8;
  const bool isNear = at.v + reach > clip.top && at.v - reach < clip.bottom;
  for (const char byte : bytes) {
    if (pen - reach >= clip.right) break;
    const int here = pen;
    pen += advanceOf(typeface, style, static_cast<unsigned char>(byte));
    if (!isNear || here + reach <= clip.left) continue;
    for (const Run& run : runsOf(typeface, unicodeOf(static_cast<unsigned char>(byte)))) {
      runs.push_back({at.v + run.y, here + run.left, here + run.right});
    }
  }
  if ((style.face & kUnderline) != 0) {
    const int thickness = std::max(1, typeface.size.v / 24);
    for (int y = 0; y < thickness; ++y) runs.push_back({at.v + 1 + y, at.h, at.h + textWidth(style, bytes)});
  }
  const Region text = merged(std::move(runs));
  const bool isHollow = (style.face & (kOutline | kShadow)) != 0;
  (isHollow ? hollow(text, (style.face & kShadow) != 0) : text).emit(sink);
}

Box textBox(const TextState& style, Point at, std::string_view bytes) {
  const Typeface typeface(style);
  const auto [ascent, descent] = typeface.font.extent(typeface.size.v);
  return {at.v - ascent, at.h, at.v + descent, at.h + textWidth(style, bytes)};
}

}  // namespace qd
