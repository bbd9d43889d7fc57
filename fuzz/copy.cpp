// Copies between maps of any depth, with any rectangles and modes, and scrolling.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const World source(1 + data[0] % 50, 1 + data[1] % 40, kDepths[data[2] % 6]);
  const World mask(1 + data[1] % 50, 1 + data[0] % 40, kDepths[data[2] / 6 % 6]);
  const World destination(37, 29, kDepths[data[3] % 6]);
  for (std::size_t at = 4; at + 27 <= size; at += 27) {
    Rect rects[3];
    std::memcpy(rects, data + at, sizeof rects);
    const BitMapPtr from = data[at + 24] % 5 == 0 ? destination.bits() : source.bits();
    std::int16_t mode = 0;
    std::memcpy(&mode, data + at + 25, sizeof mode);
    switch (data[at + 24] % 3) {
      case 0:
        CopyBits(from, destination.bits(), &rects[0], &rects[1], mode, nullptr);
        break;
      case 1:
        CopyMask(from, mask.bits(), destination.bits(), &rects[0], &rects[2], &rects[1]);
        break;
      default:
        ScrollRect(&rects[0], rects[1].top, rects[1].left, nullptr);
    }
  }
  return 0;
}
