// Graphics: blocks of four by four pixels of 8 bits. A block is skipped, the same as one or two before it, or has one,
// two, four, eight or sixteen colours; sets of two, four and eight that were used before are called by a number.
#include "engine/images/decoders.h"
#include "engine/images/whole.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

// A byte's code skips sixteen blocks; two bytes skip 256.
constexpr std::int64_t kMostPixelsPerByte = 128 * 16;

// The last 256 sets of so many colours. A number says which, or a new one takes the oldest one's place.
template <std::size_t Count>
class ColorSets {
 public:
  Bytes next(ByteReader& in, bool isNew) {
    if (!isNew) return sets_[in.u8()];
    const Bytes colors = in.take(Count);
    std::ranges::copy(colors, sets_[at_].begin());
    return sets_[at_++];
  }

 private:
  std::array<std::array<std::uint8_t, Count>, 256> sets_ = {};
  std::uint8_t at_ = 0;
};

class SmcDecoder {
 public:
  SmcDecoder(ByteReader in, WholeImage& image) : in_(in), blocks_(image) {}

  // False where the data end too early, or a code makes no sense.
  bool decode() {
    while (blocks_.left() > 0) {
      const int code = in_.u8();
      const int kind = code >> 4;
      const bool isLong = kind < 8 && kind % 2 != 0;  // its count has a byte of its own
      const int count = (isLong ? in_.u8() : code & 15) + 1;
      if (!in_.good() || !take(kind, count) || !in_.good()) return false;
    }
    return true;
  }

 private:
  bool take(int kind, int count) {
    const bool isNew = kind % 2 == 0;
    switch (kind / 2) {
      case 0:
        blocks_.skip(count);
        return true;
      case 1:
        return repeat(1, count);
      case 2:
        return repeat(2, 2 * count);
      case 3: {
        Blocks::Pixels pixels;
        pixels.fill(in_.u8());
        for (int i = 0; i < count && in_.good(); ++i) blocks_.put(pixels);
        return true;
      }
      case 4:
        return put<1>(pairs_.next(in_, isNew), count, [this] { return std::uint64_t{in_.u16()}; });
      case 5:
        return put<2>(fours_.next(in_, isNew), count, [this] { return std::uint64_t{in_.u32()}; });
      case 6:
        return put<3>(eights_.next(in_, isNew), count, [this] { return eightChoices(); });
      default:
        return isNew && putSixteens(count);
    }
  }

  bool repeat(int back, int count) {
    for (; count > 0 && blocks_.left() > 0; --count) {
      if (!blocks_.repeat(back)) return false;
    }
    return true;
  }

  // The first pixel's choice is in the highest bits.
  template <int Bits, class Choices>
  bool put(Bytes colors, int count, const Choices& choices) {
    for (; count > 0 && blocks_.left() > 0; --count) {
      const std::uint64_t bits = choices();
      if (!in_.good()) return false;
      Blocks::Pixels pixels;
      for (int i = 0; i < 16; ++i) {
        pixels[static_cast<std::size_t>(i)] = colors[bits >> (Bits * (15 - i)) & ((1U << Bits) - 1)];
      }
      blocks_.put(pixels);
    }
    return true;
  }

  // Three words have a row each in their upper 12 bits, and the last row in the three lowest fours.
  std::uint64_t eightChoices() {
    std::uint64_t rows = 0;
    std::uint64_t last = 0;
    for (int i = 0; i < 3; ++i) {
      const std::uint64_t word = in_.u16();
      rows = rows << 12 | word >> 4;
      last = last << 4 | (word & 15);
    }
    return rows << 12 | last;
  }

  bool putSixteens(int count) {
    for (; count > 0 && blocks_.left() > 0; --count) {
      const Bytes bytes = in_.take(16);
      if (!in_.good()) return false;
      Blocks::Pixels pixels;
      std::ranges::copy(bytes, pixels.begin());
      blocks_.put(pixels);
    }
    return true;
  }

  ByteReader in_;
  Blocks blocks_;
  ColorSets<2> pairs_;
  ColorSets<4> fours_;
  ColorSets<8> eights_;
};

}  // namespace

std::unique_ptr<ImageReader> openSmc(const ImageSource& source, std::string& why) {
  const ImageFormat& told = source.told;
  if (!hasDepth(told.depth, {8}, why) ||
      !mayBeHeldWhole(told.width, told.height, source.data.size(), kMostPixelsPerByte, why))
    return nullptr;
  ByteReader in(source.data);
  if (in.take(4).empty()) {  // flags, and the length
    why = kTooShort;
    return nullptr;
  }
  return WholeImage::decoded(told, why, [in](WholeImage& image) { return SmcDecoder(in, image).decode(); });
}

}  // namespace qd
