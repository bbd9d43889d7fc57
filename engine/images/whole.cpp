#include "engine/images/whole.h"

namespace qd {

WholeImage::WholeImage(ImageFormat format, OwnedPixels pixels) : pixels_(std::move(pixels)) {
  format_ = std::move(format);
}

std::unique_ptr<WholeImage> WholeImage::make(ImageFormat format, std::string& why) {
  auto pixels = OwnedPixels::make(Box(0, 0, format.height, format.width), format.depth, format.colors);
  if (pixels) return std::unique_ptr<WholeImage>(new WholeImage(std::move(format), std::move(*pixels)));
  why = "there is no memory for its pixels";
  return nullptr;
}

bool WholeImage::isBlank() const {
  const auto size = static_cast<std::size_t>(map().rowBytes) * static_cast<std::size_t>(format_.height);
  return std::all_of(map().base, map().base + size, [](std::uint8_t byte) { return byte == 0; });
}

void WholeImage::put(int y, int x, std::span<const std::uint32_t> pixels) {
  if (y < 0 || y >= format_.height || x < 0 || x >= format_.width) return;
  map().put(y, x, pixels.first(std::min(pixels.size(), static_cast<std::size_t>(format_.width - x))));
}

bool WholeImage::next(std::span<std::uint32_t> row) {
  if (!row.empty()) map().get(row_, 0, row);
  ++row_;
  return true;
}

void Blocks::put(const Pixels& pixels) {
  if (left() == 0) return;
  for (int y = 0; y < kSide; ++y) {
    image_.put(at_ / across_ * kSide + y, at_ % across_ * kSide,
               std::span(pixels).subspan(std::size_t(y) * kSide, kSide));
  }
  ++at_;
}

bool Blocks::repeat(int back) {
  if (back > at_) return false;
  const int from = at_ - back;
  const PixelMap& map = image_.map();
  Pixels pixels = {};
  const int left = from % across_ * kSide;
  const int width = std::min(kSide, map.bounds.width() - left);
  for (int y = 0; y < kSide && from / across_ * kSide + y < map.bounds.height(); ++y) {
    map.get(from / across_ * kSide + y, left,
            std::span(pixels).subspan(std::size_t(y) * kSide, static_cast<std::size_t>(width)));
  }
  put(pixels);
  return true;
}

}  // namespace qd
