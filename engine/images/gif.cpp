// GIF by giflib: the first image, on the screen's background; row by row, and what is interlaced as a whole.
#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

class GifReader final : public ImageReader {
 public:
  explicit GifReader(Bytes data) : data_(data) {}
  ~GifReader() override {
    if (gif_ != nullptr) DGifCloseFile(gif_, nullptr);
  }

  bool open(std::string& why) {
    const std::size_t size = data_.left();
    if (!readHead()) {
      why = kSenseless;
      return false;
    }
    const GifImageDesc& frame = gif_->Image;
    if (!mayBeHeldWhole(gif_->SWidth, gif_->SHeight, size, kMostLzwPerByte, why) ||
        !mayBeHeldWhole(frame.Width, frame.Height, size, kMostLzwPerByte, why)) {
      return false;
    }
    format_.width = gif_->SWidth;
    format_.height = gif_->SHeight;
    format_.hasAlpha = transparent_ != kOpaque;
    lines_.resize(lineBytes() * static_cast<std::size_t>(frame.Interlace ? frame.Height : 1));
    readColors();
    return true;
  }

  bool next(std::span<std::uint32_t> row) override {
    std::ranges::fill(row, background_);
    const GifImageDesc& frame = gif_->Image;
    const int y = y_++ - frame.Top;
    if (y < 0 || y >= frame.Height) return true;
    const int line = frame.Interlace ? lineOf(y) : y;
    while (linesThere_ <= line && !isOver_) readLine();
    if (line >= linesThere_) {
      isDamaged_ = true;
      return linesThere_ > 0;
    }
    if (frame.Left >= format_.width || row.empty()) return true;
    const std::uint8_t* const from = place(line);
    const auto shown = row.subspan(static_cast<std::size_t>(frame.Left));
    const auto count = std::min(shown.size(), static_cast<std::size_t>(frame.Width));
    std::transform(from, from + count, shown.begin(), [this](std::uint8_t index) { return colors_[index]; });
    return true;
  }

 private:
  static constexpr int kOpaque = -1;

  // Up to the first image's codes.
  bool readHead() {
    gif_ = DGifOpen(
        this,
        [](GifFileType* gif, GifByteType* to, int count) {
          return static_cast<GifReader*>(gif->UserData)->read(to, static_cast<std::size_t>(count));
        },
        nullptr);
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    while (gif_ != nullptr && DGifGetRecordType(gif_, &record) == GIF_OK) {
      if (record == EXTENSION_RECORD_TYPE && readExtension()) continue;
      if (record != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif_) != GIF_OK) return false;
      isInCodes_ = true;
      return colorMap() != nullptr;
    }
    return false;
  }

  bool readExtension() {
    int label = 0;
    GifByteType* block = nullptr;  // its size, and its bytes
    std::vector<std::uint8_t> control;
    for (int result = DGifGetExtension(gif_, &label, &block); block != nullptr;
         result = DGifGetExtensionNext(gif_, &block)) {
      if (result != GIF_OK) return false;
      if (label == GRAPHICS_EXT_FUNC_CODE) control.insert(control.end(), block + 1, block + 1 + block[0]);
    }
    if (control.size() >= 4) transparent_ = (control[0] & 1) != 0 ? control[3] : kOpaque;
    return true;
  }

  const ColorMapObject* colorMap() const {
    return gif_->Image.ColorMap != nullptr ? gif_->Image.ColorMap : gif_->SColorMap;
  }

  // What has no colour in the table is black.
  void readColors() {
    const auto opaque = format_.hasAlpha ? 0xFF000000 : 0;
    colors_.fill(opaque);
    const ColorMapObject& map = *colorMap();
    std::transform(map.Colors, map.Colors + std::min(map.ColorCount, 256), colors_.begin(),
                   [opaque](const auto& color) {
                     return opaque | static_cast<std::uint32_t>(color.Red << 16 | color.Green << 8 | color.Blue);
                   });
    if (format_.hasAlpha) colors_[static_cast<std::size_t>(transparent_)] &= onesOf(32);
    background_ = format_.hasAlpha ? 0 : colors_[static_cast<std::size_t>(gif_->SBackGroundColor)];
  }

  // The codes are in blocks, each after a byte of its size. A block that is cut off counts as far as it goes.
  int read(GifByteType* to, std::size_t count) {
    if (isInCodes_) isInBlock_ = !isInBlock_;
    if (isInCodes_ && isInBlock_) {
      const std::size_t size = data_.u8();
      *to = static_cast<GifByteType>(std::min(size, data_.left()));
      isInBlock_ = *to > 0;
      return 1;
    }
    const Bytes bytes = data_.take(std::min(count, data_.left()));
    std::ranges::copy(bytes, to);
    return static_cast<int>(bytes.size());
  }

  // Which line of the file a row of the frame is.
  int lineOf(int y) const {
    constexpr std::pair<int, int> kPasses[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    int before = 0;
    for (const auto& [first, step] : kPasses) {
      if (y % step == first) return before + y / step;
      before += (gif_->Image.Height + step - 1 - first) / step;
    }
    return before;
  }

  std::size_t lineBytes() const { return static_cast<std::size_t>(gif_->Image.Width); }
  std::uint8_t* place(int line) {
    return lines_.data() + (gif_->Image.Interlace ? static_cast<std::size_t>(line) * lineBytes() : 0);
  }
  void readLine() {
    isOver_ = DGifGetLine(gif_, place(linesThere_), gif_->Image.Width) != GIF_OK;
    if (!isOver_) ++linesThere_;
  }

  ByteReader data_;
  GifFileType* gif_ = nullptr;
  bool isInCodes_ = false, isInBlock_ = false;
  int transparent_ = kOpaque;
  std::uint32_t background_ = 0;
  std::array<std::uint32_t, 256> colors_ = {};
  std::vector<std::uint8_t> lines_;  // of indices: the last one, or all
  int linesThere_ = 0;
  bool isOver_ = false;
  int y_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> openGif(const ImageSource& source, std::string& why) {
  auto reader = std::make_unique<GifReader>(source.data);
  if (!reader->open(why)) return nullptr;
  return reader;
}

}  // namespace qd
