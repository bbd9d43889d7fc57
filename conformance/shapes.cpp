#include "conformance/entry.h"

namespace conformance {
namespace {

using model::format;

struct Named {
  Shape shape;
  const char* file;
  const char* what;
};
constexpr Named kShapes[] = {{Shape::rect, "rect", "a rectangle"},
                             {Shape::roundRect, "round-rect", "a round rectangle"},
                             {Shape::oval, "oval", "an oval"},
                             {Shape::arc, "arc", "an arc"}};
struct Does {
  Verb verb;
  const char* file;
  const char* shows;  // a sentence with a place for the shape
};
constexpr Does kVerbs[] = {
    {Verb::frame, "frame", "Within %s a pen of 3 by 2 is drawn."},
    {Verb::paint, "paint", "%s is painted with the pen's pattern."},
    {Verb::erase, "erase", "%s is erased: filled with the background's pattern and colour."},
    {Verb::invert, "invert", "%s is inverted: each bit of the colours below is turned."},
    {Verb::fill, "fill", "%s is filled with the fill pattern, and not the pen's."},
};

std::string sentence(const char* pattern, const std::string& what) {
  std::string text = pattern;
  text.replace(text.find("%s"), 2, what);
  text[0] = static_cast<char>(std::toupper(text[0]));
  return text;
}

constexpr Bits kSlanted = {0x11, 0x22, 0x44, 0x88, 0x11, 0x22, 0x44, 0x88};

// What a verb goes by.
Lines portOf(Verb verb) {
  switch (verb) {
    case Verb::frame:
      return {fore(kRed), model::penSize({3, 2})};
    case Verb::paint:
      return {fore(kRed), model::pattern(model::kPatternNames[0], kSlanted)};
    case Verb::erase:
      return {fore(kGreen), back(kRed), model::pattern(model::kPatternNames[1], kBricks)};
    case Verb::invert:
      return {};
    default:
      return {fore(kRed), idle(model::pattern(model::kPatternNames[0], kSlanted)),
              model::pattern(model::kPatternNames[2], kBricks)};
  }
}

}  // namespace

std::vector<Entry> shapes() {
  std::vector<Entry> entries;
  const auto add = [&entries](const std::string& name, const std::string& shows, const char* rule, const Lines& lines) {
    entries.push_back({name, shows, rule, lines});
  };

  const Lines band = {fore(kYellow), paint({0, 9, 32, 15})};
  const Rect box = {4, 3, 27, 21};
  for (const auto& [shape, file, what] : kShapes) {
    const int start = 300, arc = 200;
    const Lines corners = shape == Shape::roundRect ? Lines{model::ovalSize({12, 9})} : Lines{};
    for (const auto& [verb, verbFile, shows] : kVerbs) {
      const std::string name = std::string(verbFile) + "-" + file;
      add(name, sentence(shows, what), rule::kDrawing,
          band + corners + portOf(verb) + Lines{model::shape(verb, shape, box, start, arc)});
      // The last rectangle of any shape, with angles of its own.
      const Rect last = {3, 2, 24, 17};
      add("same-" + name, sentence(shows, what) + " It lies in the rectangle of the last shape, a yellow one.",
          rule::kOpcodes,
          band + corners + Lines{model::shape(Verb::fill, Shape::rect, last)} + portOf(verb) +
              Lines{model::shape(verb, shape, start + 45, arc - 60)});
    }
  }

  constexpr Rect kOvals[] = {{0, 0, 2, 2},  {0, 0, 3, 3},  {0, 0, 4, 4},   {0, 0, 5, 5},
                             {0, 0, 6, 6},  {0, 0, 7, 7},  {0, 0, 8, 8},   {0, 0, 12, 12},
                             {0, 0, 13, 7}, {0, 0, 7, 13}, {0, 0, 14, 20}, {0, 0, 13, 21}};
  for (const Rect& r : kOvals) {
    add(format("oval-%dx%d", r.right, r.bottom),
        format("Ovals of %d by %d, painted and framed, whose edges are QuickDraw's and not a circle's formula.",
               r.right, r.bottom),
        rule::kOvals,
        {model::shape(Verb::paint, Shape::oval, {1, 1, 1 + r.right, 1 + r.bottom}),
         model::shape(Verb::frame, Shape::oval, {17, 1, 17 + r.right, 1 + r.bottom})});
  }
  add("oval-flat", "A flat oval is not symmetrical: of 16 by 3, painted, and its frame.", rule::kOvals,
      {model::shape(Verb::paint, Shape::oval, {8, 3, 24, 6}), model::shape(Verb::frame, Shape::oval, {8, 10, 24, 13})});
  add("oval-upright", "Ovals of 3 by 20, painted and framed.", rule::kOvals,
      {model::shape(Verb::paint, Shape::oval, {6, 2, 9, 22}), model::shape(Verb::frame, Shape::oval, {20, 2, 23, 22})});
  add("oval-flat-frame", "The frame of a flat oval loses its ends: of 30 by 3 the middle row is empty.", rule::kFrames,
      {model::shape(Verb::frame, Shape::oval, {1, 4, 31, 7}), model::shape(Verb::frame, Shape::oval, {3, 12, 29, 17})});
  add("oval-wide-pen", "The frame of an oval by a pen that is wider than high: the oval less the one inset by the pen.",
      rule::kFrames, {model::penSize({7, 2}), model::shape(Verb::frame, Shape::oval, {2, 2, 30, 22})});
  add("oval-high-pen", "The frame of an oval by a pen that is higher than wide.", rule::kFrames,
      {model::penSize({1, 6}), model::shape(Verb::frame, Shape::oval, {2, 2, 30, 22})});
  add("oval-all-pen", "Where the pen leaves nothing inside, a frame is all of its oval, once: inverting shows it.",
      rule::kFrames,
      {fore(kYellow), paint({0, 8, 32, 14}), model::penMode(10), model::penSize({9, 9}),
       model::shape(Verb::frame, Shape::oval, {6, 4, 23, 20})});
  add("oval-pen-without-width", "A frame by a pen of no width is none; the painted oval goes by no pen.", rule::kGrid,
      {model::penSize({0, 3}), idle(model::shape(Verb::frame, Shape::oval, {2, 2, 30, 22})),
       model::shape(Verb::paint, Shape::oval, {8, 6, 24, 18})});
  add("rect-pens", "Frames of rectangles lie within them, whatever the pen.", rule::kFrames,
      {model::penSize({4, 2}), model::shape(Verb::frame, Shape::rect, {2, 2, 17, 13}), fore(kRed),
       model::penSize({1, 5}), model::shape(Verb::frame, Shape::rect, {10, 8, 30, 22})});
  add("rect-all-pen", "A frame whose pen is wider than its half is all of the rectangle, once.", rule::kFrames,
      {fore(kYellow), paint({0, 8, 32, 11}), model::penMode(10), model::penSize({6, 5}),
       model::shape(Verb::frame, Shape::rect, {4, 4, 15, 13}),
       model::shape(Verb::frame, Shape::rect, {18, 4, 29, 20})});
  add("rect-empty", "Rectangles whose edges meet or pass each other hold nothing; the spot is of 1 by 1.", rule::kGrid,
      {idle(paint({4, 4, 4, 20}).step), idle(paint({20, 10, 10, 20}).step),
       idle(model::shape(Verb::frame, Shape::oval, {8, 8, 28, 8})), paint({15, 11, 16, 12})});
  add("rect-edges", "A rectangle holds the pixels between its edges: four that meet, without a gap and without a seam.",
      rule::kGrid,
      {paint({4, 4, 16, 12}), fore(kRed), paint({16, 4, 28, 12}), fore(kGreen), paint({4, 12, 16, 20}), fore(kBlue),
       paint({16, 12, 28, 20})});
  add("rect-inverted-twice", "Where two inverted rectangles overlap, nothing is inverted.", rule::kModes,
      {model::shape(Verb::invert, Shape::rect, {3, 3, 20, 16}),
       model::shape(Verb::invert, Shape::oval, {10, 7, 29, 22})});

  struct Corners {
    const char* name;
    const char* shows;
    Point size;
    Rect rect;
  };
  constexpr Corners kCorners[] = {
      {"small", "Corners of 4 by 4", {4, 4}, {3, 3, 29, 21}},
      {"odd", "Corners of 7 by 5", {7, 5}, {3, 3, 29, 21}},
      {"wide", "Corners that are wider than high", {20, 6}, {3, 3, 29, 21}},
      {"high", "Corners that are higher than wide", {6, 16}, {3, 3, 29, 21}},
      {"too-large", "Corners larger than the rectangle, which then is an oval", {60, 50}, {3, 3, 29, 21}},
      {"without-width", "Corners without a width, which then has none", {0, 9}, {3, 3, 29, 21}},
      {"without-height",
       "Corners without a height: each row begins and ends in as it would in the first",
       {8, 0},
       {3, 3, 29, 21}},
  };
  for (const auto& [name, shows, size, rect] : kCorners) {
    const Line corners = size.h == 0 ? idle(model::ovalSize(size)) : model::ovalSize(size);
    add(std::string("round-rect-") + name, std::string(shows) + ", painted.", rule::kOvals,
        {corners, model::shape(Verb::paint, Shape::roundRect, rect)});
    add(std::string("round-rect-") + name + "-frame", std::string(shows) + ", framed by a pen of 2 by 3.",
        rule::kFrames, {corners, model::penSize({2, 3}), model::shape(Verb::frame, Shape::roundRect, rect)});
  }

  struct Angles {
    int start, arc;
    const char* what = nullptr;
  };
  constexpr Angles kAngles[] = {{0, 90},
                                {90, 90},
                                {180, 90},
                                {270, 90},
                                {45, 90},
                                {30, 60},
                                {0, 180},
                                {90, 180},
                                {270, 180},
                                {200, 20},
                                {0, 270},
                                {45, 300},
                                {135, 270},
                                {300, 350},
                                {10, 8},
                                {83, 11},
                                {90, -60, "A negative arc goes back from where it starts"},
                                {-45, 90, "A start below zero is taken modulo 360"},
                                {765, 100, "A start over 360 is taken modulo 360"},
                                {20, 400, "An arc of more than 360 degrees is the oval"}};
  for (const auto& [start, arc, what] : kAngles) {
    const std::string name = format("%d-%d", start, arc);
    const std::string shows =
        what != nullptr
            ? std::string(what) + format(": from %d by %d.", start, arc)
            : format("An arc from %d by %d degrees, where 45 degrees point to the rectangle's corner.", start, arc);
    add("arc-" + name, shows, rule::kArcs, {model::shape(Verb::paint, Shape::arc, {2, 2, 30, 22}, start, arc)});
  }
  for (const Angles& each : {Angles{30, 110}, {200, 300}, {100, 160}}) {
    add(format("arc-frame-%d-%d", each.start, each.arc),
        format("A framed arc from %d by %d degrees has no radii, and its pen lies within the oval.", each.start,
               each.arc),
        rule::kArcs,
        {model::penSize({3, 2}), model::shape(Verb::frame, Shape::arc, {2, 2, 30, 22}, each.start, each.arc)});
  }
  add("arc-none", "An arc of no degrees is empty; the other is of 3 degrees.", rule::kArcs,
      {idle(model::shape(Verb::paint, Shape::arc, {2, 2, 30, 22}, 45, 0)),
       model::shape(Verb::paint, Shape::arc, {2, 2, 30, 22}, 120, 3)});
  add("arc-slices", "Slices that meet share no pixel and leave none out: inverted, they are the oval.", rule::kArcs,
      {model::shape(Verb::invert, Shape::arc, {3, 2, 29, 22}, 0, 50),
       model::shape(Verb::invert, Shape::arc, {3, 2, 29, 22}, 50, 77),
       model::shape(Verb::invert, Shape::arc, {3, 2, 29, 22}, 127, 120)});
  return entries;
}

}  // namespace conformance
