// A PICT as readable text: the head, then an opcode a line with its operands.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "engine/pict/reader.h"

namespace qd {

// The head of a picture; nothing if it is none.
std::optional<PictureHeader> pictureHeader(Bytes picture);

}  // namespace qd
