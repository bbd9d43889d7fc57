// QuickTime's uncompressed images: rows of pixels, each ending at a whole byte; 24 bits are triplets.
#include "engine/images/decoders.h"

namespace qd {
namespace {

class RawReader final : public ImageReader {
 public:
  RawReader(Bytes data, ImageFormat format, int depth, std::size_t rowBytes)
      : at_(data.data()), depth_(depth), rowBytes_(rowBytes) {
    format_ = std::move(format);
  }

  bool next(std::span<std::uint32_t> row) override {
    const std::uint8_t* from = at_;
    at_ += rowBytes_;
    depth_ == 24 ? unpackComponents(from, 3, row) : unpackColors(depth_, from, row);
    return true;
  }

 private:
  const std::uint8_t* at_;
  int depth_;
  std::size_t rowBytes_;
};

}  // namespace

std::unique_ptr<ImageReader> openRaw(const ImageSource& source, std::string& why) {
  ImageFormat format = source.told;
  const int depth = format.depth;
  if (!hasDepth(depth, {1, 2, 4, 8, 16, 24, 32}, why) || !hasPossibleSize(format.width, format.height, why)) {
    return nullptr;
  }
  const auto rowBytes = static_cast<std::size_t>((std::int64_t{format.width} * depth + 7) / 8);
  if (rowBytes * static_cast<std::size_t>(format.height) > source.data.size()) {
    why = kTooShort;
    return nullptr;
  }
  format.depth = depth == 24 ? 32 : depth;
  return std::make_unique<RawReader>(source.data, std::move(format), depth, rowBytes);
}

}  // namespace qd
