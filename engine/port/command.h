// Drawing commands: what an operation asks for, what a picture holds, and what is put down as pixels.
#pragma once

#include <span>
#include <string_view>

#include "engine/port/port.h"
#include "engine/shapes/scan.h"
#include "qdraw/qdraw.h"

namespace qd {

enum class Shape { rect, roundRect, oval, arc, polygon, region };

struct LineCommand {
  Point from, to;
};

struct ShapeCommand {
  Shape shape = Shape::rect;
  Verb verb = Verb::paint;
  Rect rect = {};
  Point ovalSize = {};                 // of a round rectangle
  Wedge wedge = {};                    // of an arc
  std::span<const Point> points = {};  // of a polygon
  const Region* region = nullptr;
};

struct TextCommand {
  Point at;
  std::string_view bytes;  // MacRoman
};

struct BitsCommand {
  const PixelMap* source;
  Rect from, to;
  std::int16_t mode;
  const Region* mask;  // in the destination's coordinates; null for none
  // What mixes source and destination, stretched as the source is; null for none. A picture that is recorded has none.
  const PixelMap* matte = nullptr;
};

// Puts a command down on the port's pixels.
void draw(Port& port, const LineCommand& line);
void draw(Port& port, const ShapeCommand& shape);
void draw(Port& port, const TextCommand& text);
void draw(Port& port, const BitsCommand& bits);

// The pixels of a shape within a clip. Those where lines of a framed polygon meet come with each of them.
void scan(const ShapeCommand& shape, Point pen, const Box& clip, RunSink& sink);

// Does what an operation on the port does: records the command if a picture is open, draws it if the pen is visible.
template <class Command>
void perform(Port& port, const Command& command);

}  // namespace qd
