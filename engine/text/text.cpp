#include "engine/text/text.h"

#include <algorithm>
#include <cmath>

namespace qd {
namespace {

enum StyleBit : std::uint8_t {
  kBold = 1,
  kItalic = 2,
  kUnderline = 4,
  kOutline = 8,
  kShadow = 16,
  kCondense = 32,
  kExtend = 64,
};

constexpr int kDefaultSize = 12;
constexpr int kMostSize = 2048;  // beyond it characters are drawn at this size

int scaled(int size, int numerator, int denominator) {
  if (numerator <= 0 || denominator <= 0) return size;
  return std::clamp((size * numerator + denominator / 2) / denominator, 1, kMostSize);
}

// A style with the fonts that it means.
struct Typeface {
  const TextState& style;
  Substitute substitute;
  Face face;
  FontSize nominal, drawn;

  Typeface(Fonts& fonts, const TextState& text)
      : style(text),
        substitute(substituteOf(text.font, text.fontName)),
        face(fonts.get(substitute.family, substitute.isBold || has(kBold), substitute.isItalic || has(kItalic))) {
    if (substitute.isBold && has(kBold)) face.isSmeared = true;  // there is no heavier face
    nominal.v = std::min(text.size > 0 ? int{text.size} : kDefaultSize, kMostSize);
    nominal.h = std::max(1, nominal.v * substitute.width / 100);
    drawn = {scaled(nominal.h, text.numerator.h, text.denominator.h),
             scaled(nominal.v, text.numerator.v, text.denominator.v)};
  }
  bool has(StyleBit bit) const { return (style.face & bit) != 0; }
  bool isHollow() const { return has(kOutline) || has(kShadow); }
  // How far hollow characters spread: to the left and above by 1, to the right and below by this.
  int depth() const { return (has(kOutline) ? 1 : 0) + (has(kShadow) ? 2 : 0); }
  bool isSeen(unsigned char byte) const {
    return face.font.isSeen(byte) && (byte < kFirstMark || byte > kLastMark || substitute.hasMarks);
  }
};

// Where the characters of a text stand. Widths are whole pixels; what is added to them is not, and sums are cut to
// pixels only where a character is drawn.
class Line {
 public:
  Line(const Typeface& typeface, std::string_view bytes)
      : typeface_(typeface), isExact_(typeface.style.hasExactWidths) {
    const TextState& style = typeface.style;
    const auto spaces = std::count(bytes.begin(), bytes.end(), ' ');
    extraOfSpace_ = std::int64_t{style.extra} + style.spacing + (spaces > 0 ? style.slack / spaces : 0);
    extraOfOthers_ = std::int64_t{style.charExtra} * typeface.nominal.v * (kOne / 4096) + style.spacing;
    styles_ = kOne * (typeface.depth() + (typeface.face.isSmeared ? 1 : 0) - (typeface.has(kCondense) ? 1 : 0) +
                      (typeface.has(kExtend) ? 1 : 0));
    if (style.numerator.h > 0 && style.denominator.h > 0) {
      numerator_ = style.numerator.h;
      denominator_ = style.denominator.h;
    }
  }

  // Pixels from the text's place to that of the next character.
  int at() const { return pixelsOf(sum_); }
  // To where the pen goes after the last.
  int end() const { return pixelsOf(isExact_ ? exactSum_ : sum_); }
  void pass(unsigned char byte) {
    if (!typeface_.isSeen(byte)) return;
    const Font& font = typeface_.face.font;
    const int pixels = typeface_.nominal.h;
    const std::int64_t extra = styles_ + (byte == ' ' ? extraOfSpace_ : extraOfOthers_);
    sum_ += std::max<std::int64_t>(font.advance(byte, pixels) * kOne + extra, 0);
    if (!isExact_) return;
    exactSum_ += std::max<std::int64_t>(std::llround(font.exactAdvance(byte, pixels) * kOne) + extra, 0);
    if (byte == ' ') sum_ = exactSum_;
  }

 private:
  static constexpr std::int64_t kOne = 0x10000;

