// Pictures as other programs write them, each made here byte by byte and played into pixels.
#include <functional>

#include "engine/pict/bits.h"
#include "engine/pict/lister.h"
#include "engine/pict/opcodes.h"
#include "engine/pict/player.h"
#include "tests/canvas.h"

using namespace qd;

namespace {

constexpr int kWidth = 12, kHeight = 6;

// The opcodes of a picture of 12 by 6, in version 2 unless a test says otherwise.
class Pict {
 public:
  explicit Pict(int version = 2, const Rect& frame = {0, 0, kHeight, kWidth}) : version_(version) {
    out.u16(0);
    out.rect(frame);
    if (version == 1) {
      out.u16(0x1101);
    } else {
      out.u32(0x001102FF);
    }
  }
  Pict& op(int number) {
    if (version_ == 1) {
      out.u8(number);
    } else {
      out.align();
      out.u16(number);
    }
    return *this;
  }
  Pict& words(std::initializer_list<int> values) {
    for (const int value : values) out.u16(value);
    return *this;
  }
  Pict& bytes(std::initializer_list<int> values) {
    for (const int value : values) out.u8(value);
    return *this;
  }
  // top, left, bottom, right
  Pict& rect(int number, int t, int l, int b, int r) { return op(number).words({t, l, b, r}); }
  Pict& pattern(int number, int row) { return op(number).bytes({row, row, row, row, row, row, row, row}); }
  Pict& black(int t, int l, int b, int r) { return rect(op::Rect::kNumber + 1, t, l, b, r); }

  // What playing it leaves, '.' white, '#' black, 'o' another colour.
  std::string played(int width = kWidth, int height = kHeight) {
    Canvas canvas(32, width, height);
    play(MakeRect(0, 0, width, height));
    return canvas.picture();
  }
  // The colour of one pixel, as RRGGBB.
  std::string color(int x, int y) {
    Canvas canvas(32, kWidth, kHeight);
    play(MakeRect(0, 0, kWidth, kHeight));
    const std::string pixels = canvas.pixels();
    std::string text;
    for (int c = 1; c < 4; ++c) {
      const char* digits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(pixels[static_cast<std::size_t>(y * 48 + x * 4 + c)]);
      text += digits[byte >> 4];
      text += digits[byte & 15];
    }
    return text;
  }
  const Playback& play(const Rect& target) {
    op(op::OpEndPic::kNumber);
    const Handle handle = NewHandle(static_cast<std::int32_t>(out.size()));
    std::copy(out.bytes().begin(), out.bytes().end(), *handle);
    DrawPicture(reinterpret_cast<PicHandle>(handle), &target);
    DisposeHandle(handle);
    return lastPlayback();
  }

  ByteWriter out;

 private:
  int version_;
};

using Pictures = QuickDraw;

const char* const kSquare = "............\n.##.........\n.##.........\n............\n............\n............\n";

}  // namespace

