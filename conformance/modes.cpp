// What modes make of what is drawn and what is there: of the pen, and of copies.
#include "conformance/entry.h"

namespace conformance {
namespace {

using model::format;

// What of the port's colours a mode goes by.
enum Needs : unsigned { kFore = 1, kBack = 2, kOperand = 4 };
struct Mode {
  int number;
  unsigned needs;
  const char* name;
  const char* what;
};
constexpr Mode kPatternModes[] = {
    {8, kFore | kBack, "copy", "set bits get the foreground's colour, clear ones the background's"},
    {9, kFore, "or", "set bits get the foreground's colour, clear ones leave what is there"},
    {10, 0, "xor", "set bits invert what is there"},
    {11, kBack, "bic", "set bits get the background's colour"},
    {12, kFore | kBack, "not-copy", "the same as copying, with the pattern inverted"},
    {13, kFore, "not-or", "clear bits get the foreground's colour"},
    {14, 0, "not-xor", "clear bits invert what is there"},
    {15, kBack, "not-bic", "clear bits get the background's colour"},
};
constexpr Mode kArithmetic[] = {
    {32, kFore | kBack | kOperand, "blend", "each component is a weighted mean, the operand being the source's weight"},
    {33, kFore | kBack | kOperand, "add-pin", "components are added, but not over the operand"},
    {34, kFore | kBack, "add-over", "components are added and run over"},
    {35, kFore | kBack | kOperand, "sub-pin", "the source is taken from what is there, but not under the operand"},
    {36, kFore, "transparent", "what has the background's colour is left out"},
    {37, kFore | kBack, "ad-max", "of each component the greater stays"},
    {38, kFore | kBack, "sub-over", "the source is taken from what is there and runs over"},
    {39, kFore | kBack, "ad-min", "of each component the smaller stays"},
};

constexpr Color kInk = rgb(0x904010), kPaper = rgb(0x30C0E0), kWeight = rgb(0x60A0B0);

Lines portOf(unsigned needs) {
  Lines lines;
  if ((needs & kFore) != 0) lines.push_back(fore(kInk));
  if ((needs & kBack) != 0) lines.push_back(back(kPaper));
  if ((needs & kOperand) != 0) lines.emplace_back(model::color("OpColor", kWeight));
  return lines;
}

}  // namespace

std::vector<Entry> penModes() {
  std::vector<Entry> entries;
  const Bits pattern = {0xF0, 0xF0, 0x3C, 0x3C, 0x0F, 0x0F, 0xC3, 0xC3};
  const Line penPattern = model::pattern(model::kPatternNames[0], pattern);
  const Line oval = model::shape(Verb::paint, Shape::oval, {2, 2, 30, 22});
  const auto add = [&](const Mode& mode, int number, const std::string& name, const std::string& shows) {
    const Line set = model::penMode(number);
    const Lines drawn = {penPattern, number == 8 ? idle(set.step) : set, oval};
    entries.push_back({name, shows, rule::kModes, backdrop() + portOf(mode.needs) + drawn});
  };
  for (const Mode& mode : kPatternModes)
    add(mode, mode.number, mode.name, format("The pen's mode %d: %s.", mode.number, mode.what));
  for (const Mode& mode : kArithmetic) {
    add(mode, mode.number + 8, mode.name, format("The pen's mode %d: %s.", mode.number + 8, mode.what));
    add(mode, mode.number, std::string("source-") + mode.name,
        format("The source's mode %d for the pen, the same as %d: %s.", mode.number, mode.number + 8, mode.what));
  }

  const Line band = paint({0, 8, 32, 16});
  const Entry more[] = {
      {"dithered-copy",
       "64 more asks for dithering, and nothing else changes.",
       rule::kModes,
       {fore(kYellow), band, fore(kBlue), penPattern, model::penMode(9 + 64), oval}},
      {"highlight",
       "Mode 50 exchanges the background's colour and the highlight colour where the pattern has ink.",
       rule::kModes,
       {fore(kRed), band, penPattern, model::penMode(50), oval}},
      {"highlight-color",
       "Mode 50 with a highlight colour of the picture's own, on a background that isn't white.",
       rule::kModes,
       {back(kYellow), model::shape(Verb::erase, Shape::rect, {0, 8, 32, 16}), model::color("HiliteColor", kGreen),
        penPattern, model::penMode(50), oval}},
      {"source-copy", "Mode 0 is none of a pen's: with it frames and paints draw nothing.", rule::kModes,
       Lines{fore(kYellow), band, model::penMode(0)} + Lines{fore(kBlue), idle(oval.step), model::penMode(8),
                                                             model::shape(Verb::frame, Shape::rect, {1, 1, 31, 23})}},
      {"unknown",
       "Mode 24 is none of a pen's, and fills don't go by it.",
       rule::kModes,
       {fore(kYellow), band, fore(kBlue), model::penMode(24), idle(oval.step),
        model::shape(Verb::fill, Shape::rect, {4, 4, 12, 20})}},
      {"xor-frame",
       "A frame in patXor, twice in the same place but for a part.",
       rule::kModes,
       {model::penMode(10), model::penSize({3, 3}), model::shape(Verb::frame, Shape::rect, {2, 2, 22, 22}),
        model::shape(Verb::frame, Shape::rect, {2, 2, 30, 22})}},
      {"solid-blend", "A solid pen that blends half and half.", rule::kModes,
       backdrop() + Lines{fore(kWhite), model::color("OpColor", rgb(0x808080)), model::penMode(32), oval}},
      {"add-twice", "Adding twice what doesn't reach the operand.", rule::kModes,
       backdrop() + Lines{fore(rgb(0x281830)), model::color("OpColor", rgb(0xF0E0D0)), model::penMode(33),
                          paint({2, 2, 26, 16}), paint({6, 8, 30, 22})}},
      {"transparent-background",
       "In transparent a pattern's clear bits leave what is there if they are the background's.",
       rule::kModes,
       {fore(kYellow), band, fore(kRed), penPattern, model::penMode(36), oval}},
  };
  entries.insert(entries.end(), std::begin(more), std::end(more));
  return entries;
}

std::vector<Entry> copyModes() {
  std::vector<Entry> entries;
  const Rect to = {4, 5, 28, 19};
  const Map oneBit = art(1, {0, 0, 24, 14}), table = art(4, {0, 0, 24, 14}), direct = art(32, {0, 0, 24, 14});
  const auto add = [&](const std::string& name, const std::string& shows, unsigned needs, const Step& copied,
                       const char* about = rule::kModes) {
    entries.push_back({name, shows, about, backdrop() + portOf(needs) + Lines{copied}});
  };
  for (const Mode& mode : kPatternModes) {
    const int number = mode.number - 8;
    add(std::string("bits-") + mode.name, format("Bits in mode %d: %s.", number, mode.what), mode.needs,
        copy({.map = oneBit}, {.to = to, .mode = number}));
    add(std::string("colors-") + mode.name,
        format("Indices with colours in mode %d, which is logic on the bits in which a pixel is black: %s.", number,
               mode.what),
        mode.needs, copy({.map = table}, {.to = to, .mode = number}));
  }
  for (const Mode& mode : kArithmetic) {
    // Direct pixels are no foreground and no background.
    const unsigned needs = (mode.needs & kOperand) | (mode.number == 36 ? kBack : 0U);
    add(std::string("bits-") + mode.name, format("Bits in mode %d: %s.", mode.number, mode.what), mode.needs,
        copy({.map = oneBit}, {.to = to, .mode = mode.number}));
    Map source = direct;
    if (mode.number == 36) {
      for (int i = 0; i < 10; ++i) source.at(3 + 2 * i, 2 + i) = source.pixelOf(kPaper);
    }
    add(std::string("direct-") + mode.name, format("Direct pixels in mode %d: %s.", mode.number, mode.what), needs,
        copy({.map = source, .packType = 4}, {.to = to, .mode = mode.number}));
  }
  add("direct-copy-tinted",
      "Direct pixels copied in colours: ink takes the foreground's bits, what is none the "
      "background's.",
      kFore | kBack, copy({.map = direct, .packType = 4}, {.to = to}));
  add("direct-xor", "Direct pixels in srcXor invert where they are dark.", 0,
      copy({.map = direct, .packType = 4}, {.to = to, .mode = 2}));
  add("bits-highlight", "Bits in mode 50, over a part that has the background's colour.", 0,
      copy({.map = oneBit}, {.to = Rect{0, 5, 24, 19}, .mode = 50}));
  add("bits-pattern-or", "A pattern's mode, 9, stands for the source's, 1.", kFore,
      copy({.map = oneBit}, {.to = to, .mode = 9}));
  add("bits-pattern-blend", "A pattern's mode, 40, stands for the source's, 32.", kFore | kBack | kOperand,
      copy({.map = oneBit}, {.to = to, .mode = 40}));
  add("bits-dithered", "64 more asks for dithering, and nothing else changes.", kFore,
      copy({.map = oneBit}, {.to = to, .mode = 65}));
  add("bits-unknown", "An unknown mode copies.", kFore | kBack, copy({.map = oneBit}, {.to = to, .mode = 24}));
  Map blackAndWhite = oneBit;
  blackAndWhite.table = {kWhite, kBlack};
  add("one-bit-table", "A pixel map of one bit in white and black is a bit map too.", kFore | kBack,
      copy({.map = blackAndWhite}, {.to = to}));
  return entries;
}

}  // namespace conformance
