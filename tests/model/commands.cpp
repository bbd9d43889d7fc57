// What chance makes: pixels, regions, commands, and the bytes that tell of them in a picture.
#include <algorithm>
#include <cmath>
#include <set>

#include "tests/model/scene.h"

namespace model {
// A coordinate in the world or about it; now and then far away.
int Chance::near(int high) {
  if (!oneIn(24)) return any(-8, high + 8);
  return oneIn(2) ? any(-300, 300) : any(-32768, 32767);
}

Rect anyRect(Chance& chance) {
  if (chance.oneIn(3)) return {chance.near(40), chance.near(30), chance.near(40), chance.near(30)};
  const int left = chance.near(36), top = chance.near(28);
  return {left, top, left + chance.any(-1, 20), top + chance.any(-1, 14)};
}

Region anyRegion(Chance& chance) {
  Region region;
  for (int i = chance.any(1, 5); i > 0; --i)
    region.toggle({chance.any(-6, 24), chance.any(-5, 20), chance.any(10, 46), chance.any(5, 38)});
  return region;
}

Color anyColor(Chance& chance, const Scene& scene) {
  if (!chance.oneIn(4)) return chance.of(scene.colors);
  return {chance.any(0, 0xFFFF), chance.any(0, 0xFFFF), chance.any(0, 0xFFFF)};
}

Map anyMap(Chance& chance, const Scene& scene, int depth, const Rect& bounds) {
  Map map(depth, bounds);
  if (depth < 8 ? depth > 1 || chance.oneIn(2) : depth == 8) {
    const int told = chance.any(1, 1 << depth);  // what a table leaves out is black
    for (int i = 0; i < 1 << depth; ++i) map.table.push_back(i < told ? anyColor(chance, scene) : Color{});
  }
  std::uint32_t pixel = 0;
  for (std::uint32_t& each : map.pixels) {
    if (!chance.oneIn(3)) {
      pixel = map.isDirect() && chance.oneIn(2) ? map.pixelOf(anyColor(chance, scene))
                                                : static_cast<std::uint32_t>(chance.any(0, 0xFFFFFF)) & map.ones();
    }
    each = pixel;
  }
  return map;
}

namespace {

// In units of a byte or two; runs and literals by chance, with a count here and there that means nothing.
std::vector<std::uint8_t> packed(Chance& chance, const std::vector<std::uint8_t>& row, std::size_t unit) {
  Out out;
  const std::size_t count = row.size() / unit;
  const auto isSame = [&](std::size_t a, std::size_t b) {
    return std::ranges::equal(std::span(row).subspan(a * unit, unit), std::span(row).subspan(b * unit, unit));
  };
  for (std::size_t at = 0; at < count;) {
    if (chance.oneIn(9)) out.u8(-128);
    std::size_t same = 1;
    while (at + same < count && same < 128 && isSame(at, at + same)) ++same;
    const bool isRun = same > 1 && !chance.oneIn(6);
    const std::size_t taken =
        isRun ? same : std::min(count - at, static_cast<std::size_t>(chance.any(1, chance.oneIn(2) ? 128 : 4)));
    out.u8(isRun ? 1 - static_cast<int>(same) : static_cast<int>(taken) - 1);
    for (std::size_t i = at * unit; i < (isRun ? at + 1 : at + taken) * unit; ++i) out.u8(row[i]);
    at += taken;
  }
  return out.bytes;
}

}  // namespace

Written written(Chance& chance, const Map& map) {
  const int width = map.bounds.width();
  const bool isPixMap = map.isDirect() || !map.table.empty();
  const int rowBytes = (width * map.depth + 15) / 16 * 2 + (chance.oneIn(3) ? 2 * chance.any(1, 4) : 0);
  const bool isLong = rowBytes >= 8;
  bool isPacked = isLong && !chance.oneIn(3);
  int packType = map.isDirect() ? (isPacked ? map.depth == 16 ? 3 : 4 : 1) : 0;
  if (map.depth == 32 && !isPacked && chance.oneIn(2)) packType = 2;
  const int components = !map.isDirect() ? 1 : packType == 4 && chance.oneIn(2) ? 4 : 3;
  const bool isDevices = chance.oneIn(2);

  Out head;
  head.u16(rowBytes | (isPixMap ? 0x8000 : 0)).rect(map.bounds);
  if (isPixMap) {
    head.words({0, packType, 0, 0, 72, 0, 72, 0, map.isDirect() ? 16 : 0, map.depth, components});
    head.words({map.isDirect() ? map.depth == 16 ? 5 : 8 : map.depth, 0, 0, 0, 0, 0, 0});
  }
  if (!map.table.empty()) {
    std::vector<int> order(map.table.size());
    while (order.size() > 1 && map.table[order.size() - 1] == Color{}) order.pop_back();
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int>(i);
    // Entries that tell their index may come in any order.
    if (!isDevices) std::ranges::reverse(order);
    head.words({0, 0, isDevices ? 0x8000 : 0, static_cast<int>(order.size()) - 1});
    for (const int i : order)
      head.u16(isDevices ? chance.any(0, 300) : i).color(map.table[static_cast<std::size_t>(i)]);
  }

  Out rows;
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) {
    Out row;
    if (map.depth == 32 && packType != 1) {
      // Planes or triplets. In front of the planes there may be one that means nothing.
      const bool isPlanes = packType == 4;
      if (components == 4) {
        for (int x = 0; x < width; ++x) row.u8(chance.any(0, 255));
      }
      for (int i = 0; i < 3 * width; ++i) {
        const int x = isPlanes ? i % width : i / 3, c = isPlanes ? i / width : i % 3;
        row.u8(static_cast<int>(map.at(map.bounds.left + x, y) >> (16 - 8 * c)));
      }
    } else {
      row.bytes.resize(static_cast<std::size_t>(rowBytes));
      // The bits of a direct pixel that make no colour may be anything.
      const std::uint32_t unused = map.depth == 32 ? 0xFF000000 : map.depth == 16 ? 0x8000 : 0;
      for (int x = 0; x < width; ++x)
        putPixel(row.bytes, map.depth, x, map.at(map.bounds.left + x, y) | (chance.oneIn(2) ? unused : 0));
    }
    if (!isPacked) {
      rows.put(row.bytes);
      continue;
    }
    // A wide row counts its packed bytes in a word.
    const auto bytes = packed(chance, row.bytes, map.depth == 16 ? 2 : 1);
    const int count = static_cast<int>(bytes.size());
    if (rowBytes <= 250 && count > 255) return written(chance, map);
    rowBytes > 250 ? rows.u16(count) : rows.u8(count);
    rows.put(bytes);
  }
  return {head.bytes, rows.bytes, isPacked};
}

