// JPEG and PNG by a small decoder of one header, after a check.
#include <stb/stb_image.h>

#include "engine/images/check.h"
#include "engine/images/decoders.h"

namespace qd {
namespace {

// All pixels as red, green, blue.
class WholeImage final : public ImageReader {
 public:
  explicit WholeImage(Bytes data)
      : rgb_(stbi_load_from_memory(data.data(), static_cast<int>(data.size()), &format_.width, &format_.height, nullptr,
                                   3)) {
    at_ = rgb_.get();
  }
  bool isDecoded() const { return rgb_ != nullptr; }

  bool next(std::span<std::uint32_t> row) override {
    unpackTriplets(at_, row);
    at_ += static_cast<std::size_t>(format_.width) * 3;
    return true;
  }

 private:
  struct Free {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
  };
  std::unique_ptr<stbi_uc, Free> rgb_;
  const std::uint8_t* at_;
};

std::unique_ptr<ImageReader> decode(Bytes data, std::string& why) {
  auto image = std::make_unique<WholeImage>(data);
  if (image->isDecoded()) return image;
  why = "its data make no sense, or there is no memory for them";
  return nullptr;
}

}  // namespace

std::unique_ptr<ImageReader> openCheckedJpeg(const ImageSource& source, std::string& why) {
  return checkJpeg(source.data, why) ? decode(source.data, why) : nullptr;
}

std::unique_ptr<ImageReader> openCheckedPng(const ImageSource& source, std::string& why) {
  return checkPng(source.data, why) ? decode(source.data, why) : nullptr;
}

}  // namespace qd
