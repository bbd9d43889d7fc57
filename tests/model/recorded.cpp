// What the library's header has no way to do: records what is played, by a port on which a picture is open, and plays
// into pixels that don't begin at the origin.
#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "tests/model/scene.h"

namespace model {
namespace {

qd::OwnedPixels pixelsOf(const Map& map) {
  std::vector<qd::RGBColor> colors;
  const auto word = [](int value) { return static_cast<std::uint16_t>(value); };
  for (const auto& [red, green, blue] : map.table) colors.push_back({word(red), word(green), word(blue)});
  const Rect& b = map.bounds;
  auto table = map.isDirect() ? nullptr : std::make_shared<const qd::ColorTable>(std::move(colors));
  return std::move(*qd::OwnedPixels::make(qd::Box(plain(b)), map.depth, std::move(table)));
}

std::span<std::uint32_t> row(Map& map, int y) {
  return {&map.at(map.bounds.left, y), static_cast<std::size_t>(map.bounds.width())};
}

}  // namespace

std::vector<std::uint8_t> recorded(const std::vector<std::uint8_t>& picture, const Rect& bounds, const Rect& target) {
  qd::Resources resources("no fonts are needed");
  qd::Port port(pixelsOf(Map(32, bounds)), resources);
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  const qd::OpenCPicParams params = {plain(bounds), 0x480000, 0x480000, -2, 0, 0};
  port.recording = std::make_unique<qd::PictureWriter>(params, sink, resources.fonts);
  play(port, picture, plain(target));
  port.recording->close();
  return bytes;
}

qd::Playback playInto(Map& map, const std::vector<std::uint8_t>& picture) {
  qd::Resources resources("no fonts are needed");
  qd::Port port(pixelsOf(map), resources);
  const Rect& b = map.bounds;
  for (int y = b.top; y < b.bottom; ++y) port.map().put(y, b.left, row(map, y));
  qd::Playback playback = play(port, picture, plain(b));
  for (int y = b.top; y < b.bottom; ++y) {
    port.map().get(y, b.left, row(map, y));
    for (std::uint32_t& pixel : row(map, y)) pixel &= map.ones();
  }
  return playback;
}

}  // namespace model
