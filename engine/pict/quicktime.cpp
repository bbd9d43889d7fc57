#include "engine/pict/quicktime.h"

#include <cmath>

#include "engine/pict/bits.h"

#define STBI_NO_STDIO
#include <stb/stb_image.h>

namespace qd {
namespace {

constexpr std::int64_t kMostPixels = std::int64_t{1} << 26;
constexpr std::size_t kDescription = 86;  // bytes of an image description without extensions

// The scaling and the offset of a matrix of nine numbers, by rows; what turns or slants isn't followed.
struct Matrix {
  double h = 1, v = 1, left = 0, top = 0;

  static Matrix read(ByteReader& in) {
    std::int32_t cells[9];
    for (std::int32_t& cell : cells) cell = in.s32();
    return {cells[0] / 65536.0, cells[4] / 65536.0, cells[6] / 65536.0, cells[7] / 65536.0};
  }
  Rect map(int width, int height) const {
    const auto edge = [](double at) { return static_cast<int>(std::lround(std::clamp(at, -32768.0, 32767.0))); };
    return toRect({edge(top), edge(left), edge(top + v * height), edge(left + h * width)});
  }
};

struct Description {
  std::uint32_t codec = 0;
  int width = 0, height = 0, depth = 0;
  std::uint32_t dataSize = 0;
};

std::optional<Description> readDescription(ByteReader& in) {
  const std::uint32_t size = in.u32();
  if (size < kDescription) in.fail();
  ByteReader fields(in.take(size - 4));
  if (!in.good()) return std::nullopt;
  Description description;
  description.codec = fields.u32();
  fields.take(4 + 2 + 2 + 2 + 2 + 4 + 4 + 4);  // reserved, reference, version, revision, vendor, qualities
  description.width = fields.u16();
  description.height = fields.u16();
  fields.take(4 + 4);  // resolutions
  description.dataSize = fields.u32();
  fields.take(2 + 32);  // frames, the codec's name
  description.depth = fields.u16();
  return description;
}

std::optional<OwnedPixels> decodeWithLibrary(Bytes data) {
  int width = 0;
  int height = 0;
  int channels = 0;
  const auto size = static_cast<int>(data.size());
  if (stbi_info_from_memory(data.data(), size, &width, &height, &channels) == 0) return std::nullopt;
  if (std::int64_t{width} * height > kMostPixels) return std::nullopt;
  const std::unique_ptr<stbi_uc, void (*)(void*)> rgb(
      stbi_load_from_memory(data.data(), size, &width, &height, &channels, 3), stbi_image_free);
  auto pixels = rgb != nullptr ? OwnedPixels::make(Box(0, 0, height, width), 32, nullptr) : std::nullopt;
  if (!pixels) return pixels;
  std::vector<std::uint32_t> row(static_cast<std::size_t>(width));
  const stbi_uc* at = rgb.get();
  for (int y = 0; y < height; ++y) {
    for (std::uint32_t& pixel : row) {
      pixel = static_cast<std::uint32_t>(at[0] << 16 | at[1] << 8 | at[2]);
      at += 3;
    }
    pixels->map.put(y, 0, row);
  }
  return pixels;
}

// Rows of pixels, each ending at a whole byte; 24 bits are triplets.
std::optional<OwnedPixels> decodeRaw(Bytes data, const Description& description, ColorTables& tables) {
  const bool isGrey = description.depth > 32;  // 33 to 40: 1 to 8 bits of grey
  const int depth = isGrey ? description.depth - 32 : description.depth;
  if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 16 && depth != 24 && depth != 32) {
    return std::nullopt;
  }
  const auto rowBytes = static_cast<std::size_t>((std::int64_t{description.width} * depth + 7) / 8);
  if (rowBytes * static_cast<std::size_t>(description.height) > data.size()) return std::nullopt;
  ColorTablePtr colors;
  if (depth <= 8) colors = isGrey ? tables.byId(32 + depth) : tables.standard(depth);
  auto pixels = OwnedPixels::make(Box(0, 0, description.height, description.width), depth == 24 ? 32 : depth, colors);
  if (!pixels) return pixels;
  std::vector<std::uint32_t> row(static_cast<std::size_t>(description.width));
  for (int y = 0; y < description.height; ++y) {
    const std::uint8_t* at = data.data() + static_cast<std::size_t>(y) * rowBytes;
    if (depth == 24) {
      for (std::uint32_t& pixel : row) {
        pixel = static_cast<std::uint32_t>(at[0] << 16 | at[1] << 8 | at[2]);
        at += 3;
      }
    } else {
      unpackPixels(depth, at, 0, row);
    }
    pixels->map.put(y, 0, row);
  }
  return pixels;
}

}  // namespace

std::optional<QuickTimeImage> readQuickTimeImage(ByteReader& in, ColorTables& tables) {
  in.u16();  // version
  const Matrix matrix = Matrix::read(in);
  const std::uint32_t matteSize = in.u32();
  in.rect();
  QuickTimeImage image;
  image.mode = in.s16();
  in.rect();  // what of the image is shown: all of it
  in.u32();   // accuracy
  const std::uint32_t maskSize = in.u32();
  if (matteSize != 0) {
    if (!readDescription(in)) return std::nullopt;
    in.take(matteSize);
  }
  if (maskSize != 0) {
    ByteReader mask(in.take(maskSize));
    image.mask = field::region::read(mask);
    if (!mask.good()) return std::nullopt;
  }
  const auto description = readDescription(in);
  if (!description) return std::nullopt;
  for (int shift = 24; shift >= 0; shift -= 8) image.codec += static_cast<char>(description->codec >> shift & 0xFF);
  const Bytes data =
      in.take(std::min<std::size_t>(description->dataSize != 0 ? description->dataSize : in.left(), in.left()));
  if (image.codec == "jpeg" || image.codec == "png ") {
    image.pixels = decodeWithLibrary(data);
  } else if (image.codec == "raw ") {
    image.pixels = decodeRaw(data, *description, tables);
  }
  image.to = matrix.map(description->width, description->height);
  return image;
}

bool skipUncompressedHead(ByteReader& in) {
  in.u16();
  Matrix::read(in);
  const std::uint32_t matteSize = in.u32();
  in.rect();
  if (matteSize != 0) {
    if (!readDescription(in)) return false;
    in.take(matteSize);
  }
  return in.good();
}

}  // namespace qd