TEST_F(Pictures, HeadsOfAllForms) {
  EXPECT_EQ(Pict(1).black(1, 1, 3, 3).played(), kSquare);
  EXPECT_EQ(Pict(2).black(1, 1, 3, 3).played(), kSquare);
  // Version -1, with the frame in Fixed; version 0; no-ops in front of the version.
  Pict fixed;
  fixed.op(op::HeaderOp::kNumber).words({-1, -1, 0, 0, 0, 0, kWidth, 0, kHeight, 0, 0, 0});
  EXPECT_EQ(fixed.black(1, 1, 3, 3).played(), kSquare);
  Pict zero;
  zero.op(op::HeaderOp::kNumber).words({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(zero.black(1, 1, 3, 3).played(), kSquare);
  Pict late(1);
  late.out.clear();
  late.words({0, 0, 0, kHeight, kWidth}).bytes({0, 0, 0x11, 1});
  EXPECT_EQ(late.black(1, 1, 3, 3).played(), kSquare);
  // 144 dpi: the source rectangle is the space, the frame its size at 72.
  Pict fine(2, {0, 0, kHeight / 2, kWidth / 2});
  fine.op(op::HeaderOp::kNumber).words({-2, 0, 0x90, 0, 0x90, 0, 0, 0, kHeight, kWidth, 0, 0});
  EXPECT_EQ(fine.black(1, 1, 3, 3).played(), kSquare);
  // A frame off the origin, and one that the picture is stretched from.
  EXPECT_EQ(Pict(1, {-10, -20, kHeight - 10, kWidth - 20}).black(-9, -19, -7, -17).played(), kSquare);
  EXPECT_EQ(Pict(1).black(1, 1, 3, 3).played(6, 3), "......\n.#....\n......\n");
}

TEST_F(Pictures, SameMeansTheLastRectangleOfAnyShape) {
  EXPECT_EQ(Pict().black(1, 1, 3, 3).op(0x5B).played(), std::string(kSquare).replace(14, 2, "..").replace(27, 2, ".."))
      << "inverted by an oval";
  Pict arc(1);
  arc.rect(0x61, 0, 0, 6, 6).words({0, 90}).op(0x6B).words({0, 90});
  EXPECT_EQ(arc.played().find('#'), std::string::npos);
  Pict polygon;
  polygon.op(0x71).words({22, 0, 0, 4, 4, 0, 0, 4, 0, 4, 4}).op(0x7B);
  EXPECT_EQ(polygon.played().find('#'), std::string::npos);
}

TEST_F(Pictures, LinesGoOnFromWhereTheLastOneEnded) {
  Pict lines;
  lines.op(op::ShortLine::kNumber)
      .words({1, 1})
      .bytes({3, 0})
      .op(op::ShortLineFrom::kNumber)
      .bytes({0, 3})
      .op(op::LineFrom::kNumber)
      .words({4, 9})
      .op(op::Line::kNumber)
      .words({0, 0, 0, 2});
  EXPECT_EQ(lines.played(), "###.........\n.####.......\n....#.......\n....#.......\n....######..\n............\n");
}

TEST_F(Pictures, RegionsClipAndAreDrawn) {
  // An L: six wide in two rows, three wide in two more.
  const std::initializer_list<int> region = {36, 0, 0, 4, 6, 0, 0, 6, 0x7FFF, 2, 3, 6, 0x7FFF, 4, 0, 3, 0x7FFF, 0x7FFF};
  const char* const full = "######......\n######......\n###.........\n###.........\n............\n............\n";
  Pict painted;
  painted.op(0x81).words(region);
  EXPECT_EQ(painted.played(), full);
  Pict clipped;
  clipped.op(op::Clip::kNumber).words(region).black(-5, -5, 20, 20);
  EXPECT_EQ(clipped.played(), full);
  Pict framed;
  framed.op(0x80).words(region);
  EXPECT_EQ(framed.played(), "######......\n#.####......\n#.#.........\n###.........\n............\n............\n");
  Pict hollow;
  hollow.op(0x81).words(region).op(0x8B).op(0x88);
  EXPECT_EQ(hollow.played(), framed.played());
  Pict stretched;
  stretched.op(0x81).words(region);
  EXPECT_EQ(stretched.played(6, 3), "###...\n##....\n......\n");
  // An empty clip is recorded too, even as the first thing.
  Canvas canvas(32, kWidth, kHeight);
  const Rect all = MakeRect(0, 0, kWidth, kHeight);
  const OpenCPicParams params = PictureParams(kWidth, kHeight);
  const PicHandle again = OpenCPicture(&params);
  Pict closed;
  closed.op(op::Clip::kNumber).words({10, 0, 0, 0, 0}).black(1, 1, 3, 3).play(all);
  ClosePicture();
  DrawPicture(again, &all);
  KillPicture(again);
  EXPECT_EQ(canvas.picture().find('#'), std::string::npos);
}

TEST_F(Pictures, PatternsAreAnchoredToTheGrid) {
  Pict fill;
  fill.pattern(op::FillPat::kNumber, 0xAA).rect(0x34, 0, 1, 1, 7).pattern(op::PnPat::kNumber, 0xCC).black(1, 1, 2, 9);
  fill.pattern(op::BkPat::kNumber, 0xF0).rect(0x32, 2, 0, 3, 12);
  EXPECT_EQ(fill.played(), "..#.#.#.....\n.#..##..#...\n####....####\n............\n............\n............\n");
  // A tile of two by two with a colour table, and a colour alone.
  Pict pixels;
  pixels.op(op::PnPixPat::kNumber).words({1, 0, 0, 0, 0}).words({0x8002, 0, 0, 2, 2, 0, 0, 0, 0, 0x48, 0, 0x48,
                                                                 0,      0, 8, 1, 8, 0, 0, 0, 0, 0,    0});
  pixels.words({0, 0, 0, 2, 0, 0xFFFF, 0xFFFF, 0xFFFF, 1, 0, 0, 0, 2, 0xFFFF, 0, 0}).bytes({1, 0, 0, 2});
  pixels.black(0, 0, 2, 4);
  EXPECT_EQ(pixels.played().substr(0, 26), "#.#.........\n.o.o........\n");
  Pict color;
  color.op(op::FillPixPat::kNumber).words({2, 0, 0, 0, 0, 0x1200, 0x3400, 0x5600}).rect(0x34, 0, 0, 2, 2);
  EXPECT_EQ(color.color(1, 1), "123456");
}

TEST_F(Pictures, ColoursOldAndNewAndModes) {
  EXPECT_EQ(Pict().op(op::FgColor::kNumber).words({0, 205}).black(0, 0, 1, 1).color(0, 0), "DD0806");
  EXPECT_EQ(Pict(1).op(op::BkColor::kNumber).words({0, 409}).rect(0x32, 0, 0, 1, 1).color(0, 0), "0000D4");
  EXPECT_EQ(Pict().op(op::RGBFgCol::kNumber).words({0x1122, 0x3344, 0x5566}).black(0, 0, 1, 1).color(0, 0), "113355");
  Pict highlighted;
  highlighted.op(op::HiliteColor::kNumber)
      .words({0xFF00, 0xFF00, 0})
      .op(op::HiliteMode::kNumber)
      .rect(0x33, 0, 0, 1, 1)
      .rect(0x33, 0, 1, 1, 2);
  EXPECT_EQ(highlighted.color(0, 0), "FFFF00");
  EXPECT_EQ(highlighted.color(1, 0), "000000") << "for one inversion only";
  Pict blended;
  blended.op(op::OpColor::kNumber)
      .words({0x8000, 0x8000, 0x8000})
      .op(op::PnMode::kNumber)
      .words({40})
      .black(0, 0, 1, 1);
  EXPECT_EQ(blended.color(0, 0), "7F7F7F");
  EXPECT_EQ(Pict().op(op::PnMode::kNumber).words({0}).black(0, 0, 5, 5).played().find('#'), std::string::npos)
      << "no pattern mode";
  EXPECT_EQ(Pict().op(op::Origin::kNumber).words({10, 20}).black(21, 11, 23, 13).played(), kSquare);
}

TEST_F(Pictures, BitsOfAllKinds) {
  const auto head = [](Pict& p, std::initializer_list<int> map) -> Pict& { return p.words(map); };
  const std::initializer_list<int> place = {0, 0, 2, 2, 1, 1, 3, 3, 0};  // from, to, mode
  // A bit map, raw; its rows are two bytes.
  Pict raw;
  head(raw.op(op::BitsRect::kNumber), {2, 0, 0, 2, 2}).words(place).words({0xC000, 0xC000});
  EXPECT_EQ(raw.played(), kSquare);
  // Packed, and in the colours of the port.
  Pict packed;
  packed.op(op::RGBFgCol::kNumber).words({0xFF00, 0, 0});
  head(packed.op(op::PackBitsRect::kNumber), {8, 0, 0, 2, 64}).words(place);
  packed.bytes({4, 0xF9, 0xC0, 0x80, 0x80, 2, 0xF9, 0xC0});
  EXPECT_EQ(packed.color(1, 1), "FF0000");
  // A pixel map under the unpacked opcode, its table by value, with a mask region.
  Pict indexed;
  head(indexed.op(op::BitsRgn::kNumber), {0x8004, 0, 0, 2, 2, 0, 0, 0, 0, 72, 0, 72, 0, 0, 8, 1, 8, 0, 0, 0, 0, 0, 0});
  indexed.words({0, 0, 0, 1, 7, 0x1100, 0x2200, 0x3300, 9, 0, 0, 0}).words(place).words({10, 1, 1, 2, 3});
  indexed.bytes({7, 9, 0, 0, 9, 7, 0, 0});
  EXPECT_EQ(indexed.color(1, 1) + indexed.color(2, 1) + indexed.color(1, 2), "112233000000FFFFFF");
  // Direct pixels: 16 bits raw and packed by words, 32 bits raw, as triplets, and in planes of three and of four.
  const auto direct = [&](int depth, int packType, int components, int rowBytes, int width,
                          const std::function<void(Pict&)>& rows) {
    Pict p;
    p.op(op::DirectBitsRect::kNumber).words({0, 0xFF});
    head(p, {0x8000 | rowBytes,   0, 0, 2, width, 0, packType, 0, 0, 72, 0, 72, 0, 16, depth, components,
             depth == 16 ? 5 : 8, 0, 0, 0, 0,     0, 0});
    p.words({0, 0, 2, width, 1, 1, 3, 1 + width, 0});
    rows(p);
    EXPECT_EQ(p.color(2, 2), "FF0000") << depth << " bits, packType " << packType << ", " << components
                                       << " components";
    EXPECT_EQ(p.color(0, 0), "FFFFFF");
  };
  direct(16, 1, 3, 4, 2, [](Pict& p) { p.words({0, 0, 0, 0x7C00}); });
  direct(16, 3, 3, 8, 4, [](Pict& p) { p.bytes({3, 0xFD, 0, 0, 6, 0, 0, 0, 0xFE, 0x7C, 0}); });
  direct(32, 1, 3, 8, 2, [](Pict& p) { p.words({0, 0, 0, 0, 0, 0, 0xFF, 0}); });
  direct(32, 2, 3, 8, 2, [](Pict& p) { p.bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0}); });
  direct(32, 4, 3, 8, 2, [](Pict& p) { p.bytes({2, 0xFB, 0, 5, 1, 0, 0xFF, 0xFD, 0}); });
  direct(32, 4, 4, 8, 2, [](Pict& p) { p.bytes({2, 0xF9, 0, 6, 0xFE, 0, 0, 0xFF, 0xFD, 0}); });
}

