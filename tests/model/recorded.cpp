// Records what is played. The library's header has no way to do it: a picture goes into a port on which another is
// open.
#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "tests/model/scene.h"

namespace model {

std::vector<std::uint8_t> recorded(const std::vector<std::uint8_t>& picture, int width, int height,
                                   const Rect& target) {
  qd::Resources resources("no fonts are needed");
  qd::Port port(*qd::OwnedPixels::make(qd::Box(0, 0, height, width), 32, nullptr), resources);
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  port.recording = std::make_unique<qd::PictureWriter>(qd::PictureParams(width, height), sink, resources.fonts);
  play(port, picture, plain(target));
  port.recording->close();
  return bytes;
}

}  // namespace model
