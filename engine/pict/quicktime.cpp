#include "engine/pict/quicktime.h"

#include <cmath>

#include "engine/pict/bits.h"

namespace qd {
namespace {

constexpr std::size_t kDescription = 86;  // bytes of an image description without extensions

// The scaling and the offset of a matrix of nine numbers, by rows; what turns or slants isn't followed.
struct Matrix {
  double h = 1, v = 1, left = 0, top = 0;

  static Matrix read(ByteReader& in) {
    std::int32_t cells[9];
    for (std::int32_t& cell : cells) cell = in.s32();
    return {cells[0] / 65536.0, cells[4] / 65536.0, cells[6] / 65536.0, cells[7] / 65536.0};
  }
  Rect map(const Box& box) const {
    const auto edge = [](double at) { return static_cast<int>(std::lround(std::clamp(at, -32768.0, 32767.0))); };
    return toRect(
        {edge(top + v * box.top), edge(left + h * box.left), edge(top + v * box.bottom), edge(left + h * box.right)});
  }
};

struct Description {
  std::uint32_t codec = 0;
  int width = 0, height = 0, depth = 0;
  std::uint32_t dataSize = 0;
  int table = -1;  // of colours, by its number
  std::optional<Colors> colors;

  // What a map has, too. Pixels of 33 to 40 bits are greys of 1 to 8.
  ImageFormat format(ColorTables& tables) const {
    const int bits = depth > 32 ? depth - 32 : depth;
    if (bits > 8) return {width, height, bits, nullptr};
    ColorTablePtr known = colors ? colorsOf(*colors, bits) : tables.byId(depth > 32 ? depth : table);
    return {width, height, bits, known != nullptr ? std::move(known) : tables.standard(bits)};
  }
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
  description.table = fields.s16();
  if (description.table == 0) {
    const auto colors = field::Nested<Colors>::read(fields);
    if (fields.good()) description.colors = colors;
  }
  return description;
}

// An image description and the data after it, which go on to the end if the description has no size.
std::optional<EncodedImage> readEncoded(ByteReader& in, ColorTables& tables) {
  const auto description = readDescription(in);
  if (!description) return std::nullopt;
  EncodedImage image;
  for (int shift = 24; shift >= 0; shift -= 8) image.codec += static_cast<char>(description->codec >> shift & 0xFF);
  const Bytes data =
      in.take(std::min<std::size_t>(description->dataSize != 0 ? description->dataSize : in.left(), in.left()));
  image.source = {data, description->format(tables)};
  image.depth = description->depth;
  return image;
}

// The size counts the matte's description and its data.
bool readMatte(ByteReader& in, std::uint32_t size, ColorTables& tables, std::optional<EncodedImage>& matte) {
  if (size == 0) return true;
  ByteReader bytes(in.take(size));
  matte = readEncoded(bytes, tables);
  return matte.has_value();
}

}  // namespace

std::string describe(const PictureImage& image) {
  std::string letters = image.codec;
  std::ranges::replace_if(
      letters, [](char c) { return c < ' ' || c > '~'; }, '?');
  return format("codec \"%s\", depth %d, %dx%d, %zu bytes", letters.c_str(), image.depth, image.width, image.height,
                image.bytes.size());
}

std::optional<QuickTimeImage> readQuickTimeImage(ByteReader& in, ColorTables& tables) {
  in.u16();  // version
  const Matrix matrix = Matrix::read(in);
  const std::uint32_t matteSize = in.u32();
  in.rect();  // what of the matte counts: all of it
  QuickTimeImage image;
  image.mode = in.s16();
  const Box shown(in.rect());
  in.u32();  // accuracy
  const std::uint32_t maskSize = in.u32();
  if (!readMatte(in, matteSize, tables, image.matte)) return std::nullopt;
  if (maskSize != 0) {
    ByteReader mask(in.take(maskSize));
    image.mask = field::region::read(mask);
    if (!mask.good()) return std::nullopt;
  }
  auto encoded = readEncoded(in, tables);
  if (!encoded) return std::nullopt;
  static_cast<EncodedImage&>(image) = std::move(*encoded);
  const Box all(0, 0, image.source.told.height, image.source.told.width);
  image.to = matrix.map(all);
  // A part of the image is shown where all of it would show it.
  if (!shown.empty() && !shown.contains(all)) {
    const Region part{Box(matrix.map(shown))};
    image.mask = image.mask ? intersect(*image.mask, part) : part;
  }
  return image;
}

bool readUncompressedHead(ByteReader& in, ColorTables& tables, std::optional<EncodedImage>& matte) {
  in.u16();
  Matrix::read(in);
  const std::uint32_t matteSize = in.u32();
  in.rect();
  return readMatte(in, matteSize, tables, matte) && in.good();
}

}  // namespace qd
