// Pixels inside a PICT: bit maps and pixel maps, raw and packed.
#pragma once

#include "engine/pict/bytes.h"
#include "engine/port/command.h"

namespace qd {

// What stands in front of the rows.
struct BitsHeader {
  bool isDirect = false;  // opcodes 009A and 009B
  bool isPacked = false;
  int rowBytes = 0;
  Box bounds;
  int depth = 1;
  int packType = 0;
  int components = 1;
  ColorTablePtr colors;
  Rect from = {}, to = {};
  std::int16_t mode = 0;
  std::optional<Region> mask;
};

// Reads the operands of a bits opcode up to its rows. Nothing if they make no sense; the reader has then failed.
std::optional<BitsHeader> readBitsHeader(ByteReader& in, std::uint16_t opcode);
// Reads a pixel pattern.
std::optional<Pattern> readPixelPattern(ByteReader& in);
// Reads the rows behind a header, or goes past them.
std::optional<OwnedPixels> readRows(ByteReader& in, const BitsHeader& header);
bool skipRows(ByteReader& in, const BitsHeader& header);
// Goes past a bits opcode's operands or a pixel pattern; false if they are broken.
bool skipBits(ByteReader& in, std::uint16_t opcode);
bool skipPixelPattern(ByteReader& in);

// A region or polygon without its size and box: what is behind them, as words.
std::optional<Region> readRegion(ByteReader& in);
std::optional<std::vector<Point>> readPolygon(ByteReader& in);

// Writes an opcode with its operands. The source's bounds are what is written.
void writeBits(ByteWriter& out, const PixelMap& source, const BitsCommand& command);
void writePixelPattern(ByteWriter& out, const Pattern& pattern);
void writeRegion(ByteWriter& out, const Region& region);
// Whether a map of that width fits the format's row.
bool fitsRow(int depth, int width);

}  // namespace qd
