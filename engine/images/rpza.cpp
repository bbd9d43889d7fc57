// Apple Video: blocks of four by four pixels of 16 bits. A block is skipped, of one colour, of two colours and two
// between them, or of sixteen.
#include "engine/images/decoders.h"
#include "engine/images/whole.h"
#include "engine/pict/bytes.h"

namespace qd {
namespace {

constexpr int kMagic = 0xE1;
constexpr int kTopBit = 0x8000;  // of a word that is a colour after all
constexpr std::int64_t kMostPixelsPerByte = 32 * 16;

// Two colours with those at a third and at two thirds of the way.
std::array<std::uint32_t, 4> ramp(std::uint32_t a, std::uint32_t b) {
  std::array<std::uint32_t, 4> colors = {b, 0, 0, a};
  for (int shift = 0; shift < 15; shift += 5) {
    const std::uint32_t from = a >> shift & 31;
    const std::uint32_t to = b >> shift & 31;
    colors[1] |= (11 * from + 21 * to) / 32 << shift;
    colors[2] |= (21 * from + 11 * to) / 32 << shift;
  }
  return colors;
}

// False where the data end too early, or a code is none.
bool decode(ByteReader in, WholeImage& image) {
  Blocks blocks(image);
  const auto putRamps = [&](std::uint32_t a, std::uint32_t b, int count) {
    const auto colors = ramp(a, b);
    for (; count > 0 && blocks.left() > 0; --count) {
      const std::uint32_t choices = in.u32();
      if (!in.good()) return;
      Blocks::Pixels pixels;
      for (int i = 0; i < 16; ++i) pixels[static_cast<std::size_t>(i)] = colors[choices >> (30 - 2 * i) & 3];
      blocks.put(pixels);
    }
  };
  while (blocks.left() > 0) {
    const int code = in.u8();
    const int count = (code & 0x1F) + 1;
    if (code < 0x80) {
      const auto a = static_cast<std::uint32_t>(code << 8 | in.u8());
      const std::uint32_t b = in.u16();
      if ((b & kTopBit) != 0) {
        putRamps(a, b, 1);
      } else {
        Blocks::Pixels pixels = {a, b};
        for (std::size_t i = 2; i < pixels.size(); ++i) pixels[i] = in.u16();
        if (in.good()) blocks.put(pixels);
      }
    } else if (code < 0xA0) {
      blocks.skip(count);
    } else if (code < 0xC0) {
      Blocks::Pixels pixels;
      pixels.fill(in.u16());
      for (int i = 0; i < count && in.good(); ++i) blocks.put(pixels);
    } else if (code < 0xE0) {
      const std::uint32_t a = in.u16();
      putRamps(a, in.u16(), count);
    } else {
      return false;
    }
    if (!in.good()) return false;
  }
  return true;
}

}  // namespace

std::unique_ptr<ImageReader> openRpza(const ImageSource& source, std::string& why) {
  const int width = source.told.width;
  const int height = source.told.height;
  if (!mayBeHeldWhole(width, height, source.data.size(), kMostPixelsPerByte, why)) return nullptr;
  ByteReader in(source.data);
  if (in.u8() != kMagic || in.take(3).empty()) {
    why = kSenseless;
    return nullptr;
  }
  return WholeImage::decoded({width, height, 16, nullptr}, why, [in](WholeImage& image) { return decode(in, image); });
}

}  // namespace qd
