// The fonts that text is drawn in, from their files.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/text/encodings.h"
#include "engine/text/outlines.h"
#include "engine/text/strikes.h"
#include "engine/text/substitutes.h"

namespace qd {

// One face of a family: strikes at the sizes of the screen, outlines for all others.
class Font {
 public:
  // What its outlines don't have comes from the spare ones. Both outlive it.
  Font(const std::filesystem::path& strikes, const Outlines& outlines, const Outlines& spare, Encoding encoding)
      : strikes_(strikes), outlines_(outlines), spare_(spare) {
    for (std::size_t byte = 0; byte < codes_.size(); ++byte)
      codes_[byte] = unicodeOf(encoding, static_cast<unsigned char>(byte));
  }

  // What keeps a size from being drawn as it should, and whether nothing is.
  struct Fault {
    std::string sentence;  // without its full stop; empty if all is well
    bool isNothingDrawn = false;
  };
  Fault faultAt(FontSize size) const;

  // Bytes are characters of the font's encoding. Of those that aren't seen, which take no place, nothing else is asked.
  bool isSeen(unsigned char byte) const { return codes_[byte] != 0; }
  int advance(unsigned char byte, int pixels) const;
  // As its outline says: not whole pixels.
  double exactAdvance(unsigned char byte, int pixels) const;
  Extent extent(int pixels) const;
  Box bounds(unsigned char byte, FontSize size) const;
  void draw(unsigned char byte, FontSize size, Pen at, Ink& ink) const;

 private:
  // Which has it, or the box that stands for it.
  const Outlines& outlinesOf(char32_t character) const;
  const Strike* strikeOf(FontSize size) const { return size.h == size.v ? strikes_.get(size.v) : nullptr; }

  Strikes strikes_;
  const Outlines& outlines_;
  const Outlines& spare_;
  std::array<char32_t, 256> codes_;  // of the bytes
};

// A font in a style. Fonts of signs have no faces for styles: they are made so from the plain one.
struct Face {
  const Font& font;
  bool isSmeared, isSlanted;
};

// The files in a folder, each read when it is first asked for. For one thread at a time, as its fonts are.
class Fonts {
 public:
  explicit Fonts(std::filesystem::path folder) : folder_(std::move(folder)) {}
  Face get(Family family, bool isBold, bool isItalic);

  // Texts that were not drawn, and what is wrong with the fonts of those and others, once each.
  struct Lost {
    int texts = 0;
    std::vector<std::string> faults;
  };
  void tell(const Font::Fault& fault);
  // Those since they were last taken.
  Lost takeLost() { return std::exchange(lost_, {}); }

 private:
  static constexpr std::size_t kStyles = 4;  // plain, bold, italic, both
  std::unique_ptr<Font> read(Family family, std::size_t style);
  const Outlines& outlines(const std::string& name);

  std::filesystem::path folder_;
  Lost lost_;
  std::map<std::string, Outlines> outlines_;  // by the file's name
  std::array<std::unique_ptr<Font>, kFamilies * kStyles> fonts_;
};

}  // namespace qd
