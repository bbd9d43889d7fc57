#include "conformance/entry.h"

#include <algorithm>

namespace conformance {

using model::format;

Line idle(Step step) {
  Line line(std::move(step));
  line.isIdle = true;
  return line;
}
Line idle(const std::string& line) {
  return idle(Step{line, [](model::Player&) {}});
}
Lines operator+(Lines some, const Lines& more) {
  some.insert(some.end(), more.begin(), more.end());
  return some;
}

std::string textOf(const Entry& entry) {
  std::string text;
  if (entry.head) {
    text = *entry.head;
  } else {
    const std::string frame = model::text(entry.frame);
    if (entry.wrap == nullptr) text = "header\n";
    text += format("picture version %d frame ", entry.version) + frame + "\n";
    if (entry.version == 2) text += "HeaderOp { version -2 hRes 72 vRes 72 source " + frame + " }\n";
  }
  for (const Line& line : entry.lines) text += line.step.line + "\n";
  return text + entry.end;
}

Line fore(const Color& color) { return model::color("RGBFgCol", color); }
Line back(const Color& color) { return model::color("RGBBkCol", color); }
Line paint(const Rect& rect) { return model::shape(Verb::paint, Shape::rect, rect); }

std::vector<Entry> again(const std::string& shows, const Lines& before, const Step& fillPattern, Step (*same)(Verb)) {
  const Line red = fore(kRed);
  const struct {
    Verb verb;
    const char* name;
    Lines state;
  } verbs[] = {{Verb::frame, "frame", {red, model::penSize({2, 2})}},
               {Verb::paint, "paint", {red}},
               {Verb::erase, "erase", {}},
               {Verb::invert, "invert", {}},
               {Verb::fill, "fill", {red, fillPattern}}};
  std::vector<Entry> entries;
  for (const auto& [verb, name, state] : verbs)
    entries.push_back({std::string("same-") + name, shows, rule::kOpcodes, before + state + Lines{same(verb)}});
  return entries;
}

Lines backdrop() {
  Lines lines;
  const Color bands[] = {kRed, kBlack, kGreen, kBlue, rgb(0xC0B090)};
  int left = 6;
  for (const Color& band : bands) {
    lines.push_back(fore(band));
    lines.push_back(paint({left, 0, left + 5, 24}));
    left += 5;
  }
  return lines;
}

Map art(int depth, const Rect& bounds) {
  Map map(depth, bounds);
  const int count = depth <= 8 ? 1 << depth : 0;
  for (int i = 0; i < count && depth > 1; ++i) {
    const int turned = depth == 8 ? i * 37 : i * 5;
    map.table.push_back(rgb((255 - i * 255 / (count - 1)) << 16 | (turned * 11 & 255) << 8 | (turned * 3 + 40) % 256));
  }
  const auto at = [&](int x, int y) -> std::uint32_t {
    const bool isForm = x == 0 || y == 0 || (y == 3 && x < 4) || (x == y && x > 4);
    if (depth == 1) return isForm || (x % 4 == 1 && y % 3 == 2) ? 1 : 0;
    if (!map.isDirect()) return static_cast<std::uint32_t>(isForm ? count - 1 : (x / 2 + y * 3) % count);
    return map.pixelOf(isForm ? rgb(0x301060) : rgb((x * 9 & 255) << 16 | (y * 17 & 255) << 8 | (200 - x * 5)));
  };
  for (int y = bounds.top; y < bounds.bottom; ++y) {
    for (int x = bounds.left; x < bounds.right; ++x) map.at(x, y) = at(x - bounds.left, y - bounds.top);
  }
  return map;
}

namespace {

bool isPixMap(const Written& written) { return written.map.isDirect() || !written.map.table.empty(); }

int rowBytesOf(const Written& written) {
  return (written.map.bounds.width() * written.map.depth + 15) / 16 * 2 + written.padding;
}

std::string tableText(const Written& written) {
  const model::Table& table = written.map.table;
  std::vector<int> order(written.told > 0 ? static_cast<std::size_t>(written.told) : table.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int>(i);
  if (written.isReversed) std::ranges::reverse(order);
  std::string text = format("colors { flags %d entries {", written.isDevices ? 0x8000 : 0);
  for (const int i : order) {
    const auto [red, green, blue] = table[static_cast<std::size_t>(i)];
    // What the entries of a device's table say of their pixels means nothing.
    text += format(" %d #%02X%02X%02X", written.isDevices ? 7 * i % 5 : i, static_cast<unsigned>(red >> 8),
                   static_cast<unsigned>(green >> 8), static_cast<unsigned>(blue >> 8));
  }
  return text + " } }";
}

}  // namespace

bool isLong(const Written& written) { return rowBytesOf(written) >= 8; }

std::string mapText(const Written& written) {
  const Map& map = written.map;
  std::string text = format("{ rowBytes %s %d bounds ", isPixMap(written) ? "pixMap" : "bitMap", rowBytesOf(written)) +
                     model::text(map.bounds);
  if (!isPixMap(written)) return text + " }";
  const int size = map.depth == 16 ? 5 : map.depth == 32 ? 8 : map.depth;
  text += format(" packType %d hRes 72 vRes 72 pixelType %d pixelSize %d cmpCount %d cmpSize %d", written.packType,
                 map.isDirect() ? 16 : 0, map.depth, map.isDirect() ? written.components : 1, size);
  return text + (map.isDirect() ? "" : "\n    " + tableText(written)) + " }";
}

std::string rowsText(const Written& written) {
  const Map& map = written.map;
  const Rect& bounds = map.bounds;
  std::string text = "{\n";
  for (int y = bounds.top; y < bounds.bottom; ++y) {
    model::Out row;
    // Planes, of which the fourth component's comes first, or triplets.
    const bool isPlanes = written.packType == 4;
    if (map.depth == 32 && (written.packType == 2 || (written.packType == 4 && isLong(written)))) {
      if (written.components == 4) row.bytes.assign(static_cast<std::size_t>(bounds.width()), 0x5A);
      for (int i = 0; i < 3 * bounds.width(); ++i) {
        const int x = isPlanes ? i % bounds.width() : i / 3, c = isPlanes ? i / bounds.width() : i % 3;
        row.u8(static_cast<int>(map.at(bounds.left + x, y) >> (16 - 8 * c)));
      }
    } else {
      row.bytes.resize(static_cast<std::size_t>(rowBytesOf(written)), 0xFF);
      // Bits that make no colour may be anything.
      const std::uint32_t unused = map.depth == 32 ? 0x5A000000 : map.depth == 16 ? 0x8000 : 0;
      for (int x = 0; x < bounds.width(); ++x)
        model::putPixel(row.bytes, map.depth, x, map.at(bounds.left + x, y) | unused);
    }
    const bool packs = written.isPacked && isLong(written) && written.packType != 1 && written.packType != 2;
    text += std::string("  ") + (packs ? "pack " : "") + model::hex(row.bytes) + "\n";
  }
  return text + "}";
}

Step copy(const Written& written, const Copy& how) {
  const Map& map = written.map;
  const Rect from = how.from.value_or(map.bounds), to = how.to.value_or(map.bounds);
  const std::string kind = map.isDirect() ? "DirectBits" : written.isPacked && isLong(written) ? "PackBits" : "Bits";
  std::string text = kind + (how.mask ? "Rgn" : "Rect") + (map.isDirect() ? " base 255 " : " ") + mapText(written) +
                     " " + model::text(from) + " " + model::text(to) + format(" %d ", how.mode);
  if (how.mask) text += model::text(*how.mask) + " ";
  std::vector<Region> masks;
  if (how.mask) masks.push_back(*how.mask);
  Map told = map;
  for (std::size_t i = static_cast<std::size_t>(written.told); written.told > 0 && i < told.table.size(); ++i)
    told.table[i] = kBlack;
  const int mode = how.mode;
  return {text + "rows " + rowsText(written), [=](model::Player& p) { p.bits(told, from, to, mode, masks); }};
}

}  // namespace conformance
