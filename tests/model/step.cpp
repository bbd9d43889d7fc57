#include "tests/model/step.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>

namespace model {

// ---- bytes and words

Out& Out::u8(int value) {
  bytes.push_back(static_cast<std::uint8_t>(value));
  return *this;
}
Out& Out::u16(int value) { return u8(value >> 8).u8(value); }
Out& Out::u32(std::uint32_t value) { return u16(static_cast<int>(value >> 16)).u16(static_cast<int>(value & 0xFFFF)); }
Out& Out::words(std::initializer_list<int> values) {
  for (const int value : values) u16(value);
  return *this;
}
Out& Out::put(const std::vector<std::uint8_t>& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return *this;
}

std::string format(const char* pattern, ...) {
  char text[200];
  va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

std::string hex(const std::vector<std::uint8_t>& bytes) {
  std::string digits;
  for (const std::uint8_t byte : bytes) digits += format("%02X", static_cast<unsigned>(byte));
  return digits;
}
std::string text(Point p) { return format("(%d, %d)", p.h, p.v); }
std::string text(const Rect& r) { return format("(%d, %d, %d, %d)", r.left, r.top, r.right, r.bottom); }

std::string text(const Color& c) {
  return format("#%04X%04X%04X", static_cast<unsigned>(c[0]), static_cast<unsigned>(c[1]), static_cast<unsigned>(c[2]));
}

namespace {

// A region's smallest rectangle, and the points of each row.
struct Rows {
  explicit Rows(const Region& region) {
    for (const auto& [h, v] : region.points) {
      if (!edges[v].erase(h)) edges[v].insert(h);
    }
    std::erase_if(edges, [](const auto& row) { return row.second.empty(); });
    for (const auto& [v, row] : edges)
      box = {std::min(box.left, *row.begin()), std::min(box.top, v), std::max(box.right, *row.rbegin()), v};
    if (edges.empty()) box = {};
  }
  bool isRect() const { return edges.empty() || (edges.size() == 2 && edges.begin()->second.size() == 2); }

  Rect box = {INT16_MAX, INT16_MAX, INT16_MIN, INT16_MIN};
  std::map<int, std::set<int>> edges;
};

}  // namespace

std::string text(const Region& region) {
  const Rows rows(region);
  if (rows.isRect()) return text(rows.box);
  std::string all = text(rows.box) + " {";
  for (const auto& [v, edges] : rows.edges) {
    all += format(" %d:", v);
    for (const int h : edges) all += format(" %d", h);
  }
  return all + " }";
}

Out& Out::region(const Region& region) {
  const Rows rows(region);
  if (rows.isRect()) return u16(10).rect(rows.box);
  constexpr int kEnd = 0x7FFF;
  Out out;
  for (const auto& [v, edges] : rows.edges) {
    out.u16(v);
    for (const int h : edges) out.u16(h);
    out.u16(kEnd);
  }
  out.u16(kEnd);
  return u16(10 + static_cast<int>(out.bytes.size())).rect(rows.box).put(out.bytes);
}

void putPixel(std::span<std::uint8_t> row, int depth, int x, std::uint32_t pixel) {
  for (int bit = 0; bit < depth; ++bit) {
    const int at = x * depth + bit;
    std::uint8_t& byte = row[static_cast<std::size_t>(at / 8)];
    const int mask = 0x80 >> at % 8;
    byte = static_cast<std::uint8_t>((pixel >> (depth - 1 - bit) & 1) != 0 ? byte | mask : byte & ~mask);
  }
}

// ---- steps

namespace {

std::string nameOf(Verb verb) {
  constexpr const char* kVerbs[] = {"Frame", "Paint", "Erase", "Invert", "Fill"};
  return kVerbs[static_cast<std::size_t>(verb)];
}
std::string nameOf(Shape shape) {
  constexpr const char* kShapes[] = {"Rect", "RRect", "Oval", "Arc"};
  return kShapes[static_cast<std::size_t>(shape)];
}
std::string anglesOf(Shape shape, int start, int arc) {
  return shape == Shape::arc ? format(" %d %d", start, arc) : "";
}

}  // namespace

Step line(Point from, Point to) {
  return {"Line " + text(from) + " " + text(to), [=](Player& p) { p.line(from, to); }};
}
Step lineFrom(Point to) {
  return {"LineFrom " + text(to), [=](Player& p) { p.lineTo(to); }};
}
Step shortLine(Point from, int dh, int dv) {
  return {"ShortLine " + text(from) + format(" %d %d", dh, dv), [=](Player& p) {
            p.line(from, {from.h + dh, from.v + dv});
          }};
}
Step shortLineFrom(int dh, int dv) {
  return {format("ShortLineFrom %d %d", dh, dv), [=](Player& p) { p.lineBy(dh, dv); }};
}
Step shape(Verb verb, Shape shape, const Rect& rect, int start, int arc) {
  return {nameOf(verb) + nameOf(shape) + " " + text(rect) + anglesOf(shape, start, arc),
          [=](Player& p) { p.shape(shape, verb, rect, start, arc); }};
}
Step shape(Verb verb, Shape shape, int start, int arc) {
  return {nameOf(verb) + "Same" + nameOf(shape) + anglesOf(shape, start, arc),
          [=](Player& p) { p.shape(shape, verb, start, arc); }};
}
Step polygon(Verb verb, const std::vector<Point>& points) {
  std::string all;
  for (const Point& p : points) all += " " + text(p);
  return {nameOf(verb) + "Poly {" + all + " }", [=](Player& p) { p.polygon(verb, points); }};
}
Step polygon(Verb verb) {
  return {nameOf(verb) + "SamePoly", [=](Player& p) { p.polygon(verb); }};
}
Step region(Verb verb, const Region& region) {
  return {nameOf(verb) + "Rgn " + text(region), [=](Player& p) { p.region(verb, region); }};
}
Step region(Verb verb) {
  return {nameOf(verb) + "SameRgn", [=](Player& p) { p.region(verb); }};
}

Step penSize(Point size) {
  return {"PnSize " + text(size), [=](Player& p) { p.penSize = size; }};
}
Step penMode(int mode) {
  return {format("PnMode %d", mode), [=](Player& p) { p.penMode = mode; }};
}
Step ovalSize(Point size) {
  return {"OvSize " + text(size), [=](Player& p) { p.ovalSize = size; }};
}
Step origin(int dh, int dv) {
  return {format("Origin %d %d", dh, dv), [=](Player& p) { p.origin(dh, dv); }};
}
Step clip(const Region& region) {
  return {"Clip " + text(region), [=](Player& p) { p.clip(region); }};
}
Step unclip() {
  return {"Clip " + text(Rect{-32767, -32767, 32767, 32767}), [](Player& p) { p.unclip(); }};
}
Step highlightMode() {
  return {"HiliteMode", [](Player& p) { p.highlights = true; }};
}
Step defaultHighlight() {
  return {"DefHilite", [](Player& p) { p.highlight = kHighlight; }};
}

Step color(const std::string& name, const Color& color) {
  const std::map<std::string, Color Player::*> fields = {{"RGBFgCol", &Player::foreground},
                                                         {"RGBBkCol", &Player::background},
                                                         {"OpColor", &Player::operand},
                                                         {"HiliteColor", &Player::highlight}};
  return {name + " " + text(color), [=, field = fields.at(name)](Player& p) { p.*field = color; }};
}
Step color(const Classic& classic, bool isBackground) {
  return {format(isBackground ? "BkColor %d" : "FgColor %d", classic.number),
          [=](Player& p) { (isBackground ? p.background : p.foreground) = classic.color; }};
}
Step pattern(const PatternName& name, const std::array<std::uint8_t, 8>& bits) {
  return {std::string(name.name) + "Pat " + hex({bits.begin(), bits.end()}), [=, field = name.field](Player& p) {
            p.*field = {bits, {}};
          }};
}

std::string sized(const Out& out) {
  return "QuickTime hex " + hex(Out().u32(static_cast<std::uint32_t>(out.bytes.size())).put(out.bytes).bytes);
}

void putMatrix(Out& out, int across, int down, int left, int top) {
  for (const int cell : {across, 0, 0, 0, down, 0, left, top}) out.u32(static_cast<std::uint32_t>(cell * 0x4000));
  out.u32(0x40000000);
}

}  // namespace model
