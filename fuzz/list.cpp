// Lists any bytes.
#include "engine/pict/lister.h"
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  std::size_t length = 0;
  qd::listPicture({data + 1, size - 1}, [&length](const std::string& line) { length += line.size(); });
  return length == 0 ? std::abort(), 0 : 0;
}
