// Pixels in memory: maps of depth 1, 2, 4, 8 (indices, most significant bits first), 16 (big-endian 1-5-5-5) and 32
// (bytes unused, red, green, blue), and the colours that they stand for.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "engine/pixels/inverse_table.h"

namespace qd {

class ColorTable {
 public:
  explicit ColorTable(std::vector<RGBColor> colors);
  const std::vector<RGBColor>& colors() const { return colors_; }
  bool isBlackOnWhite() const {
    return colors_.size() == 2 && colors_[0] == RGBColor{0xFFFF, 0xFFFF, 0xFFFF} && colors_[1] == RGBColor{0, 0, 0};
  }
  // An index beyond the table is black, as the table's last entry is.
  RGBColor color(std::uint32_t index) const { return index < colors_.size() ? colors_[index] : RGBColor{0, 0, 0}; }
  // The same as pixels of 32 bits, by all indices that a map can have.
  const std::array<std::uint32_t, 256>& deepPixels() const { return deepPixels_; }
  // Whether these pixels are the colours exactly: components of a byte, repeated in 16 bits.
  bool isDeep() const { return isDeep_; }
  // The entry with the least sum of squared differences; of equals the first.
  std::uint32_t nearest(const RGBColor& color) const { return inverse().nearest(color); }
  // Made when it is first asked for.
  InverseTable& inverse() const;

 private:
  std::vector<RGBColor> colors_;
  std::array<std::uint32_t, 256> deepPixels_ = {};
  bool isDeep_;
  mutable std::unique_ptr<InverseTable> inverse_;
};

using ColorTablePtr = std::shared_ptr<const ColorTable>;

// The tables that GetCTable knows by number (Inside Macintosh V): grey ramps 33, 34, 36, 40 and the standard tables 66,
// 68, 72. Each is made when it is first asked for.
class ColorTables {
 public:
  // Null for a number that is none of these.
  ColorTablePtr byId(int id);
  // What a map of that depth has when nobody said otherwise.
  ColorTablePtr standard(int depth) { return byId(depth == 1 ? 33 : 64 + depth); }

 private:
  std::map<int, ColorTablePtr> tables_;
};

constexpr std::uint32_t onesOf(int depth) { return depth == 32 ? 0xFFFFFF : depth == 16 ? 0x7FFF : (1U << depth) - 1; }

struct PixelMap {
  std::uint8_t* base = nullptr;
  int rowBytes = 0;
  Box bounds;
  int depth = 1;
  ColorTablePtr colors;   // of an indexed map
  bool hasAlpha = false;  // of 32 bits: the byte that makes no colour is the pixel's opacity, and worth keeping

  bool isDirect() const { return depth > 8; }
  // One bit deep in black and white: its set bits take the foreground colour, the clear ones the background.
  bool isBitMap() const { return depth == 1 && (colors == nullptr || colors->isBlackOnWhite()); }
  // All bits of a pixel that make its colour.
  std::uint32_t ones() const { return onesOf(depth); }
  // Of pixels that are whole bytes: how many of them, and where one lies.
  std::size_t pixelBytes() const { return static_cast<std::size_t>(depth / 8); }
  std::uint8_t* at(int y, int x) const { return row(y) + static_cast<std::size_t>(x - bounds.left) * pixelBytes(); }
  std::uint8_t* row(int y) const { return base + static_cast<std::ptrdiff_t>(y - bounds.top) * rowBytes; }

  std::uint32_t pixelOf(const RGBColor& color) const;
  RGBColor colorOf(std::uint32_t pixel) const;
  // A run of pixels as numbers, and back. The run lies within the map.
  void get(int y, int left, std::span<std::uint32_t> pixels) const;
  void put(int y, int left, std::span<const std::uint32_t> pixels) const;
};

// A map with pixels of its own. They are zero, which is white in an indexed map.
struct OwnedPixels {
  static std::optional<OwnedPixels> make(const Box& bounds, int depth, ColorTablePtr colors);

  struct Free {
    void operator()(std::uint8_t* bytes) const { std::free(bytes); }
  };
  std::unique_ptr<std::uint8_t, Free> bytes;
  PixelMap map;
};

// Packs numbers into a row, and back; the row begins at pixel 0.
void packPixels(int depth, std::uint8_t* row, int first, std::span<const std::uint32_t> pixels);
void unpackPixels(int depth, const std::uint8_t* row, int first, std::span<std::uint32_t> pixels);
// Unpacks a row of a file, where programs leave anything in the bits that make no colour. Copies compare pixels, and
// recordings don't keep these bits.
void unpackColors(int depth, const std::uint8_t* row, std::span<std::uint32_t> pixels);

// A pixel of 32 bits, and back.
constexpr RGBColor deepColor(std::uint32_t pixel) {
  const auto component = [pixel](int shift) { return static_cast<std::uint16_t>((pixel >> shift & 0xFF) * 257); };
  return {component(16), component(8), component(0)};
}
constexpr std::uint32_t deepPixel(const RGBColor& color) {
  return static_cast<std::uint32_t>(color.red >> 8 << 16 | (color.green & 0xFF00) | color.blue >> 8);
}
// The byte that makes no colour.
constexpr std::uint32_t alphaOf(std::uint32_t pixel) { return pixel >> 24; }
constexpr std::uint16_t widen5(std::uint32_t c) { return static_cast<std::uint16_t>((c << 3 | c >> 2) * 257); }

}  // namespace qd
