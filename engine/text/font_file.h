// A look through a TrueType file before outlines are read from it. What reads them believes every offset, count and
// length that it finds.
#pragma once

#include <cstdint>
#include <span>

namespace qd {

// What is wrong with a font file, as the end of a sentence: "its table of glyphs is cut short". Null for a sound one:
// all that drawing its characters reads lies within its tables, and each outline ends.
const char* faultOfFont(std::span<const std::uint8_t> file);

}  // namespace qd
