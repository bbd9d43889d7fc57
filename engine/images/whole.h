// An image that is decoded when it is opened, for codecs that don't give rows one after another.
#pragma once

#include <algorithm>

#include "engine/images/image.h"

namespace qd {

class WholeImage final : public ImageReader {
 public:
  // Decodes into pixels that are all zero: `decode` answers false where the data end too early or make no sense, and
  // what it has put by then is the image. Null, and in words why, if that is nothing, or without the memory for it.
  template <class Decode>
  static std::unique_ptr<ImageReader> decoded(ImageFormat format, std::string& why, const Decode& decode) {
    auto image = make(std::move(format), why);
    if (image == nullptr || decode(*image)) return image;
    if (image->isBlank()) {
      why = kSenseless;
      return nullptr;
    }
    image->isDamaged_ = true;
    return image;
  }

  // Where decoders put pixels: a box from 0, 0.
  const PixelMap& map() const { return pixels_.map; }
  // Puts pixels as far as they lie within the image.
  void put(int y, int x, std::span<const std::uint32_t> pixels);

  bool next(std::span<std::uint32_t> row) override;

 private:
  static std::unique_ptr<WholeImage> make(ImageFormat format, std::string& why);
  WholeImage(ImageFormat format, OwnedPixels pixels);
  bool isBlank() const;

  OwnedPixels pixels_;
  int row_ = 0;
};

// Images of blocks of 4 by 4 pixels, from the left and from the top.
class Blocks {
 public:
  static constexpr int kSide = 4;
  using Pixels = std::array<std::uint32_t, 16>;

  explicit Blocks(WholeImage& image)
      : image_(image),
        across_((image.format().width + 3) / kSide),
        count_(across_ * ((image.format().height + 3) / kSide)) {}

  int left() const { return count_ - at_; }
  void skip(int count) { at_ += std::min(count, left()); }
  void put(const Pixels& pixels);
  // Puts what stands that many blocks before; false if there is none.
  bool repeat(int back);

 private:
  WholeImage& image_;
  int across_, count_;
  int at_ = 0;
};

}  // namespace qd