// Some writers count the three bytes of a pixel that they pack, and not the four of a row.
TEST_F(Pictures, RowsThatAreCountedByBytesAreRead) {
  constexpr int kColumns = 70;
  for (const bool isByWords : {true, false}) {
    Pict p;
    p.op(op::DirectBitsRect::kNumber)
        .words({0, 0xFF, 0x8000 | kColumns * 4, 0, 0, 3, kColumns, 0, 4, 0, 0, 72, 0, 72, 0});
    p.words({16, 32, 3, 8, 0, 0, 0, 0, 0, 0, 0, 0, 3, kColumns, 0, 0, 3, kColumns, 0});
    for (int row = 0; row < 3; ++row) {
      if (isByWords) p.bytes({0});
      p.bytes({6, 1 - kColumns, 0x12, 1 - kColumns, 0x34, 1 - kColumns, 0x50 + row});
    }
    p.black(0, 0, 1, 1);
    EXPECT_EQ(p.color(1, 0) + p.color(1, 2) + p.color(0, 0), "123450123452000000") << isByWords;
    EXPECT_EQ(lastPlayback().remarks.size(), isByWords ? 0U : 1U);
    EXPECT_FALSE(lastPlayback().error);
  }
}

namespace {

// An image of two by two pixels: its description, and its bytes.
Pict& described(Pict& pict, std::initializer_list<int> codec, int depth, std::initializer_list<int> data) {
  pict.words({0, 86}).bytes(codec).words({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 2, 72, 0, 72, 0, 0});
  pict.words({static_cast<int>(data.size()), 1});
  for (int i = 0; i < 16; ++i) pict.words({0});
  return pict.words({depth, -1}).bytes(data);
}
constexpr std::initializer_list<int> kRaw = {'r', 'a', 'w', ' '};

// Black, white, white, black, where the image shows.
constexpr int kMatteSize = 86 + 4;
Pict& matte(Pict& pict) { return described(pict, kRaw, 40, {255, 0, 0, 255}); }

// Opcode 8200 with pixels of 24 bits, shown at twice their size.
Pict& quickTime(Pict& pict, std::initializer_list<int> codec, bool hasMatte = false, int right = 2) {
  const int matteSize = hasMatte ? kMatteSize : 0;
  pict.op(op::CompressedQuickTime::kNumber).words({0, 68 + matteSize + 86 + 12, 0});
  pict.words({2, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 1, 0, 0x4000, 0});    // the matrix
  pict.words({0, matteSize, 0, 0, 2, 2, 0, 0, 0, 2, right, 0, 0x300, 0, 0});  // copied, no mask
  if (hasMatte) matte(pict);
  return described(pict, codec, 24, {0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0});
}

}  // namespace

