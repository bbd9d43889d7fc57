#include "engine/images/image.h"

#include <algorithm>

namespace qd {
namespace {

std::string sizeInWords(std::int64_t width, std::int64_t height) {
  return std::to_string(width) + "x" + std::to_string(height) + " pixels";
}

}  // namespace

bool hasDepth(int depth, std::initializer_list<int> depths, std::string& why) {
  if (std::ranges::find(depths, depth) != depths.end()) return true;
  why = "it has pixels of " + std::to_string(depth) + " bits";
  return false;
}

bool hasPossibleSize(std::int64_t width, std::int64_t height, std::string& why) {
  const auto fits = [](std::int64_t side) { return side > 0 && side <= kMostPixelsASide; };
  if (fits(width) && fits(height)) return true;
  why = "it has " + sizeInWords(width, height) + ", and 1 to " + std::to_string(kMostPixelsASide) +
        " a side can be decoded";
  return false;
}

bool mayBeHeldWhole(std::int64_t width, std::int64_t height, std::size_t bytes, std::int64_t mostPixelsPerByte,
                    std::string& why) {
  if (!hasPossibleSize(width, height, why)) return false;
  constexpr std::int64_t kPlausiblePerByte = 64;
  constexpr std::int64_t kSmall = 1'000'000;  // not worth a doubt
  const std::int64_t pixels = width * height;
  const auto size = static_cast<std::int64_t>(bytes);
  if (pixels <= std::max(kMostPixelsAtOnce, size * kPlausiblePerByte) &&
      pixels <= std::max(kSmall, size * mostPixelsPerByte)) {
    return true;
  }
  why = "it tells of " + sizeInWords(width, height) + ", too many to be decoded at once from " + std::to_string(bytes) +
        " bytes";
  return false;
}

void unpackComponents(const std::uint8_t* from, int count, std::span<std::uint32_t> row) {
  for (std::uint32_t& pixel : row) {
    pixel = static_cast<std::uint32_t>(from[0] << 16 | from[1] << 8 | from[2]);
    if (count == 4) pixel |= std::uint32_t{from[3]} << 24;
    from += count;
  }
}

}  // namespace qd
