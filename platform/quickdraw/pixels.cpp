#include "platform/quickdraw/pixels.h"

#include <cstring>

namespace qd {
namespace {

constexpr std::int64_t kMostBytes = std::int64_t{1} << 30;  // of one map

std::vector<RGBColor> greyRamp(int count) {
  std::vector<RGBColor> colors;
  for (int i = 0; i < count; ++i) {
    const auto level = static_cast<std::uint16_t>(0xFFFF - 0xFFFF * i / (count - 1));
    colors.push_back({level, level, level});
  }
  return colors;
}

// The standard 256: the cube of six levels without black, ten shades each of red, green, blue and grey, and black.
std::vector<RGBColor> standard256() {
  constexpr std::uint16_t cube[] = {0xFFFF, 0xCCCC, 0x9999, 0x6666, 0x3333, 0};
  constexpr std::uint16_t shades[] = {0xEEEE, 0xDDDD, 0xBBBB, 0xAAAA, 0x8888, 0x7777, 0x5555, 0x4444, 0x2222, 0x1111};
  std::vector<RGBColor> colors;
  for (const std::uint16_t red : cube) {
    for (const std::uint16_t green : cube) {
      for (const std::uint16_t blue : cube) colors.push_back({red, green, blue});
    }
  }
  colors.pop_back();
  for (const std::uint16_t s : shades) colors.push_back({s, 0, 0});
  for (const std::uint16_t s : shades) colors.push_back({0, s, 0});
  for (const std::uint16_t s : shades) colors.push_back({0, 0, s});
  for (const std::uint16_t s : shades) colors.push_back({s, s, s});
  colors.push_back({0, 0, 0});
  return colors;
}

const std::vector<RGBColor> kStandard16 = {
    {0xFFFF, 0xFFFF, 0xFFFF}, {0xFC00, 0xF37D, 0x052F}, {0xFFFF, 0x648A, 0x028C}, {0xDD6B, 0x08C2, 0x06A2},
    {0xF2D7, 0x0856, 0x84EC}, {0x46E3, 0x0000, 0xA53E}, {0x0000, 0x0000, 0xD400}, {0x0241, 0xAB54, 0xEAFF},
    {0x1F21, 0xB793, 0x1431}, {0x0000, 0x64AF, 0x11B0}, {0x5600, 0x2C9D, 0x0524}, {0x90D7, 0x7160, 0x3A34},
    {0xC000, 0xC000, 0xC000}, {0x8000, 0x8000, 0x8000}, {0x4000, 0x4000, 0x4000}, {0, 0, 0},
};
const std::vector<RGBColor> kStandard4 = {
    {0xFFFF, 0xFFFF, 0xFFFF}, {0x8000, 0x8000, 0x8000}, {0xB5B5, 0xD5D5, 0xFFFF}, {0, 0, 0}};

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
  static std::uint32_t get(const std::uint8_t* row, int i) { return row[2 * i] << 8U | row[2 * i + 1]; }
  static void put(std::uint8_t* row, int i, std::uint32_t pixel) {
    row[2 * i] = static_cast<std::uint8_t>(pixel >> 8);
    row[2 * i + 1] = static_cast<std::uint8_t>(pixel);
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

// Calls `use` with the packing of a depth.
template <class Use>
void withDepth(int depth, Use use) {
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

}  // namespace

ColorTablePtr ColorTable::byId(int id) {
  const auto made = [](std::vector<RGBColor> colors) { return std::make_shared<const ColorTable>(std::move(colors)); };
  switch (id) {
    case 33: {
      static const ColorTablePtr table = made(greyRamp(2));
      return table;
    }
    case 34: {
      static const ColorTablePtr table = made(greyRamp(4));
      return table;
    }
    case 36: {
      static const ColorTablePtr table = made(greyRamp(16));
      return table;
    }
    case 40: {
      static const ColorTablePtr table = made(greyRamp(256));
      return table;
    }
    case 66: {
      static const ColorTablePtr table = made(kStandard4);
      return table;
    }
    case 68: {
      static const ColorTablePtr table = made(kStandard16);
      return table;
    }
    case 72: {
      static const ColorTablePtr table = made(standard256());
      return table;
    }
    default:
      return nullptr;
  }
}

ColorTablePtr ColorTable::standard(int depth) { return byId(depth == 1 ? 33 : 64 + depth); }

// An entry can be nearest in a cell only if its least distance to it isn't above some entry's greatest.
ColorTable::Candidates ColorTable::candidatesOf(std::size_t cell) const {
  constexpr int kSide = 0x10000 >> kCellBits;
  constexpr std::size_t kMask = (std::size_t{1} << kCellBits) - 1;
  struct Distances {
    std::int64_t least = 0, most = 0;
  };
  const auto distances = [cell](const RGBColor& color) {
    const int components[] = {color.blue, color.green, color.red};
    Distances sum;
    for (int i = 0; i < 3; ++i) {
      const int low = static_cast<int>(cell >> (i * kCellBits) & kMask) * kSide;
      const std::int64_t below = low - components[i];
      const std::int64_t above = components[i] - (low + kSide - 1);
      const std::int64_t outside = std::max({below, above, std::int64_t{0}});
      const std::int64_t across = std::max(std::abs(below), std::abs(above));
      sum.least += outside * outside;
      sum.most += across * across;
    }
    return sum;
  };
  std::int64_t bound = INT64_MAX;
  for (const RGBColor& color : colors_) bound = std::min(bound, distances(color).most);
  Candidates candidates;
  for (std::size_t i = 0; i < colors_.size(); ++i) {
    if (distances(colors_[i]).least <= bound) candidates.push_back(static_cast<std::uint16_t>(i));
  }
  return candidates;
}

std::uint32_t ColorTable::nearest(const RGBColor& color) const {
  const std::uint64_t key = std::uint64_t{color.red} << 32 | std::uint64_t{color.green} << 16 | color.blue;
  if (answers_.empty()) answers_.resize(kMemory, {UINT64_MAX, 0});
  Answer& answer = answers_[(color.red * 37U ^ color.green * 101U ^ color.blue * 1009U) % kMemory];
  if (answer.color != key) answer = {key, nearestOf(color)};
  return answer.index;
}

std::uint32_t ColorTable::nearestOf(const RGBColor& color) const {
  constexpr int kShift = 16 - kCellBits;
  const std::size_t cell = std::size_t{color.red} >> kShift << 2 * kCellBits |
                           std::size_t{color.green} >> kShift << kCellBits | std::size_t{color.blue} >> kShift;
  Candidates& candidates = cells_[cell];
  if (candidates.empty()) candidates = candidatesOf(cell);

  std::int64_t best = INT64_MAX;
  std::uint32_t nearest = 0;
  for (const std::uint16_t i : candidates) {
    const std::int64_t red = colors_[i].red - color.red;
    const std::int64_t green = colors_[i].green - color.green;
    const std::int64_t blue = colors_[i].blue - color.blue;
    const std::int64_t distance = red * red + green * green + blue * blue;
    if (distance < best) {
      best = distance;
      nearest = i;
    }
  }
  return nearest;
}

std::uint32_t PixelMap::pixelOf(const RGBColor& color) const {
  if (depth == 32) return (color.red >> 8U) << 16 | (color.green >> 8U) << 8 | color.blue >> 8U;
  if (depth == 16) return (color.red >> 11U) << 10 | (color.green >> 11U) << 5 | color.blue >> 11U;
  return colors->nearest(color);
}

RGBColor PixelMap::colorOf(std::uint32_t pixel) const {
  const auto byte = [pixel](int shift) { return static_cast<std::uint16_t>((pixel >> shift & 0xFF) * 257); };
  if (depth == 32) return {byte(16), byte(8), byte(0)};
  if (depth == 16) return {widen5(pixel >> 10 & 31), widen5(pixel >> 5 & 31), widen5(pixel & 31)};
  if (colors == nullptr) return pixel != 0 ? RGBColor{0, 0, 0} : RGBColor{0xFFFF, 0xFFFF, 0xFFFF};
  return colors->color(pixel);
}

void PixelMap::get(int y, int left, std::span<std::uint32_t> pixels) const {
  unpackPixels(depth, row(y), left - bounds.left, pixels);
}

void PixelMap::put(int y, int left, std::span<const std::uint32_t> pixels) const {
  packPixels(depth, row(y), left - bounds.left, pixels);
}

std::optional<OwnedPixels> OwnedPixels::make(const Box& bounds, int depth, ColorTablePtr colors) {
  if (bounds.empty()) return std::nullopt;
  const std::int64_t rowBytes = (std::int64_t{bounds.width()} * depth + 127) / 128 * 16;
  if (rowBytes * bounds.height() > kMostBytes) return std::nullopt;
  auto* bytes = static_cast<std::uint8_t*>(
      std::calloc(static_cast<std::size_t>(bounds.height()), static_cast<std::size_t>(rowBytes)));
  if (bytes == nullptr) return std::nullopt;
  OwnedPixels pixels;
  pixels.bytes.reset(bytes);
  pixels.map = {bytes, static_cast<int>(rowBytes), bounds, depth, std::move(colors)};
  return pixels;
}

void packPixels(int depth, std::uint8_t* row, int first, std::span<const std::uint32_t> pixels) {
  withDepth(depth, [&]<class Packing>(Packing) {
    for (const std::uint32_t pixel : pixels) Packing::put(row, first++, pixel);
  });
}

void unpackPixels(int depth, const std::uint8_t* row, int first, std::span<std::uint32_t> pixels) {
  withDepth(depth, [&]<class Packing>(Packing) {
    for (std::uint32_t& pixel : pixels) pixel = Packing::get(row, first++);
  });
}

}  // namespace qd
