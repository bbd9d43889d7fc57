// Makes a file of strikes for a face: every character at each size of the screen, hinted by FreeType and packed as font
// records (engine/text/strikes.h). Characters of which hinting leaves nothing, and the box of those that there aren't,
// are drawn from outlines.
//
//   pack_strikes mac-roman|symbol|dingbats FONT.ttf SPARE.ttf OUT.strikes
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/pict/bytes.h"
#include "engine/text/encodings.h"
#include "engine/text/outlines.h"
#include "engine/text/strikes.h"

namespace {

struct Glyph {
  int advance = 0;
  qd::Box box;                         // around its pixels, from the pen
  std::vector<std::uint8_t> pixels{};  // by rows from the top, 1 where there is ink

  bool isBlank() const { return std::find(pixels.begin(), pixels.end(), 1) == pixels.end(); }
};

// FreeType counts in 64ths.
int pixelsOf(FT_Pos length) { return static_cast<int>(length >> 6); }

// A font file as FreeType sees it, which lays its characters out for pixels that are there or not.
class Hinted {
 public:
  explicit Hinted(const char* font) {
    if (FT_Init_FreeType(&library_) != 0 || FT_New_Face(library_, font, 0, &face_) != 0)
      throw std::runtime_error("FreeType can't read \"" + std::string(font) + "\"");
  }
  Hinted(const Hinted&) = delete;
  Hinted& operator=(const Hinted&) = delete;
  ~Hinted() { FT_Done_FreeType(library_); }

  qd::Extent extent(int size) {
    FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(size));
    const FT_Size_Metrics& metrics = face_->size->metrics;
    return {pixelsOf(metrics.ascender + 63), pixelsOf(63 - metrics.descender)};
  }

  Glyph glyph(char32_t code, int size) {
    FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(size));
    if (FT_Load_Char(face_, code, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO) != 0)
      throw std::runtime_error("FreeType can't draw the character " + std::to_string(std::uint32_t{code}));
    const FT_GlyphSlot slot = face_->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    const int width = static_cast<int>(bitmap.width), height = static_cast<int>(bitmap.rows);
    Glyph glyph{pixelsOf(slot->advance.x + 32),
                qd::Box(-slot->bitmap_top, slot->bitmap_left, height - slot->bitmap_top, slot->bitmap_left + width)};
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const unsigned bits = bitmap.buffer[y * bitmap.pitch + x / 8];
        glyph.pixels.push_back(static_cast<std::uint8_t>(bits >> (7 - x % 8) & 1U));
      }
    }
    return glyph;
  }

 private:
  FT_Library library_ = nullptr;
  FT_Face face_ = nullptr;
};

Glyph glyphOf(const qd::Outlines& outlines, char32_t code, int size) {
  Glyph glyph{static_cast<int>(std::lround(outlines.advance(code, size))), outlines.bounds(code, {size, size})};
  qd::Ink ink(glyph.box);
  outlines.draw(code, {size, size}, {0, 0}, ink);
  for (int y = glyph.box.top; y < glyph.box.bottom; ++y) {
    for (int x = glyph.box.left; x < glyph.box.right; ++x) glyph.pixels.push_back(ink.has(y, x) ? 1 : 0);
  }
  return glyph;
}

class Packer {
 public:
  Packer(qd::Encoding encoding, const char* font, const char* spare)
      : encoding_(encoding), outlines_{qd::Outlines(font), qd::Outlines(spare)}, hinted_{Hinted(font), Hinted(spare)} {
    for (const qd::Outlines& outlines : outlines_) {
      if (!outlines.fault().empty()) throw std::runtime_error(outlines.fault());
    }
  }

