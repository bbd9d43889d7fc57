// Copies between maps of any depth, with any rectangles and modes.
#include "engine/pixels/copy.h"

#include "fuzz/canvas.h"
#include "fuzz/target.h"

void feed(qd::Bytes input) {
  if (input.size() < 4) return;
  const Canvas source(1 + input[0] % 50, 1 + input[1] % 40, kDepths[input[2] % 6]);
  const Canvas mask(1 + input[1] % 50, 1 + input[0] % 40, kDepths[input[2] / 6 % 6]);
  Canvas destination(37, 29, kDepths[input[3] % 6]);
  for (std::size_t at = 4; at + 27 <= input.size(); at += 27) {
    qd::Rect rects[3];
    std::memcpy(rects, input.data() + at, sizeof rects);
    const qd::PixelMap& from = input[at + 24] % 5 == 0 ? destination.map() : source.map();
    std::int16_t mode = 0;
    std::memcpy(&mode, input.data() + at + 25, sizeof mode);
    if (input[at + 24] % 2 == 0) {
      perform(destination.port(), qd::BitsCommand{&from, rects[0], rects[1], mode, nullptr});
    } else {
      qd::copyMask(from, mask.map(), destination.map(), qd::Box(rects[0]), qd::Box(rects[2]), qd::Box(rects[1]),
                   destination.port().visible(), destination.port().state.colors);
    }
  }
}
