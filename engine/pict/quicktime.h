// A compressed image of QuickTime inside a PICT (Inside Macintosh: QuickTime, "Image Compression Manager").
#pragma once

#include "engine/geometry/region.h"
#include "engine/images/image.h"
#include "engine/pict/bytes.h"

namespace qd {

struct QuickTimeImage {
  std::string codec;                    // four characters
  std::unique_ptr<ImageReader> reader;  // of the picture's bytes; null if they can't be decoded
  Rect to = {};                         // in the picture's space, by the image's matrix
  std::int16_t mode = 0;
  std::optional<Region> mask;
};

// Reads the operands of opcode 8200. Nothing if they make no sense.
std::optional<QuickTimeImage> readQuickTimeImage(ByteReader& in, ColorTables& tables);

// Goes past what stands in front of the bits opcode that opcode 8201 holds; false if it makes no sense.
bool skipUncompressedHead(ByteReader& in);

}  // namespace qd
