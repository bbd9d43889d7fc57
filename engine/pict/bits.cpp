#include "engine/pict/bits.h"

#include "engine/pict/opcodes.h"

namespace qd {
namespace {

constexpr int kPixMapFlag = 0x8000;
constexpr int kRowBytesMask = 0x3FFF;
constexpr int kRawBelow = 8;       // rows this short are not packed
constexpr int kByteCountTo = 250;  // rows longer than this count their packed bytes in a word
constexpr std::uint32_t kResolution = 0x480000;

enum PackType { kRaw = 1, kTriplets = 2, kWords = 3, kPlanes = 4 };

// The pixel map's fields behind its bounds.
void readPixMap(ByteReader& in, BitsHeader& header) {
  in.u16();  // version
  header.packType = in.u16();
  in.u32();  // size of the packed pixels, which no writer keeps to
  in.u32();
  in.u32();  // resolutions
  in.u16();  // pixel type
  header.depth = in.u16();
  header.components = in.u16();
  in.u16();  // component size
  in.u32();
  in.u32();
  in.u32();  // plane bytes, table, reserved
}

void readColorTable(ByteReader& in, BitsHeader& header) {
  in.u32();  // seed
  const int flags = in.u16();
  const std::size_t count = in.u16() + std::size_t{1};
  if (count > 256) return in.fail();
  std::vector<RGBColor> colors(std::max<std::size_t>(count, std::size_t{1} << std::min(header.depth, 8)),
                               RGBColor{0, 0, 0});
  for (std::size_t i = 0; i < count; ++i) {
    // A device's table has its entries in order; any other says which index an entry is for.
    const std::size_t value = in.u16();
    const RGBColor color = in.color();
    const std::size_t index = (flags & 0x8000) != 0 ? i : value;
    if (index < colors.size()) colors[index] = color;
  }
  header.colors = std::make_shared<const ColorTable>(std::move(colors));
}

bool isDepth(int depth, bool isDirect) {
  return isDirect ? depth == 16 || depth == 32 : depth == 1 || depth == 2 || depth == 4 || depth == 8;
}

// rowBytes with its flag, bounds and the pixel map behind them, with its colour table.
bool readMap(ByteReader& in, BitsHeader& header) {
  const int rowBytes = in.u16();
  header.rowBytes = rowBytes & kRowBytesMask;
  header.bounds = Box(in.rect());
  header.colors = nullptr;  // a BitMap, till a colour table says otherwise
  if ((rowBytes & kPixMapFlag) != 0 || header.isDirect) {
    readPixMap(in, header);
    if (!header.isDirect && header.depth > 8) header.isDirect = true;
    if (!isDepth(header.depth, header.isDirect)) in.fail();
    if (!header.isDirect) readColorTable(in, header);
  }
  const std::int64_t bits = std::int64_t{header.bounds.width()} * header.depth;
  const bool isWide = header.isDirect && header.depth == 32 && header.packType == kTriplets;
  if (header.bounds.empty() || (isWide ? bits / 32 * 24 : bits) > std::int64_t{header.rowBytes} * 8) in.fail();
  return in.good();
}

// How a row lies in the picture.
struct RowForm {
  std::size_t bytes;  // unpacked
  std::size_t unit;   // of PackBits
  bool isPacked;
};

RowForm rowForm(const BitsHeader& header) {
  const auto rowBytes = static_cast<std::size_t>(header.rowBytes);
  const auto width = static_cast<std::size_t>(header.bounds.width());
  const bool isShort = header.rowBytes < kRawBelow;
  if (!header.isDirect) return {rowBytes, 1, header.isPacked && !isShort && header.packType != kRaw};
  const bool isPacked = !isShort && header.packType != kRaw && header.packType != kTriplets;
  if (header.depth == 16) return {rowBytes, 2, isPacked};
  if (header.packType == kTriplets) return {width * 3, 1, false};
  if (!isPacked) return {rowBytes, 1, false};
  return {width * static_cast<std::size_t>(header.components == 4 ? 4 : 3), 1, true};
}

// The packed or raw bytes of one row.
Bytes takeRow(ByteReader& in, const BitsHeader& header, const RowForm& form) {
  if (!form.isPacked) return in.take(form.bytes);
  return in.take(header.rowBytes > kByteCountTo ? in.u16() : in.u8());
}

// A row of 32 bits from its planes or triplets.
void gather(const BitsHeader& header, std::span<const std::uint8_t> row, std::span<std::uint32_t> pixels) {
  const std::size_t width = pixels.size();
  const bool isPlanes = header.packType != kTriplets;
  const std::uint8_t* base = row.data() + (isPlanes && header.components == 4 ? width : 0);
  for (std::size_t x = 0; x < width; ++x) {
    const auto component = [&](std::size_t c) -> std::uint32_t {
      return isPlanes ? base[c * width + x] : base[3 * x + c];
    };
    pixels[x] = component(0) << 16 | component(1) << 8 | component(2);
  }
}

}  // namespace

std::optional<BitsHeader> readBitsHeader(ByteReader& in, std::uint16_t opcode) {
  BitsHeader header;
  header.isDirect = opcode == op::DirectBitsRect || opcode == op::DirectBitsRgn;
  header.isPacked = opcode == op::PackBitsRect || opcode == op::PackBitsRgn;
  if (header.isDirect) in.u32();  // the place of a base address
  if (!readMap(in, header)) return std::nullopt;
  header.from = in.rect();
  header.to = in.rect();
  header.mode = in.s16();
  if (opcode % 2 != 0) {
    header.mask = readRegion(in);
    if (!header.mask) in.fail();
  }
  if (!in.good()) return std::nullopt;
  return header;
}

std::optional<OwnedPixels> readRows(ByteReader& in, const BitsHeader& header) {
  const RowForm form = rowForm(header);
  // Each row has a byte at least, so a picture can't ask for more rows than it has bytes.
  if (static_cast<std::size_t>(header.bounds.height()) > in.left()) {
    in.fail();
    return std::nullopt;
  }
  auto pixels = OwnedPixels::make(header.bounds, header.depth, header.isDirect ? nullptr : header.colors);
  if (!pixels) {
    in.fail();
    return std::nullopt;
  }
  std::vector<std::uint8_t> row(form.bytes);
  std::vector<std::uint32_t> values(static_cast<std::size_t>(header.bounds.width()));
  const bool isGathered = header.isDirect && header.depth == 32 && (form.isPacked || header.packType == kTriplets);
  for (int y = header.bounds.top; y < header.bounds.bottom; ++y) {
    const Bytes taken = takeRow(in, header, form);
    if (!in.good()) return std::nullopt;
    if (form.isPacked) {
      if (!unpackBits(taken, form.unit, row)) {
        in.fail();
        return std::nullopt;
      }
    } else {
      std::copy(taken.begin(), taken.end(), row.begin());
    }
    if (isGathered) {
      gather(header, row, values);
    } else {
      unpackPixels(header.depth, row.data(), 0, values);
    }
    pixels->map.put(y, header.bounds.left, values);
  }
  return pixels;
}

bool skipRows(ByteReader& in, const BitsHeader& header) {
  const RowForm form = rowForm(header);
  for (int y = header.bounds.top; y < header.bounds.bottom && in.good(); ++y) takeRow(in, header, form);
  return in.good();
}

bool skipBits(ByteReader& in, std::uint16_t opcode) {
  const auto header = readBitsHeader(in, opcode);
  return header && skipRows(in, *header);
}

std::optional<Pattern> readPixelPattern(ByteReader& in) {
  const int type = in.u16();
  Pattern pattern;
  const Bytes bits = in.take(8);
  std::copy(bits.begin(), bits.end(), pattern.bits.begin());
  if (type == 2) {
    const RGBColor color = in.color();
    auto tile = OwnedPixels::make(Box(0, 0, 1, 1), 32, nullptr);
    if (!in.good() || !tile) return std::nullopt;
    tile->map.put(0, 0, std::array{tile->map.pixelOf(color)});
    pattern.pixels = std::make_shared<const PixelPattern>(PixelPattern{std::move(*tile)});
    return pattern;
  }
  BitsHeader header;
  header.isPacked = true;
  if (type != 1 || !readMap(in, header)) {
    in.fail();
    return std::nullopt;
  }
  auto tile = readRows(in, header);
  if (!tile) return std::nullopt;
  // The tile repeats from the origin, wherever its own bounds lie.
  tile->map.bounds = tile->map.bounds.offset(-tile->map.bounds.left, -tile->map.bounds.top);
  pattern.pixels = std::make_shared<const PixelPattern>(PixelPattern{std::move(*tile)});
  return pattern;
}

bool skipPixelPattern(ByteReader& in) {
  const int type = in.u16();
  in.take(8);
  if (type == 2) {
    in.color();
    return in.good();
  }
  BitsHeader header;
  header.isPacked = true;
  return type == 1 && readMap(in, header) && skipRows(in, header);
}

std::optional<Region> readRegion(ByteReader& in) {
  const std::size_t size = in.u16();
  const Box bounds(in.rect());
  if (size < 10 || size % 2 != 0) in.fail();
  ByteReader data(in.take(size - 10));
  if (!in.good()) return std::nullopt;
  std::vector<std::int16_t> points;
  while (data.left() >= 2) points.push_back(data.s16());
  return Region::fromInversionPoints(bounds, points);
}

std::optional<std::vector<Point>> readPolygon(ByteReader& in) {
  const std::size_t size = in.u16();
  in.rect();
  if (size < 10 || size % 4 != 2) in.fail();
  ByteReader data(in.take(size - 10));
  if (!in.good()) return std::nullopt;
  std::vector<Point> points;
  while (data.left() >= 4) points.push_back(data.point());
  return points;
}

bool fitsRow(int depth, int width) { return (std::int64_t{width} * depth + 15) / 16 * 2 <= kRowBytesMask - 1; }

namespace {

int rowBytesOf(const PixelMap& map) {
  return static_cast<int>((std::int64_t{map.bounds.width()} * map.depth + 15) / 16 * 2);
}

void writeMap(ByteWriter& out, const PixelMap& map, bool isBitMap) {
  const int rowBytes = rowBytesOf(map);
  out.u16(isBitMap ? rowBytes : rowBytes | kPixMapFlag);
  out.rect(toRect(map.bounds));
  if (isBitMap) return;
  out.u16(0);
  const bool isRaw = rowBytes < kRawBelow;
  out.u16(!map.isDirect() ? 0 : isRaw ? kRaw : map.depth == 16 ? kWords : kPlanes);
  out.u32(0);
  out.u32(kResolution);
  out.u32(kResolution);
  out.u16(map.isDirect() ? 16 : 0);
  out.u16(map.depth);
  out.u16(map.isDirect() ? 3 : 1);
  out.u16(map.depth == 32 ? 8 : map.depth == 16 ? 5 : map.depth);
  out.u32(0);
  out.u32(0);
  out.u32(0);
  if (map.isDirect()) return;
  const auto& colors = map.colors->colors();
  out.u32(0);
  out.u16(0);
  out.u16(static_cast<int>(colors.size()) - 1);
  for (std::size_t i = 0; i < colors.size(); ++i) {
    out.u16(static_cast<int>(i));
    out.color(colors[i]);
  }
}

void writeRows(ByteWriter& out, const PixelMap& map) {
  const auto rowBytes = static_cast<std::size_t>(rowBytesOf(map));
  const auto width = static_cast<std::size_t>(map.bounds.width());
  std::vector<std::uint32_t> pixels(width);
  std::vector<std::uint8_t> row;
  ByteWriter packed;
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) {
    map.get(y, map.bounds.left, pixels);
    const bool isRaw = rowBytes < kRawBelow;
    if (map.depth == 32 && !isRaw) {
      row.resize(3 * width);
      for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t c = 0; c < 3; ++c) row[c * width + x] = static_cast<std::uint8_t>(pixels[x] >> (16 - 8 * c));
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

}  // namespace

void writeBits(ByteWriter& out, const PixelMap& source, const BitsCommand& command) {
  const bool hasMask = command.mask != nullptr;
  const bool isBitMap = source.depth == 1 && source.colors == nullptr;
  if (source.isDirect()) {
    out.u16(op::DirectBitsRect + hasMask);
    out.u32(0xFF);
  } else {
    out.u16((rowBytesOf(source) < kRawBelow ? op::BitsRect : op::PackBitsRect) + hasMask);
  }
  writeMap(out, source, isBitMap);
  out.rect(command.from);
  out.rect(command.to);
  out.u16(command.mode);
  if (hasMask) writeRegion(out, *command.mask);
  writeRows(out, source);
}

void writePixelPattern(ByteWriter& out, const Pattern& pattern) {
  const PixelMap& tile = pattern.pixels->tile.map;
  const bool isColor = tile.depth == 32 && tile.bounds == Box(0, 0, 1, 1);
  out.u16(isColor ? 2 : 1);
  out.put(pattern.bits);
  if (isColor) {
    std::array<std::uint32_t, 1> pixel = {};
    tile.get(0, 0, pixel);
    return out.color(tile.colorOf(pixel[0]));
  }
  writeMap(out, tile, false);
  writeRows(out, tile);
}

void writeRegion(ByteWriter& out, const Region& region) {
  // The size is a word; of a region that is too long for it the box goes out.
  const auto words = region.inversionPoints();
  const bool fits = words.size() * 2 <= 0xFFFF;
  for (const std::int16_t word : fits ? words : Region(region.bounds()).inversionPoints()) out.u16(word);
}

}  // namespace qd
