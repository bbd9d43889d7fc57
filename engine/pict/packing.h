// How the pixels of each depth lie in a row: indices with the most significant bits first, 16 and 32 bits with the most
// significant byte first.
#pragma once

#include <cstdint>
#include <cstring>

#include "engine/swapped.h"

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
// A word a pixel.
template <class Word>
struct PackedWords {
  static std::uint32_t get(const std::uint8_t* row, int i) {
    Word word = 0;
    std::memcpy(&word, row + kSize * i, kSize);
    return swapped(word);
  }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) {
    const Word word = swapped(static_cast<Word>(pixel));
    std::memcpy(row + kSize * i, &word, kSize);
  }

 private:
  static constexpr int kSize = sizeof(Word);
};
template <>
struct Packed<16> : PackedWords<std::uint16_t> {};
template <>
struct Packed<32> : PackedWords<std::uint32_t> {};

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
