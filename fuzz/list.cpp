// Lists any bytes, and assembles the same bytes of their listing in full.
#include "fuzz/target.h"
#include "qdraw/qdraw.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const qd::Bytes picture(data + 1, size - 1);
  std::size_t length = 0;
  qd::listPicture(picture, [&length](const std::string& line) { length += line.size(); });
  if (length == 0) std::abort();
  std::string text;
  qd::listFully(picture, [&text](const std::string& line) { text += line + "\n"; });
  const qd::Assembled again = qd::assemblePicture(text);
  if (again.error || again.picture != std::vector<std::uint8_t>(picture.begin(), picture.end())) std::abort();
  return 0;
}