  // The font record of a size.
  qd::ByteWriter record(int size) {
    std::vector<Glyph> glyphs;
    for (unsigned byte = 0; byte < 256; ++byte)
      glyphs.push_back(glyph(qd::unicodeOf(encoding_, static_cast<unsigned char>(byte)), size));
    glyphs.push_back(glyph(qd::kNoCharacter, size));

    auto [ascent, descent] = hinted_[0].extent(size);
    int kern = 0, widest = 0, columns = 0;
    for (const Glyph& glyph : glyphs) {
      ascent = std::max(ascent, -glyph.box.top);
      descent = std::max(descent, glyph.box.bottom);
      kern = std::min(kern, glyph.box.left);
      widest = std::max(widest, glyph.advance);
      columns += glyph.box.width();
    }
    const int rowWords = (columns + 15) / 16;
    const auto rowBytes = static_cast<std::size_t>(rowWords) * 2;
    std::vector<std::uint8_t> image(rowBytes * static_cast<std::size_t>(ascent + descent));
    std::vector<int> begins;
    int column = 0;
    for (const Glyph& glyph : glyphs) {
      begins.push_back(column);
      auto pixel = glyph.pixels.begin();
      for (int y = glyph.box.top; y < glyph.box.bottom; ++y) {
        for (int x = column; x < column + glyph.box.width(); ++x) {
          if (*pixel++ != 0)
            image[static_cast<std::size_t>(ascent + y) * rowBytes + static_cast<std::size_t>(x) / 8] |= 0x80 >> x % 8;
        }
      }
      column += glyph.box.width();
    }
    begins.push_back(column);

    qd::ByteWriter out;
    constexpr int kProportional = 0x9000;
    const int places = static_cast<int>(begins.size());
    for (const int number : {kProportional, 0, 255, widest, kern, -descent, widest, ascent + descent,
                             // The widths' place in words from here: the rest of the head, the image and the table of
                             // places lie before it.
                             5 + rowWords * (ascent + descent) + places, ascent, descent, 0, rowWords})
      out.u16(static_cast<std::uint16_t>(number));
    out.put(image);
    for (const int begin : begins) out.u16(static_cast<std::uint16_t>(begin));
    for (const Glyph& glyph : glyphs) {
      out.u8(static_cast<std::uint8_t>(glyph.box.left - kern));
      out.u8(static_cast<std::uint8_t>(glyph.advance));
    }
    out.u16(0xFFFF);
    return out;
  }

 private:
  Glyph glyph(char32_t code, int size) {
    if (code == 0) return {};
    for (std::size_t which = 0; which < 2; ++which) {
      if (!outlines_[which].has(code)) continue;
      Glyph glyph = hinted_[which].glyph(code, size);
      return glyph.isBlank() ? glyphOf(outlines_[which], code, size) : glyph;
    }
    return glyphOf(outlines_[1], qd::kNoCharacter, size);
  }

  qd::Encoding encoding_;
  // Of the font, and of the spare one.
  std::array<qd::Outlines, 2> outlines_;
  std::array<Hinted, 2> hinted_;
};

void pack(const std::string& encoding, const char* font, const char* spare, const char* out) {
  Packer packer(encoding == "symbol"     ? qd::Encoding::symbol
                : encoding == "dingbats" ? qd::Encoding::dingbats
                                         : qd::Encoding::macRoman,
                font, spare);
  constexpr int kCount = qd::Strikes::kLargest - qd::Strikes::kSmallest + 1;
  qd::ByteWriter head, records;
  head.u16(kCount);
  for (int size = qd::Strikes::kSmallest; size <= qd::Strikes::kLargest; ++size) {
    head.u16(static_cast<std::uint16_t>(size));
    head.u32(static_cast<std::uint32_t>(2 + 6 * kCount + records.bytes().size()));
    records.put(packer.record(size).bytes());
  }
  std::ofstream file(out, std::ios::binary);
  for (const auto* part : {&head, &records})
    file.write(reinterpret_cast<const char*>(part->bytes().data()), static_cast<std::streamsize>(part->bytes().size()));
  if (!file.flush()) throw std::runtime_error(std::string(out) + " can't be written");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: pack_strikes mac-roman|symbol|dingbats FONT.ttf SPARE.ttf OUT.strikes\n";
    return 2;
  }
  try {
    pack(argv[1], argv[2], argv[3], argv[4]);
  } catch (const std::exception& error) {
    std::cerr << "pack_strikes: " << error.what() << ".\n";
    return 1;
  }
}
