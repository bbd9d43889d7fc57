#include "conformance/entry.h"

namespace conformance {

using model::format;

std::vector<Entry> colors() {
  std::vector<Entry> entries;
  constexpr const char* kNames[] = {"white", "black", "yellow", "magenta", "red", "cyan", "green", "blue"};
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    const model::Classic& classic = model::kClassics[i];
    // The foreground is black to begin with.
    const Lines grey = {fore(kGrey), paint({2, 2, 30, 22})};
    entries.push_back({std::string("fore-") + kNames[i],
                       format("The old %s, number %d, as the foreground's colour.", kNames[i], classic.number),
                       rule::kColor, grey + Lines{model::color(classic, false), paint({6, 6, 26, 18})}});
    const Line ground = model::color(classic, true);
    entries.push_back({std::string("back-") + kNames[i],
                       format("The old %s, number %d, as the background's colour.", kNames[i], classic.number),
                       rule::kColor,
                       grey + Lines{classic.number == 30 ? idle(ground.step) : ground,
                                    model::shape(Verb::erase, Shape::rect, {6, 6, 26, 18})}});
  }
  const Map form = art(1, {0, 0, 24, 12});
  const Rect whole = {2, 2, 30, 22}, low = {2, 12, 30, 22};
  const auto copied = copy({.map = form}, {.to = Rect{4, 6, 28, 18}});
  const auto invert = [](const Rect& rect) { return model::shape(Verb::invert, Shape::rect, rect); };
  const Entry more[] = {
      {"rgb",
       "Colours of 16 bits a component: the upper 8 of them are seen.",
       rule::kColor,
       {fore({0x12FF, 0xABFF, 0x7F80}), paint({2, 2, 16, 22}), fore({0xFEFF, 0x8000, 0x00FF}), paint({16, 2, 30, 22})}},
      {"rgb-after-classic",
       "The last of both kinds of colour counts.",
       rule::kColor,
       {fore(kRed), paint({2, 2, 11, 22}), model::color(model::kClassics[7], false), paint({11, 2, 20, 22}),
        fore(kGreen), paint({20, 2, 29, 22})}},
      {"two-in-a-pattern",
       "Of a pattern set bits are the foreground's colour and clear ones the background's.",
       rule::kColor,
       {fore(kRed), back(kYellow), model::pattern(model::kPatternNames[0], {0xF0, 0xF0, 0xF0, 0xF0, 15, 15, 15, 15}),
        paint(whole)}},
      {"two-in-bits",
       "Of a bit map set bits are the foreground's colour and clear ones the background's.",
       rule::kColor,
       {fore(kBlue), back(kYellow), copied}},
      {"erase-background",
       "To erase is to fill with the background's colour, also where it isn't white.",
       rule::kColor,
       {back(kGreen), model::shape(Verb::erase, Shape::oval, whole)}},
      {"inverted-colors", "Inverting turns each bit of a colour.", rule::kModes, backdrop() + Lines{invert(low)}},
      {"highlight",
       "A highlight exchanges the background's colour for the highlight colour, and leaves others.",
       rule::kModes,
       {fore(kRed), model::shape(Verb::frame, Shape::rect, {4, 4, 20, 20}), model::highlightMode(),
        invert({10, 2, 30, 22})}},
      {"highlight-once",
       "It is for one inversion: the next one is a usual one.",
       rule::kModes,
       {fore(kRed), paint({0, 9, 32, 12}), model::highlightMode(), invert({2, 2, 15, 22}), invert({17, 2, 30, 22})}},
      {"highlight-twice",
       "Highlighted twice, all is as it was.",
       rule::kModes,
       {model::highlightMode(), invert({2, 2, 22, 16}), model::highlightMode(), invert({10, 8, 30, 22})}},
      {"highlight-color",
       "A picture has a highlight colour of its own.",
       rule::kOpcodes,
       {model::color("HiliteColor", kYellow), paint({4, 9, 28, 12}), model::highlightMode(), invert(whole)}},
      {"highlight-default",
       "The highlight colour goes back to the system's.",
       rule::kOpcodes,
       {model::color("HiliteColor", kYellow), model::highlightMode(), invert({2, 2, 15, 22}), model::defaultHighlight(),
        model::highlightMode(), invert({17, 2, 30, 22})}},
      {"highlight-background",
       "The background's colour is what is exchanged, whatever it is.",
       rule::kModes,
       {back(kYellow), model::shape(Verb::erase, Shape::rect, {2, 2, 20, 22}), model::highlightMode(),
        invert({8, 6, 30, 18})}},
      {"highlight-by-an-empty-one",
       "An empty inversion takes the highlight as any other does.",
       rule::kModes,
       {fore(kRed), paint({0, 9, 32, 12}), idle(model::highlightMode()), idle(invert({5, 5, 5, 9})),
        invert({8, 4, 24, 20})}},
  };
  for (Entry entry : more) {
    // Without the empty inversion the next one would highlight, and without both nothing would be another.
    if (entry.name == "highlight-by-an-empty-one") entry.lines[3].isIdle = false;
    entries.push_back(entry);
  }
  return entries;
}

}  // namespace conformance
