// Bytes of files from machines of either order.
#pragma once

#include "engine/pict/bytes.h"
#include "engine/pixels/pixels.h"
#include "engine/swapped.h"

namespace qd {

class OrderedReader : public ByteReader {
 public:
  explicit OrderedReader(Bytes bytes, bool isLittle = true) : ByteReader(bytes), isLittle_(isLittle) {}

  std::uint16_t u16() {
    const std::uint16_t value = ByteReader::u16();
    return isLittle_ ? swapped(value) : value;
  }
  std::uint32_t u32() {
    const std::uint32_t value = ByteReader::u32();
    return isLittle_ ? swapped(value) : value;
  }

 private:
  bool isLittle_;
};

// Pixels of 15 or 16, 24 or 32 bits with the low byte first, as those of 32 bits.
constexpr std::uint32_t deepOfLittle(Bytes pixel) {
  if (pixel.size() >= 3) return static_cast<std::uint32_t>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]);
  const auto word = static_cast<std::uint32_t>(pixel[1] << 8 | pixel[0]);
  const auto component = [word](int shift) -> std::uint32_t { return widen5(word >> shift & 31) & 0xFF; };
  return component(10) << 16 | component(5) << 8 | component(0);
}

}  // namespace qd
