// The parts of a picture's text that lister and assembler share.
#pragma once

#include "engine/pict/fields.h"

namespace qd {

// The first line of a picture's text, after the word "picture".
struct HeadLine {
  std::uint8_t version = 2;
  std::int32_t size = -1;  // the picture's first word; below 0 if it comes by itself
  Rect frame = {};

  template <class Self, class Visitor>
  static void describe(Self& self, Visitor& visit) {
    visit(field::u8(), self.version, "version", self);
    visit(field::s32(), self.size, "size", self);
    visit(field::rect(), self.frame, "frame", self);
  }
};

// Reads the operands of an opcode, which is named already, to the end of its line, and writes them.
void assembleOperands(std::uint16_t number, TextReader& in, ByteWriter& out);

// A line for an opcode, with an example for each of its fields.
std::string exampleOf(std::uint16_t number);

}  // namespace qd
