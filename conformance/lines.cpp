#include "conformance/entry.h"

namespace conformance {

using model::format;

std::vector<Entry> lines() {
  std::vector<Entry> entries;
  struct Way {
    const char* name;
    const char* goes;
    Point from, to;
  };
  constexpr Way kWays[] = {
      {"level", "level", {3, 9}, {25, 9}},
      {"upright", "upright", {14, 3}, {14, 18}},
      {"flat-right", "flat, to the right", {3, 5}, {25, 12}},
      {"flat-left", "flat, to the left", {25, 5}, {3, 12}},
      {"steep-right", "steep, to the right", {9, 2}, {15, 18}},
      {"steep-left", "steep, to the left", {18, 2}, {12, 18}},
      {"diagonal-right", "diagonal, to the right", {6, 3}, {20, 17}},
      {"diagonal-left", "diagonal, to the left", {20, 3}, {6, 17}},
  };
  constexpr Point kPens[] = {{1, 1}, {4, 1}, {1, 4}, {5, 3}};
  for (const Way& way : kWays) {
    for (const Point pen : kPens) {
      const Lines sized = pen.h * pen.v > 1 ? Lines{model::penSize(pen)} : Lines{};
      entries.push_back({way.name + format("-%dx%d", pen.h, pen.v),
                         std::string("A line that is ") + way.goes + format(", by a pen of %d by %d.", pen.h, pen.v),
                         rule::kLines, sized + Lines{model::line(way.from, way.to)}});
    }
  }

  const Step spot = model::line({20, 12}, {20, 12});
  const Entry more[] = {
      {"flat-upward",
       "A flat line from its lower end: the same pixels as from its upper one.",
       rule::kLines,
       {model::line({25, 12}, {3, 5})}},
      {"steep-upward",
       "A steep line from its lower end, by a pen that is wider than high.",
       rule::kLines,
       {model::penSize({3, 2}), model::line({15, 18}, {9, 2})}},
      {"two-apart",
       "Lines of two rows: the upper half of the columns is in the upper row.",
       rule::kLines,
       {model::line({2, 3}, {28, 4}), model::line({28, 9}, {3, 10}), model::line({4, 15}, {9, 16})}},
      {"point",
       "Lines without length leave a mark as large as the pen.",
       rule::kGrid,
       {model::line({3, 3}, {3, 3}), model::penSize({7, 5}), model::line({10, 6}, {10, 6})}},
      {"pen-hangs",
       "The pen hangs right of the line and below it: the lines and the rectangle meet without a gap.",
       rule::kGrid,
       {model::penSize({4, 4}), model::line({4, 4}, {20, 4}), fore(kRed), paint({4, 8, 24, 12})}},
      {"pen-without-width",
       "A pen without a width, and one without a height, draw nothing; the last is of 2 by 2.",
       rule::kGrid,
       {model::penSize({0, 5}), idle(model::line({2, 2}, {28, 20})), idle(model::penSize({5, 0})),
        idle(model::line({28, 2}, {2, 20})), model::penSize({2, 2}), model::line({4, 12}, {26, 12})}},
      {"pen-below-zero",
       "A pen of a size below zero draws nothing; the spot is of 3 by 3.",
       rule::kGrid,
       {model::penSize({-4, 3}), idle(model::line({2, 2}, {28, 20})), model::penSize({3, 3}), spot}},
      {"from-the-last",
       "Lines that go on where the last one ended.",
       rule::kOpcodes,
       {model::line({3, 3}, {15, 20}), model::lineFrom({27, 5}), model::lineFrom({6, 12})}},
      {"from-nowhere",
       "A line that goes on, though none was there before: it begins at the origin.",
       rule::kOpcodes,
       {model::lineFrom({25, 18})}},
      {"short",
       "Short lines: two signed bytes tell how far each one goes.",
       rule::kOpcodes,
       {model::shortLine({16, 12}, 12, 0), model::shortLine({16, 12}, -12, 3), model::shortLine({16, 12}, 5, -10)}},
      {"short-from-the-last",
       "Short lines that go on, back to where they began.",
       rule::kOpcodes,
       {model::shortLine({5, 5}, 20, 2), model::shortLineFrom(-4, 14), model::shortLineFrom(-16, -3),
        model::shortLineFrom(0, -13)}},
      {"mixed",
       "A line goes on after a short one, and a short one after it, with shapes between them.",
       rule::kOpcodes,
       {model::shortLine({4, 4}, 10, 10), fore(kBlue), paint({20, 2, 28, 8}), model::lineFrom({28, 12}),
        model::shape(Verb::frame, Shape::oval, {2, 12, 12, 22}), model::shortLineFrom(-8, 8)}},
      {"after-a-hidden-one",
       "A line goes on from one that lies outside of the picture.",
       rule::kOpcodes,
       {model::line({40, -10}, {60, -4}), model::lineFrom({4, 20})}},
      {"crossing",
       "Two lines in patXor: where they cross, and along the pen's width there, they cancel each other.",
       rule::kLines,
       {model::penMode(10), model::penSize({3, 3}), model::line({3, 3}, {26, 18}), model::line({26, 3}, {3, 18})}},
      {"patterned",
       "Lines by a pen with a pattern, which stays in its place on the grid.",
       rule::kGrid,
       {model::penSize({4, 4}),
        model::pattern(model::kPatternNames[0], {0x88, 0x44, 0x22, 0x11, 0x88, 0x44, 0x22, 0x11}),
        model::line({3, 3}, {25, 3}), model::line({3, 10}, {25, 17})}},
      {"far-ends",
       "A line between ends that lie far outside: it keeps its slope.",
       rule::kLines,
       {model::penSize({1, 2}), model::line({-300, -120}, {330, 145})}},
      {"over-the-edge",
       "Lines that leave the picture on each side.",
       rule::kLines,
       {model::line({16, 12}, {50, 20}), model::line({16, 12}, {-20, 2}), model::line({16, 12}, {22, 60}),
        model::line({16, 12}, {9, -30})}},
      {"colored",
       "Each line has the colour that was the foreground's when it was drawn.",
       rule::kColor,
       {model::penSize({2, 2}), fore(kRed), model::line({2, 2}, {28, 8}), fore(kGreen), model::line({2, 8}, {28, 14}),
        fore(kBlue), model::line({2, 14}, {28, 20})}},
  };
  entries.insert(entries.end(), std::begin(more), std::end(more));
  return entries;
}

}  // namespace conformance
