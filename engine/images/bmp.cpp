// BMP files: rows from the bottom up of 1, 4, 8, 16, 24 or 32 bits, or runs of 4 or 8 bits.
#include <algorithm>
#include <bit>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/ordered.h"
#include "engine/images/whole.h"

namespace qd {
namespace {

// Two bytes make 255; what is left out takes none.
constexpr std::int64_t kMostPixelsPerByte = 1024;

struct Head {
  enum Packing { kPlain = 0, kRuns8 = 1, kRuns4 = 2, kMasks = 3 };

  explicit Head(Bytes data) {
    OrderedReader in(data);
    in.take(2 + 4 + 4);
    const std::size_t pixelsAt = in.u32();
    const std::size_t size = in.u32();
    constexpr std::size_t kOldSize = 12;
    const bool isOld = size == kOldSize;
    width = isOld ? in.u16() : static_cast<std::int32_t>(in.u32());
    height = isOld ? in.u16() : static_cast<std::int32_t>(in.u32());
    in.u16();
    bits = in.u16();
    std::size_t colors = 0;
    if (!isOld) {
      packing = static_cast<int>(in.u32());
      in.take(4 + 4 + 4);
      colors = in.u32();
      in.u32();
    }
    constexpr std::size_t kFileHead = 14;
    if (packing == kMasks) masks = {in.u32(), in.u32(), in.u32()};
    isGood = in.good() && size >= (isOld ? kOldSize : 40) && kFileHead + size <= data.size();
    if (!isGood) return;
    isFromTop = height < 0;
    height = std::abs(height);
    if (bits <= 8) {
      const std::size_t most = std::size_t{1} << bits;
      readTable(OrderedReader(data.subspan(kFileHead + size)), colors != 0 ? std::min(colors, most) : most,
                isOld ? 3 : 4);
    }
    pixels = data.subspan(std::min(pixelsAt, data.size()));
  }

  bool isSane() const {
    switch (packing) {
      case kPlain:
        return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
      case kRuns8:
        return bits == 8 && !isFromTop;
      case kRuns4:
        return bits == 4 && !isFromTop;
      default:
        return packing == kMasks && (bits == 16 || bits == 32);
    }
  }
  std::size_t rowBytes() const { return static_cast<std::size_t>((width * bits + 31) / 32 * 4); }

  std::int64_t width = 0, height = 0;
  int bits = 0, packing = kPlain;
  bool isFromTop = false, isGood = false;
  std::array<std::uint32_t, 3> masks = {};
  std::array<std::uint32_t, 256> table = {};
  Bytes pixels;

 private:
  void readTable(OrderedReader in, std::size_t colors, std::size_t entryBytes) {
    for (std::size_t i = 0; i < colors; ++i) {
      const Bytes color = in.take(entryBytes);
      if (!color.empty()) table[i] = deepOfLittle(color);
    }
  }
};

// What a mask takes out of a pixel, as a byte.
std::uint32_t masked(std::uint32_t pixel, std::uint32_t mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const std::uint64_t most = mask >> shift;
  return static_cast<std::uint32_t>((((pixel & mask) >> shift) * std::uint64_t{255} + most / 2) / most);
}

bool decodeRows(const Head& head, WholeImage& image) {
  ByteReader in(head.pixels);
  std::vector<std::uint32_t> row(static_cast<std::size_t>(head.width));
  const auto bytes = static_cast<std::size_t>(head.bits) / 8;
  for (int y = 0; y < image.format().height; ++y) {
    const Bytes from = in.take(head.rowBytes());
    if (!in.good()) return false;
    if (head.bits <= 8) unpackPixels(head.bits, from.data(), 0, row);
    for (std::size_t x = 0; x < row.size(); ++x) {
      if (head.bits <= 8) {
        row[x] = head.table[row[x]];
      } else if (head.packing == Head::kMasks) {
        OrderedReader one(from.subspan(x * bytes, bytes));
        const std::uint32_t pixel = bytes == 2 ? one.u16() : one.u32();
        row[x] = masked(pixel, head.masks[0]) << 16 | masked(pixel, head.masks[1]) << 8 | masked(pixel, head.masks[2]);
      } else {
        row[x] = deepOfLittle(from.subspan(x * bytes, bytes));
      }
    }
    image.put(head.isFromTop ? y : image.format().height - 1 - y, 0, row);
  }
  return true;
}

// Runs of a byte, which is one pixel or two in turn. What is left out is the first colour.
class Runs {
 public:
  Runs(const Head& head, WholeImage& image)
      : head_(head), in_(head.pixels), image_(image), y_(image.format().height - 1) {}

  bool decode() {
    clear();
    while (y_ >= 0) {
      const int count = in_.u8();
      const int what = in_.u8();
      if (!in_.good()) return false;
      if (count > 0) {
        for (int i = 0; i < count; ++i) put(nibbles() ? what >> (i % 2 == 0 ? 4 : 0) & 15 : what);
      } else if (what == kEnd) {
        return true;
      } else if (what == kEndOfLine) {
        x_ = 0;
        --y_;
      } else if (what == kMove) {
        x_ += in_.u8();
        y_ -= in_.u8();
      } else if (!putGiven(what)) {
        return false;
      }
    }
    return true;
  }

 private:
  enum Escape { kEndOfLine = 0, kEnd = 1, kMove = 2 };

  bool nibbles() const { return head_.bits == 4; }
  void clear() {
    const std::vector<std::uint32_t> row(static_cast<std::size_t>(head_.width), head_.table[0]);
    for (int y = 0; y < image_.format().height; ++y) image_.put(y, 0, row);
  }
  // Pixels one by one, up to a whole word.
  bool putGiven(int count) {
    const auto size = static_cast<std::size_t>(nibbles() ? (count + 1) / 2 : count);
    const Bytes given = in_.take((size + 1) / 2 * 2);
    if (!in_.good()) return false;
    for (int i = 0; i < count; ++i) {
      const auto at = static_cast<std::size_t>(i);
      put(nibbles() ? given[at / 2] >> (i % 2 == 0 ? 4 : 0) & 15 : given[at]);
    }
    return true;
  }
  void put(int index) { image_.put(y_, x_++, std::array{head_.table[static_cast<std::size_t>(index)]}); }

  const Head& head_;
  ByteReader in_;
  WholeImage& image_;
  int x_ = 0, y_;
};

}  // namespace

std::unique_ptr<ImageReader> openBmp(const ImageSource& source, std::string& why) {
  const Head head(source.data);
  if (!head.isGood || !head.isSane()) {
    why = kSenseless;
    return nullptr;
  }
  if (!mayBeHeldWhole(head.width, head.height, source.data.size(), kMostPixelsPerByte, why)) return nullptr;
  const ImageFormat format = {static_cast<int>(head.width), static_cast<int>(head.height), 32, nullptr};
  return WholeImage::decoded(format, why, [&head](WholeImage& image) {
    return head.packing == Head::kRuns8 || head.packing == Head::kRuns4 ? Runs(head, image).decode()
                                                                        : decodeRows(head, image);
  });
}

}  // namespace qd
