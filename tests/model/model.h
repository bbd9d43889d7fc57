// QuickDraw one pixel at a time, as plainly as it can be said: what a command does to each pixel, by the rules in
// docs/pixels.md. It knows nothing of the engine, so that a fault of one is not a fault of both.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace model {

struct Point {
  int h = 0, v = 0;
};
struct Rect {
  int left = 0, top = 0, right = 0, bottom = 0;

  int width() const { return right - left; }
  int height() const { return bottom - top; }
  bool isEmpty() const { return left >= right || top >= bottom; }
  bool holds(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
};

using Color = std::array<int, 3>;  // red, green, blue, of 16 bits
using Table = std::vector<Color>;
inline constexpr Color kHighlight = {0xB5B5, 0xD5D5, 0xFFFF};

// A pixel is an index into the table, or 5 or 8 bits of red, green and blue.
struct Map {
  Map(int depth, const Rect& bounds, Table colors = {});

  bool isDirect() const { return depth > 8; }
  std::uint32_t ones() const;
  std::uint32_t& at(int x, int y);
  std::uint32_t at(int x, int y) const { return const_cast<Map*>(this)->at(x, y); }
  Color colorOf(std::uint32_t pixel) const;
  std::uint32_t pixelOf(const Color& color) const;

  int depth;
  Rect bounds;
  Table table;  // of a bit map none: set bits are black
  std::vector<std::uint32_t> pixels;

 private:
  mutable std::map<Color, std::uint32_t> nearest_;  // that were looked for
};

// The colours of the tables that are known by number.
Table tableOf(int id);

// The points at which a region begins or ends: a pixel is inside if an odd number of them isn't right of it or below.
struct Region {
  Region() = default;
  explicit Region(const Rect& r) { toggle(r); }
  // What was inside of the rectangle is outside, and the other way.
  void toggle(const Rect& r);
  bool holds(int x, int y) const;

  std::vector<Point> points;
};

// Bits, or a tile with colours.
struct Pattern {
  std::array<std::uint8_t, 8> bits;
  std::optional<Map> tile;
};
inline constexpr std::array<std::uint8_t, 8> kSolid = {255, 255, 255, 255, 255, 255, 255, 255};

class Pixels;

enum class Verb { frame, paint, erase, invert, fill };
enum class Shape { rect, roundRect, oval, arc };

// Plays a picture's commands: operands are in the picture's space, `from` of which is mapped to `to`.
class Player {
 public:
  Player(Map& map, const Rect& from, const Rect& to);

  void clip(const Region& region);
  void unclip() { clip_.assign(clip_.size(), true); }
  void origin(int dh, int dv);

  void line(Point from, Point to);
  void lineTo(Point to) { line(lineEnd_, to); }
  void lineBy(int dh, int dv) { line(lineEnd_, {lineEnd_.h + dh, lineEnd_.v + dv}); }
  // Without a rectangle, a polygon or a region: the last one.
  void shape(Shape shape, Verb verb, const Rect& rect, int start = 0, int arc = 0);
  void shape(Shape shape, Verb verb, int start = 0, int arc = 0);
  void polygon(Verb verb, const std::vector<Point>& points);
  void polygon(Verb verb);
  void region(Verb verb, const Region& region);
  void region(Verb verb);
  // Only what lies in all of the masks is copied. Through a matte, stretched like the source, all is copied: its black
  // takes the source, its white leaves what is there; of one bit deep set bits take the source.
  void bits(const Map& source, const Rect& from, const Rect& to, int mode, const std::vector<Region>& masks = {},
            const Map* matte = nullptr);

  Color foreground = {0, 0, 0}, background = {0xFFFF, 0xFFFF, 0xFFFF}, operand = {0, 0, 0}, highlight = kHighlight;
  bool highlights = false;  // the next inversion
  Point penSize = {1, 1}, ovalSize;
  int penMode = 8;
  Pattern penPattern = {kSolid, {}}, backPattern = {{}, {}}, fillPattern = {kSolid, {}};

 private:
  int x(int h) const;
  int y(int v) const;
  Point mapped(Point p) const { return {x(p.h), y(p.v)}; }
  Rect mapped(const Rect& r) const { return {x(r.left), y(r.top), x(r.right), y(r.bottom)}; }
  Region mapped(const Region& region) const;
  Point sized(Point size) const;

  void draw(Verb verb, const Pixels& pixels);
  void fill(const Pixels& pixels, const Pattern& pattern, int mode);
  std::uint32_t mixed(std::uint32_t copied, std::uint32_t there, const Map& matte, std::uint32_t weight) const;
  std::uint32_t withBit(bool isSet, std::uint32_t there, int mode) const;
  std::uint32_t transferred(std::uint32_t source, std::uint32_t there, int mode) const;
  std::uint32_t highlighted(std::uint32_t there) const;
  std::uint32_t logical(std::uint32_t ink, std::uint32_t there, int mode) const;
  std::uint32_t calculated(std::uint32_t source, std::uint32_t there, int mode) const;

  Map& map_;
  Rect from_, to_;
  std::vector<bool> clip_;
  Point lineEnd_;
  Rect rect_;
  std::vector<Point> polygon_;
  Region region_;
};

}  // namespace model
