// LZW as GIF and TIFF have it: codes of 9 to 12 bits, or from fewer on, for strings that came before.
#pragma once

#include "engine/images/image.h"

namespace qd {

struct LzwForm {
  int rootBits;      // of what codes begin with
  bool isHighFirst;  // bits fill bytes from the top, and codes get longer one earlier
};

// How many bytes the codes give, at most as many as there is room for.
std::size_t unpackLzw(Bytes codes, const LzwForm& form, std::span<std::uint8_t> to);

}  // namespace qd