// ---- commands

namespace {

void add(Scene& scene, Step step) { scene.steps.push_back(std::move(step)); }

Pattern anyBits(Chance& chance) {
  Pattern pattern = {kSolid, {}};
  if (chance.oneIn(3)) return pattern;
  for (std::uint8_t& row : pattern.bits) row = static_cast<std::uint8_t>(chance.any(0, 255));
  return pattern;
}

void addPattern(Chance& chance, Scene& scene) {
  const PatternName name = chance.of(kPatternNames);
  Pattern pattern = anyBits(chance);
  if (!chance.oneIn(4)) return add(scene, model::pattern(name, pattern.bits));
  Out out;
  const bool isColor = chance.oneIn(3);
  out.u16(isColor ? 2 : 1).put({pattern.bits.begin(), pattern.bits.end()});
  if (isColor) {
    const Color color = anyColor(chance, scene);
    out.color(color);
    pattern.tile.emplace(32, Rect{0, 0, 1, 1});
    pattern.tile->at(0, 0) = pattern.tile->pixelOf(color);
  } else {
    constexpr int kSizes[] = {1, 2, 3, 8, 16, 32};
    constexpr int kDepths[] = {1, 2, 4, 8};
    const int left = chance.any(-2, 2), top = chance.any(-2, 2);
    Map tile =
        anyMap(chance, scene, chance.of(kDepths), {left, top, left + chance.of(kSizes), top + chance.of(kSizes)});
    Written bytes = written(chance, tile);
    // Rows of a tile that are long are always packed.
    while (tile.table.empty() || (!bytes.isPacked && bytes.map[1] >= 8)) {
      tile = anyMap(chance, scene, tile.depth, tile.bounds);
      bytes = written(chance, tile);
    }
    out.put(bytes.map).put(bytes.rows);
    pattern.tile = tile;
  }
  add(scene, {std::string(name.name) + "PixPat hex " + hex(out.bytes),
              [pattern, field = name.field](Player& p) { p.*field = pattern; }});
}

void addColor(Chance& chance, Scene& scene) {
  constexpr const char* kNames[] = {"RGBFgCol", "RGBBkCol", "OpColor", "HiliteColor"};
  const int name = chance.any(0, 3);
  if (name < 2 && chance.oneIn(6)) return add(scene, color(chance.of(kClassics), name == 1));
  if (name == 3 && chance.oneIn(4)) return add(scene, defaultHighlight());
  add(scene, color(kNames[name], anyColor(chance, scene)));
}

constexpr int kPenModes[] = {8,  9,  10, 11, 12, 13, 14, 15, 32, 33, 34,     35, 36, 37, 38, 39,
                             40, 41, 42, 43, 44, 45, 46, 47, 50, 50, 8 + 64, 0,  3,  24, 49};

int anySourceMode(Chance& chance) {
  constexpr int kOthers[] = {10, 42, 49, 50, 50, 50, 24, 100, -1};
  const int mode = chance.oneIn(2) ? chance.any(0, 7) : chance.any(32, 39);
  return chance.oneIn(8) ? chance.of(kOthers) : chance.oneIn(6) ? mode + 64 : mode;
}

// A QuickTime image's description and its pixels, uncompressed, and what they are.
struct EncodedImage {
  std::vector<std::uint8_t> bytes;
  Map map;
};

EncodedImage anyEncoded(Chance& chance, const Scene& scene, int width, int height, bool isLast = false) {
  constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32, 33, 34, 36, 40};  // above 32 those of greys
  const int depth = chance.of(kDepths);
  const bool isGrey = depth > 32;
  const int bits = isGrey ? depth - 32 : depth == 24 ? 32 : depth;
  Map map = anyMap(chance, scene, bits, {0, 0, width, height});
  constexpr int kStandard[] = {0, 33, 66, 0, 68, 0, 0, 0, 72};
  constexpr int kByNumber[] = {0, 33, 34, 0, 36, 0, 0, 0, 40};
  const int number = bits <= 8 && !isGrey ? chance.of(std::array{0, -1, kByNumber[bits]}) : -1;
  if (isGrey || number > 0) map.table = tableOf(isGrey ? depth : number);
  if (!isGrey && bits <= 8 && number < 0) map.table = tableOf(kStandard[bits]);
  while (bits <= 8 && map.table.empty()) map = anyMap(chance, scene, bits, map.bounds);

