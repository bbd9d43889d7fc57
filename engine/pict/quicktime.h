// A compressed image of QuickTime inside a PICT (Inside Macintosh: QuickTime, "Image Compression Manager").
#pragma once

#include "engine/geometry/region.h"
#include "engine/images/image.h"
#include "engine/pict/bytes.h"

namespace qd {

struct EncodedImage {
  std::string codec;   // four characters
  ImageSource source;  // of the picture's bytes
  int depth = 0;       // as the picture tells it: greys have 33 to 40

  PictureImage told() const { return {codec, source.told.width, source.told.height, depth, source.data}; }
  std::string inWords() const { return describe(told()); }
};

struct QuickTimeImage : EncodedImage {
  Rect to = {};  // in the picture's space, by the image's matrix
  std::int16_t mode = 0;
  std::optional<Region> mask;
  std::optional<EncodedImage> matte;  // black where the image shows, white where what is there stays
};

// Reads the operands of opcode 8200. Nothing if they make no sense.
std::optional<QuickTimeImage> readQuickTimeImage(ByteReader& in, ColorTables& tables);

// The operands of opcode 8201: an image of which the picture's next opcode has the bits. False if they make no sense.
bool readUncompressedHead(ByteReader& in, ColorTables& tables, std::optional<EncodedImage>& matte);

}  // namespace qd
