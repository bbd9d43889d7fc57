#include "conformance/entry.h"

namespace conformance {
namespace {

// Shapes whose place and size tell where a picture's space lies, in one of 32 by 24 that begins at a corner.
Lines cross(int left, int top) {
  return {fore(kRed), model::line({left, top}, {left + 31, top + 23}), fore(kBlue),
          model::shape(Verb::frame, Shape::rect, {left, top, left + 32, top + 24}),
          model::shape(Verb::paint, Shape::oval, {left + 18, top + 4, left + 28, top + 12})};
}

}  // namespace

std::vector<Entry> headers() {
  const std::string frame = " frame (0, 0, 32, 24)\n";
  const std::string usual = "header\npicture version 2" + frame;
  const auto black = [](const Rect& r) { return model::shape(Verb::paint, Shape::rect, r); };
  const Bits slanted = {0x11, 0x22, 0x44, 0x88, 0x11, 0x22, 0x44, 0x88};
  const Line pen = model::pattern(model::kPatternNames[0], slanted);
  // With dots of half the size, and of twice.
  const Lines fine = {pen,
                      model::penSize({2, 2}),
                      model::shape(Verb::frame, Shape::rect, {0, 0, 64, 48}),
                      model::line({6, 6}, {50, 34}),
                      fore(kRed),
                      model::shape(Verb::paint, Shape::oval, {31, 5, 57, 21})};
  const Lines coarse = {model::line({1, 1}, {12, 8}), fore(kRed),
                        model::shape(Verb::paint, Shape::oval, {7, 1, 15, 11}),
                        copy({.map = art(2, {0, 0, 6, 5})}, {.to = Rect{1, 6, 7, 11}})};
  const auto head = [&](const char* fields) { return usual + "HeaderOp { " + fields + " }\n"; };
  return {
      {.name = "version-1",
       .shows = "In version 1 an opcode is a byte, and begins anywhere.",
       .rule = rule::kPictures,
       .lines = {idle("TxFace 1"), black({3, 3, 10, 20}), idle("TxFace 0"), model::shortLine({14, 4}, 12, 9),
                 model::shape(Verb::frame, Shape::oval, {12, 10, 30, 22})},
       .version = 1},
      {.name = "version-1-colors",
       .shows = "Version 1 has the eight old colours.",
       .rule = rule::kPictures,
       .lines = {model::color(model::kClassics[4], false), black({2, 2, 16, 22}),
                 model::color(model::kClassics[6], false), black({16, 2, 30, 22})},
       .version = 1},
      {.name = "version-1-bits",
       .shows = "Version 1 has bits, packed and not.",
       .rule = rule::kPictures,
       .lines = {copy({.map = art(1, {0, 0, 26, 9})}, {.to = Rect{3, 2, 29, 11}}),
                 copy({.map = art(1, {0, 0, 70, 9})}, {.to = Rect{-38, 13, 32, 22}})},
       .version = 1},
      {.name = "version-1-pattern",
       .shows = "Version 1 has patterns, and text of odd length between.",
       .rule = rule::kPictures,
       .lines = {pen, idle("LongText (2, 12) \"  \""), black({2, 2, 20, 14}), idle("LongText (2, 12) \" \""),
                 model::polygon(Verb::paint, {{22, 4}, {30, 20}, {6, 22}})},
       .version = 1},
      {.name = "version-2",
       .shows = "In version 2 an opcode is two bytes, and begins at an even one.",
       .rule = rule::kPictures,
       .lines = {idle("TxFace 1"), black({3, 3, 10, 20}), idle("TxFace 0"), model::shortLine({14, 4}, 12, 9),
                 model::shape(Verb::frame, Shape::oval, {12, 10, 30, 22})}},
      {.name = "no-ops",
       .shows = "Opcodes that do nothing, between others.",
       .rule = rule::kOpcodes,
       .lines = {idle("NOP"), idle("NOP"), black({4, 4, 16, 20}), idle("NOP"), fore(kRed), paint({16, 4, 28, 20})}},
      {.name = "without-head",
       .shows = "Version 2 without the opcode of its head.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .head = usual},
      {.name = "head-of-fixed-numbers",
       .shows = "The older head of version 2 has the frame as fixed numbers.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .head = head("version -1 reserved 65535 left 0 top 0 right 32 bottom 24")},
      {.name = "frame-elsewhere",
       .shows = "A frame that doesn't begin at the origin: its corner is the picture's.",
       .rule = rule::kPictures,
       .lines = cross(100, 50),
       .frame = {100, 50, 132, 74}},
      {.name = "frame-below-zero",
       .shows = "A frame with coordinates below zero.",
       .rule = rule::kPictures,
       .lines = cross(-20, -9),
       .frame = {-20, -9, 12, 15}},
      {.name = "frame-elsewhere-version-1",
       .shows = "The same in version 1.",
       .rule = rule::kPictures,
       .lines = {model::line({-300, 700}, {-269, 723}), model::shape(Verb::frame, Shape::rect, {-300, 700, -268, 724}),
                 model::shape(Verb::paint, Shape::oval, {-282, 704, -272, 712})},
       .version = 1,
       .frame = {-300, 700, -268, 724}},
      {.name = "bits-elsewhere",
       .shows = "Bits in a picture whose frame lies elsewhere.",
       .rule = rule::kPictures,
       .lines = {copy({.map = art(4, {0, 0, 26, 18})}, {.to = Rect{43, 23, 69, 41}})},
       .frame = {40, 20, 72, 44}},
      {.name = "wrong-size",
       .shows = "The picture's first word, its size, means nothing: here it is 7.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .head = "header\npicture version 2 size 7" + frame +
               "HeaderOp { version -2 hRes 72 vRes 72 source (0, 0, 32, 24) }\n"},
      {.name = "size-of-zero",
       .shows = "A size of 0, as of pictures of more than 32767 bytes, in version 1.",
       .rule = rule::kPictures,
       .lines = {black({4, 4, 28, 10}), model::line({4, 14}, {27, 20})},
       .version = 1,
       .head = "header\npicture version 1 size 0" + frame},
      {.name = "header-of-text",
       .shows = "The 512 bytes in front of a picture file belong to the program that wrote it.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .head =
           [&] {
             std::string bytes;
             for (int i = 0; i < 64; ++i) bytes += "4D79207069637400";
             return "header hex " + bytes + "\npicture version 2" + frame +
                    "HeaderOp { version -2 hRes 72 vRes 72 source (0, 0, 32, 24) }\n";
           }()},
      {.name = "dots-of-144",
       .shows = "A picture of 144 dots per inch: twice as many pixels as points, or half as large.",
       .rule = rule::kSizes,
       .lines = fine,
       .head = head("version -2 hRes 144 vRes 144 source (0, 0, 64, 48)"),
       .space = Rect{0, 0, 64, 48}},
      {.name = "dots-of-36",
       .shows = "A picture of 36 dots per inch: half as many pixels as points, or twice as large.",
       .rule = rule::kSizes,
       .lines = coarse,
       .head = head("version -2 hRes 36 vRes 36 source (0, 0, 16, 12)"),
       .space = Rect{0, 0, 16, 12}},
      {.name = "dots-of-144-by-72",
       .shows = "A resolution that differs across and down.",
       .rule = rule::kSizes,
       .lines = {model::penSize({2, 1}), model::line({4, 2}, {58, 20}), fore(kGreen),
                 model::shape(Verb::paint, Shape::oval, {30, 2, 60, 12})},
       .head = head("version -2 hRes 144 vRes 72 source (0, 0, 64, 24)"),
       .space = Rect{0, 0, 64, 24}},
      {.name = "source-elsewhere",
       .shows = "The head says where coordinates lie, and the frame where the picture does.",
       .rule = rule::kPictures,
       .lines = cross(1000, -500),
       .head = head("version -2 hRes 72 vRes 72 source (1000, -500, 1032, -476)"),
       .space = Rect{1000, -500, 1032, -476}},
      {.name = "without-end",
       .shows = "A picture that ends without an end opcode shows what it has.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .end = ""},
      {.name = "after-the-end",
       .shows = "What comes after the end opcode is none of the picture.",
       .rule = rule::kPictures,
       .lines = cross(0, 0),
       .end = "OpEndPic\nbytes 0031000000000018002000FF\n"},
      {.name = "after-the-end-version-1",
       .shows = "The same in version 1.",
       .rule = rule::kPictures,
       .lines = {black({4, 4, 28, 20})},
       .version = 1,
       .end = "OpEndPic\nbytes 310000000000180020FF\n"},
  };
}

std::vector<Entry> reserved() {
  std::vector<Entry> entries;
  struct Passed {
    const char* name;
    const char* length;  // what it goes on for
    std::string line;
    bool isOld = true;  // version 1 can have it
  };
  const std::string rect = "(2, 2, 30, 22)", more(2 * 24, '3');
  const Passed passed[] = {
      {"0017", "nothing", "Reserved 0x0017"},
      {"0024", "a word that counts its bytes", "Reserved 0x0024 00FF00FF31"},
      {"0027-empty", "a word that counts no bytes", "Reserved 0x0027 {}"},
      {"002F", "a word that counts its bytes", "Reserved 0x002F 0000310000"},
      {"0035", "a rectangle", "Reserved 0x0035 " + rect},
      {"003D", "nothing", "Reserved 0x003D"},
      {"0045", "a rectangle", "Reserved 0x0045 " + rect},
      {"004F", "nothing", "Reserved 0x004F"},
      {"0057", "a rectangle", "Reserved 0x0057 " + rect},
      {"0065", "a rectangle and two angles", "Reserved 0x0065 " + rect + " 5898330"},
      {"006D", "two angles", "Reserved 0x006D 5898330"},
      {"0075", "a polygon", "Reserved 0x0075 { (2, 2) (30, 2) (16, 22) }"},
      {"007F", "nothing", "Reserved 0x007F"},
      {"0086", "a region", "Reserved 0x0086 (2, 2, 30, 22) { 2: 2 30 9: 2 20 22: 20 30 }"},
      {"008E", "nothing", "Reserved 0x008E"},
      {"0092", "a word that counts its bytes", "Reserved 0x0092 010203"},
      {"009F", "a word that counts its bytes", "Reserved 0x009F 01020304"},
      {"00A2", "a word that counts its bytes", "Reserved 0x00A2 00FF00FF"},
      {"00B0", "nothing", "Reserved 0x00B0"},
      {"00CF", "nothing", "Reserved 0x00CF"},
      {"00D0", "a long word that counts its bytes", "Reserved 0x00D0 010203"},
      {"00FE", "a long word that counts its bytes", "Reserved 0x00FE 00FF00FF"},
      {"0100", "two bytes", "Reserved 0x0100 00FF", false},
      {"01FF", "two bytes", "Reserved 0x01FF 00FF", false},
      {"0200", "four bytes", "Reserved 0x0200 00FF00FF", false},
      {"0BFF", "22 bytes", "Reserved 0x0BFF " + more.substr(0, 44), false},
      {"0C01", "24 bytes", "Reserved 0x0C01 " + more, false},
      {"7F00", "254 bytes",
       "Reserved 0x7F00 " +
           [] {
             std::string all;
             for (int i = 0; i < 127; ++i) all += "00FF";
             return all;
           }(),
       false},
      {"8000", "nothing", "Reserved 0x8000", false},
      {"80FF", "nothing", "Reserved 0x80FF", false},
      {"8100", "a long word that counts its bytes", "Reserved 0x8100 00FF00FF31", false},
      {"8202", "a long word that counts its bytes", "Reserved 0x8202 00FF00FF", false},
      {"FFFF", "a long word that counts its bytes", "Reserved 0xFFFF 00FF00", false},
      {"short-comment", "a word, its kind", "ShortComment 255"},
      {"long-comment", "its kind, and a word that counts its bytes", "LongComment 100 \"a comment\""},
      {"long-comment-even", "its kind, and a word that counts its bytes", "LongComment 100 00FF00FF"},
      {"long-comment-empty", "its kind, and a word that counts no bytes", "LongComment 100 {}"},
  };
  const Lines before = {fore(kBlue), paint({2, 2, 16, 22})};
  // Old pictures have old colours.
  const Lines beforeOld = {model::color(model::kClassics[7], false), paint({2, 2, 16, 22})};
  for (const auto& [name, length, line, isOld] : passed) {
    const bool isComment = line.find("Comment") != line.npos;
    const std::string what = std::string(isComment ? "A comment" : "An opcode without a meaning") +
                             " is passed over by its length, which is " + length;
    entries.push_back(
        {name, what + ".", rule::kOpcodes,
         before + Lines{idle(line), fore(kRed), model::shape(Verb::paint, Shape::oval, {12, 4, 30, 20})}});
    if (!isOld) continue;
    entries.push_back({std::string(name) + "-version-1", what + ", in version 1.", rule::kOpcodes,
                       beforeOld + Lines{idle(line), model::color(model::kClassics[4], false),
                                         model::shape(Verb::paint, Shape::oval, {12, 4, 30, 20})},
                       1});
  }
  return entries;
}

}  // namespace conformance
