#include "engine/text/fonts.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace qd {
namespace {

// The files of a family. The strikes' build goes by the same names.
struct Files {
  const char *strikes, *outlines;
  Encoding encoding;
  bool hasStyles;
};
constexpr const char* kSpare = "DejaVuSans";
constexpr Files kFiles[] = {
    {"sans", "LiberationSans", Encoding::macRoman, true}, {"serif", "LiberationSerif", Encoding::macRoman, true},
    {"mono", "LiberationMono", Encoding::macRoman, true}, {"symbol", kSpare, Encoding::symbol, false},
    {"dingbats", kSpare, Encoding::dingbats, false},
};
static_assert(std::size(kFiles) == kFamilies);

}  // namespace

Font::Fault Font::faultAt(FontSize size) const {
  const bool isScreenSize = size.h == size.v && size.v >= Strikes::kSmallest && size.v <= Strikes::kLargest;
  if (isScreenSize && strikes_.fault().empty()) return {};
  if (!outlines_.fault().empty()) return {"text is not drawn, since " + outlines_.fault(), true};
  if (isScreenSize) return {"small text is less clear, since " + strikes_.fault()};
  if (!spare_.fault().empty()) return {"some characters may be missing, since " + spare_.fault()};
  return {};
}

const Outlines& Font::outlinesOf(char32_t character) const {
  return outlines_.has(character) || !spare_.fault().empty() ? outlines_ : spare_;
}

int Font::advance(unsigned char byte, int pixels) const {
  if (const Strike* strike = strikes_.get(pixels)) return strike->advance(byte);
  return static_cast<int>(std::lround(exactAdvance(byte, pixels)));
}

double Font::exactAdvance(unsigned char byte, int pixels) const {
  return outlines_.fault().empty() ? outlinesOf(codes_[byte]).advance(codes_[byte], pixels) : 0;
}

Extent Font::extent(int pixels) const {
  if (const Strike* strike = strikes_.get(pixels)) return strike->extent();
  return outlines_.fault().empty() ? outlines_.extent(pixels) : Extent{pixels, 0};
}

Box Font::bounds(unsigned char byte, FontSize size) const {
  if (const Strike* strike = strikeOf(size)) return strike->bounds(byte);
  return outlinesOf(codes_[byte]).bounds(codes_[byte], size);
}

void Font::draw(unsigned char byte, FontSize size, Pen at, Ink& ink) const {
  if (const Strike* strike = strikeOf(size)) return strike->draw(byte, at, ink);
  outlinesOf(codes_[byte]).draw(codes_[byte], size, at, ink);
}

Face Fonts::get(Family family, bool isBold, bool isItalic) {
  const bool hasStyles = kFiles[static_cast<std::size_t>(family)].hasStyles;
  const std::size_t style = hasStyles ? (isBold ? 1U : 0U) + (isItalic ? 2U : 0U) : 0;
  std::unique_ptr<Font>& font = fonts_[static_cast<std::size_t>(family) * kStyles + style];
  if (font == nullptr) font = read(family, style);
  return {*font, isBold && !hasStyles, isItalic && !hasStyles};
}

std::unique_ptr<Font> Fonts::read(Family family, std::size_t style) {
  constexpr const char* kNames[kStyles][2] = {
      {"-regular", "-Regular"}, {"-bold", "-Bold"}, {"-italic", "-Italic"}, {"-bold-italic", "-BoldItalic"}};
  const Files& files = kFiles[static_cast<std::size_t>(family)];
  std::string strikes = files.strikes;
  std::string name = files.outlines;
  if (files.hasStyles) {
    strikes += kNames[style][0];
    name += kNames[style][1];
  }
  return std::make_unique<Font>(folder_ / (strikes + ".strikes"), outlines(name), outlines(kSpare), files.encoding);
}

const Outlines& Fonts::outlines(const std::string& name) {
  return outlines_.try_emplace(name, folder_ / (name + ".ttf")).first->second;
}

void Fonts::tell(const Font::Fault& fault) {
  if (fault.isNothingDrawn) ++lost_.texts;
  if (!fault.sentence.empty() &&
      std::find(lost_.faults.begin(), lost_.faults.end(), fault.sentence) == lost_.faults.end())
    lost_.faults.push_back(fault.sentence);
}

}  // namespace qd