  Out pixels;
  for (int y = 0; y < height; ++y) {
    std::vector<std::uint8_t> row(static_cast<std::size_t>((width * (depth == 24 ? 24 : bits) + 7) / 8));
    for (int x = 0; x < width; ++x) putPixel(row, depth == 24 ? 24 : bits, x, map.at(x, y));
    pixels.put(row);
  }
  Out out;
  out.words({0x7261, 0x7720, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, width, height, 72, 0, 72, 0});  // 'raw '
  // The last data need no size.
  out.u32(isLast && chance.oneIn(4) ? 0 : static_cast<std::uint32_t>(pixels.bytes.size())).u16(1);
  for (int i = 0; i < 16; ++i) out.u16(0);
  out.words({depth, number});
  if (number == 0) {
    out.words({0, 0, 0, static_cast<int>(map.table.size()) - 1});
    for (std::size_t i = 0; i < map.table.size(); ++i) out.u16(static_cast<int>(i)).color(map.table[i]);
  }
  Out sized;
  sized.u32(static_cast<std::uint32_t>(out.bytes.size()) + 4).put(out.bytes).put(pixels.bytes);
  return {sized.bytes, map};
}

// Copied through a matte, or without.
void addBitsThrough(Chance& chance, Scene& scene, const Map* matte) {
  constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};
  const int left = chance.any(-9, 9), top = chance.any(-9, 9);
  const int depth = chance.of(kDepths);
  // Now and then about as wide as rows are that count their bytes in a word.
  const int width = chance.oneIn(8) ? chance.any(244, 256) * 8 / depth : chance.any(1, 40);
  const Map map = anyMap(chance, scene, depth, {left, top, left + width, top + chance.any(1, 6)});
  const Written bytes = written(chance, map);
  Rect from = map.bounds;
  if (chance.oneIn(2)) {
    from.left += chance.any(-3, 3);
    from.top += chance.any(-1, 1);
    from.right = from.left + std::max(1, from.width() + chance.any(-3, 3));
    from.bottom = from.top + std::max(1, from.height() + chance.any(-1, 1));
  }
  Rect to = {chance.any(-8, 30), chance.any(-4, 24), 0, 0};
  const bool isStretched = chance.oneIn(2);
  to.right = to.left + (isStretched ? chance.any(1, 50) : from.width());
  to.bottom = to.top + (isStretched ? chance.any(1, 20) : from.height());
  const int mode = anySourceMode(chance);
  const bool isMasked = chance.oneIn(3);
  const Region mask = chance.oneIn(2) ? anyRegion(chance) : Region(anyRect(chance));

  const std::string name = map.isDirect() ? "DirectBits" : bytes.isPacked ? "PackBits" : "Bits";
  Out out;
  if (map.isDirect()) out.u32(0xFF);
  out.put(bytes.map).rect(from).rect(to).u16(mode);
  if (isMasked) out.region(mask);
  out.put(bytes.rows);
  const std::string line = name + (isMasked ? "Rgn" : "Rect") + " hex " + hex(out.bytes);
  const std::vector<Region> masks(isMasked ? 1 : 0, mask);
  const auto through = matte != nullptr ? std::optional(*matte) : std::nullopt;
  add(scene, {line, [=](Player& p) { p.bits(map, from, to, mode, masks, through ? &*through : nullptr); }});
}

}  // namespace

