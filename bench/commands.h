// A drawing of many small shapes in colours, which is recorded, played and looked at for its size.
#pragma once

#include "bench/bench.h"
#include "qdraw/qdraw.h"

namespace bench {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

// One drawing of many: a shape in a colour.
struct Command {
  enum Kind { rect, oval, roundRect, line, polygon } kind;
  std::int16_t x, y, width, height;
  qd::RGBColor color;
};

inline std::vector<Command> commands(int count) {
  Random random;
  std::vector<Command> all;
  for (int i = 0; i < count; ++i) {
    const auto any = [&random](std::uint32_t low, std::uint32_t high) {
      return static_cast<std::int16_t>(low + random(high - low));
    };
    const auto level = [&random] { return static_cast<std::uint16_t>(random(256) * 257); };
    const auto kind = static_cast<Command::Kind>(random(5));
    all.push_back(
        {kind, any(0, kWidth - 50), any(0, kHeight - 50), any(4, 50), any(4, 50), {level(), level(), level()}});
  }
  return all;
}

// By a pen that has a recorder's drawings.
template <class Pen>
void draw(Pen& pen, const Command& c) {
  const qd::Rect area = qd::MakeRect(c.x, c.y, c.width, c.height);
  pen.foreColor(c.color);
  switch (c.kind) {
    case Command::rect:
      return pen.rect(qd::Verb::paint, area);
    case Command::oval:
      return pen.oval(qd::Verb::paint, area);
    case Command::roundRect:
      return pen.roundRect(qd::Verb::paint, area, {8, 8});
    case Command::line:
      return pen.line({area.top, area.left}, {area.bottom, area.right});
    case Command::polygon: {
      const qd::Point triangle[] = {
          {area.bottom, area.left}, {area.bottom, area.right}, {area.top, area.left}, {area.bottom, area.left}};
      return pen.polygon(qd::Verb::paint, triangle);
    }
  }
}

// Nothing here has text.
inline qd::System& system() {
  static qd::System all("");
  return all;
}

template <class Draw>
std::vector<std::uint8_t> recorded(int width, int height, const Draw& draw) {
  std::vector<std::uint8_t> picture;
  qd::VectorSink sink(picture);
  qd::Recorder recorder(system(), qd::PictureParams(width, height), sink);
  draw(recorder);
  if (!recorder.close()) fail("There is no memory for the picture.");
  return picture;
}

}  // namespace bench
