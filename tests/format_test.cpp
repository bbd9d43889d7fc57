// The format of pictures: what opcodes.def says, read, listed, assembled and written by the same rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "engine/pict/assembler.h"
#include "engine/pict/bits.h"
#include "engine/pict/lister.h"
#include "engine/pict/opcodes.h"
#include "engine/pict/player.h"
#include "engine/pict/writer.h"

using namespace qd;

namespace {

using PictBytes = std::vector<std::uint8_t>;

std::string listedFully(const PictBytes& picture) {
  std::string all;
  listFully(picture, [&all](const std::string& text) { all += text + "\n"; });
  return all;
}

// A picture of these lines; what is wrong with them is a failure.
PictBytes assembled(const std::string& lines, int version = 2) {
  const Assembled made =
      assemblePicture("picture version " + std::to_string(version) + " frame (0, 0, 40, 32)\n" + lines);
  EXPECT_FALSE(made.error) << lines << made.error->what;
  return made.picture;
}

// The listing's lines without head, offsets and numbers, and without the end.
std::string listed(const PictBytes& picture) {
  std::string all;
  EXPECT_TRUE(listPicture(picture, [&all](const std::string& line) {
    if (line[0] == ' ' && line.find("HeaderOp") == line.npos) all += line.substr(14) + "\n";
  }));
  return all.substr(0, all.find("OpEndPic"));
}

struct NoFonts : Resources {
  NoFonts() : Resources("no such folder") {}
};
std::unique_ptr<Port> newPort(Resources& resources) {
  return std::make_unique<Port>(*OwnedPixels::make(Box(0, 0, 32, 40), 32, nullptr), resources);
}

// Records what is drawn on a port of 40 by 32.
PictBytes recorded(const std::function<void(Port&)>& draw) {
  NoFonts resources;
  const auto port = newPort(resources);
  PictBytes bytes;
  VectorSink sink(bytes);
  port->recording = std::make_unique<PictureWriter>(PictureParams(40, 32), sink, resources.fonts);
  draw(*port);
  port->recording->close();
  return bytes;
}

}  // namespace

TEST(Format, EveryRowIsListedAndAssembledAndPlayed) {
  PictBytes all = assembled("");
  int rows = 0;
  for (std::uint32_t number = 0; number <= 0xFFFF; number = opcodeRow(static_cast<std::uint16_t>(number)).last + 1U) {
    const OpcodeRow& row = opcodeRow(static_cast<std::uint16_t>(number));
    for (const std::uint16_t each : {row.first, row.last}) {
      if (each == op::OpEndPic::kNumber) continue;
      const std::string example = exampleOf(each);
      SCOPED_TRACE(example);
      for (const int version : {1, 2}) {
        if (version == 1 && each > 0xFF) continue;
        const PictBytes picture = assembled(example + "\nOpEndPic", version);
        const std::string text = listedFully(picture);
        EXPECT_NE(text.find(" " + opcodeName(each)), text.npos) << text;
        EXPECT_EQ(text.find(" hex "), text.npos) << text;
        EXPECT_EQ(assemblePicture(text).picture, picture) << text;
        NoFonts resources;
        const Playback playback = play(*newPort(resources), picture, {0, 0, 32, 40});
        EXPECT_EQ(playback.error.has_value(),
                  each == op::CompressedQuickTime::kNumber || each == op::UncompressedQuickTime::kNumber);
        const bool isPassedOver = row.kind == Kind::reserved || row.kind == Kind::comment;
        EXPECT_EQ(playback.skipped, isPassedOver ? 1 : 0);
      }
      ++rows;
      const PictBytes one = assembled(example);
      if (all.size() % 2 != 0) all.push_back(0);
      all.insert(all.end(), one.begin() + 14, one.end());
    }
  }
  EXPECT_GT(rows, 150);
  // Whatever becomes of the bytes, the listing has them all.
  std::mt19937 random(3);
  for (int i = 0; i < 400; ++i) {
    PictBytes picture = all;
    for (int change = i % 9; change >= 0; --change)
      picture[random() % picture.size()] = static_cast<std::uint8_t>(random());
    if (i % 4 == 0) picture.resize(random() % picture.size());
    picture.insert(picture.begin(), static_cast<std::size_t>(i % 3) * kFileHeader, static_cast<std::uint8_t>(i % 2));
    const std::string text = listedFully(picture);
    const Assembled again = assemblePicture(text);
    ASSERT_FALSE(again.error) << again.error->line << ": " << again.error->what << "\n" << text;
    ASSERT_EQ(again.picture, picture) << text;
  }
}

