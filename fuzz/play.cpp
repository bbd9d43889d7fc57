// Plays any bytes into a port of any depth.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  Canvas canvas(48, 40, kDepths[data[0] % 6]);
  qd::play(canvas.port(), {data + 1, size - 1}, qd::MakeRect(data[0] / 6 % 5, 0, 40, 30 + data[0] % 9));
  return 0;
}
