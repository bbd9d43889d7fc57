// A drawing of many small shapes in colours, which is recorded, played and looked at for its size.
#pragma once

#include "bench/bench.h"
#include "platform/quickdraw/operations.h"

namespace bench {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

// One drawing of many: a shape in a colour.
struct Command {
  enum Kind { rect, oval, roundRect, line, polygon } kind;
  std::int16_t x, y, width, height;
  RGBColor color;
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

inline void draw(const Command& c) {
  const Rect area = MakeRect(c.x, c.y, c.width, c.height);
  RGBForeColor(&c.color);
  switch (c.kind) {
    case Command::rect:
      return PaintRect(&area);
    case Command::oval:
      return PaintOval(&area);
    case Command::roundRect:
      return PaintRoundRect(&area, 8, 8);
    case Command::line:
      MoveTo(area.left, area.top);
      return LineTo(area.right, area.bottom);
    case Command::polygon: {
      const PolyHandle triangle = OpenPoly();
      MoveTo(area.left, area.bottom);
      LineTo(area.right, area.bottom);
      LineTo(area.left, area.top);
      LineTo(area.left, area.bottom);
      ClosePoly();
      PaintPoly(triangle);
      return KillPoly(triangle);
    }
  }
}

}  // namespace bench
