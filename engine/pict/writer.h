// Records commands as a PICT of version 2 in its extended form. State is written late: before a command goes out what
// differs from what was last written.
#pragma once

#include <optional>

#include "engine/pict/bytes.h"
#include "engine/port/command.h"

namespace qd {

class PictureWriter {
 public:
  // Begins a picture in a handle of its own; the handle is null where there is no memory for it.
  explicit PictureWriter(const OpenCPicParams& params);

  Handle handle() const { return handle_; }
  void write(const PortState& state, const LineCommand& line);
  void write(const PortState& state, const ShapeCommand& shape);
  void write(const PortState& state, const TextCommand& text);
  void write(const PortState& state, const BitsCommand& bits);
  // Ends the picture.
  void close();

 private:
  void writeCommon(const PortState& state);
  void writePen(const PortState& state, bool withSize);
  void writePattern(const Pattern& pattern, Pattern& written, std::uint16_t opcode, std::uint16_t pixelOpcode);
  void writeTextState(const TextState& style);
  void writeText(Point at, std::string_view bytes);
  void writePieces(const BitsCommand& bits);
  void flush();

  Handle handle_;
  Region frame_;
  ByteWriter out_;  // the opcodes of one command

  // What a reader of the picture so far takes for the port's state.
  struct Written {
    TransferColors colors;
    std::optional<Region> clip;  // nothing before the first command
    Point penSize = {1, 1};
    int penMode = patCopy;
    Pattern penPattern{kBlack, nullptr};
    Pattern backPattern;
    Pattern fillPattern{kBlack, nullptr};
    Point ovalSize = {0, 0};
    TextState text;
    Point textAt = {0, 0};
    Point lineEnd = {0, 0};
    Rect rect = {};
    Rect rectOf[4] = {};  // by shape: rect, roundRect, oval, arc
  } written_;
};

}  // namespace qd
