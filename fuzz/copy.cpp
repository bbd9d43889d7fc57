// Copies between maps of any depth, with any rectangles and modes.
#include "engine/pixels/copy.h"

#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const Canvas source(1 + data[0] % 50, 1 + data[1] % 40, kDepths[data[2] % 6]);
  const Canvas mask(1 + data[1] % 50, 1 + data[0] % 40, kDepths[data[2] / 6 % 6]);
  Canvas destination(37, 29, kDepths[data[3] % 6]);
  for (std::size_t at = 4; at + 27 <= size; at += 27) {
    qd::Rect rects[3];
    std::memcpy(rects, data + at, sizeof rects);
    const qd::PixelMap& from = data[at + 24] % 5 == 0 ? destination.map() : source.map();
    std::int16_t mode = 0;
    std::memcpy(&mode, data + at + 25, sizeof mode);
    if (data[at + 24] % 2 == 0) {
      perform(destination.port(), qd::BitsCommand{&from, rects[0], rects[1], mode, nullptr});
    } else {
      qd::copyMask(from, mask.map(), destination.map(), qd::Box(rects[0]), qd::Box(rects[2]), qd::Box(rects[1]),
                   destination.port().visible(), destination.port().state.colors);
    }
  }
  return 0;
}
