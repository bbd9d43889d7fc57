// TIFF by our own code, where the library isn't: of either order, as far as strips go; bilevel, grey, of a palette or
// of red, green and blue; plain, packed by PackBits, by LZW or, where the system's codecs are, by deflate.
#ifdef QDRAW_SYSTEM_CODECS
#include <zlib.h>
#endif

#include <algorithm>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/lzw.h"
#include "engine/images/ordered.h"
#include "engine/images/tiff_samples.h"
#include "engine/images/whole.h"

namespace qd {
namespace {

// Where pixels are bits.
constexpr std::int64_t kMostPixelsPerByte = kMostLzwPerByte * 8;

enum Packing { kPlain = 1, kLzw = 5, kDeflate = 8, kPackBits = 32773 };
#ifdef QDRAW_SYSTEM_CODECS
constexpr bool kInflates = true;
#else
constexpr bool kInflates = false;
#endif

// The first directory. A field is one number or a list of them.
class Directory {
 public:
  explicit Directory(Bytes file) : file_(file), isLittle_(!file.empty() && file[0] == 'I') {
    OrderedReader head(file, isLittle_);
    head.take(4);
    const std::size_t at = head.u32();
    if (!head.good() || at > file.size()) return;
    OrderedReader in(file.subspan(at), isLittle_);
    fields_ = in.take(in.u16() * kFieldBytes);
  }

  std::vector<std::uint32_t> list(int tag) const {
    for (std::size_t i = 0; i < fields_.size(); i += kFieldBytes) {
      OrderedReader in(fields_.subspan(i, kFieldBytes), isLittle_);
      if (in.u16() != tag) continue;
      const int type = in.u16();
      const std::size_t size = type == 1 ? 1 : type == 3 ? 2 : 4;  // bytes, words, or twice as much
      const std::size_t count = in.u32();
      if (count * size > 4) in = elsewhere(in.u32());
      if (count > in.left() / size) return {};
      std::vector<std::uint32_t> numbers(count);
      for (std::uint32_t& number : numbers) number = size == 1 ? in.u8() : size == 2 ? in.u16() : in.u32();
      return numbers;
    }
    return {};
  }
  std::uint32_t number(int tag, std::uint32_t otherwise) const {
    const auto numbers = list(tag);
    return numbers.empty() ? otherwise : numbers[0];
  }

 private:
  static constexpr std::size_t kFieldBytes = 12;
  OrderedReader elsewhere(std::size_t at) const {
    return OrderedReader(file_.subspan(std::min(at, file_.size())), isLittle_);
  }

  Bytes file_, fields_;
  bool isLittle_;
};

struct Tiff {
  explicit Tiff(Bytes data) : file(data) {
    const Directory directory(data);
    width = directory.number(256, 0);
    height = directory.number(257, 0);
    bits = directory.number(258, 1);
    packing = directory.number(259, kPlain);
    meaning = directory.number(262, kBlackIsZero);
    offsets = directory.list(273);
    samples = directory.number(277, 1);
    rowsPerStrip = directory.number(278, height);
    sizes = directory.list(279);
    isInPlanes = samples > 1 && directory.number(284, 1) != 1;
    isDifferences = (packing == kLzw || packing == kDeflate) && directory.number(317, 1) == 2;
    if (meaning == kPalette) palette = directory.list(320);
    const std::uint32_t extra = directory.number(338, 0);
    if (samples == 4 && extra <= 2) alpha = static_cast<TiffAlpha>(extra);
  }

  bool isSane() const {
    const bool isKnown =
        packing == kPlain || packing == kLzw || packing == kPackBits || (kInflates && packing == kDeflate);
    const bool isSmall = samples >= 1 && samples <= 2 && (bits == 1 || bits == 4 || bits == 8) && meaning != kDeep &&
                         (samples == 1 || bits == 8) &&
                         (meaning != kPalette || palette.size() == std::size_t{3} << bits);
    const bool isDeep = meaning == kDeep && samples >= 3 && samples <= 4 && bits == 8;
    return isKnown && !isInPlanes && meaning <= kPalette && (isSmall || isDeep) && rowsPerStrip > 0 &&
           !offsets.empty() && offsets.size() == sizes.size() && (!isDifferences || bits == 8);
  }
  std::size_t rowBytes() const { return (std::size_t{width} * samples * bits + 7) / 8; }

