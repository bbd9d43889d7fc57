#include "conformance/entry.h"

namespace conformance {
namespace {

using model::format;

constexpr Bits kArrow = {0x10, 0x30, 0x7F, 0xFF, 0x7F, 0x30, 0x10, 0x00};

struct Use {
  const char* name;
  model::PatternName pattern;
  Verb verb;
  const char* what;
};
constexpr Use kUses[] = {{"pen", model::kPatternNames[0], Verb::paint, "The pen's pattern is what paints"},
                         {"back", model::kPatternNames[1], Verb::erase, "The background's pattern is what erases"},
                         {"fill", model::kPatternNames[2], Verb::fill, "The fill pattern is what fills"}};

// A tile with colours, and bits in its place for who has none.
Step tile(const model::PatternName& name, const Written& written) {
  model::Pattern pattern = {kBricks, written.map};
  const std::string line = std::string(name.name) + "PixPat { type 1 bits " +
                           model::hex({kBricks.begin(), kBricks.end()}) + "\n    map " + mapText(written) +
                           "\n    rows " + rowsText(written) + " }";
  return {line, [=, field = name.field](model::Player& p) { p.*field = pattern; }};
}
// One colour, as near as it comes.
Step plain(const model::PatternName& name, const Color& color) {
  model::Pattern pattern = {kBricks, Map(32, {0, 0, 1, 1})};
  pattern.tile->at(0, 0) = pattern.tile->pixelOf(color);
  const std::string line = std::string(name.name) + "PixPat { type 2 bits " +
                           model::hex({kBricks.begin(), kBricks.end()}) + " color " + model::text(color) + " }";
  return {line, [=, field = name.field](model::Player& p) { p.*field = pattern; }};
}

}  // namespace

std::vector<Entry> patterns() {
  std::vector<Entry> entries;
  const auto add = [&entries](const std::string& name, const std::string& shows, const char* rule, const Lines& lines) {
    entries.push_back({name, shows, rule, lines});
    return &entries.back();
  };
  const Rect box = {3, 2, 28, 21};
  const model::PatternName pen = model::kPatternNames[0];
  for (const auto& [name, pattern, verb, what] : kUses) {
    add(std::string("bits-") + name, std::string(what) + ": eight rows of eight bits.", rule::kDrawing,
        {model::pattern(pattern, kArrow), model::shape(verb, Shape::rect, box)});
    add(std::string("colors-") + name, std::string(what) + ": a tile with colours.", rule::kColor,
        {tile(pattern, {.map = art(4, {0, 0, 8, 8})}), model::shape(verb, Shape::oval, box)});
    add(std::string("one-color-") + name, std::string(what) + ": a colour of its own, without a tile.", rule::kColor,
        {plain(pattern, rgb(0x90C040)), model::shape(verb, Shape::roundRect, box)});
  }
  for (const int depth : {1, 2, 4, 8}) {
    Map map = art(depth, {0, 0, 8, 8});
    if (depth == 1) map.table = {kYellow, kBlue};
    add(format("depth-%d", depth), format("A tile of 8 by 8 with %d bits a pixel and a table of its own.", depth),
        rule::kColor, {tile(pen, {.map = map}), paint(box)});
  }
  constexpr Point kSizes[] = {{16, 16}, {32, 8}, {8, 32}, {4, 4}, {2, 16}, {64, 4}};
  for (const auto& [width, height] : kSizes) {
    add(format("size-%dx%d", width, height), format("A tile of %d by %d pixels.", width, height), rule::kColor,
        {tile(pen, {.map = art(4, {0, 0, width, height})}), paint({0, 0, 32, 24})});
  }
  add("moved-tile", "A tile repeats from the origin, wherever its own bounds lie.", rule::kGrid,
      {tile(pen, {.map = art(4, {3, 5, 11, 13})}), paint(box)});
  add("padded-tile", "A tile whose rows are longer than their pixels.", rule::kOpcodes,
      {tile(pen, {.map = art(2, {0, 0, 8, 8}), .padding = 4}), paint(box)});
  add("packed-tile", "A tile whose rows are long enough to be packed.", rule::kOpcodes,
      {tile(pen, {.map = art(8, {0, 0, 16, 8})}), paint(box)});
  add("short-table", "What a tile's table leaves out is black.", rule::kColor,
      {model::Step(tile(pen, {.map =
                                  [] {
                                    Map map = art(2, {0, 0, 8, 8});
                                    map.table[3] = kBlack;
                                    return map;
                                  }(),
                              .told = 3})),
       paint(box)});
  add("back-to-bits", "A pattern of bits takes the place of a tile with colours.", rule::kColor,
      {tile(pen, {.map = art(4, {0, 0, 8, 8})}), paint({2, 2, 16, 22}), model::pattern(pen, kBricks),
       paint({16, 2, 30, 22})});
  add("to-colors", "A tile with colours takes the place of a pattern of bits.", rule::kColor,
      {model::pattern(pen, kBricks), paint({2, 2, 16, 22}), tile(pen, {.map = art(4, {0, 0, 8, 8})}),
       paint({16, 2, 30, 22})});
  add("each-its-own", "Three patterns at a time, each for its verbs.", rule::kDrawing,
      {model::pattern(pen, kArrow), model::pattern(model::kPatternNames[1], kBricks),
       model::pattern(model::kPatternNames[2], {0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55}), fore(kBlue),
       back(kYellow), paint({1, 2, 11, 22}), model::shape(Verb::erase, Shape::rect, {11, 2, 21, 22}),
       model::shape(Verb::fill, Shape::rect, {21, 2, 31, 22})});
  add("one-grid", "Shapes that touch match, as patterns lie on the grid and not in a shape.", rule::kGrid,
      {model::pattern(pen, kArrow), paint({3, 3, 14, 11}), model::shape(Verb::paint, Shape::oval, {5, 9, 29, 23}),
       model::polygon(Verb::paint, {{14, 3}, {30, 3}, {14, 12}})});
  add("frame-pattern", "Frames and lines have the pen's pattern on the same grid.", rule::kGrid,
      {model::pattern(pen, kBricks), model::penSize({4, 4}), model::shape(Verb::frame, Shape::rect, {2, 2, 30, 22}),
       model::line({6, 11}, {22, 11})});
  add("colors-in-frames", "Lines and frames by a pen with colours.", rule::kColor,
      {tile(pen, {.map = art(4, {0, 0, 8, 8})}), model::penSize({5, 5}),
       model::shape(Verb::frame, Shape::oval, {1, 1, 31, 23}), model::line({4, 10}, {24, 10})});
  Entry moved = *add("moved-picture",
                     "Patterns lie on the grid of what is drawn into: where a picture's own origin "
                     "lies doesn't count.",
                     rule::kGrid, {model::pattern(pen, kArrow), paint({105, 53, 130, 72})});
  entries.back().frame = {103, 51, 135, 75};
  moved = *add("moved-colors", "A tile's colours lie on that grid, too.", rule::kGrid,
               {tile(pen, {.map = art(4, {0, 0, 8, 8})}), paint({-3, -9, 20, 11})});
  entries.back().frame = {-5, -11, 27, 13};
  return entries;
}

}  // namespace conformance
