// Which pixels a shape touches, as runs of rows. The rules are QuickDraw's own (docs/pixels.md): not an ellipse formula
// and not Bresenham's line, which give other pixels.
#pragma once

#include <span>

#include "engine/geometry/region.h"

namespace qd {

// A rectangle with round corners; an oval is its own corner. Corners without width are square.
struct RoundBox {
  Box box;
  int ovalWidth = 0, ovalHeight = 0;

  static RoundBox oval(const Box& box) { return {box, box.width(), box.height()}; }
  RoundBox inset(int h, int v) const { return {box.inset(h, v), ovalWidth - 2 * h, ovalHeight - 2 * v}; }
};

// Degrees clockwise from twelve o'clock, scaled with the rectangle: 45 meets its corner.
struct Wedge {
  int start = 0, arc = 360;
};

// Only rows of the clip are looked at, by all of them.

void scanRoundBox(const RoundBox& shape, const Box& clip, RunSink& sink);
// The band between a shape and the shape inset by the pen; all of it where nothing is left inside.
void scanFrame(const RoundBox& shape, Point pen, const Box& clip, RunSink& sink);
// The wedge of an oval; with a pen, its band along the arc, without the radii.
void scanArc(const Box& box, const Wedge& wedge, const Box& clip, RunSink& sink);
void scanArcFrame(const Box& box, const Wedge& wedge, Point pen, const Box& clip, RunSink& sink);

// A line swept by the pen that hangs below and right of it. Touches each pixel once.
void scanLine(Point from, Point to, Point pen, const Box& clip, RunSink& sink);

// The inside of a polygon by the even-odd rule, closed if it is open.
void scanPolygon(std::span<const Point> points, const Box& clip, RunSink& sink);

}  // namespace qd