TEST_F(Pictures, QuickTimeImagesTakeThePlaceOfTheirStandIns) {
  const char* const shown = "............\n.##oo.......\n.##oo.......\n.####.......\n.####.......\n............\n";
  Pict image;
  quickTime(image, kRaw);
  EXPECT_EQ(image.played(), shown);
  // Bits in the same place, or as many bytes of opcodes as a pen size says.
  Pict bits;
  quickTime(bits, kRaw).op(op::BitsRect::kNumber).words({2, 0, 0, 2, 2, 0, 0, 2, 2, 1, 1, 5, 5, 0, 0xFFFF, 0xFFFF});
  EXPECT_EQ(bits.played(), shown);
  Pict run;
  quickTime(run, kRaw).op(op::PnSize::kNumber).words({99, 10}).black(0, 0, 6, 6).black(0, 11, 6, 12);
  EXPECT_EQ(run.played().substr(0, 26), "...........#\n.##oo......#\n");
  // What can't be decoded is said, and its stand-in is shown.
  Pict unknown;
  quickTime(unknown, {'S', 'V', 'Q', 0xB9}).black(1, 1, 3, 3);
  EXPECT_EQ(unknown.played(), kSquare);
  EXPECT_EQ(lastPlayback().undrawn, 1);
  ASSERT_EQ(lastPlayback().remarks.size(), 1U);
  EXPECT_NE(lastPlayback().remarks[0].find("codec \"SVQ?\", depth 24, 2x2, 12 bytes"), std::string::npos);
}

