// Records commands as a PICT of version 2 in its extended form. State is written late: before a command goes out what
// differs from what was last written.
#pragma once

#include <optional>

#include "engine/pict/bytes.h"
#include "engine/port/command.h"

namespace qd {

class PictureWriter {
 public:
  // Begins a picture in the sink. Texts are measured with the fonts. Both outlive the writer.
  PictureWriter(const OpenCPicParams& params, ByteSink& sink, Fonts& fonts);

  // The sink took no more of the picture, or there was no memory: the command for which that happened and all after it
  // are missing. What is there is a whole picture once it is closed.
  bool isFull() const { return isFull_; }
  template <class Command>
  void write(const PortState& state, const Command& command);
  // Ends the picture.
  void close();

 private:
  void addCommand(const PortState& state, const LineCommand& line);
  void addCommand(const PortState& state, const ShapeCommand& shape);
  void addCommand(const PortState& state, const TextCommand& text);
  void addCommand(const PortState& state, const BitsCommand& bits);
  // An opcode with its operands.
  template <class Op>
  void add(const Op& op);
  // What of the port's state a command of that kind goes by, as far as it isn't written yet.
  void addState(unsigned command, const PortState& state, Point ovalSize = {});
  template <class Bits, class Pixels>
  void addPattern(const Pattern& pattern);
  void addText(Point at, std::string_view bytes);
  void addPixels(const PixelMap& source, const BitsCommand& bits);
  void addPieces(const BitsCommand& bits);
  void flush();

  ByteSink& sink_;
  Fonts& fonts_;
  Region frame_;
  std::size_t size_ = 0;
  bool isFull_ = false;
  ByteWriter out_;  // the opcodes of one command, or of a piece of one; once used it always has room for the end

  // What a reader of the picture so far takes for the port's state, and what opcodes go by besides.
  struct Written {
    PortState port;
    Point ovalSize = {0, 0};
    std::optional<Region> clip;  // nothing before the first command
    Point textAt = {0, 0};
    Point lineEnd = {0, 0};
    Rect rect = {};
    Rect rectOf[4] = {};  // by shape: rect, roundRect, oval, arc
  } written_;
};

}  // namespace qd
