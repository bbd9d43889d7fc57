// What the conformance set is made of: small pictures, each with what it shows, the rule that it is about, and its
// lines with what they do to the model, from which the expected pixels come.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/step.h"

namespace conformance {

using model::Color;
using model::Map;
using model::Point;
using model::Rect;
using model::Region;
using model::Shape;
using model::Step;
using model::Verb;
using Bytes = std::string;
using Bits = std::array<std::uint8_t, 8>;

// A line of a picture. The picture differs without it, unless it is idle: then it is the same.
struct Line {
  Line(Step is) : step(std::move(is)) {}
  Step step;
  bool isIdle = false;
};
using Lines = std::vector<Line>;
Line idle(Step step);
// The model knows nothing of it, and what it shows, if anything, lies in an area.
Line idle(const std::string& line);
Lines operator+(Lines some, const Lines& more);

// Pixels that no rule decides, as those of letters. One of them at least has the ink's colour.
struct Area {
  Rect box;
  Color ink = {};
};

struct Entry {
  std::string name;   // in its family, in letters that a file's name can have
  std::string shows;  // a sentence
  std::string rule;
  Lines lines;
  int version = 2;
  Rect frame = {0, 0, 32, 24};
  std::optional<std::string> head = {};  // the lines of a head that is not the usual one
  std::optional<Rect> space = {};        // of coordinates, where that is not the frame
  std::string end = "OpEndPic\n";
  std::vector<Area> areas = {};
  int tolerance = 0;                              // how much a component of a colour may differ
  Bytes (*wrap)(const Bytes& picture) = nullptr;  // what the picture lies in, if not in a picture file
  std::string ending = "pict";
};
std::string textOf(const Entry& entry);

struct Family {
  const char* name;
  const char* title;
  std::vector<Entry> (*entries)();
};
std::vector<Entry> lines();
std::vector<Entry> shapes();
std::vector<Entry> polygons();
std::vector<Entry> regions();
std::vector<Entry> state();
std::vector<Entry> colors();
std::vector<Entry> patterns();
std::vector<Entry> penModes();
std::vector<Entry> copyModes();
std::vector<Entry> bits();
std::vector<Entry> text();
std::vector<Entry> headers();
std::vector<Entry> reserved();
std::vector<Entry> images();
std::vector<Entry> containers();
inline constexpr Family kFamilies[] = {
    {"lines", "Lines and pens", lines},
    {"shapes", "Rectangles, round rectangles, ovals and arcs", shapes},
    {"polygons", "Polygons", polygons},
    {"regions", "Regions", regions},
    {"state", "Clips, origins and what is remembered", state},
    {"colors", "Colours", colors},
    {"patterns", "Patterns", patterns},
    {"pen-modes", "Modes of the pen", penModes},
    {"copy-modes", "Modes of copies", copyModes},
    {"bits", "Bit maps and pixel maps", bits},
    {"text", "Text, by what lies around it", text},
    {"headers", "Heads, versions and resolutions", headers},
    {"reserved", "Opcodes without a meaning, and comments", reserved},
    {"images", "Images of codecs", images},
    {"containers", "What pictures lie in", containers},
};

// Where rules are written down.
namespace rule {
inline constexpr const char* kGrid = "docs/pixels.md, 1. Grid and pen";
inline constexpr const char* kOvals = "docs/pixels.md, 3. Ovals";
inline constexpr const char* kFrames = "docs/pixels.md, 4. Frames";
inline constexpr const char* kArcs = "docs/pixels.md, 5. Arcs";
inline constexpr const char* kLines = "docs/pixels.md, 6. Lines";
inline constexpr const char* kPolygons = "docs/pixels.md, 7. Polygons";
inline constexpr const char* kModes = "docs/pixels.md, 8. Modes";
inline constexpr const char* kCopies = "docs/pixels.md, 9. Copies";
inline constexpr const char* kText = "docs/pixels.md, 10. Text";
inline constexpr const char* kSizes = "docs/pixels.md, 11. Pictures at another size";
inline constexpr const char* kDrawing = "Imaging With QuickDraw, chapter 3, QuickDraw Drawing";
inline constexpr const char* kColor = "Imaging With QuickDraw, chapter 4, Color QuickDraw";
inline constexpr const char* kPictures = "Imaging With QuickDraw, chapter 7, Pictures";
inline constexpr const char* kOpcodes = "Imaging With QuickDraw, appendix A, Picture Opcodes";
inline constexpr const char* kQuickTime = "Inside Macintosh: QuickTime, chapter 3, Image Compression Manager";
inline constexpr const char* kToolbox = "Inside Macintosh: More Macintosh Toolbox, chapter 1, Resource Manager";
}  // namespace rule

// ---- colours

// Eight bits a component, so that nobody has to round them.
constexpr Color rgb(int color) { return {(color >> 16 & 255) * 257, (color >> 8 & 255) * 257, (color & 255) * 257}; }
inline constexpr Color kBlack = rgb(0), kWhite = rgb(0xFFFFFF), kRed = rgb(0xD02020), kGreen = rgb(0x20A040),
                       kBlue = rgb(0x2040C0), kYellow = rgb(0xF0D020), kGrey = rgb(0x808080);
inline constexpr Bits kBricks = {0xFF, 0x80, 0x80, 0x80, 0xFF, 0x08, 0x08, 0x08};  // a pattern
Line fore(const Color& color);
Line back(const Color& color);
Line paint(const Rect& rect);
// The last polygon or region once more, with each verb: `before` draws it, and something between. Fills have the
// pattern.
std::vector<Entry> again(const std::string& shows, const Lines& before, const Step& fillPattern, Step (*same)(Verb));
// Bands of white, black and colours from left to right, on which a mode shows what it does.
Lines backdrop();

// ---- bits

// Pixels with a form in the upper left that no turn and no mirror leaves as it is; each index of a small depth is
// there.
Map art(int depth, const Rect& bounds);

// How a map's rows are written.
struct Written {
  Map map;
  bool isPacked = true;     // by PackBits, if a row has 8 bytes or more
  int packType = 0;         // of direct pixels
  int components = 3;       // of direct pixels of 32 bits: a fourth comes first
  int padding = 0;          // bytes after a row's own, all set
  bool isDevices = false;   // the table of a device: entries in order, whatever they say
  int told = 0;             // entries of the table, the rest being black; 0: all
  bool isReversed = false;  // entries from the last to the first
};
// What is copied from where to where; by default all of the map to its own place.
struct Copy {
  std::optional<Rect> from = {}, to = {};
  int mode = 0;
  std::optional<Region> mask = {};
};
Step copy(const Written& written, const Copy& how = {});
// Spells the map's fields.
std::string mapText(const Written& written);
std::string rowsText(const Written& written);
bool isLong(const Written& written);

}  // namespace conformance
