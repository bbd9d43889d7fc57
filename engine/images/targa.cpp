// Targa files: indices, greys or colours with the low byte first, plain or in runs.
#include <algorithm>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/ordered.h"
#include "engine/images/whole.h"

namespace qd {
namespace {

// A run of 128 takes its count and a byte at least.
constexpr std::int64_t kMostPixelsPerByte = 64;

struct Head {
  enum Kind { kIndexed = 1, kDeep = 2, kGrey = 3 };

  explicit Head(OrderedReader& in) {
    const std::size_t name = in.u8();
    const bool hasTable = in.u8() == 1;
    const int type = in.u8();
    kind = type & 7;
    isPacked = (type & 8) != 0;
    firstColor = in.u16();
    colors = in.u16();
    if (!hasTable) colors = 0;
    colorBits = in.u8();
    in.take(4);
    width = in.u16();
    height = in.u16();
    bits = in.u8();
    const int flags = in.u8();
    isFromTop = (flags & 0x20) != 0;
    isFromRight = (flags & 0x10) != 0;
    in.take(name);
  }
  bool isSane() const {
    const auto isDeep = [](int size) { return size == 15 || size == 16 || size == 24 || size == 32; };
    if (kind == kDeep) return isDeep(bits);
    return bits == 8 && (kind == kGrey || (kind == kIndexed && isDeep(colorBits)));
  }
  std::size_t pixelBytes() const { return static_cast<std::size_t>(bits + 7) / 8; }

  int kind, colorBits, width, height, bits;
  std::size_t firstColor, colors;
  bool isPacked, isFromTop, isFromRight;
};

std::array<std::uint32_t, 256> readTable(const Head& head, OrderedReader& in) {
  std::array<std::uint32_t, 256> table = {};
  if (head.kind == Head::kGrey) {
    for (std::uint32_t i = 0; i < table.size(); ++i) table[i] = i * 0x010101;
  }
  const std::size_t size = static_cast<std::size_t>(head.colorBits + 7) / 8;
  for (std::size_t i = 0; i < head.colors && in.good(); ++i) {
    const Bytes color = in.take(size);
    if (color.size() >= 2 && head.firstColor + i < table.size()) table[head.firstColor + i] = deepOfLittle(color);
  }
  return table;
}

class Pixels {
 public:
  Pixels(const Head& head, OrderedReader in) : head_(head), table_(readTable(head, in)), in_(in) {}

  bool good() const { return in_.good(); }
  std::uint32_t next() {
    if (!head_.isPacked) return pixel();
    if (left_ == 0) {
      const int count = in_.u8();
      isRun_ = count > 127;
      left_ = (count & 127) + 1;
      if (isRun_) run_ = pixel();
    }
    --left_;
    return isRun_ ? run_ : pixel();
  }

 private:
  std::uint32_t pixel() {
    const Bytes bytes = in_.take(head_.pixelBytes());
    if (bytes.empty()) return 0;
    return head_.kind == Head::kDeep ? deepOfLittle(bytes) : table_[bytes[0]];
  }

  const Head& head_;
  std::array<std::uint32_t, 256> table_;
  OrderedReader in_;
  int left_ = 0;  // of a run, or of pixels that have no run
  bool isRun_ = false;
  std::uint32_t run_ = 0;
};

bool decode(const Head& head, Pixels pixels, WholeImage& image) {
  std::vector<std::uint32_t> row(static_cast<std::size_t>(head.width));
  for (int y = 0; y < head.height; ++y) {
    for (std::uint32_t& pixel : row) pixel = pixels.next();
    if (head.isFromRight) std::ranges::reverse(row);
    if (!pixels.good()) return false;
    image.put(head.isFromTop ? y : head.height - 1 - y, 0, row);
  }
  return true;
}

}  // namespace

std::unique_ptr<ImageReader> openTarga(const ImageSource& source, std::string& why) {
  OrderedReader in(source.data);
  const Head head(in);
  if (!in.good() || !head.isSane()) {
    why = kSenseless;
    return nullptr;
  }
  if (!mayBeHeldWhole(head.width, head.height, source.data.size(), kMostPixelsPerByte, why)) return nullptr;
  return WholeImage::decoded({head.width, head.height, 32, nullptr}, why,
                             [&](WholeImage& image) { return decode(head, Pixels(head, in), image); });
}

}  // namespace qd
