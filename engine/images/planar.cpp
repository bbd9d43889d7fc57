// Planar RGB: red, green and blue, each with all its rows packed by PackBits; in front the lengths of them all. Pixels
// of 8 bits are indices in one plane.
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/whole.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

// Two bytes make 128.
constexpr std::int64_t kMostPixelsPerByte = 64;

// A plane's lengths of rows, and its rows.
struct Plane {
  ByteReader lengths, rows;
};

// False where rows are missing or too short; what there is of the others is taken.
bool decode(std::span<Plane> planes, WholeImage& image) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(image.format().width));
  std::vector<std::uint32_t> row(bytes.size());
  bool isWhole = true;
  for (int y = 0; y < image.format().height; ++y) {
    std::ranges::fill(row, 0);
    for (Plane& plane : planes) {
      std::ranges::fill(bytes, std::uint8_t{0});
      const Bytes packed = plane.rows.take(plane.lengths.u16());
      if (!unpackBits(packed, 1, bytes)) isWhole = false;
      for (std::size_t x = 0; x < row.size(); ++x) row[x] = row[x] << 8 | bytes[x];
    }
    image.put(y, 0, row);
  }
  return isWhole;
}

}  // namespace

std::unique_ptr<ImageReader> openPlanar(const ImageSource& source, std::string& why) {
  ImageFormat format = source.told;
  if (!hasDepth(format.depth, {8, 24, 32}, why) ||
      !mayBeHeldWhole(format.width, format.height, source.data.size(), kMostPixelsPerByte, why)) {
    return nullptr;
  }
  const std::size_t all = static_cast<std::size_t>(format.depth) / 8;
  const std::size_t lengthBytes = 2 * static_cast<std::size_t>(format.height);
  ByteReader in(source.data);
  std::vector<Plane> planes(all);
  for (Plane& plane : planes) plane.lengths = ByteReader(in.take(lengthBytes));
  if (!in.good()) {
    why = kTooShort;
    return nullptr;
  }
  for (Plane& plane : planes) {
    std::size_t size = 0;
    for (ByteReader lengths = plane.lengths; lengths.left() > 0;) size += lengths.u16();
    plane.rows = ByteReader(in.take(std::min(size, in.left())));
  }
  if (all == 4) planes.pop_back();  // how opaque they are
  if (all > 1) format.depth = 32;
  return WholeImage::decoded(std::move(format), why, [&planes](WholeImage& image) { return decode(planes, image); });
}

}  // namespace qd