  int pixelsOf(std::int64_t sum) const {
    constexpr std::int64_t kFar = 1 << 28;
    return static_cast<int>(std::min((sum * numerator_ / denominator_ + typeface_.style.fraction) >> 16, kFar));
  }

  const Typeface& typeface_;
  std::int64_t extraOfSpace_ = 0, extraOfOthers_ = 0, styles_ = 0;
  std::int64_t numerator_ = 1, denominator_ = 1;
  // Where widths are exact, those of a word's characters are not: it begins where it should, and its letters stand
  // apart as their pixels want it.
  bool isExact_;
  std::int64_t sum_ = 0, exactSum_ = 0;
};

// The second row below the baseline, thicker in large sizes; a character that comes down to it leaves a gap.
struct Underline {
  Box box;

  Underline(const Typeface& typeface, Point at, int width)
      : box(at.v + 1, at.h, at.v + 1 + std::max(1, typeface.drawn.v / 24), at.h + width) {}
  Box around() const { return box.inset(-1, -1); }
  void draw(Ink& ink) const {
    const Ink text = ink;
    const Box shown = intersect(box, ink.box());
    for (int x = shown.left; x < shown.right; ++x) {
      bool isFree = true;
      for (int y = around().top; y < around().bottom && isFree; ++y)
        isFree = !text.has(y, x - 1) && !text.has(y, x) && !text.has(y, x + 1);
      for (int y = shown.top; y < shown.bottom && isFree; ++y) ink.add(y, x);
    }
  }
};

int widthOf(const Typeface& typeface, std::string_view bytes) {
  Line line(typeface, bytes);
  for (const char byte : bytes) line.pass(static_cast<unsigned char>(byte));
  return line.end();
}

}  // namespace

int textWidth(Fonts& fonts, const TextState& style, std::string_view bytes) {
  return widthOf(Typeface(fonts, style), bytes);
}

std::size_t scanText(Fonts& fonts, const TextState& style, Point at, std::string_view bytes, const Box& clip,
                     RunSink& sink) {
  const Typeface typeface(fonts, style);
  const auto& [font, isSmeared, isSlanted] = typeface.face;
  const Font::Fault fault = font.faultAt(typeface.drawn);
  fonts.tell(fault);
  if (fault.isNothingDrawn) return 0;

  // What is outside the clip and yet seen in it, after styles have moved it.
  const int around = 4 + (isSlanted ? typeface.drawn.v : 0);
  const Box near = clip.inset(-around, -around);
  struct Placed {
    unsigned char byte;
    Pen pen;
  };
  std::vector<Placed> placed;
  Box box;
  const auto isNear = [&near](const Box& what) { return !intersect(what, near).empty(); };
  Line line(typeface, bytes);
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    const Pen pen = {at.h + line.at(), at.v};
    line.pass(byte);
    if (!typeface.isSeen(byte)) continue;
    const Box bounds = font.bounds(byte, typeface.drawn).offset(pen.h, pen.v);
    if (!isNear(bounds)) continue;
    placed.push_back({byte, pen});
    box = unite(box, bounds);
  }
  const Underline underline(typeface, at, line.end());
  const bool isUnderlined = typeface.has(kUnderline) && isNear(underline.box);
  if (isUnderlined) box = unite(box, underline.around());
  if (box.empty()) return 0;

  Ink ink(intersect(box.inset(-around, -around), near));
  for (const Placed& character : placed) font.draw(character.byte, typeface.drawn, character.pen, ink);
  if (isSlanted) ink.slant(at.v);
  if (isSmeared) ink.spread(Box(0, 0, 0, 1));
  if (isUnderlined) underline.draw(ink);
  if (typeface.isHollow()) {
    const Ink letters = ink;
    ink.spread(Box(1, 1, typeface.depth(), typeface.depth()));
    ink.remove(letters);
  }
  ink.emit(sink);
  return ink.size();
}

Box textBox(Fonts& fonts, const TextState& style, Point at, std::string_view bytes) {
  const Typeface typeface(fonts, style);
  const auto [ascent, descent] = typeface.face.font.extent(typeface.drawn.v);
  return {at.v - ascent, at.h, at.v + descent, at.h + widthOf(typeface, bytes)};
}

}  // namespace qd
