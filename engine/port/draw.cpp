// Commands become runs, and runs meet the clip in a painter.
#include "engine/pixels/copy.h"
#include "engine/port/command.h"
#include "engine/text/text.h"

namespace qd {
namespace {

// Frames and paints take pattern modes; in any other nothing is drawn.
bool isPatternMode(int mode) {
  mode &= ~ditherCopy;
  return (mode >= patCopy && mode < 16) || (mode >= blend && mode < blend + 16) || mode == hilite;
}

struct Brush {
  const Pattern& pattern;
  int mode;
};

const Pattern kSolid{kBlack, nullptr};
const Pattern kClear;

Brush brushOf(const PortState& state, Verb verb) {
  switch (verb) {
    case Verb::erase:
      return {state.backPattern, patCopy};
    case Verb::invert:
      return {kSolid, state.highlights ? static_cast<int>(hilite) : static_cast<int>(patXor)};
    case Verb::fill:
      return {state.fillPattern, patCopy};
    default:
      return {state.penPattern, state.penMode};
  }
}

RoundBox roundBoxOf(const ShapeCommand& command) {
  const Box box(command.rect);
  if (command.shape == Shape::oval) return RoundBox::oval(box);
  if (command.shape == Shape::roundRect) return {box, command.ovalSize.h, command.ovalSize.v};
  return {box, 0, 0};
}

template <class Scan>
void paint(Port& port, const Brush& brush, const Scan& scan) {
  const Region& clip = port.visible();
  Painter painter(port.map(), clip, brush.pattern, brush.mode, port.state.colors);
  scan(clip.bounds(), painter);
  port.work += painter.work();
}

}  // namespace

void scan(const ShapeCommand& command, Point pen, const Box& clip, RunSink& sink) {
  const bool isFrame = command.verb == Verb::frame;
  switch (command.shape) {
    case Shape::arc:
      if (isFrame) return scanArcFrame(Box(command.rect), command.wedge, pen, clip, sink);
      return scanArc(Box(command.rect), command.wedge, clip, sink);
    case Shape::polygon:
      if (!isFrame) return scanPolygon(command.points, clip, sink);
      for (std::size_t i = 1; i < command.points.size(); ++i)
        scanLine(command.points[i - 1], command.points[i], pen, clip, sink);
      return;
    case Shape::region:
      if (!isFrame) return command.region->emit(sink, clip);
      if (pen.h <= 0 || pen.v <= 0) return;
      return subtract(*command.region, command.region->inset(pen.h, pen.v)).emit(sink, clip);
    default:
      if (isFrame) return scanFrame(roundBoxOf(command), pen, clip, sink);
      return scanRoundBox(roundBoxOf(command), clip, sink);
  }
}

void draw(Port& port, const LineCommand& line) {
  const PortState& state = port.state;
  if (!isPatternMode(state.penMode)) return;
  paint(port, {state.penPattern, state.penMode},
        [&](const Box& clip, RunSink& sink) { scanLine(line.from, line.to, state.penSize, clip, sink); });
}

void draw(Port& port, const ShapeCommand& command) {
  const Brush brush = brushOf(port.state, command.verb);
  if (!isPatternMode(brush.mode)) return;
  paint(port, brush, [&](const Box& clip, RunSink& sink) { scan(command, port.state.penSize, clip, sink); });
}

void draw(Port& port, const TextCommand& text) {
  const TextState& style = port.state.text;
  Fonts& fonts = port.resources().fonts;
  if ((style.mode & ~ditherCopy) == srcCopy) {
    paint(port, {kClear, patCopy},
          [&](const Box&, RunSink& sink) { sink.box(textBox(fonts, style, text.at, text.bytes)); });
  }
  static const Pattern kGrey{{0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55}, nullptr};
  const int mode = style.mode & 7;
  const bool isArithmetic = style.mode >= blend && style.mode < blend + 16;
  const bool isGrey = style.mode == grayishTextOr;
  const Brush brush = {isGrey ? kGrey : kSolid, isGrey            ? static_cast<int>(patOr)
                                                : isArithmetic    ? style.mode
                                                : mode == srcCopy ? patOr
                                                                  : mode + patCopy};
  paint(port, brush, [&](const Box& clip, RunSink& sink) {
    port.work.pixels += scanText(fonts, style, text.at, text.bytes, clip, sink);
  });
}

void draw(Port& port, const BitsCommand& bits) {
  const auto copy = [&](const Region& clip) {
    const Box seen = intersect(Box(bits.to), clip.bounds());
    if (seen.empty()) return;
    port.work.pixels += static_cast<std::uint64_t>(seen.width()) * static_cast<std::uint64_t>(seen.height());
    if (bits.matte != nullptr) {
      copyMask(*bits.source, *bits.matte, port.map(), Box(bits.from), bits.matte->bounds, Box(bits.to), clip,
               port.state.colors);
      return;
    }
    copyBits(*bits.source, port.map(), Box(bits.from), Box(bits.to), bits.mode, clip, port.state.colors);
  };
  if (bits.mask == nullptr) return copy(port.visible());
  copy(intersect(port.visible(), *bits.mask));
}

}  // namespace qd