TEST_F(Pictures, QuickTimeImagesAreMixedByTheirMatteAndCutToTheirSource) {
  Pict mixed;
  EXPECT_EQ(quickTime(mixed, kRaw, true).played(),
            "............\n.##.........\n.##.........\n...##.......\n...##.......\n............\n");
  Pict cut;
  EXPECT_EQ(quickTime(cut, kRaw, false, 1).played(),
            "............\n.##.........\n.##.........\n.##.........\n.##.........\n............\n");
  // The bits of an uncompressed one are the next opcode.
  for (const bool hasMatte : {false, true}) {
    const int matteSize = hasMatte ? kMatteSize : 0;
    Pict pict;
    pict.op(op::UncompressedQuickTime::kNumber).words({0, 50 + matteSize, 0});
    pict.words({1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x4000, 0, 0, matteSize, 0, 0, 2, 2});
    if (hasMatte) matte(pict);
    pict.op(op::BitsRect::kNumber).words({2, 0, 0, 2, 2, 0, 0, 2, 2, 1, 1, 3, 3, 0, 0xFFFF, 0xFFFF});
    pict.op(op::BitsRect::kNumber).words({2, 0, 0, 2, 2, 0, 0, 2, 2, 1, 5, 3, 7, 0, 0xFFFF, 0xFFFF});
    EXPECT_EQ(pict.played().substr(13, 26), hasMatte ? ".#...##.....\n..#..##.....\n" : ".##..##.....\n.##..##.....\n");
    EXPECT_EQ(lastPlayback().undrawn, 0);
  }
}

TEST_F(Pictures, WhatIsReservedOrACommentIsPassedOver) {
  Pict pict;
  pict.op(op::ShortComment::kNumber).words({130}).op(op::LongComment::kNumber).words({100, 3}).bytes({1, 2, 3});
  pict.op(0x24).words({2, 7}).op(0x92).words({1}).bytes({9}).op(0xB5).op(0xD3).words({0, 3}).bytes({1, 2, 3});
  pict.op(0x0301).words({0, 0, 0}).op(0x8042).op(0x9000).words({0, 2, 5}).black(1, 1, 3, 3);
  EXPECT_EQ(pict.played(), kSquare);
  EXPECT_EQ(lastPlayback().skipped, 9);
}

