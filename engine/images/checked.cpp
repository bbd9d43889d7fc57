// JPEG and PNG by a small decoder of one header, after a check.
#include <stb/stb_image.h>

#include "engine/images/check.h"
#include "engine/images/decoders.h"

namespace qd {
namespace {

// All pixels as red, green, blue, and opacity if there is one.
class WholeImage final : public ImageReader {
 public:
  explicit WholeImage(Bytes data)
      : channels_(channelsOf(data)),
        pixels_(stbi_load_from_memory(data.data(), static_cast<int>(data.size()), &format_.width, &format_.height,
                                      nullptr, channels_)),
        at_(pixels_.get()) {
    format_.hasAlpha = channels_ == 4;
  }
  bool isDecoded() const { return pixels_ != nullptr; }

  bool next(std::span<std::uint32_t> row) override {
    unpackComponents(at_, channels_, row);
    at_ += static_cast<std::size_t>(format_.width) * static_cast<std::size_t>(channels_);
    return true;
  }

 private:
  struct Free {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
  };
  static int channelsOf(Bytes data) {
    int width = 0, height = 0, channels = 0;
    stbi_info_from_memory(data.data(), static_cast<int>(data.size()), &width, &height, &channels);
    return channels == 2 || channels == 4 ? 4 : 3;  // of a grey with opacity, or of colours with it
  }

  int channels_;
  std::unique_ptr<stbi_uc, Free> pixels_;
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
