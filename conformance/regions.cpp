#include "conformance/entry.h"

namespace conformance {
namespace {

Region of(std::initializer_list<Rect> rects) {
  Region region;
  for (const Rect& rect : rects) region.toggle(rect);
  return region;
}

}  // namespace

std::vector<Entry> regions() {
  const Region corner = of({{4, 3, 28, 21}, {16, 3, 28, 11}});
  const Region ring = of({{3, 2, 29, 22}, {9, 7, 23, 17}});
  const Region islands = of({{2, 2, 12, 10}, {18, 4, 30, 12}, {6, 14, 27, 22}});
  const Region checks = of({{2, 2, 16, 12}, {9, 7, 30, 22}});
  const Region rows = of({{5, 2, 27, 4}, {3, 6, 20, 7}, {14, 7, 30, 15}, {4, 12, 9, 22}});
  const Lines band = {fore(kYellow), paint({0, 6, 32, 14})};
  const Step fillPattern = model::pattern(model::kPatternNames[2], kBricks);
  std::vector<Entry> entries = {
      {"rect",
       "A region that is a rectangle: its size is 10, and no rows follow.",
       rule::kOpcodes,
       {fore(kRed), model::region(Verb::paint, Region(Rect{5, 4, 27, 19}))}},
      {"corner",
       "A region with a corner cut out: what a row says turns what the row above had.",
       rule::kOpcodes,
       {model::region(Verb::paint, corner)}},
      {"ring", "A region with a hole.", rule::kOpcodes, {model::region(Verb::paint, ring)}},
      {"islands", "A region of three parts.", rule::kOpcodes, {model::region(Verb::paint, islands)}},
      {"checks",
       "Two rectangles whose overlap is left out: rows with four edges.",
       rule::kOpcodes,
       {model::region(Verb::paint, checks)}},
      {"rows", "A region whose rows change often.", rule::kOpcodes, {model::region(Verb::paint, rows)}},
      {"outside",
       "A region that reaches out of the picture, with coordinates below zero.",
       rule::kOpcodes,
       {model::region(Verb::paint, of({{-9, -5, 20, 9}, {12, 4, 60, 50}}))}},
      {"empty",
       "An empty region draws nothing; the spot is a rectangle.",
       rule::kOpcodes,
       {idle(model::region(Verb::paint, Region())), paint({12, 8, 20, 14})}},
      {"frame",
       "The frame of a region lies within it, as wide as the pen, and goes round its hole.",
       rule::kFrames,
       {model::region(Verb::frame, ring)}},
      {"frame-pen",
       "A frame by a pen of 3 by 2.",
       rule::kFrames,
       {model::penSize({3, 2}), model::region(Verb::frame, corner)}},
      {"frame-islands",
       "The frames of a region's parts.",
       rule::kFrames,
       {model::penSize({2, 1}), model::region(Verb::frame, islands)}},
      {"erase", "An erased region takes the background's colour.", rule::kDrawing,
       band + Lines{back(kGreen), model::region(Verb::erase, ring)}},
      {"invert", "An inverted region.", rule::kDrawing, band + Lines{model::region(Verb::invert, checks)}},
      {"fill", "A filled region has the fill pattern.", rule::kDrawing,
       band + Lines{fore(kBlue), fillPattern, model::region(Verb::fill, islands)}},
  };
  const std::vector<Entry> last =
      again("The last region once more, after an oval came between, with another verb.",
            {model::region(Verb::fill, checks), fore(kYellow), model::shape(Verb::paint, Shape::oval, {6, 5, 26, 16})},
            fillPattern, model::region);
  entries.insert(entries.end(), last.begin(), last.end());
  return entries;
}

}  // namespace conformance
