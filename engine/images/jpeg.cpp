// JPEG by libjpeg-turbo, row by row; what is progressive as a whole. The library leaves through longjmp: functions that
// call it have no objects of their own.
#include <cstdio>
// It wants stdio's types before it.
#include <jpeglib.h>
// After it.
#include <jerror.h>

#include <algorithm>
#include <csetjmp>
#include <vector>

#include "engine/images/decoders.h"

namespace qd {
namespace {

class JpegReader final : public ImageReader {
 public:
  ~JpegReader() override { jpeg_destroy_decompress(&library_); }

  bool open(Bytes data, std::string& why) {
    const char* refusal = readHead(data);
    if (refusal != nullptr) why = refusal;
    if (refusal != nullptr || !hasPossibleSize(library_.image_width, library_.image_height, why)) return false;
    const std::int64_t width = library_.image_width;
    const std::int64_t height = library_.image_height;
    const bool comesAtOnce = jpeg_has_multiple_scans(&library_) != 0;
    if (comesAtOnce && !mayBeHeldWhole(width, height, data.size(), kMostJpegPixelsPerByte, why)) return false;
    const std::int64_t rows = static_cast<std::int64_t>(data.size()) * kMostJpegPixelsPerByte / width + kMostRowsAtOnce;
    rowsThere_ = static_cast<int>(comesAtOnce ? height : std::min(height, rows));
    // Of four components a coefficient each, of two bytes; and what goes with the width.
    library_.mem->max_memory_to_use = width * height * 8 + (1 << 26);
    format_.width = static_cast<int>(width);
    format_.height = static_cast<int>(height);
    line_.resize(static_cast<std::size_t>(width));
    return true;
  }

  bool next(std::span<std::uint32_t> row) override {
    // What ended early shows as far as it goes, and the grey of components in the middle below: so does the library,
    // but it would take as long as for an image.
    constexpr std::uint32_t kGrey = 0x808080;
    if (row_++ >= rowsThere_) {
      isDamaged_ = true;
      std::ranges::fill(row, kGrey);
      return true;
    }
    if (!readLine()) return false;
    if (library_.out_color_space == JCS_CMYK) {
      std::ranges::transform(std::span(line_).first(row.size()), row.begin(),
                             [inverted = library_.saw_Adobe_marker != 0](std::uint32_t inks) {
                               if (!inverted) inks = ~inks;
                               const std::uint32_t key = inks >> 24;
                               const auto light = [=](int shift) { return ((inks >> shift & 0xFF) * key + 127) / 255; };
                               return light(0) << 16 | light(8) << 8 | light(16);
                             });
    } else {
      std::ranges::transform(std::span(line_).first(row.size()), row.begin(),
                             [](std::uint32_t pixel) { return pixel & 0xFFFFFF; });
    }
    return true;
  }

 private:
  static constexpr int kMostRowsAtOnce = 32;

  static JpegReader& of(j_common_ptr library) { return *static_cast<JpegReader*>(library->client_data); }
  [[noreturn]] static void leave(j_common_ptr library) { std::longjmp(of(library).way_out_, 1); }

  const char* readHead(Bytes data) {
    library_.err = jpeg_std_error(&errors_);
    errors_.error_exit = leave;
    errors_.emit_message = [](j_common_ptr library, int) {
      constexpr int kDamages[] = {JWRN_HIT_MARKER, JWRN_HUFF_BAD_CODE, JWRN_MUST_RESYNC};
      if (std::ranges::find(kDamages, library->err->msg_code) != std::end(kDamages)) of(library).isDamaged_ = true;
    };
    library_.client_data = this;
    if (setjmp(way_out_) != 0) return kSenseless;
    jpeg_create_decompress(&library_);
    jpeg_mem_src(&library_, data.data(), static_cast<unsigned long>(data.size()));
    jpeg_read_header(&library_, 1);
    // Its bits are no measure of its pixels, and programs of QuickTime's time don't write it.
    if (library_.arith_code != 0) return "it has arithmetic coding, which isn't decoded";
    progress_.progress_monitor = [](j_common_ptr library) {
      if (of(library).library_.input_scan_number > kMostScans) leave(library);
    };
    library_.progress = &progress_;
    library_.do_block_smoothing = 0;
    library_.out_color_space = library_.num_components == 4 ? JCS_CMYK : JCS_EXT_BGRX;
    return nullptr;
  }

  bool readLine() {
    if (setjmp(way_out_) != 0) return false;
    if (!isStarted_) {
      isStarted_ = true;
      jpeg_start_decompress(&library_);
    }
    auto* line = reinterpret_cast<JSAMPROW>(line_.data());
    return jpeg_read_scanlines(&library_, &line, 1) == 1;
  }

  jpeg_decompress_struct library_ = {};
  jpeg_error_mgr errors_ = {};
  jpeg_progress_mgr progress_ = {};
  std::jmp_buf way_out_ = {};
  std::vector<std::uint32_t> line_;
  bool isStarted_ = false;
  int row_ = 0, rowsThere_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> openJpeg(const ImageSource& source, std::string& why) {
  auto reader = std::make_unique<JpegReader>();
  if (!reader->open(source.data, why)) return nullptr;
  return reader;
}

}  // namespace qd
