// Plays any bytes into a world of any depth.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const World world(48, 40, kDepths[data[0] % 6]);
  playBytes({data + 1, size - 1}, MakeRect(data[0] / 6 % 5, 0, 40, 30 + data[0] % 9));
  if (memory::audit().handles != 0) std::abort();
  return 0;
}
