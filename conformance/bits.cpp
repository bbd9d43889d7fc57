#include "conformance/entry.h"

namespace conformance {
namespace {

using model::format;

// A row packed in another way than most would: single bytes, runs of two, and counts that mean nothing.
std::string strangelyPacked(const std::vector<std::uint8_t>& row) {
  model::Out out;
  for (std::size_t i = 0; i < row.size();) {
    out.u8(-128);
    const bool isTwo = i + 1 < row.size() && row[i] == row[i + 1];
    out.u8(isTwo ? -1 : 0).u8(row[i]);
    i += isTwo ? 2 : 1;
  }
  return model::hex(out.bytes);
}

}  // namespace

std::vector<Entry> bits() {
  std::vector<Entry> entries;
  const auto add = [&entries](const std::string& name, const std::string& shows, const char* rule, const Lines& lines) {
    entries.push_back({name, shows, rule, lines});
  };
  // What forms there are is shown over all of a picture as large as the map, so that nothing else counts.
  const Rect all = {0, 0, 32, 24};
  const auto addWhole = [&](const std::string& name, const std::string& shows, const Written& written) {
    const Rect frame = {0, 0, written.map.bounds.width(), written.map.bounds.height()};
    add(name, shows, rule::kOpcodes, {copy(written, {.to = frame})});
    entries.back().frame = frame;
  };

  struct Form {
    const char* name;
    const char* what;
    Written written;
  };
  const auto formsOf = [&](int depth) {
    const Map map = art(depth, all), narrow = art(depth, {0, 0, 40 / depth + 1, 24});
    std::vector<Form> forms = {
        {"packed", "rows packed by PackBits", {.map = map}},
        {"unpacked", "rows as they are", {.map = map, .isPacked = false}},
        {"short", "rows of less than 8 bytes, which are never packed", {.map = narrow}},
        {"padded", "rows that are longer than their pixels", {.map = map, .padding = 6}},
        {"moved", "bounds that don't begin at the origin", {.map = art(depth, {-7, 30, 25, 54})}},
    };
    if (depth > 1) {
      forms.push_back({"device",
                       "a device's colour table, whose entries are in order whatever they say",
                       {.map = map, .isDevices = true}});
      forms.push_back(
          {"reversed", "a colour table whose entries come in another order", {.map = map, .isReversed = true}});
      forms.push_back({"short-table",
                       "a colour table that leaves out the last entries, which are black",
                       {.map = map, .told = (1 << depth) * 3 / 4}});
    }
    return forms;
  };
  for (const int depth : {1, 2, 4, 8}) {
    for (const auto& [name, what, written] : formsOf(depth)) {
      Written one = written;
      // So that its rows have 8 bytes.
      if (depth == 1 && std::string(name) == "packed") one.map = art(1, {0, 0, 64, 24});
      addWhole(format("depth-%d-%s", depth, name), format("Pixels of %d bits: %s.", depth, what), one);
    }
  }
  Map tinted = art(1, all);
  tinted.table = {kYellow, kBlue};
  addWhole("depth-1-table", "A pixel map of one bit with a table of its own.", {.map = tinted});

  struct Direct {
    const char* name;
    const char* what;
    int depth, packType, components, padding;
  };
  constexpr Direct kDirect[] = {
      {"16-raw", "16 bits, not packed", 16, 1, 3, 0},
      {"16-words", "16 bits, packed by words", 16, 3, 3, 0},
      {"16-padded", "16 bits, in rows that are longer than their pixels", 16, 3, 3, 8},
      {"32-raw", "32 bits, not packed, with a byte that makes no colour", 32, 1, 3, 0},
      {"32-triplets", "32 bits, without the byte that makes no colour", 32, 2, 3, 0},
      {"32-planes", "32 bits, a row of reds, greens and blues, packed together", 32, 4, 3, 0},
      {"32-four-planes", "32 bits, with a fourth component in front of the colours", 32, 4, 4, 0},
      {"32-padded", "32 bits, in rows that are longer than their pixels, of which nothing is packed", 32, 4, 3, 8},
  };
  for (const auto& [name, what, depth, packType, components, padding] : kDirect) {
    addWhole(std::string("direct-") + name, std::string("Direct pixels of ") + what + ".",
             {.map = art(depth, all), .packType = packType, .components = components, .padding = padding});
  }
  for (const auto& [depth, width] : {std::pair(16, 3), std::pair(32, 1)}) {
    addWhole(format("direct-%d-short", depth), format("Direct pixels of %d bits in rows of less than 8 bytes.", depth),
             {.map = art(depth, {0, 0, width, 24}), .packType = depth == 16 ? 3 : 4});
  }
  // Of rows longer than 250 bytes the count of packed bytes is a word.
  const Rect part = {100, 1, 126, 5};
  for (const int depth : {1, 4, 8, 16, 32}) {
    for (const int bytes : {250, 252}) {
      Map wide = art(depth, {0, 0, bytes * 8 / depth, 6});
      // Pixels that don't repeat, so that the packed rows are long.
      for (int x = 0; x < wide.bounds.right; ++x) {
        for (int y = 1; y < 5; ++y)
          wide.at(x, y) = static_cast<std::uint32_t>(x * 2654435761U >> (y + 3)) & wide.ones();
      }
      const Rect seen = depth == 32 ? Rect{36, 1, 62, 5} : part;
      add(format("wide-%d-%d", depth, bytes),
          format("Rows of %d bytes, of %d bits a pixel: the count of a packed row is a %s.", bytes, depth,
                 bytes > 250 ? "word" : "byte"),
          rule::kOpcodes, {copy({.map = wide, .packType = depth == 16 ? 3 : 4}, {.from = seen, .to = all})});
    }
  }

  // By hand, as none of the usual packers would.
  {
    const Map map = art(8, {0, 0, 32, 6});
    Written written = {.map = map};
    std::string text =
        "PackBitsRect " + mapText(written) + " " + model::text(map.bounds) + " (0, 0, 32, 24) 0 rows {\n";
    for (int y = 0; y < 6; ++y) {
      model::Out row;
      for (int x = 0; x < 32; ++x) row.u8(static_cast<int>(map.at(x, y)));
      text += "  " + strangelyPacked(row.bytes) + "\n";
    }
    add("packed-strangely", "Rows packed byte by byte, with counts of -128 between them, which mean nothing.",
        rule::kOpcodes, {Step{text + "}", [=](model::Player& p) { p.bits(map, map.bounds, all, 0); }}});
    Map wide(8, {0, 0, 128, 4}, art(8, all).table);
    for (int x = 0; x < 128; ++x) {
      wide.at(x, 0) = 7;
      wide.at(x, 1) = static_cast<std::uint32_t>(x);
      wide.at(x, 2) = x < 127 ? 90U : 200U;
      wide.at(x, 3) = x < 1 ? 90U : 200U;
    }
    add("packed-128", "The longest runs and the longest literals: of 128 bytes.", rule::kOpcodes,
        {copy({.map = wide}, {.to = all})});
  }

  const Rect whole = {0, 0, 26, 18}, to = {3, 3, 29, 21};
  const Map map = art(4, whole), one = art(1, whole);
  struct Place {
    const char* name;
    const char* shows;
    Rect from, to;
  };
  constexpr Place kPlaces[] = {
      {"part", "A part of a map.", {5, 2, 21, 14}, {8, 6, 24, 18}},
      {"twice-as-large", "A part at twice its size: each pixel is four.", {0, 0, 14, 10}, {2, 2, 30, 22}},
      {"three-halves",
       "A part stretched from 2 to 3: of each two pixels the first is doubled.",
       {0, 0, 18, 12},
       {2, 2, 29, 20}},
      {"half", "Reduced to half its size: of each two pixels the first is shown.", {0, 0, 26, 18}, {3, 3, 16, 12}},
      {"odd-reduction", "Reduced by a fraction.", {0, 0, 26, 18}, {2, 2, 21, 13}},
      {"wider", "Stretched in one direction only.", {0, 0, 13, 18}, {1, 2, 31, 20}},
      {"flatter", "Reduced in one direction only.", {0, 0, 26, 18}, {3, 8, 29, 13}},
      {"one-pixel", "One pixel, over all of the rectangle.", {5, 5, 6, 6}, {4, 4, 28, 20}},
      {"beyond", "What would come from outside of the map leaves what is there.", {-6, -4, 20, 14}, {3, 3, 29, 21}},
      {"beyond-stretched", "The same, stretched.", {18, 10, 34, 22}, {2, 2, 30, 22}},
      {"over-the-edge", "Pixels that leave the picture on two sides.", {0, 0, 26, 18}, {-8, 12, 18, 30}},
  };
  const Lines ground = {fore(kYellow), paint({0, 0, 32, 24})};
  for (const auto& [name, shows, from, there] : kPlaces) {
    add(name, shows, rule::kCopies, ground + Lines{fore(kBlack), copy({.map = map}, {.from = from, .to = there})});
    add(std::string(name) + "-of-bits", std::string("A bit map: ") + shows, rule::kCopies,
        ground + Lines{fore(kRed), copy({.map = one}, {.from = from, .to = there})});
  }
  Region mask(Rect{5, 5, 27, 19});
  mask.toggle({12, 9, 20, 15});
  for (const int depth : {1, 8, 16, 32}) {
    add(format("masked-%d", depth), format("Pixels of %d bits through a region with a hole.", depth), rule::kOpcodes,
        ground + Lines{fore(kBlack),
                       copy({.map = art(depth, whole), .packType = depth == 16 ? 3 : 4}, {.to = to, .mask = mask})});
  }
  add("masked-unpacked", "Rows as they are, through a mask that cuts two corners off.", rule::kOpcodes,
      ground + Lines{fore(kBlack), copy({.map = map, .isPacked = false}, {.to = to, .mask = [] {
                                                                            Region corners(Rect{3, 3, 29, 21});
                                                                            corners.toggle({3, 3, 12, 10});
                                                                            corners.toggle({20, 14, 29, 21});
                                                                            return corners;
                                                                          }()})});
  add("masked-stretched", "A mask lies where the pixels come to, and isn't stretched with them.", rule::kOpcodes,
      {copy({.map = map}, {.from = Rect{0, 0, 13, 9}, .to = Rect{3, 3, 29, 21}, .mask = mask})});
  add("empty", "Copies from an empty rectangle, and to one, show nothing; the last one does.", rule::kCopies,
      {idle(copy({.map = map}, {.from = Rect{4, 4, 4, 9}, .to = to})),
       idle(copy({.map = map}, {.to = Rect{20, 5, 10, 20}})), copy({.map = one}, {.to = to})});
  add("four-in-a-row", "Maps one after the other, of bytes in odd numbers: each begins at its own place.",
      rule::kOpcodes,
      {copy({.map = art(8, {0, 0, 15, 9})}, {.to = Rect{1, 1, 16, 10}}),
       copy({.map = art(1, {0, 0, 15, 9})}, {.to = Rect{16, 1, 31, 10}}),
       copy({.map = art(32, {0, 0, 15, 9}), .packType = 4}, {.to = Rect{1, 13, 16, 22}}),
       copy({.map = art(16, {0, 0, 15, 9}), .packType = 3}, {.to = Rect{16, 13, 31, 22}})});
  return entries;
}

}  // namespace conformance
