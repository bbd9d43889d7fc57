// What the samples of a TIFF's pixels stand for, whoever unpacks them.
#pragma once

#include <algorithm>
#include <array>

#include "engine/images/image.h"

namespace qd {

enum TiffMeaning { kWhiteIsZero = 0, kBlackIsZero = 1, kDeep = 2, kPalette = 3 };

// The fourth of four samples may be opacity, and the colours weaker by it already.
enum class TiffAlpha { none = 0, inColors = 1, beside = 2 };

// The pixels of greys or indices of up to 8 bits. `component` is one of a palette's, of 16 bits.
template <class Component>
std::array<std::uint32_t, 256> tiffTable(std::uint32_t bits, std::uint32_t meaning, const Component& component) {
  std::array<std::uint32_t, 256> table = {};
  const std::size_t last = (std::size_t{1} << bits) - 1;
  for (std::size_t i = 0; i <= last; ++i) {
    if (meaning == kPalette) {
      const auto upper = [&](std::size_t c) -> std::uint32_t { return component(c, i) >> 8 & 0xFF; };
      table[i] = upper(0) << 16 | upper(1) << 8 | upper(2);
    } else {
      table[i] = static_cast<std::uint32_t>((meaning == kWhiteIsZero ? last - i : i) * 255 / last * 0x010101);
    }
  }
  return table;
}

// A pixel of red, green, blue, and opacity if there is one. `sample` is one of its bytes.
template <class Sample>
std::uint32_t tiffColor(TiffAlpha kind, const Sample& sample) {
  const std::uint32_t alpha = kind != TiffAlpha::none ? sample(3) : 0;
  const auto component = [&](int c) -> std::uint32_t {
    const std::uint32_t value = sample(c);
    return kind == TiffAlpha::inColors && alpha != 0 ? std::min(255U, (value * 255 + alpha / 2) / alpha) : value;
  };
  return alpha << 24 | component(0) << 16 | component(1) << 8 | component(2);
}

}  // namespace qd
