#include "engine/pict/bits.h"

namespace qd {
namespace {

constexpr int kByteCountTo = 250;  // rows longer than this count their packed bytes in a word
constexpr Fixed kResolution = 0x480000;

// The packed or raw bytes of one row.
Bytes takeRow(ByteReader& in, const RowForm& form) {
  if (!form.isPacked) return in.take(form.bytes);
  return in.take(form.hasByteCounts ? in.u8() : in.u16());
}

// A row of 32 bits from its planes, of which the fourth component's is the first, or from triplets.
void gather(const Map& map, std::span<const std::uint8_t> row, std::span<std::uint32_t> pixels) {
  const std::size_t width = pixels.size();
  const bool isPlanes = map.pixels.packType != Map::kTriplets;
  const bool isFour = isPlanes && hasFourth(map);
  const std::uint8_t* base = row.data() + (isFour ? width : 0);
  for (std::size_t x = 0; x < width; ++x) {
    const auto component = [&](std::size_t c) -> std::uint32_t {
      return isPlanes ? base[c * width + x] : base[3 * x + c];
    };
    pixels[x] = (isFour ? row[x] << 24U : 0) | component(0) << 16 | component(1) << 8 | component(2);
  }
}

void keep(Components wanted, int depth, std::span<std::uint32_t> pixels) {
  for (std::uint32_t& pixel : pixels)
    pixel = wanted == Components::colors ? pixel & onesOf(depth) : alphaOf(pixel) * 0x010101;
}

int rowBytesOf(const PixelMap& map) {
  return static_cast<int>((std::int64_t{map.bounds.width()} * map.depth + 15) / 16 * 2);
}

}  // namespace

bool hasFourth(const Map& map) {
  return map.isDeep() && map.depth() == 32 && map.pixels.packType != Map::kTriplets && map.pixels.cmpCount == 4;
}

RowForm rowForm(const Map& map, bool isPacked) {
  const auto rowBytes = static_cast<std::size_t>(std::max(map.bytesInRow(), map.neededBytes()));
  const auto width = static_cast<std::size_t>(Box(map.bounds).width());
  const int packType = map.pixels.packType;
  const bool isLong = map.bytesInRow() >= Map::kRawBelow;
  const bool hasByteCounts = map.bytesInRow() <= kByteCountTo;
  if (!map.isDeep()) return {rowBytes, 1, isPacked && isLong && packType != Map::kRaw, hasByteCounts};
  const bool packs = isLong && packType != Map::kRaw && packType != Map::kTriplets;
  if (map.depth() == 16) return {rowBytes, 2, packs, hasByteCounts};
  if (packType == Map::kTriplets) return {width * 3, 1, false, hasByteCounts};
  if (!packs) return {rowBytes, 1, false, hasByteCounts};
  return {width * (hasFourth(map) ? 4U : 3U), 1, true, hasByteCounts};
}

namespace {

RowForm rowForm(const Map& map, const Rows& rows) {
  RowForm form = rowForm(map, rows.isPacked);
  form.hasByteCounts = form.hasByteCounts || rows.hasWrongCounts;
  return form;
}

// Whether packed rows come, each of which gives as many bytes as it should of all that it has.
bool areWhole(ByteReader in, const RowForm& form, int height) {
  std::vector<std::uint8_t> row(form.bytes + 1);
  for (int y = 0; y < height; ++y) {
    const Bytes packed = takeRow(in, form);
    if (!in.good() || unpackBits(packed, form.unit, row) ||
        !unpackBits(packed, form.unit, std::span(row).first(form.bytes)))
      return false;
  }
  return true;
}

}  // namespace

Rows takeRows(ByteReader& in, const Map& map, bool isPacked) {
  RowForm form = rowForm(map, isPacked);
  const int height = Box(map.bounds).height();
  Rows rows{.isPacked = isPacked};
  if (form.isPacked && !form.hasByteCounts && form.bytes <= kByteCountTo && !areWhole(in, form, height)) {
    // Some writers count the three bytes of a pixel that they pack, not the four of a row.
    RowForm bytes = form;
    bytes.hasByteCounts = true;
    rows.hasWrongCounts = areWhole(in, bytes, height);
    if (rows.hasWrongCounts) form = bytes;
  }
  // Some writers leave a row's padding out of its size, or cut the size down to it. What is packed tells.
  if (map.isShort()) {
    RowForm padded = form;
    padded.bytes += padded.bytes % 2;
    if (!form.isPacked || !(areWhole(in, form, height) || areWhole(in, padded, height))) in.fail();
  }
  ByteReader ahead = in;
  for (int y = 0; y < height && ahead.good(); ++y) takeRow(ahead, form);
  if (!ahead.good()) in.fail();
  rows.bytes = in.take(ahead.at() - in.at());
  return rows;
}

void eachRow(const Map& map, const Rows& rows, const std::function<void(Bytes)>& use) {
  const RowForm form = rowForm(map, rows);
  ByteReader in(rows.bytes);
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) use(takeRow(in, form));
}

