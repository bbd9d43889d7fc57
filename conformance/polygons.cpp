#include "conformance/entry.h"

namespace conformance {

std::vector<Entry> polygons() {
  const std::vector<Point> triangle = {{4, 3}, {28, 8}, {11, 21}};
  const std::vector<Point> star = {{16, 1}, {23, 22}, {3, 9}, {29, 9}, {8, 22}};
  const std::vector<Point> steps = {{4, 4}, {16, 4}, {16, 10}, {26, 10}, {26, 20}, {4, 20}};
  const std::vector<Point> bow = {{3, 3}, {29, 21}, {29, 3}, {3, 21}};
  const Lines band = {fore(kYellow), paint({0, 8, 32, 15})};
  const Step fillPattern = model::pattern(model::kPatternNames[2], kBricks);
  std::vector<Entry> entries = {
      {"frame",
       "A framed polygon is its lines one by one, and isn't closed.",
       rule::kPolygons,
       {model::polygon(Verb::frame, triangle)}},
      {"frame-closed",
       "It is closed where its last point is its first.",
       rule::kPolygons,
       {model::polygon(Verb::frame, {{4, 3}, {28, 8}, {11, 21}, {4, 3}})}},
      {"frame-pen",
       "The pen hangs right of a framed polygon's points and below them, outside of what would be painted.",
       rule::kPolygons,
       {model::penSize({3, 2}), model::polygon(Verb::frame, triangle), fore(kYellow),
        model::polygon(Verb::paint, triangle)}},
      {"frame-inverted",
       "Each line of a frame is drawn on its own: where two meet, patXor cancels them.",
       rule::kGrid,
       {model::penMode(10), model::penSize({4, 4}), model::polygon(Verb::frame, {{3, 3}, {24, 3}, {24, 17}, {5, 17}})}},
      {"paint", "A painted polygon is closed.", rule::kPolygons, {fore(kRed), model::polygon(Verb::paint, triangle)}},
      {"erase", "An erased polygon takes the background's colour.", rule::kPolygons,
       band + Lines{back(kGreen), model::polygon(Verb::erase, triangle)}},
      {"invert", "An inverted polygon.", rule::kPolygons, band + Lines{model::polygon(Verb::invert, triangle)}},
      {"fill", "A filled polygon has the fill pattern.", rule::kPolygons,
       band + Lines{fore(kBlue), fillPattern, model::polygon(Verb::fill, triangle)}},
      {"even-odd",
       "A star's middle is outside: a pixel is inside if an odd number of edges stands left of it.",
       rule::kPolygons,
       {model::polygon(Verb::paint, star)}},
      {"bow", "A polygon that crosses itself.", rule::kPolygons, {model::polygon(Verb::paint, bow)}},
      {"right-angles",
       "Upright edges stand at their points, and level ones count for nothing.",
       rule::kPolygons,
       {model::polygon(Verb::paint, steps), fore(kRed), paint({16, 4, 26, 10})}},
      {"wedge",
       "A slanted edge: 1, 2, 3 and more pixels, as in the rule's example, and its mirror's.",
       rule::kPolygons,
       {model::polygon(Verb::paint, {{2, 2}, {2, 14}, {14, 14}}),
        model::polygon(Verb::paint, {{29, 2}, {29, 14}, {17, 14}})}},
      {"flat-edges",
       "Edges that move more than a pixel from row to row.",
       rule::kPolygons,
       {model::polygon(Verb::paint, {{2, 4}, {30, 9}, {20, 14}, {3, 10}})}},
      {"thin",
       "A polygon thinner than a pixel leaves gaps.",
       rule::kPolygons,
       {model::polygon(Verb::paint, {{2, 2}, {30, 20}, {29, 21}})}},
      {"meeting",
       "Polygons that share an edge share no pixel and leave none out.",
       rule::kPolygons,
       {idle(model::penMode(10)), model::polygon(Verb::paint, {{3, 3}, {27, 9}, {12, 21}}),
        model::polygon(Verb::paint, {{3, 3}, {27, 9}, {29, 2}})}},
      {"two-inside",
       "Two outlines in one: the inner one is a hole.",
       rule::kPolygons,
       {model::polygon(
           Verb::paint,
           {{3, 2}, {29, 2}, {29, 22}, {3, 22}, {3, 2}, {10, 7}, {10, 17}, {22, 17}, {22, 7}, {10, 7}, {3, 2}})}},
      {"outside",
       "A polygon that reaches far out of the picture.",
       rule::kPolygons,
       {model::polygon(Verb::paint, {{-90, 12}, {16, -40}, {120, 12}, {16, 64}, {16, 12}})}},
      {"one-point",
       "Polygons of one point, and of two, hold nothing; a frame of two is a line.",
       rule::kPolygons,
       {idle(model::polygon(Verb::paint, {{5, 5}})), idle(model::polygon(Verb::paint, {{5, 5}, {20, 15}})),
        model::polygon(Verb::frame, {{8, 20}, {28, 3}})}},
  };
  const std::vector<Entry> last =
      again("The last polygon once more, after a rectangle came between, with another verb.",
            {model::polygon(Verb::fill, steps), fore(kYellow), paint({0, 8, 32, 13})}, fillPattern, model::polygon);
  entries.insert(entries.end(), last.begin(), last.end());
  return entries;
}

}  // namespace conformance
