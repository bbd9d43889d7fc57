// The characters of a face as bits, made for the screen one size at a time. A strike is a font record as the system
// kept it in its resources of type NFNT (Inside Macintosh, "The Font Manager"): a bit image of all characters side by
// side, a table of where each begins in it, and one of offsets and widths. A file of them begins with their number, and
// for each its size and where its record begins in the file. All numbers are of 16 bits, the places of 32, big-endian.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine/text/outlines.h"

namespace qd {

class Strike {
 public:
  // A record; its bytes stay where they are. None if it isn't sound.
  static std::optional<Strike> read(std::span<const std::uint8_t> record);

  Extent extent() const { return extent_; }
  int advance(unsigned char byte) const { return glyphs_[byte].advance; }
  Box bounds(unsigned char byte) const;
  void draw(unsigned char byte, Pen at, Ink& ink) const;

 private:
  struct Glyph {
    std::uint16_t first = 0, end = 0;  // columns of the image
    std::int16_t left = 0;             // from the pen
    std::uint8_t advance = 0;
  };

  std::span<const std::uint8_t> image_;
  std::size_t rowBytes_ = 0;
  int height_ = 0;
  Extent extent_ = {};
  std::array<Glyph, 256> glyphs_;
};

class Strikes {
 public:
  static constexpr int kSmallest = 6, kLargest = 24;

  explicit Strikes(const std::filesystem::path& file);
  Strikes(const Strikes&) = delete;
  Strikes& operator=(const Strikes&) = delete;

  // As of outlines; a file is sound as a whole or not used at all.
  const std::string& fault() const { return fault_; }
  // Null if there is none of that size.
  const Strike* get(int size) const;

 private:
  bool read();

  std::string fault_;
  std::vector<std::uint8_t> bytes_;
  std::array<std::optional<Strike>, kLargest + 1> strikes_;
};

}  // namespace qd
