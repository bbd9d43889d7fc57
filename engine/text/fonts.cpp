#include "engine/text/fonts.h"

#include <algorithm>
#include <cmath>

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
  const Strike* const strike = strikes_.get(pixels);
  if (strike != nullptr && isSeen(byte)) return strike->advance(byte);
  return static_cast<int>(std::lround(exactAdvance(byte, pixels)));
}

double Font::exactAdvance(unsigned char byte, int pixels) const {
  if (!isSeen(byte) || !outlines_.fault().empty()) return 0;
  const char32_t character = unicodeOf(encoding_, byte);
  return outlinesOf(character).advance(character, pixels);
}

Extent Font::extent(int pixels) const {
  if (const Strike* strike = strikes_.get(pixels)) return strike->extent();
  return outlines_.fault().empty() ? outlines_.extent(pixels) : Extent{pixels, 0};
}

Box Font::bounds(unsigned char byte, FontSize size) const {
  if (!isSeen(byte)) return {};
  if (const Strike* strike = strikeOf(size)) return strike->bounds(byte);
  const char32_t character = unicodeOf(encoding_, byte);
  return outlinesOf(character).bounds(character, size);
}

void Font::draw(unsigned char byte, FontSize size, Pen at, Ink& ink) const {
  if (!isSeen(byte)) return;
  if (const Strike* strike = strikeOf(size)) return strike->draw(byte, at, ink);
  const char32_t character = unicodeOf(encoding_, byte);
  outlinesOf(character).draw(character, size, at, ink);
}

Face Fonts::get(Family family, bool isBold, bool isItalic) {
  const Files& files = kFiles[static_cast<std::size_t>(family)];
  std::string strikes = files.strikes;
  std::string name = files.outlines;
  if (files.hasStyles) {
    constexpr const char* kStyles[][2] = {
        {"-regular", "-Regular"}, {"-bold", "-Bold"}, {"-italic", "-Italic"}, {"-bold-italic", "-BoldItalic"}};
    const auto& style = kStyles[(isBold ? 1 : 0) + (isItalic ? 2 : 0)];
    strikes += style[0];
    name += style[1];
    isBold = isItalic = false;
  }
  const auto found = fonts_.find(strikes);
  if (found != fonts_.end()) return {found->second, isBold, isItalic};
  const auto [entry, isNew] =
      fonts_.try_emplace(strikes, folder_ / (strikes + ".strikes"), outlines(name), outlines(kSpare), files.encoding);
  return {entry->second, isBold, isItalic};
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
