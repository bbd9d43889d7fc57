// Assembles any text.
#include "qdraw/qdraw.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const qd::Assembled made = qd::assemblePicture({reinterpret_cast<const char*>(data), size});
  if (made.error && (made.error->line < 1 || made.error->column < 1 || made.error->what.empty())) __builtin_trap();
  return 0;
}