void addState(Chance& chance, Scene& scene) {
  switch (chance.any(0, 8)) {
    case 0:
    case 1:
    case 2:
      return addColor(chance, scene);
    case 3:
      return addPattern(chance, scene);
    case 4:
      return add(scene, penMode(chance.of(kPenModes)));
    case 5: {
      const auto one = [&chance] { return chance.oneIn(12) ? chance.any(-1, 20) : chance.any(1, 5); };
      return add(scene, penSize({one(), one()}));
    }
    case 6:
      return add(scene, ovalSize({chance.any(-1, 24), chance.any(-1, 16)}));
    case 7:
      if (!chance.oneIn(3)) return add(scene, highlightMode());
      return add(scene, origin(chance.any(-4, 4), chance.any(-4, 4)));
    default: {
      const Region region =
          chance.oneIn(2) ? Region(Rect{chance.any(-3, 10), chance.any(-3, 8), chance.any(20, 45), chance.any(15, 40)})
                          : anyRegion(chance);
      if (chance.oneIn(9)) return add(scene, clip(Region()));
      return add(scene, chance.oneIn(4) ? unclip() : clip(region));
    }
  }
}

void addShape(Chance& chance, Scene& scene) {
  const auto verb = static_cast<Verb>(chance.any(0, 4));
  const bool isSame = chance.oneIn(5);
  const auto point = [&chance] { return Point{chance.near(40), chance.near(30)}; };
  switch (chance.any(0, 8)) {
    case 0:
    case 1: {
      const Point from = point(), to = point();
      const int dh = chance.any(-30, 30), dv = chance.any(-30, 30);
      const Step lines[] = {line(from, to), lineFrom(to), shortLineFrom(dh, dv), shortLine(from, dh, dv)};
      return add(scene, chance.of(lines));
    }
    case 2: {
      if (isSame) return add(scene, polygon(verb));
      std::vector<Point> points;
      for (int i = chance.any(1, chance.oneIn(9) ? 80 : 7); i > 0; --i) points.push_back(point());
      return add(scene, polygon(verb, points));
    }
    case 3:
      return add(scene, isSame ? region(verb) : region(verb, anyRegion(chance)));
    default: {
      const auto shape = static_cast<Shape>(chance.any(0, 3));
      const int unit = chance.oneIn(2) ? 1 : 45;
      const int start = chance.any(-400 / unit, 400 / unit) * unit, arc = chance.any(-400 / unit, 400 / unit) * unit;
      return add(scene, isSame ? model::shape(verb, shape, start, arc)
                               : model::shape(verb, shape, anyRect(chance), start, arc));
    }
  }
}

