// GIF by our own code, where the library isn't: the first image, on the screen's background.
#include <algorithm>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/lzw.h"
#include "engine/images/ordered.h"
#include "engine/images/whole.h"

namespace qd {
namespace {

constexpr int kHasTable = 0x80, kIsInterlaced = 0x40;

ColorTablePtr readTable(OrderedReader& in, int flags) {
  std::vector<RGBColor> colors(std::size_t{2} << (flags & 7));
  const auto component = [&in] { return static_cast<std::uint16_t>(in.u8() * 257); };
  for (RGBColor& color : colors) {
    const std::uint16_t red = component();
    const std::uint16_t green = component();
    color = {red, green, component()};
  }
  return std::make_shared<const ColorTable>(std::move(colors));
}

// What stands in blocks of up to 255 bytes up to an empty one; as far as there is any.
std::vector<std::uint8_t> takeBlocks(OrderedReader& in) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t size = in.u8(); size > 0; size = in.u8()) {
    const Bytes block = in.take(std::min(size, in.left()));
    bytes.insert(bytes.end(), block.begin(), block.end());
  }
  return bytes;
}

constexpr int kOpaque = -1;

struct Frame {
  int transparent = kOpaque;  // the index of no colour
  int left = 0, top = 0, width = 0, height = 0;
  bool isInterlaced = false;
  ColorTablePtr colors;
  int rootBits = 0;
  std::vector<std::uint8_t> codes;
};

// False without any.
bool readFrame(OrderedReader& in, ColorTablePtr colors, Frame& frame) {
  constexpr int kExtension = 0x21, kImage = 0x2C;
  int block = in.u8();
  for (; block == kExtension; block = in.u8()) {
    constexpr int kGraphicControl = 0xF9;
    const int label = in.u8();
    const std::vector<std::uint8_t> control = takeBlocks(in);
    if (label == kGraphicControl && control.size() >= 4)
      frame.transparent = (control[0] & 1) != 0 ? control[3] : kOpaque;
  }
  if (block != kImage) return false;
  frame.left = in.u16();
  frame.top = in.u16();
  frame.width = in.u16();
  frame.height = in.u16();
  const int flags = in.u8();
  frame.isInterlaced = (flags & kIsInterlaced) != 0;
  frame.colors = (flags & kHasTable) != 0 ? readTable(in, flags) : std::move(colors);
  frame.rootBits = in.u8();
  if (!in.good() || frame.rootBits < 1 || frame.rootBits > 8 || frame.colors == nullptr) return false;
  frame.codes = takeBlocks(in);
  return true;
}

bool decode(const Frame& frame, int background, WholeImage& image) {
  auto colors = frame.colors->deepPixels();
  if (image.format().hasAlpha) {
    for (std::uint32_t& color : colors) color |= 0xFF000000;
    colors[static_cast<std::size_t>(frame.transparent)] &= onesOf(32);
  }
  const std::vector<std::uint32_t> empty(static_cast<std::size_t>(image.format().width),
                                         image.format().hasAlpha ? 0 : colors[static_cast<std::size_t>(background)]);
  for (int y = 0; y < image.format().height; ++y) image.put(y, 0, empty);

  const auto width = static_cast<std::size_t>(frame.width);
  std::vector<std::uint8_t> pixels(width * static_cast<std::size_t>(frame.height));
  const std::size_t count = unpackLzw(frame.codes, {frame.rootBits, false}, pixels);
  std::vector<std::uint32_t> row(width);
  std::size_t at = 0;
  const auto putRows = [&](int first, int step) {
    for (int y = first; y < frame.height && at + width <= count; y += step, at += width) {
      for (std::size_t x = 0; x < width; ++x) row[x] = colors[pixels[at + x]];
      image.put(frame.top + y, frame.left, row);
    }
  };
  if (frame.isInterlaced) {
    for (const auto& [first, step] : {std::pair(0, 8), {4, 8}, {2, 4}, {1, 2}}) putRows(first, step);
  } else {
    putRows(0, 1);
  }
  return count == pixels.size();
}

}  // namespace

std::unique_ptr<ImageReader> openOwnGif(const ImageSource& source, std::string& why) {
  why = kSenseless;
  OrderedReader in(source.data);
  in.take(6);
  const int width = in.u16();
  const int height = in.u16();
  const int flags = in.u8();
  const int background = in.u8();
  in.u8();
  const ColorTablePtr colors = (flags & kHasTable) != 0 ? readTable(in, flags) : nullptr;
  Frame frame;
  if (!in.good() || !readFrame(in, colors, frame)) return nullptr;
  const auto isPossible = [&](int w, int h) { return mayBeHeldWhole(w, h, source.data.size(), kMostLzwPerByte, why); };
  if (!isPossible(width, height) || !isPossible(frame.width, frame.height)) return nullptr;
  return WholeImage::decoded({width, height, 32, nullptr, frame.transparent != kOpaque}, why,
                             [&](WholeImage& image) { return decode(frame, background, image); });
}

}  // namespace qd
