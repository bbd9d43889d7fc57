// Lists any bytes, and assembles the same bytes of their listing in full.
#include <cstdlib>

#include "fuzz/target.h"

void feed(qd::Bytes input) {
  if (input.empty()) return;
  const qd::Bytes picture = input.subspan(1);
  std::size_t length = 0;
  qd::listPicture(picture, [&length](const std::string& line) { length += line.size(); });
  if (length == 0) std::abort();
  std::string text;
  qd::listFully(picture, [&text](const std::string& line) { text += line + "\n"; });
  const qd::Assembled again = qd::assemblePicture(text);
  if (again.error || again.picture != std::vector<std::uint8_t>(picture.begin(), picture.end())) std::abort();
}