void putCount(ByteWriter& out, const RowForm& form, std::size_t count) {
  form.hasByteCounts ? out.u8(static_cast<int>(count)) : out.u16(static_cast<int>(count));
}

std::optional<OwnedPixels> pixelsOf(const Map& map, const Rows& rows, Components wanted) {
  const RowForm form = rowForm(map, rows);
  const Box bounds(map.bounds);
  ByteReader in(rows.bytes);
  // Each row has a byte at least, so a picture can't ask for more rows than it has bytes.
  if (static_cast<std::size_t>(bounds.height()) > in.left()) return std::nullopt;
  auto pixels = OwnedPixels::make(bounds, map.depth(),
                                  map.isPixMap() && !map.isDeep() ? colorsOf(map.colors, map.depth()) : nullptr);
  if (!pixels) return std::nullopt;
  std::vector<std::uint8_t> row(form.bytes);
  std::vector<std::uint32_t> values(static_cast<std::size_t>(bounds.width()));
  const bool isGathered = map.isDeep() && map.depth() == 32 && (form.isPacked || map.pixels.packType == Map::kTriplets);
  for (int y = bounds.top; y < bounds.bottom; ++y) {
    const Bytes taken = takeRow(in, form);
    if (!in.good()) return std::nullopt;
    if (form.isPacked) {
      if (!unpackBits(taken, form.unit, row)) return std::nullopt;
    } else {
      std::copy(taken.begin(), taken.end(), row.begin());
    }
    if (isGathered) {
      gather(map, row, values);
    } else {
      unpackPixels(map.depth(), row.data(), 0, values);
    }
    if (map.isDeep()) keep(wanted, map.depth(), values);
    pixels->map.put(y, bounds.left, values);
  }
  return pixels;
}

std::optional<Pattern> patternOf(const PixelPatternFields& fields) {
  Pattern pattern{fields.bits, nullptr};
  std::optional<OwnedPixels> tile;
  if (fields.type == PixelPatternFields::kColor) {
    tile = OwnedPixels::make(Box(0, 0, 1, 1), 32, nullptr);
    if (tile) tile->map.put(0, 0, std::array{tile->map.pixelOf(fields.color)});
  } else {
    tile = pixelsOf(fields.map, fields.rows);
    // The tile repeats from the origin, wherever its own bounds lie.
    if (tile) tile->map.bounds = tile->map.bounds.offset(-tile->map.bounds.left, -tile->map.bounds.top);
  }
  if (!tile) return std::nullopt;
  pattern.pixels = std::make_shared<const PixelPattern>(PixelPattern{std::move(*tile)});
  return pattern;
}

bool fitsRow(int depth, int width) { return (std::int64_t{width} * depth + 15) / 16 * 2 <= Map::kRowBytesMask - 1; }

bool isShort(const PixelMap& map) { return rowBytesOf(map) < Map::kRawBelow; }