TEST(Format, TextsBecomeTheseBytes) {
  const std::pair<const char*, const char*> cases[] = {
      {"PnSize (5, 3)", "000700030005"},
      {"@999 PnSize size (5 3) ; and a comment", "000700030005"},
      {"TxFace 0x41", "000441"},
      {"TxMode -2\nNOP", "0005FFFE0000"},
      {"SpExtra -1.5", "0006FFFE8000"},
      {"RGBFgCol #FF8000\nOpColor #123456789ABC", "001AFFFF80800000001F123456789ABC"},
      {"PnPat { AA55AA55\n  AA55AA55 }", "0009AA55AA55AA55AA55"},
      {"ShortLine (5, 6) dh 4 dv -64", "00220006000504C0"},
      {"InvertArc (1, 2, 3, 4) 90 arc -1", "00630002000100040003005AFFFF"},
      {"FillSameOval", "005C"},
      {"LongText (1, 2) \"\xC3\xA9\\x8E\\\"\"", "002800020001038E8E22"},
      {"FontName 900 \"xy\"", "002C00050384027879"},
      {"LongComment 100 \"ab\"\nShortComment 7", "00A100640002616200A00007"},
      {"Reserved 0x0301 010203040506", "0301010203040506"},
      {"Clip (0, 0, 6, 4)\nFrameRgn (0, 0, 6, 4) { 0: 0 6 2: 3 6 4: 0 3 }",
       "0001000A00000000000400060080002400000000000400060000000000067FFF0002000300067FFF0004000000037FFF7FFF"},
      {"PaintPoly { (1, 2) (5, 6) }\nPaintPoly box (0, 0, 9, 9) { }",
       "00710012000200010006000500020001000600050071000A0000000000090009"},
      {"BkPixPat { type 2 color #FF0000 }", "001200020000000000000000FFFF00000000"},
      {"PackBitsRect map { rowBytes bitMap 8 bounds (0, 0, 64, 2) } (0,0,1,2) (0,0,1,2) 0 rows { pack FFFFFFFFFFFFFFFF "
       "F900 }",
       "00980008000000000002004000000000000200010000000000020001000002F9FF02F900"},
      {"BitsRect { rowBytes pixMap 2 bounds (0, 0, 2, 1) hRes 72 vRes 72 pixelSize 1 cmpCount 1 cmpSize 1 colors { "
       "entries "
       "{ 0 #FFFFFF 1 #12AB34 } } } (0, 0, 2, 1) (0, 0, 2, 1) 0 { C000 }",
       "009080020000000000010002000000000000000000480000004800000000000100010001000000000000000000000000000000000000000"
       "100"
       "00FFFFFFFFFFFF00011212ABAB3434000000000001000200000000000100020000C000"},
      {"PnSize hex 0102\nbytes \"A\"", "0007010241"},
      {"Line from (1, 2) to (3, 4)\nOpEndPic\nbytes 0001", "0020000200010004000300FF0001"},
  };
  for (const auto& [text, hex] : cases) {
    const PictBytes picture = assembled(text);
    EXPECT_EQ(hexOf(Bytes(picture).subspan(14)), hex) << text;
    std::string listed;
    listFully(picture, [&listed](const std::string& line) { listed += line + "\n"; });
    EXPECT_EQ(assemblePicture(listed).picture, picture) << listed;
  }
  // Where there are several fields, each has its name.
  std::string lines;
  listFully(assembled("PnSize (5, 3)\nShortLine (5, 6) 4 -64"),
            [&lines](const std::string& line) { lines += line + "\n"; });
  EXPECT_NE(lines.find(" PnSize (5, 3)\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find(" ShortLine from (5, 6) dh 4 dv -64\n"), std::string::npos) << lines;
  EXPECT_EQ(hexOf(assembled("TxFace 1\nPaintRect (0, 0, 1, 1)\nOpEndPic", 1)),
            "0018000000000020002811010401310000000000010001FF");
}

TEST(Format, WrongTextsAreToldWithTheirPlace) {
  struct Case {
    const char* text;
    int line, column;
    const char* what;
  };
  const Case cases[] = {
      {"PaintRect (1, 2, 3, 4)", 1, 1, "\"PaintRect\" comes before the picture's head"},
      {"picture frame (0, 0, 9)", 1, 23, "\")\" is no number"},
      {"picture framme (0, 0, 9, 9)", 1, 9, "version, size, frame would work"},
      {"picture\npicture", 2, 1, "as the first line"},
      {"picture\nheader", 2, 1, "as the first line"},
      {"header hex 00", 1, 12, "has 512 bytes"},
      {"picture\nFrameRekt (1, 2, 3, 4)", 2, 1, "\"FrameRekt\" is no opcode; FrameRect would work"},
      {"picture\n\n  TxFace 256", 3, 10, "\"256\" is no number from 0 to 255"},
      {"picture\nPnSize 5", 2, 8, "\"5\" stands where \"(\" would work"},
      {"picture\nPnSize\nNOP", 2, 7, "the end of the line stands where"},
      {"picture\nNOP 5", 2, 5, "\"5\" is too much"},
      {"picture\nRGBFgCol red", 2, 10, "\"red\" is no colour; #FF8000"},
      {"picture\nDHText 1 \"a", 2, 10, "isn't closed"},
      {"picture\nDHText 1 \"\xE2\x98\x83\"", 2, 10, "MacRoman"},
      {"picture\nPnPat AA55", 2, 7, "a pattern has 8 bytes"},
      {"picture\nReserved 0x30 00", 2, 10, "FrameRect would work"},
      {"picture version 1\nHeaderOp { }", 2, 1, "a byte"},
      {"picture\nFrameRgn (0, 0, 6, 4) { 0: 0 6 }", 2, 32, "make no region"},
      {"picture\nBkPixPat { type 3 }", 2, 17, "type 1, or 2"},
      {"picture\nBitsRect map { bounds (0, 0, 9, 1) } ", 2, 34, "there are no such pixels"},
      {"picture\nBitsRect { rowBytes bitMap 2 bounds (0, 0, 9, 2) } (0,0,1,1) (0,0,1,1) 0 { FFFF }", 2, 81,
       "2 would work"},
  };
  for (const auto& [text, line, column, what] : cases) {
    const auto error = assemblePicture(text).error;
    ASSERT_TRUE(error) << text;
    EXPECT_EQ(std::pair(error->line, error->column), std::pair(line, column)) << text << ": " << error->what;
    EXPECT_NE(error->what.find(what), std::string::npos) << text << ": " << error->what;
  }
}

// Each thing that a port remembers: it is written before what goes by it, once, and a recording of its playing is the
// same again.
TEST(Format, StateIsWrittenOnceAndComesBack) {
  const auto shape = [](Shape shape, Verb verb) {
    return [=](Port& port) {
      perform(port, ShapeCommand{.shape = shape, .verb = verb, .rect = {2, 1, 9, 9}, .ovalSize = {4, 6}});
    };
  };
  const auto line = [](Port& port) { perform(port, LineCommand{{0, 0}, {0, 3}}); };
  const auto text = [](Port& port) { perform(port, TextCommand{{0, 0}, "a"}); };
  struct Row {
    const char* written;
    std::function<void(PortState&)> set;
    std::function<void(Port&)> draw;
    const char* drawn;
  };
  const auto isSet = [](auto PortState::*field, const auto& value) {
    return [=](PortState& state) { state.*field = value; };
  };
  const auto hasColor = [](RGBColor TransferColors::*field) {
    return [=](PortState& state) { state.colors.*field = {1, 2, 3}; };
  };
  const auto hasText = [](auto TextState::*field, const auto& value) {
    return [=](PortState& state) { state.text.*field = value; };
  };
  const auto both = [](const auto& one, const auto& two) {
    return [=](PortState& state) { return one(state), two(state); };
  };
  PixelPatternFields red;
  red.type = PixelPatternFields::kColor;
  red.color = {0xFFFF, 0, 0};
  const Pattern bits{{1, 2, 3, 4, 5, 6, 7, 8}, nullptr};
  const char* const lines = "ShortLineFrom 3 0\nShortLine (0, 0) 3 0\n";
  const char* const paints = "PaintRect (1, 2, 9, 9)\nPaintSameRect\n";
  const char* const texts = "DHText 0 \"a\"\nDHText 0 \"a\"\n";
  const auto paint = shape(Shape::rect, Verb::paint);
  const Row rows[] = {
      {"OpColor #000100020003\n", hasColor(&TransferColors::operand), paint, paints},
      {"HiliteColor #000100020003\n", hasColor(&TransferColors::highlight), line, lines},
      {"RGBFgCol #000100020003\n", hasColor(&TransferColors::foreground), text, texts},
      {"RGBBkCol #000100020003\n", hasColor(&TransferColors::background), paint, paints},
      {"PnSize (3, 2)\n", isSet(&PortState::penSize, Point{2, 3}), line, lines},
      {"", isSet(&PortState::penSize, Point{2, 3}), paint, paints},
      {"PnMode 10\n", isSet(&PortState::penMode, patXor), line, lines},
      {"PnPat 0102030405060708\n", isSet(&PortState::penPattern, bits), paint, paints},
      {"BkPat 0102030405060708\n", isSet(&PortState::backPattern, bits), shape(Shape::rect, Verb::erase),
       "EraseRect (1, 2, 9, 9)\nEraseSameRect\n"},
      {"FillPat 0102030405060708\n", isSet(&PortState::fillPattern, bits), shape(Shape::oval, Verb::fill),
       "FillOval (1, 2, 9, 9)\nFillSameOval\n"},
      {"FillPixPat a colour\n", isSet(&PortState::fillPattern, *patternOf(red)), shape(Shape::rect, Verb::fill),
       "FillRect (1, 2, 9, 9)\nFillSameRect\n"},
      {"OvSize (6, 4)\n", [](PortState&) {}, shape(Shape::roundRect, Verb::invert),
       "InvertRRect (1, 2, 9, 9)\nInvertSameRRect\n"},
      {"HiliteMode\n", isSet(&PortState::highlights, true), shape(Shape::arc, Verb::invert),
       "InvertArc (1, 2, 9, 9) 0 360\nInvertSameArc 0 360\n"},
      {"TxFont 7\n", hasText(&TextState::font, 7), text, texts},
      {"FontName 6 bytes\nTxFont 7\n", both(hasText(&TextState::font, 7), hasText(&TextState::fontName, "abc")), text,
       texts},
      {"TxFace 3\n", hasText(&TextState::face, 3), text, texts},
      {"TxMode 2\n", hasText(&TextState::mode, 2), text, texts},
      {"TxSize 9\n", hasText(&TextState::size, 9), text, texts},
      {"SpExtra 1.5\n", hasText(&TextState::extra, 0x18000), text, texts},
      {"ChExtra -5\n", hasText(&TextState::charExtra, -5), text, texts},
      {"PnLocHFrac 7\n", hasText(&TextState::fraction, 7), text, texts},
      {"GlyphState 4 bytes\n", hasText(&TextState::hasExactWidths, true), text, texts},
      {"LineJustify 8 bytes\n", both(hasText(&TextState::spacing, 0x8000), hasText(&TextState::slack, -0x20000)), text,
       texts},
      {"TxRatio (3, 2) (5, 4)\n",
       both(hasText(&TextState::numerator, Point{2, 3}), hasText(&TextState::denominator, Point{4, 5})), text, texts},
  };
  const auto again = [](const PictBytes& picture) {
    return recorded([&](Port& port) { play(port, picture, {0, 0, 32, 40}); });
  };
  const std::string clip = "Clip (0, 0, 40, 32)\n";
  for (const Row& row : rows) {
    const PictBytes picture = recorded([&](Port& port) {
      row.set(port.state);
      row.draw(port);
      row.draw(port);
    });
    const std::string written = row.written;
    const bool isColor = written.find('#') != written.npos || written == "HiliteMode\n";
    EXPECT_EQ(listed(picture), (isColor ? written + clip : clip + written) + row.drawn);
    EXPECT_EQ(again(picture), picture) << row.written;
  }
  // All of it changes back, in the same order; a clip, and highlighting, hold for what comes after.
  const PictBytes picture = recorded([&](Port& port) {
    for (const bool isSet : {true, false}) {
      port.state = PortState{};
      if (isSet) {
        for (const Row& row : rows) row.set(port.state);
        port.state.clip = Region(Box(1, 2, 30, 20));
      }
      line(port);
      text(port);
      shape(Shape::roundRect, Verb::frame)(port);
      for (const Verb verb : {Verb::erase, Verb::fill, Verb::invert}) shape(Shape::rect, verb)(port);
    }
  });
  EXPECT_EQ(
      listed(picture),
      "OpColor #000100020003\nHiliteColor #000100020003\nRGBFgCol #000100020003\nRGBBkCol #000100020003\n"
      "Clip (2, 1, 20, 30)\nPnSize (3, 2)\nPnMode 10\nPnPat 0102030405060708\nShortLineFrom 3 0\n"
      "FontName 6 bytes\nTxFont 7\nTxFace 3\nTxMode 2\nTxSize 9\nSpExtra 1.5\n"
      "ChExtra -5\nPnLocHFrac 7\nGlyphState 4 bytes\nLineJustify 8 bytes\nTxRatio (3, 2) (5, 4)\nDHText 0 \"a\"\n"
      "OvSize (6, 4)\nFrameRRect (1, 2, 9, 9)\nBkPat 0102030405060708\nEraseRect (1, 2, 9, 9)\n"
      "FillPixPat a colour\nFillSameRect\nHiliteMode\nInvertSameRect\n"
      "OpColor #000000000000\nDefHilite\nRGBFgCol #000000000000\nRGBBkCol #FFFFFFFFFFFF\nClip (0, 0, 40, 32)\n"
      "PnSize (1, 1)\nPnMode 8\nPnPat FFFFFFFFFFFFFFFF\nShortLine (0, 0) 3 0\n"
      "TxFont 0\nTxFace 0\nTxMode 1\nTxSize 0\nSpExtra 0\n"
      "ChExtra 0\nPnLocHFrac 32768\nGlyphState 4 bytes\nLineJustify 8 bytes\nTxRatio (1, 1) (1, 1)\nDHText 0 \"a\"\n"
      "FrameSameRRect\nBkPat 0000000000000000\nEraseSameRect\nFillPat "
      "FFFFFFFFFFFFFFFF\nFillSameRect\nInvertSameRect\n");
  EXPECT_EQ(again(picture), picture);
}
