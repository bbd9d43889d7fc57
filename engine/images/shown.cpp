#include "engine/images/shown.h"

#include <numeric>

#include "engine/pixels/rows.h"

namespace qd {
namespace {

// The rows or the columns of an image that are kept, and what a copy of them goes by.
struct Axis {
  std::vector<int> indices;
  int first;  // what the first of them is called
  int from, fromEnd, to, toEnd;

  // Those that a destination shows between low and high: one for each place there, or all from the first to the last,
  // whichever is less.
  static Axis shown(int size, int to, int toEnd, int low, int high) {
    const Stretch stretch(0, size, to, toEnd - to);
    const int begin = stretch(low);
    const int end = stretch(high - 1) + 1;
    if (end - begin > high - low) return {stretch.list(low, high), low, low, high, low, high};
    return between(begin, end, size, to, toEnd);
  }
  static Axis between(int begin, int end, int size, int to, int toEnd) {
    Axis axis{std::vector<int>(static_cast<std::size_t>(end - begin)), begin, 0, size, to, toEnd};
    std::iota(axis.indices.begin(), axis.indices.end(), begin);
    return axis;
  }
  int end() const { return first + static_cast<int>(indices.size()); }
};

std::optional<ShownImage> read(ImageReader& image, const Axis& h, const Axis& v) {
  const ImageFormat& format = image.format();
  auto pixels = OwnedPixels::make(Box(v.first, h.first, v.end(), h.end()), format.depth, format.colors);
  if (!pixels) return std::nullopt;
  std::vector<std::uint32_t> row(static_cast<std::size_t>(format.width));
  std::vector<std::uint32_t> columns(h.indices.size());
  int at = 0;
  for (int y = v.first; y < v.end(); ++y, ++at) {
    for (; at < v.indices[static_cast<std::size_t>(y - v.first)]; ++at) {
      if (!image.next({})) return std::nullopt;
    }
    if (!image.next(row)) return std::nullopt;
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = row[static_cast<std::size_t>(h.indices[i])];
    // What makes no colour, like opacity, is neither drawn nor recorded.
    if (format.depth > 8) {
      for (std::uint32_t& pixel : columns) pixel &= onesOf(format.depth);
    }
    pixels->map.put(y, h.first, columns);
  }
  return ShownImage{std::move(*pixels), Box(v.from, h.from, v.fromEnd, h.fromEnd), Box(v.to, h.to, v.toEnd, h.toEnd)};
}

}  // namespace

std::optional<ShownImage> readShown(ImageReader& image, const Box& to, const Box& within) {
  const Box shown = intersect(to, within);
  if (shown.empty()) return ShownImage{};
  const ImageFormat& format = image.format();
  return read(image, Axis::shown(format.width, to.left, to.right, shown.left, shown.right),
              Axis::shown(format.height, to.top, to.bottom, shown.top, shown.bottom));
}

std::optional<ShownImage> readWhole(ImageReader& image, const Box& to) {
  const ImageFormat& format = image.format();
  if (std::int64_t{format.width} * format.height > kMostPixelsAtOnce) return std::nullopt;
  return read(image, Axis::between(0, format.width, format.width, to.left, to.right),
              Axis::between(0, format.height, format.height, to.top, to.bottom));
}

}  // namespace qd
