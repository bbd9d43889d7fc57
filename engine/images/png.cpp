// PNG by libpng, row by row; what is interlaced as a whole. The library leaves through longjmp: functions that call it
// have no objects of their own.
#include <png.h>

#include <algorithm>
#include <array>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

class PngReader final : public ImageReader {
 public:
  explicit PngReader(Bytes data) : data_(data) {}
  ~PngReader() override { png_destroy_read_struct(&library_, &head_, nullptr); }

  bool open(std::string& why) {
    if (!readHead()) {
      why = kSenseless;
      return false;
    }
    const std::int64_t width = png_get_image_width(library_, head_);
    const std::int64_t height = png_get_image_height(library_, head_);
    if (!hasPossibleSize(width, height, why)) return false;
    if (passes_ > 1) {
      const std::int64_t perByte = kMostInflatedPerByte * width / std::max<std::int64_t>(1, std::int64_t(rowBytes()));
      if (!mayBeHeldWhole(width, height, data_.left(), std::max<std::int64_t>(perByte, 1), why)) return false;
    }
    format_.width = static_cast<int>(width);
    format_.height = static_cast<int>(height);
    return true;
  }

  bool next(std::span<std::uint32_t> row) override {
    if (rows_.empty()) rows_.resize(rowBytes() * (passes_ > 1 ? static_cast<std::size_t>(format_.height) : 1));
    const bool isRead = passes_ == 1 ? readRow() : row_ > 0 || readAllRows();
    if (!isRead) return false;
    if (!row.empty()) convert(rows_.data() + (passes_ > 1 ? rowBytes() * row_ : 0), row);
    ++row_;
    return true;
  }

 private:
  std::size_t rowBytes() const { return png_get_rowbytes(library_, head_); }

  bool readHead() {
    library_ = png_create_read_struct(
        PNG_LIBPNG_VER_STRING, this, [](png_structp library, png_const_charp) { png_longjmp(library, 1); },
        [](png_structp, png_const_charp) {});
    if (library_ == nullptr) return false;
    if (setjmp(png_jmpbuf(library_)) != 0) return false;
    head_ = png_create_info_struct(library_);
    if (head_ == nullptr) return false;
    png_set_read_fn(library_, &data_, [](png_structp library, png_bytep to, std::size_t count) {
      const Bytes bytes = static_cast<ByteReader*>(png_get_io_ptr(library))->take(count);
      if (bytes.size() != count) png_error(library, "");
      std::ranges::copy(bytes, to);
    });
    png_set_user_limits(library_, kMostPixelsASide, kMostPixelsASide);
    png_set_chunk_malloc_max(library_, 1 << 20);
    // Nothing but pixels is wanted. Where a checksum differs they are shown all the same.
    png_set_keep_unknown_chunks(library_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_crc_action(library_, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_set_option(library_, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
    png_read_info(library_, head_);
    png_set_strip_16(library_);
    const bool hasKey = png_get_valid(library_, head_, PNG_INFO_tRNS) != 0;
    if (hasKey) png_set_expand(library_);
    if (hasKey || png_get_color_type(library_, head_) == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(library_);
    passes_ = png_set_interlace_handling(library_);
    png_read_update_info(library_, head_);
    readTable();
    return true;
  }

  // What small pixels stand for: grey, or the palette's colours.
  void readTable() {
    depth_ = png_get_bit_depth(library_, head_);
    channels_ = png_get_channels(library_, head_);
    format_.hasAlpha = (png_get_color_type(library_, head_) & PNG_COLOR_MASK_ALPHA) != 0;
    const std::size_t last = (std::size_t{1} << depth_) - 1;
    for (std::size_t i = 0; i <= last; ++i) table_[i] = static_cast<std::uint32_t>(i * 255 / last * 0x010101);
    png_colorp palette = nullptr;
    int count = 0;
    if (png_get_PLTE(library_, head_, &palette, &count) == 0 || channels_ != 1) return;
    table_ = {};
    std::transform(palette, palette + std::min(count, 256), table_.begin(), [](const png_color& color) {
      return static_cast<std::uint32_t>(color.red << 16 | color.green << 8 | color.blue);
    });
  }

  bool readRow() {
    if (setjmp(png_jmpbuf(library_)) != 0) return false;
    png_read_row(library_, rows_.data(), nullptr);
    return true;
  }
  bool readAllRows() {
    if (setjmp(png_jmpbuf(library_)) != 0) return false;
    for (int pass = 0; pass < passes_; ++pass) {
      for (int y = 0; y < format_.height; ++y) {
        png_read_row(library_, rows_.data() + rowBytes() * static_cast<std::size_t>(y), nullptr);
      }
    }
    return true;
  }

  void convert(const std::uint8_t* from, std::span<std::uint32_t> row) const {
    if (channels_ == 1) {
      unpackPixels(depth_, from, 0, row);
      for (std::uint32_t& pixel : row) pixel = table_[pixel];
    } else {
      unpackComponents(from, channels_, row);
    }
  }

  ByteReader data_;
  png_structp library_ = nullptr;
  png_infop head_ = nullptr;
  int passes_ = 1, depth_ = 8, channels_ = 1;
  std::array<std::uint32_t, 256> table_ = {};
  std::vector<std::uint8_t> rows_;  // the last one, or all
  std::size_t row_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> openPng(const ImageSource& source, std::string& why) {
  auto reader = std::make_unique<PngReader>(source.data);
  if (!reader->open(why)) return nullptr;
  return reader;
}

}  // namespace qd
