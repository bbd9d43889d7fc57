// The lines of a picture's text, each with what it does to the model: steps of which pictures are made.
#pragma once

#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "tests/model/model.h"

namespace model {

// The bytes of a picture's operands.
class Out {
 public:
  Out& u8(int value);
  Out& u16(int value);
  Out& u32(std::uint32_t value);
  Out& words(std::initializer_list<int> values);
  Out& rect(const Rect& r) { return words({r.top, r.left, r.bottom, r.right}); }
  Out& color(const Color& c) { return words({c[0], c[1], c[2]}); }
  Out& region(const Region& region);
  Out& put(const std::vector<std::uint8_t>& more);

  std::vector<std::uint8_t> bytes;
};
// A pixel of that depth in a row, the most significant bits first.
void putPixel(std::span<std::uint8_t> row, int depth, int x, std::uint32_t pixel);

__attribute__((format(printf, 1, 2))) std::string format(const char* pattern, ...);
std::string hex(const std::vector<std::uint8_t>& bytes);
std::string text(Point p);
std::string text(const Rect& r);
std::string text(const Region& region);
std::string text(const Color& color);

// A line of the picture, and what it means.
struct Step {
  std::string line;
  std::function<void(Player&)> play;
  bool isRecorded = true;  // there is an opcode for it
};

Step line(Point from, Point to);
Step lineFrom(Point to);
Step shortLine(Point from, int dh, int dv);
Step shortLineFrom(int dh, int dv);
// Without a rectangle, points or a region: the last ones of their kind.
Step shape(Verb verb, Shape shape, const Rect& rect, int start = 0, int arc = 0);
Step shape(Verb verb, Shape shape, int start = 0, int arc = 0);
Step polygon(Verb verb, const std::vector<Point>& points);
Step polygon(Verb verb);
Step region(Verb verb, const Region& region);
Step region(Verb verb);

Step penSize(Point size);
Step penMode(int mode);
Step ovalSize(Point size);
Step origin(int dh, int dv);
Step clip(const Region& region);
Step unclip();
Step highlightMode();
Step defaultHighlight();
// By its name: RGBFgCol, RGBBkCol, OpColor, HiliteColor.
Step color(const std::string& name, const Color& color);

// Colours that have a number: for the foreground, or the background.
struct Classic {
  int number;
  Color color;
};
inline const Classic kClassics[] = {{30, {0xFFFF, 0xFFFF, 0xFFFF}},  {33, {0, 0, 0}},
                                    {69, {0xFC00, 0xF37D, 0x052F}},  {137, {0xF2D7, 0x0856, 0x84EC}},
                                    {205, {0xDD6B, 0x08C2, 0x06A2}}, {273, {0x0241, 0xAB54, 0xEAFF}},
                                    {341, {0x0000, 0x64AF, 0x11B0}}, {409, {0x0000, 0x0000, 0xD400}}};
Step color(const Classic& classic, bool isBackground);

// The patterns of a port: each has its name in opcodes.
struct PatternName {
  const char* name;
  Pattern Player::*field;
};
inline constexpr PatternName kPatternNames[] = {
    {"Pn", &Player::penPattern}, {"Bk", &Player::backPattern}, {"Fill", &Player::fillPattern}};
Step pattern(const PatternName& name, const std::array<std::uint8_t, 8>& bits);

// The size of a QuickTime opcode's data, and they.
std::string sized(const Out& out);
// Nothing of it is turned or slanted; numbers are quarters of a pixel.
void putMatrix(Out& out, int across, int down, int left, int top);

}  // namespace model
