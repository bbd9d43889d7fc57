// Looks for pictures in any bytes, as in a file of any kind.
#include "containers/containers.h"

#include <algorithm>
#include <cstdlib>

#include "fuzz/target.h"

void feed(qd::Bytes input) {
  if (input.empty()) return;
  constexpr containers::Limits kLimits = {.depth = 4, .bytes = 1 << 22, .pictures = 50, .notes = 5};
  const auto contents = containers::picturesIn(input.subspan(1), input[0] % 2 != 0, kLimits);
  const auto isShown = [](const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) >= ' '; });
  };
  const auto isPath = [](const std::string& name) {
    return ("/" + name + "/").find("/../") == std::string::npos && !name.starts_with('/');
  };
  containers::FileNames names;
  std::uint64_t bytes = 0;
  bool isRight = contents.pictures.size() <= kLimits.pictures && contents.notes.size() <= kLimits.notes + 1;
  for (const containers::Found& found : contents.pictures) {
    bytes += found.picture.size();
    const std::string file = names.of("in/file.bin", found);
    isRight = isRight && qd::pictureInfo(found.picture) && isShown(found.name()) && isPath(found.place) &&
              isPath(file) && file.find('/') == std::string::npos;
  }
  for (const std::string& note : contents.notes) isRight = isRight && isShown(note);
  if (!isRight || bytes > kLimits.bytes) std::abort();
}
