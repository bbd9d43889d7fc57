// A compressed image of QuickTime inside a PICT (Inside Macintosh: QuickTime, "Image Compression Manager").
#pragma once

#include "engine/geometry/region.h"
#include "engine/images/image.h"
#include "engine/pict/bytes.h"

namespace qd {

struct QuickTimeImage {
  std::string codec;   // four characters
  ImageSource source;  // of the picture's bytes
  int depth = 0;       // as the picture tells it: greys have 33 to 40
  Rect to = {};        // in the picture's space, by the image's matrix
  std::int16_t mode = 0;
  std::optional<Region> mask;

  std::string inWords() const;
};

// Reads the operands of opcode 8200. Nothing if they make no sense.
std::optional<QuickTimeImage> readQuickTimeImage(ByteReader& in, ColorTables& tables);

// Goes past what stands in front of the bits opcode that opcode 8201 holds; false if it makes no sense.
bool skipUncompressedHead(ByteReader& in);

}  // namespace qd
