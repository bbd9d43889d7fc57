// A PICT as readable text: the head, then an opcode a line with its operands.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "engine/pict/reader.h"

namespace qd {

// An opcode, its operands as text.
struct Listing {
  std::size_t offset;
  std::uint16_t number;
  std::string name;
  std::vector<std::string> operands;
};
struct ListingEnd {
  std::optional<PictureError> error;  // where the picture is broken
  std::size_t left;                   // bytes behind its end
};
// Calls `opcode` for each up to the end or to what is broken.
ListingEnd listOpcodes(Bytes picture, const std::function<void(const Listing&)>& opcode);

// Calls `line` for each line, without a line end. True if the picture is whole: it ends in its end opcode. Else the
// last line says where and why it broke.
bool listPicture(Bytes picture, const std::function<void(const std::string&)>& line);

// The head of a picture; nothing if it is none.
std::optional<PictureHeader> pictureHeader(Bytes picture);

// "at offset 42, in opcode 0030 FrameRect: its operands ...".
std::string describe(const PictureError& error);

}  // namespace qd