TEST_F(Pictures, TheFirstBrokenOperandEndsThem) {
  const auto error = [](Pict& pict) {
    pict.black(0, 0, 6, 12);
    EXPECT_EQ(pict.played(), kSquare) << "what came before stays";
    return lastPlayback().error ? describe(*lastPlayback().error) : "none";
  };
  const std::pair<const char*, std::function<void(Pict&)>> cases[] = {
      {"0001 Clip",
       [](Pict& p) {
         p.op(op::Clip::kNumber).words({9, 0, 0, 1, 1});
       }},
      {"0081 PaintRgn",
       [](Pict& p) {
         p.op(0x81).words({16, 0, 0, 4, 4, 0, 3, 1});
       }},
      {"0071 PaintPoly",
       [](Pict& p) {
         p.op(0x71).words({12, 0, 0, 4, 4, 0});
       }},
      {"0013 PnPixPat",
       [](Pict& p) {
         p.op(op::PnPixPat::kNumber).words({3, 0, 0, 0, 0});
       }},
      {"0090 BitsRect",
       [](Pict& p) {
         p.op(op::BitsRect::kNumber).words({2, 0, 0, 1, 17, 0, 0, 1, 1, 0, 0, 1, 1, 0});
       }},
      {"0098 PackBitsRect",
       [](Pict& p) {
         p.op(op::PackBitsRect::kNumber).words({8, 0, 0, 1, 64, 0, 0, 1, 1, 0, 0, 1, 1, 0}).bytes({2, 0xFA, 1, 0});
       }},
      {"9000 Reserved",
       [](Pict& p) {
         p.op(0x9000).words({0x7FFF, 0});
       }},
  };
  for (const auto& [name, add] : cases) {
    Pict pict;
    pict.black(1, 1, 3, 3);
    add(pict);
    EXPECT_NE(error(pict).find(std::string("in opcode ") + name + ":"), std::string::npos)
        << name << " " << error(pict);
  }
}

// A shape that is drawn again by its short opcode comes out as one that is told again.
TEST_F(Pictures, WhatRepeatsIsDrawnAsIfToldAgain) {
  const auto shape = [](Pict& pict, int family, int verb) {
    pict.op(family + verb);
    if (family == op::Poly::kNumber)
      return pict.words({10 + 4 * 5, 1, 1, 10, 14, 1, 1, 10, 14, 1, 14, 10, 1, 1, 1}), void();
    pict.words({10 + 2 * 13, 2, 1, 9, 13, 2, 1, 6, 9, 13, 0x7FFF, 9, 1, 6, 9, 13, 0x7FFF, 0x7FFF});
  };
  const auto state = [](Pict& pict, int number, std::initializer_list<int> words) { pict.op(number).words(words); };
  const std::function<void(Pict&)> changes[] = {
      [](Pict&) {},
      [&](Pict& p) {
        state(p, op::PnSize::kNumber, {2, 3});
      },
      [&](Pict& p) {
        state(p, op::Clip::kNumber, {10, 3, 2, 9, 11});
      },
      [&](Pict& p) {
        state(p, op::Origin::kNumber, {1, -2});
      },
      [&](Pict& p) { state(p, op::PnMode::kNumber, {10}); },
      [&](Pict& p) { state(p, op::PnMode::kNumber, {40}); },
      [&](Pict& p) { p.pattern(op::PnPat::kNumber, 0xA5); },
  };
  for (const int family : {op::Poly::kNumber, op::Rgn::kNumber}) {
    const int same = family == op::Poly::kNumber ? op::SamePoly::kNumber : op::SameRgn::kNumber;
    for (const auto& change : changes) {
      std::string pixels[2];
      for (const bool isSame : {false, true}) {
        Pict pict;
        pict.op(op::OpColor::kNumber).words({0x8000, 0x8000, 0x8000}).op(op::RGBFgCol::kNumber).words({0x6600, 0, 0});
        shape(pict, family, 0);
        for (const int verb : {1, 0, 0, 3, 1, 4, 0}) {
          isSame ? void(pict.op(same + verb)) : shape(pict, family, verb);
          if (verb == 3) change(pict);
        }
        Canvas canvas(32, 16, 12);
        EXPECT_FALSE(pict.play(MakeRect(0, 0, 16, 12)).error);
        pixels[isSame ? 1 : 0] = canvas.pixels();
      }
      EXPECT_EQ(pixels[0], pixels[1]) << family << " " << &change - changes;
    }
  }
}