  // What indices and greys are.
  std::array<std::uint32_t, 256> table() const {
    return tiffTable(bits, meaning, [this](std::size_t c, std::size_t i) { return palette[(c << bits) + i]; });
  }

  Bytes file;
  std::uint32_t width, height, bits, packing, meaning, samples, rowsPerStrip;
  std::vector<std::uint32_t> offsets, sizes, palette;
  bool isInPlanes, isDifferences;
  TiffAlpha alpha = TiffAlpha::none;
};

std::size_t inflate(Bytes strip, std::vector<std::uint8_t>& to) {
#ifdef QDRAW_SYSTEM_CODECS
  uLongf size = to.size();
  uncompress(to.data(), &size, strip.data(), strip.size());  // what there is by a fault counts, too
  return size;
#else
  (void)strip, (void)to;
  return 0;
#endif
}

// How many bytes there are of a strip.
std::size_t unpackStrip(const Tiff& tiff, Bytes strip, std::vector<std::uint8_t>& to) {
  switch (tiff.packing) {
    case kLzw:
      return unpackLzw(strip, {8, true}, to);
    case kDeflate:
      return inflate(strip, to);
    case kPackBits:
      std::ranges::fill(to, std::uint8_t{0});
      return unpackBits(strip, 1, to) ? to.size() : 0;
    default: {
      const std::size_t size = std::min(strip.size(), to.size());
      std::copy_n(strip.begin(), size, to.begin());
      return size;
    }
  }
}

bool decode(const Tiff& tiff, WholeImage& image) {
  const auto table = tiff.table();
  std::vector<std::uint32_t> row(tiff.width);
  std::vector<std::uint8_t> bytes;
  std::uint32_t y = 0;
  for (std::size_t i = 0; i < tiff.offsets.size() && y < tiff.height; ++i) {
    const std::uint32_t rows = std::min(tiff.rowsPerStrip, tiff.height - y);
    bytes.resize(tiff.rowBytes() * rows);
    const std::size_t at = std::min<std::size_t>(tiff.offsets[i], tiff.file.size());
    const std::size_t size = std::min<std::size_t>(tiff.sizes[i], tiff.file.size() - at);
    const std::size_t count = unpackStrip(tiff, tiff.file.subspan(at, size), bytes);
    for (std::size_t from = 0; from + tiff.rowBytes() <= count; from += tiff.rowBytes(), ++y) {
      std::uint8_t* samples = bytes.data() + from;
      if (tiff.isDifferences) {
        for (std::size_t x = tiff.samples; x < tiff.rowBytes(); ++x) {
          samples[x] = static_cast<std::uint8_t>(samples[x] + samples[x - tiff.samples]);
        }
      }
      if (tiff.samples == 1) unpackPixels(static_cast<int>(tiff.bits), samples, 0, row);
      for (std::size_t x = 0; x < row.size(); ++x) {
        const std::uint8_t* pixel = samples + x * tiff.samples;
        row[x] = tiff.samples == 1   ? table[row[x]]
                 : tiff.samples == 2 ? table[pixel[0]]
                                     : tiffColor(tiff.alpha, [pixel](int c) { return pixel[c]; });
      }
      image.put(static_cast<int>(y), 0, row);
    }
    if (count < bytes.size()) return false;
  }
  return y == tiff.height;
}

}  // namespace

std::unique_ptr<ImageReader> openOwnTiff(const ImageSource& source, std::string& why) {
  const Tiff tiff(source.data);
  if (!tiff.isSane()) {
    why = kInflates ? "it is no TIFF of strips of 1, 4 or 8 bits, plain or packed by PackBits, LZW or deflate"
                    : "it is no TIFF of strips of 1, 4 or 8 bits, plain or packed by PackBits or LZW";
    return nullptr;
  }
  if (!mayBeHeldWhole(tiff.width, tiff.height, source.data.size(), kMostPixelsPerByte, why)) return nullptr;
  const ImageFormat format = {static_cast<int>(tiff.width), static_cast<int>(tiff.height), 32, nullptr,
                              tiff.alpha != TiffAlpha::none};
  return WholeImage::decoded(format, why, [&tiff](WholeImage& image) { return decode(tiff, image); });
}

}  // namespace qd
