// How the pixels of each depth lie in a row: indices with the most significant bits first, 16 and 32 bits with the most
// significant byte first.
#pragma once

#include <cstdint>
#include <cstring>

namespace qd {

template <int Depth>
struct Packed {
  static constexpr std::uint32_t kMask = (1U << Depth) - 1;
  static int shift(int i) { return 8 - Depth - i * Depth % 8; }
  static std::uint32_t get(const std::uint8_t* row, int i) { return row[i * Depth / 8] >> shift(i) & kMask; }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) {
    std::uint8_t& byte = row[i * Depth / 8];
    byte = static_cast<std::uint8_t>((byte & ~(kMask << shift(i))) | (pixel & kMask) << shift(i));
  }
};
template <>
struct Packed<8> {
  static std::uint32_t get(const std::uint8_t* row, int i) { return row[i]; }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) { row[i] = static_cast<std::uint8_t>(pixel); }
};
template <>
struct Packed<16> {
  static std::uint32_t get(const std::uint8_t* row, int i) {
    std::uint16_t bytes = 0;
    std::memcpy(&bytes, row + 2 * i, 2);
    return __builtin_bswap16(bytes);
  }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) {
    const std::uint16_t bytes = __builtin_bswap16(static_cast<std::uint16_t>(pixel));
    std::memcpy(row + 2 * i, &bytes, 2);
  }
};
template <>
struct Packed<32> {
  static std::uint32_t get(const std::uint8_t* row, int i) {
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, row + 4 * i, 4);
    return __builtin_bswap32(bytes);
  }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) {
    const std::uint32_t bytes = __builtin_bswap32(pixel);
    std::memcpy(row + 4 * i, &bytes, 4);
  }
};

// Pixels as the machine's own numbers, which is how they are worked on.
struct Unpacked {
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) { std::memcpy(row + 4 * i, &pixel, 4); }
};

// Calls `use` with the packing of a depth.
template <class Use>
void withPacking(int depth, const Use& use) {
  switch (depth) {
    case 1:
      return use(Packed<1>());
    case 2:
      return use(Packed<2>());
    case 4:
      return use(Packed<4>());
    case 8:
      return use(Packed<8>());
    case 16:
      return use(Packed<16>());
    default:
      return use(Packed<32>());
  }
}

}  // namespace qd
