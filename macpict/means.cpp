#include "macpict/means.h"

#include <algorithm>
#include <utility>

namespace {

int edge(int at, int from, int to) { return static_cast<int>(std::int64_t{at} * from / to); }

}  // namespace

Means::Means(Size from, Size to, ReadRow read)
    : size_(from),
      to_(to),
      read_(std::move(read)),
      from_(static_cast<std::size_t>(from.width) * 3),
      sums_(static_cast<std::size_t>(to.width) * 3) {
  for (int x = 0; x <= to.width; ++x) edges_.push_back(edge(x, from.width, to.width));
}

void Means::row(int y, std::span<std::uint8_t> triplets) {
  std::fill(sums_.begin(), sums_.end(), 0);
  const int top = edge(y, size_.height, to_.height);
  const int bottom = edge(y + 1, size_.height, to_.height);
  for (int v = top; v < bottom; ++v) {
    read_(v, from_);
    const std::uint8_t* pixel = from_.data();
    for (std::size_t x = 0; x + 1 < edges_.size(); ++x) {
      for (int h = edges_[x]; h < edges_[x + 1]; ++h, pixel += 3) {
        for (std::size_t c = 0; c < 3; ++c) sums_[3 * x + c] += pixel[c];
      }
    }
  }
  for (std::size_t x = 0; x + 1 < edges_.size(); ++x) {
    const auto count = static_cast<std::uint32_t>((edges_[x + 1] - edges_[x]) * (bottom - top));
    for (std::size_t c = 0; c < 3; ++c)
      triplets[3 * x + c] = static_cast<std::uint8_t>((sums_[3 * x + c] + count / 2) / count);
  }
}
