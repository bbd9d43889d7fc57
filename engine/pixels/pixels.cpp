#include "engine/pixels/pixels.h"

#include "engine/pict/packing.h"

namespace qd {
namespace {

constexpr std::int64_t kMostBytes = std::int64_t{1} << (sizeof(void*) < 8 ? 30 : 40);  // of one map

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

constexpr RGBColor kStandard16[] = {
    {0xFFFF, 0xFFFF, 0xFFFF}, {0xFC00, 0xF37D, 0x052F}, {0xFFFF, 0x648A, 0x028C}, {0xDD6B, 0x08C2, 0x06A2},
    {0xF2D7, 0x0856, 0x84EC}, {0x46E3, 0x0000, 0xA53E}, {0x0000, 0x0000, 0xD400}, {0x0241, 0xAB54, 0xEAFF},
    {0x1F21, 0xB793, 0x1431}, {0x0000, 0x64AF, 0x11B0}, {0x5600, 0x2C9D, 0x0524}, {0x90D7, 0x7160, 0x3A34},
    {0xC000, 0xC000, 0xC000}, {0x8000, 0x8000, 0x8000}, {0x4000, 0x4000, 0x4000}, {0, 0, 0},
};
constexpr RGBColor kStandard4[] = {
    {0xFFFF, 0xFFFF, 0xFFFF}, {0x8000, 0x8000, 0x8000}, {0xB5B5, 0xD5D5, 0xFFFF}, {0, 0, 0}};

std::vector<RGBColor> colorsOf(int id) {
  switch (id) {
    case 33:
      return greyRamp(2);
    case 34:
      return greyRamp(4);
    case 36:
      return greyRamp(16);
    case 40:
      return greyRamp(256);
    case 66:
      return {std::begin(kStandard4), std::end(kStandard4)};
    case 68:
      return {std::begin(kStandard16), std::end(kStandard16)};
    case 72:
      return standard256();
    default:
      return {};
  }
}

}  // namespace

ColorTablePtr ColorTables::byId(int id) {
  if (const auto known = tables_.find(id); known != tables_.end()) return known->second;
  std::vector<RGBColor> colors = colorsOf(id);
  if (colors.empty()) return nullptr;
  return tables_[id] = std::make_shared<const ColorTable>(std::move(colors));
}

ColorTable::ColorTable(std::vector<RGBColor> colors) : colors_(std::move(colors)) {
  for (std::uint32_t i = 0; i < deepPixels_.size(); ++i) deepPixels_[i] = deepPixel(color(i));
  isDeep_ = std::all_of(colors_.begin(), colors_.end(), [](const RGBColor& c) { return deepColor(deepPixel(c)) == c; });
}

InverseTable& ColorTable::inverse() const {
  if (inverse_ == nullptr) inverse_ = std::make_unique<InverseTable>(colors_);
  return *inverse_;
}

std::uint32_t PixelMap::pixelOf(const RGBColor& color) const {
  if (depth == 32) return deepPixel(color);
  if (depth == 16) return (color.red >> 11U) << 10 | (color.green >> 11U) << 5 | color.blue >> 11U;
  return colors->nearest(color);
}

RGBColor PixelMap::colorOf(std::uint32_t pixel) const {
  if (depth == 32) return deepColor(pixel);
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

namespace {

// Loops with values of their own, counted by int as places in a row are: the compiler looks nothing up again after a
// byte is stored, and does several pixels at once.
template <class Packing>
void pack(std::uint8_t* row, int first, const std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i) Packing::put(row, first + i, pixels[i]);
}
template <class Packing>
void unpack(const std::uint8_t* row, int first, std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i) pixels[i] = Packing::get(row, first + i);
}

}  // namespace

void packPixels(int depth, std::uint8_t* row, int first, std::span<const std::uint32_t> pixels) {
  withPacking(depth, [&]<class Packing>(Packing) {
    pack<Packing>(row, first, pixels.data(), static_cast<int>(pixels.size()));
  });
}

void unpackPixels(int depth, const std::uint8_t* row, int first, std::span<std::uint32_t> pixels) {
  withPacking(depth, [&]<class Packing>(Packing) {
    unpack<Packing>(row, first, pixels.data(), static_cast<int>(pixels.size()));
  });
}

void unpackColors(int depth, const std::uint8_t* row, std::span<std::uint32_t> pixels) {
  unpackPixels(depth, row, 0, pixels);
  if (depth <= 8) return;
  for (std::uint32_t& pixel : pixels) pixel &= onesOf(depth);
}

}  // namespace qd