// A thousand opcodes of a few bytes cost no more than the pixels that they show, whatever they mean beyond these.
TEST_F(Pictures, WorkIsBoundedByWhatIsSeen) {
  constexpr int kTimes = 1000, kPixels = kWidth * kHeight;
  const auto far = [](Pict& pict, int number, std::initializer_list<int> more = {}) {
    pict.op(number).words({-30000, -30000, 30000, 30000}).words(more);
  };
  const auto repeat = [](Pict& pict, int number, std::initializer_list<int> more = {}) {
    for (int i = 0; i < kTimes; ++i) pict.op(number).words(more);
  };
  struct Case {
    const char* what;
    std::function<void(Pict&)> add;
  };
  const Case cases[] = {
      {"ovals",
       [&](Pict& p) {
         far(p, op::Oval::kNumber + 1);
         repeat(p, op::SameOval::kNumber + 1);
       }},
      {"arcs",
       [&](Pict& p) {
         far(p, op::Arc::kNumber + 1, {10, 300});
         repeat(p, op::SameArc::kNumber + 1, {10, 300});
       }},
      {"regions",
       [&](Pict& p) {
         p.op(op::Rgn::kNumber + 1)
             .words({36, -30000, 1, 30000, 9, -30000, 1, 3, 7, 9, 0x7FFF, 30000, 1, 3, 7, 9, 0x7FFF, 0x7FFF});
         repeat(p, op::SameRgn::kNumber + 1);
       }},
      {"frames of polygons",
       [&](Pict& p) {
         p.op(op::Poly::kNumber).words({10 + 4 * 100, -30000, 0, 30000, 9});
         for (int i = 0; i < 100; ++i) p.words({i % 2 == 0 ? -30000 : 30000, i % 10});
         repeat(p, op::SamePoly::kNumber);
       }},
      {"lines",
       [&](Pict& p) {
         repeat(p, op::Line::kNumber, {-30000, 0, 30000, 9});
       }},
      {"large text",
       [&](Pict& p) {
         p.op(op::TxSize::kNumber).words({2048}).op(op::LongText::kNumber).words({1000, -300}).bytes({1, 'M'});
         for (int i = 0; i < kTimes; ++i) p.op(op::DHText::kNumber).bytes({0, 1, 'M'});
       }},
      {"wide patterns",
       [&](Pict& p) {
         constexpr int kWide = 8000;
         p.op(op::FillPixPat::kNumber).words({1, 0, 0, 0, 0});
         p.words({0x8000 | kWide / 8, 0, 0, 1, kWide, 0, 0, 0, 0, 0x48, 0, 0x48, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0});
         p.words({0, 0, 0, 1, 0, 0xFFFF, 0xFFFF, 0xFFFF, 1, 0x1111, 0x2222, 0x3333});
         p.words({16});
         for (int i = 0; i < 7; ++i) p.bytes({1 - 128, 0x55});
         p.bytes({1 - 104, 0x55});
         far(p, op::Rect::kNumber + 4);
         repeat(p, op::SameRect::kNumber + 4);
       }},
  };
  for (const auto& [what, add] : cases) {
    Pict pict;
    add(pict);
    Canvas canvas(32, kWidth, kHeight);
    const Playback& playback = pict.play(MakeRect(0, 0, kWidth, kHeight));
    EXPECT_FALSE(playback.error) << what << " " << describe(*playback.error);
    EXPECT_GE(playback.drawn, kTimes) << what;
    EXPECT_LE(playback.work.runs, std::uint64_t{kTimes + 1} * kPixels) << what;
    EXPECT_LE(playback.work.pixels, std::uint64_t{kTimes + 1} * (kPixels + 500)) << what;
    EXPECT_GE(playback.work.runs + playback.work.pixels, std::uint64_t{kTimes}) << what;
  }
}

TEST_F(Pictures, TextKeepsItsNameSizeAndRatio) {
  const auto widest = [](std::initializer_list<int> ratio, int size) {
    Pict text;
    text.op(op::FontName::kNumber)
        .words({10, 900})
        .bytes({7, 'C', 'o', 'u', 'r', 'i', 'e', 'r'})
        .op(op::TxFont::kNumber)
        .words({900});
    text.op(op::TxSize::kNumber)
        .words({size})
        .op(op::TxRatio::kNumber)
        .words(ratio)
        .op(op::DHDVText::kNumber)
        .bytes({0, 5, 1, 0xD1});  // an em
                                  // dash
    const std::string picture = text.played(40, 6);
    std::size_t right = 0;
    for (std::size_t at = 0; at + 41 <= picture.size(); at += 41) {
      const std::size_t last = picture.substr(at, 40).rfind('#');
      if (last != std::string::npos) right = std::max(right, last);
    }
    return right;
  };
  // An em dash of a monospaced font is six tenths of the size wide.
  const std::size_t plain = widest({1, 1, 1, 1}, 10);
  EXPECT_GE(plain, 17U);
  EXPECT_NEAR(static_cast<double>(widest({1, 2, 1, 1}, 10)), 2.0 * static_cast<double>(plain), 3);
}
