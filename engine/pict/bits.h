// Pixels inside a PICT: bit maps and pixel maps, raw and packed.
#pragma once

#include <functional>

#include "engine/pict/fields.h"
#include "engine/shapes/paint.h"

namespace qd {

// How a row lies in the picture.
struct RowForm {
  std::size_t bytes;  // unpacked
  std::size_t unit;   // of PackBits
  bool isPacked;
  bool hasByteCounts;  // a packed row's count is a byte, not a word
};
RowForm rowForm(const Map& map, bool isPacked);

// All rows; the reader fails if they go past the end.
Rows takeRows(ByteReader& in, const Map& map, bool isPacked);
// Calls `use` with what each row is, packed or not, without its count.
void eachRow(const Map& map, const Rows& rows, const std::function<void(Bytes)>& use);
// The count in front of a packed row.
void putCount(ByteWriter& out, const RowForm& form, std::size_t count);

// Whether pixels have a fourth component, which QuickDraw doesn't draw and others take for their opacity.
bool hasFourth(const Map& map);
// The pixels that rows are, or greys of their fourth component; nothing if they can't be unpacked.
enum class Components { colors, fourth };
std::optional<OwnedPixels> pixelsOf(const Map& map, const Rows& rows, Components wanted = Components::colors);
ColorTablePtr colorsOf(const Colors& table, int depth);
std::optional<Pattern> patternOf(const PixelPatternFields& fields);

// The other way. The bytes of a colour table are put into a writer that outlives the map.
Map mapOf(const PixelMap& source, ByteWriter& colors);
PixelPatternFields fieldsOf(const Pattern& pattern, ByteWriter& colors);
void packRows(ByteWriter& out, const PixelMap& map);
// Whether rows of a map are so short that they are not packed.
bool isShort(const PixelMap& map);
// Whether a map of that width fits the format's row.
bool fitsRow(int depth, int width);

// The smallest rectangle around points.
Rect boundsOf(std::span<const Point> points);

}  // namespace qd