void addImage(Chance& chance, Scene& scene) {
  scene.version = 2;
  const int width = chance.any(1, 24), height = chance.any(1, 8);
  const EncodedImage image = anyEncoded(chance, scene, width, height, true);
  const bool hasMatte = chance.oneIn(2), hasMask = chance.oneIn(3), isCut = chance.oneIn(3);
  const EncodedImage matte =
      hasMatte ? anyEncoded(chance, scene, chance.oneIn(2) ? width : chance.any(1, 24), chance.any(1, 8))
               : EncodedImage{{}, Map(1, {})};
  const Region mask = anyRegion(chance);
  const Rect all = {0, 0, width, height};
  Rect part;
  if (isCut) {
    part.left = chance.any(0, width - 1);
    part.right = chance.any(part.left + 1, width);
    part.bottom = chance.any(1, height);
  }
  // The matrix in quarters of a pixel.
  const auto quarters = [&chance](int low, int high) {
    return chance.oneIn(2) ? chance.any(low, high) : chance.any(low, high) / 4 * 4;
  };
  const int left = quarters(-32, 120), top = quarters(-16, 96), across = quarters(4, 12), down = quarters(4, 12);
  const auto placed = [=](const Rect& r) {
    const auto rounded = [](int at) { return static_cast<int>(std::lround(at / 4.0)); };
    return Rect{rounded(left + across * r.left), rounded(top + down * r.top), rounded(left + across * r.right),
                rounded(top + down * r.bottom)};
  };
  const int mode = anySourceMode(chance);

  Out region;
  if (hasMask) region.region(mask);
  Out out;
  out.u16(0);
  putMatrix(out, across, down, left, top);
  out.u32(static_cast<std::uint32_t>(matte.bytes.size())).rect(matte.map.bounds).u16(mode).rect(part);
  out.u32(0).u32(static_cast<std::uint32_t>(region.bytes.size()));
  out.put(matte.bytes).put(region.bytes).put(image.bytes);
  // Bits in the same place, or as many bytes of opcodes as a pen size says, stand in for it and aren't drawn.
  const std::string nexts[] = {
      "NOP", "PnSize (10, 99)\nPaintRect (0, 0, 40, 30)",
      "BitsRect { rowBytes bitMap 2 bounds (0, 0, 1, 1) } (0, 0, 1, 1) " + text(placed(all)) + " 0 { 8000 }"};
  const std::string next = chance.of(nexts);
  std::vector<Region> masks;
  if (hasMask) masks.push_back(mask);
  if (isCut) masks.emplace_back(placed(part));
  add(scene, {"Compressed" + sized(out) + "\n" + next,
              [=](Player& p) { p.bits(image.map, all, placed(all), mode, masks, hasMatte ? &matte.map : nullptr); }});
  scene.steps.back().isRecorded = !hasMatte;
}

void addBits(Chance& chance, Scene& scene) { addBitsThrough(chance, scene, nullptr); }

void addMatte(Chance& chance, Scene& scene) {
  scene.version = 2;
  const EncodedImage matte = anyEncoded(chance, scene, chance.any(1, 24), chance.any(1, 8), true);
  Out out;
  out.u16(0);
  putMatrix(out, 4, 4, 0, 0);
  out.u32(static_cast<std::uint32_t>(matte.bytes.size())).rect(matte.map.bounds).put(matte.bytes);
  addBitsThrough(chance, scene, &matte.map);
  Step& step = scene.steps.back();
  step.line = "Uncompressed" + sized(out) + "\n" + step.line;
  step.isRecorded = false;
}

}  // namespace model
