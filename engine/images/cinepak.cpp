// Cinepak, a key frame: strips of blocks of four by four pixels, which come from a strip's two codebooks. An entry has
// four brightnesses and one colour; a block is one entry of the first book at twice its size, or four of the second.
#include <algorithm>

#include "engine/images/decoders.h"
#include "engine/images/whole.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

// A bit says that a block stays as it is.
constexpr std::int64_t kMostPixelsPerByte = 8 * 16;

using Entry = std::array<std::uint32_t, 4>;  // pixels, from the left and from the top
using Codebook = std::array<Entry, 256>;

// Bits in words of 32, which stand between what they tell of.
class Mask {
 public:
  explicit Mask(ByteReader& in) : in_(in) {}
  bool next() {
    if (left_ == 0) {
      bits_ = in_.u32();
      left_ = 32;
    }
    return (bits_ >> --left_ & 1) != 0;
  }

 private:
  ByteReader& in_;
  std::uint32_t bits_ = 0;
  int left_ = 0;
};

class CinepakDecoder {
 public:
  CinepakDecoder(ByteReader in, WholeImage& image) : in_(in), image_(image) {}

  // False where the data end too early, or make no sense.
  bool decode() {
    constexpr int kOwnCodebooks = 1;
    const bool isFresh = (in_.u8() & kOwnCodebooks) != 0;
    in_.take(3 + 2 + 2);  // the length and the size, which may be more than what is shown
    const int strips = in_.u16();
    for (int i = 0; i < strips && bottom_ < image_.format().height; ++i) {
      if (isFresh) small_ = large_ = {};
      if (!strip()) return false;
    }
    return in_.good() && bottom_ >= image_.format().height;
  }

 private:
  static constexpr std::size_t kChunkHead = 4;

  bool strip() {
    in_.u16();  // whether it's of a key frame
    const std::size_t size = in_.u16();
    const int top = in_.u16();
    in_.u16();
    const int bottom = in_.u16();
    right_ = in_.u16();
    if (!in_.good() || size < 12) return false;
    // Cut short, it has what there is.
    const bool isWhole = size - 12 <= in_.left();
    ByteReader chunks(in_.take(std::min(size - 12, in_.left())));
    top_ = top == 0 ? bottom_ : top;
    bottom_ = top == 0 ? bottom_ + bottom : bottom;
    while (chunks.left() >= kChunkHead) {
      const int id = chunks.u16();
      const std::size_t length = chunks.u16();
      if (length < kChunkHead) return false;
      ByteReader body(chunks.take(std::min(length - kChunkHead, chunks.left())));
      if (!chunk(id, body)) return false;
    }
    return isWhole;
  }

  bool chunk(int id, ByteReader& in) {
    constexpr int kCodebook = 0x20, kVectors = 0x30;
    if (id >> 8 >= kCodebook && id >> 8 < kCodebook + 8) {
      readBook((id & 0x200) != 0 ? small_ : large_, (id & 0x100) != 0, (id & 0x400) != 0, in);
      return true;
    }
    if (id >> 8 < kVectors || id >> 8 > kVectors + 2) return true;  // what is unknown is passed over
    return readVectors(id >> 8 & 3, in);
  }

  // Entries from the first on, or those that bits tell of; as far as there are bytes.
  void readBook(Codebook& book, bool isPartial, bool isGrey, ByteReader& in) const {
    const std::size_t bytes = isGrey ? 4 : 6;
    Mask isNew(in);
    for (Entry& entry : book) {
      if (isPartial && !isNew.next()) continue;
      if (in.left() < bytes) return;
      const Bytes luma = in.take(4);
      const int u = isGrey ? 0 : in.s8();
      const int v = isGrey ? 0 : in.s8();
      for (std::size_t i = 0; i < 4; ++i) entry[i] = pixel(luma[i], u, v, isGrey);
    }
  }

  // Without colours of its own, an entry of an image with a table has that table's indices.
  std::uint32_t pixel(int y, int u, int v, bool isGrey) const {
    const ColorTablePtr& colors = image_.format().colors;
    if (isGrey && colors != nullptr) return static_cast<std::uint32_t>(y);
    const auto component = [](int value) { return static_cast<std::uint32_t>(std::clamp(value, 0, 255)); };
    const std::uint32_t deep = component(y + 2 * v) << 16 | component(y - u / 2 - v) << 8 | component(y + 2 * u);
    return colors != nullptr ? colors->nearest(deepColor(deep)) : deep;
  }

  // Kinds: 0 has a bit for each block, which of the books it comes from; 1 has one in front of it, whether the block is
  // there at all; 2 takes all from the first.
  bool readVectors(int kind, ByteReader& in) {
    Mask mask(in);
    for (int y = top_; y < std::min(bottom_, image_.format().height); y += 4) {
      for (int x = 0; x < right_; x += 4) {
        const bool isThere = kind != 1 || mask.next();
        const bool isDetailed = isThere && kind != 2 && mask.next();
        const Bytes entries = in.take(!isThere ? 0 : isDetailed ? 4 : 1);
        if (!in.good()) return false;
        if (isThere) isDetailed ? putFour(y, x, entries) : putOne(y, x, small_[entries[0]]);
      }
    }
    return true;
  }

  void putOne(int y, int x, const Entry& entry) {
    for (int row = 0; row < 4; ++row) {
      const std::uint32_t left = entry[row < 2 ? 0 : 2];
      const std::uint32_t right = entry[row < 2 ? 1 : 3];
      image_.put(y + row, x, std::array{left, left, right, right});
    }
  }
  void putFour(int y, int x, Bytes entries) {
    for (int row = 0; row < 4; ++row) {
      const std::size_t half = row < 2 ? 0 : 2;
      const Entry& left = large_[entries[half]];
      const Entry& right = large_[entries[half + 1]];
      const std::size_t part = row % 2 == 0 ? 0 : 2;
      image_.put(y + row, x, std::array{left[part], left[part + 1], right[part], right[part + 1]});
    }
  }

  ByteReader in_;
  WholeImage& image_;
  Codebook small_ = {}, large_ = {};      // the first and the second one
  int top_ = 0, bottom_ = 0, right_ = 0;  // of the last strip
};

}  // namespace

std::unique_ptr<ImageReader> openCinepak(const ImageSource& source, std::string& why) {
  ImageFormat format = source.told;
  if (!mayBeHeldWhole(format.width, format.height, source.data.size(), kMostPixelsPerByte, why)) return nullptr;
  constexpr std::size_t kHead = 10;
  if (source.data.size() < kHead) {
    why = kTooShort;
    return nullptr;
  }
  if (format.depth != 8) {
    format.depth = 32;
    format.colors = nullptr;
  }
  return WholeImage::decoded(std::move(format), why, [&](WholeImage& image) {
    return CinepakDecoder(ByteReader(source.data), image).decode();
  });
}

}  // namespace qd