ColorTablePtr colorsOf(const Colors& table, int depth) {
  ByteReader in(table.entries);
  const std::size_t count = in.left() / 8;
  std::vector<RGBColor> colors(std::max(count, std::size_t{1} << depth), RGBColor{0, 0, 0});
  for (std::size_t i = 0; i < count; ++i) {
    // A device's table has its entries in order; any other says which index an entry is for.
    const std::size_t value = in.u16();
    const RGBColor color = in.color();
    const std::size_t index = (table.flags & 0x8000) != 0 ? i : value;
    if (index < colors.size()) colors[index] = color;
  }
  return std::make_shared<const ColorTable>(std::move(colors));
}

Map mapOf(const PixelMap& source, ByteWriter& colors) {
  Map map{.isDirect = source.isDirect()};
  map.rowBytes = static_cast<std::uint16_t>(rowBytesOf(source));
  map.bounds = toRect(source.bounds);
  if (source.depth == 1 && source.colors == nullptr) return map;
  map.rowBytes |= Map::kPixMapFlag;
  PixMap& pixels = map.pixels;
  pixels.hRes = pixels.vRes = kResolution;
  pixels.pixelSize = static_cast<std::uint16_t>(source.depth);
  if (source.isDirect()) {
    pixels.packType = isShort(source) ? Map::kRaw : source.depth == 16 ? Map::kWords : Map::kPlanes;
    pixels.pixelType = 16;
    pixels.cmpCount = source.hasAlpha ? 4 : 3;
    pixels.cmpSize = source.depth == 32 ? 8 : 5;
    return map;
  }
  pixels.cmpCount = 1;
  pixels.cmpSize = pixels.pixelSize;
  int pixel = 0;
  for (const RGBColor& color : source.colors->colors()) {
    colors.u16(pixel++);
    colors.color(color);
  }
  map.colors.entries = colors.bytes();
  return map;
}

PixelPatternFields fieldsOf(const Pattern& pattern, ByteWriter& colors) {
  const PixelMap& tile = pattern.pixels->tile.map;
  PixelPatternFields fields{.type = PixelPatternFields::kTile, .bits = pattern.bits};
  if (tile.depth == 32 && tile.bounds == Box(0, 0, 1, 1)) {
    std::array<std::uint32_t, 1> pixel = {};
    tile.get(0, 0, pixel);
    fields.type = PixelPatternFields::kColor;
    fields.color = tile.colorOf(pixel[0]);
  } else {
    fields.map = mapOf(tile, colors);
    fields.rows.pixels = &tile;
  }
  return fields;
}

void packRows(ByteWriter& out, const PixelMap& map) {
  const auto rowBytes = static_cast<std::size_t>(rowBytesOf(map));
  const auto width = static_cast<std::size_t>(map.bounds.width());
  std::vector<std::uint32_t> pixels(width);
  std::vector<std::uint8_t> row;
  ByteWriter packed;
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) {
    map.get(y, map.bounds.left, pixels);
    const bool isRaw = rowBytes < Map::kRawBelow;
    if (map.depth == 32 && !isRaw) {
      const std::size_t planes = map.hasAlpha ? 4 : 3;
      row.resize(planes * width);
      for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t c = 0; c < planes; ++c)
          row[c * width + x] = static_cast<std::uint8_t>(pixels[x] >> (8 * (planes - 1 - c)));
      }
    } else {
      row.assign(rowBytes, 0);
      packPixels(map.depth, row.data(), 0, pixels);
    }
    if (isRaw) {
      out.put(row);
      continue;
    }
    packed.clear();
    packBits(row, map.depth == 16 ? 2 : 1, packed);
    if (rowBytes > kByteCountTo) {
      out.u16(static_cast<int>(packed.size()));
    } else {
      out.u8(static_cast<int>(packed.size()));
    }
    out.put(packed.bytes());
  }
}

Rect boundsOf(std::span<const Point> points) {
  Box bounds(INT16_MAX, INT16_MAX, INT16_MIN, INT16_MIN);
  for (const Point& p : points) {
    bounds = {std::min<int>(bounds.top, p.v), std::min<int>(bounds.left, p.h), std::max<int>(bounds.bottom, p.v),
              std::max<int>(bounds.right, p.h)};
  }
  return toRect(bounds);
}

}  // namespace qd
