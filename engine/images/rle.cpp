// Animation: for each line, runs of units that are skipped, repeated or given. A unit is a pixel, or as many small ones
// as fill four bytes; at one bit, two bytes.
#include <algorithm>

#include "engine/images/decoders.h"
#include "engine/images/whole.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

constexpr std::size_t kLeastHead = 8;
constexpr int kHasLines = 8;  // the flag of data that tell which lines they are
// Sixteen pixels that are skipped 254 times.
constexpr std::int64_t kMostPixelsPerByte = 16 * 254;

class RleDecoder {
 public:
  RleDecoder(ByteReader in, int depth, WholeImage& image)
      : in_(in),
        depth_(depth),
        image_(image),
        unit_(depth == 1   ? 2
              : depth <= 8 ? 4
                           : static_cast<std::size_t>(depth / 8)) {
    const auto bits = static_cast<std::size_t>(image.format().width) * static_cast<std::size_t>(depth);
    units_ = (bits + 8 * unit_ - 1) / (8 * unit_);
  }

  // False where the data end too early, or leave the image.
  bool decode() {
    in_.u32();  // the length
    int end = image_.format().height;
    if ((in_.u16() & kHasLines) != 0) {
      y_ = in_.u16();
      in_.u16();
      end = y_ + in_.u16();
      in_.u16();
    }
    if (!in_.good() || end > image_.format().height) return false;
    return depth_ == 1 ? bitLines(end) : lines(end);
  }

 private:
  bool lines(int end) {
    for (; y_ < end; ++y_) {
      const int begin = in_.u8();
      if (begin == 0) return in_.good();
      at_ = 0;
      if (!skip(begin - 1)) return false;
      for (int code = in_.s8(); code != -1; code = in_.s8()) {
        if (code != 0 ? !run(code) : !skip(in_.u8() - 1)) return false;
      }
    }
    return in_.good();
  }

  // A skip comes before each run, and its top bit leads to the next line.
  bool bitLines(int end) {
    constexpr int kNextLine = 0x80;
    for (--y_;;) {
      const int units = in_.u8();
      if (units == 0) return in_.good();
      if ((units & kNextLine) != 0) {
        if (++y_ >= end) return false;
        at_ = 0;
      }
      if (y_ < 0 || !skip(units & ~kNextLine)) return false;
      if (const int code = in_.s8(); !run(code)) return false;
    }
  }

  bool skip(int units) {
    at_ += static_cast<std::size_t>(std::max(units, 0));
    return in_.good() && units >= 0 && at_ <= units_;
  }

  // Below zero one unit as many times, else that many units.
  bool run(int code) {
    const auto count = static_cast<std::size_t>(std::abs(code));
    const Bytes bytes = in_.take(code < 0 ? unit_ : unit_ * count);
    if (!in_.good() || count > units_ - at_) return false;
    for (std::size_t i = 0; i < count; ++i) put(bytes.subspan(code < 0 ? 0 : unit_ * i, unit_));
    return true;
  }

  // Rows of the map are whole units, in the same bytes; of pixels of three bytes it has four.
  void put(Bytes unit) {
    std::uint8_t* row = image_.map().row(y_);
    if (depth_ == 24) {
      std::ranges::copy(unit, row + 4 * at_++ + 1);
    } else {
      std::ranges::copy(unit, row + unit_ * at_++);
    }
  }

  ByteReader in_;
  int depth_;
  WholeImage& image_;
  std::size_t unit_;   // bytes
  std::size_t units_;  // in a line
  int y_ = 0;
  std::size_t at_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> openRle(const ImageSource& source, std::string& why) {
  ImageFormat format = source.told;
  const int depth = format.depth;
  if (!hasDepth(depth, {1, 2, 4, 8, 16, 24, 32}, why) ||
      !mayBeHeldWhole(format.width, format.height, source.data.size(), kMostPixelsPerByte, why)) {
    return nullptr;
  }
  if (source.data.size() < kLeastHead) {
    why = kTooShort;
    return nullptr;
  }
  if (depth == 24) format.depth = 32;
  return WholeImage::decoded(std::move(format), why, [&](WholeImage& image) {
    return RleDecoder(ByteReader(source.data), depth, image).decode();
  });
}

}  // namespace qd
