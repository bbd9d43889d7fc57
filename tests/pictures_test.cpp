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

// The opcodes of a picture of 12 by 6.
class Pict {
 public:
  Pict() {
    out.u16(0);
    out.rect({0, 0, kHeight, kWidth});
    out.u32(0x001102FF);
  }
  Pict& op(int number) {
    out.align();
    out.u16(number);
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
};

using Pictures = QuickDraw;

const char* const kSquare = "............\n.##.........\n.##.........\n............\n............\n............\n";

}  // namespace

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

// Others leave the padding out of a row's size, or cut the size down to it.
TEST_F(Pictures, RowsThatAreLongerThanTheySayAreRead) {
  for (const int bytes : {8, 9, 10}) {
    Pict p;
    p.op(op::PackBitsRect::kNumber).words({8, 0, 0, 2, 70, 0, 60, 2, 70, 0, 0, 2, 10, 0});
    for (int row = 0; row < 2; ++row) p.bytes({4, 2 - bytes, 0, 0, 0x80});
    EXPECT_EQ(p.color(4, 1), bytes == 9 ? "000000" : "FFFFFF") << bytes;
    EXPECT_EQ(lastPlayback().error.has_value(), bytes < 9) << bytes;
    EXPECT_EQ(lastPlayback().remarks.size(), bytes < 9 ? 0U : 1U) << bytes;
  }
}

TEST_F(Pictures, ImagesThatCannotBeDecodedAreTold) {
  Pict pict;
  pict.op(op::CompressedQuickTime::kNumber).words({0, 68 + 86 + 12, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
  pict.words({0x4000, 0, 0, 0, 0, 0, 2, 2, 0, 0, 0, 2, 2, 0, 0, 0, 0, 0, 86}).bytes({'S', 'V', 'Q', 0xB9});
  pict.words({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 2, 72, 0, 72, 0, 0, 12, 1});
  for (int i = 0; i < 16; ++i) pict.words({0});
  pict.words({24, -1, 0, 0, 0, 0, 0, 0}).black(1, 1, 3, 3);
  EXPECT_EQ(pict.played(), kSquare) << "what stands in for it";
  EXPECT_EQ(lastPlayback().undrawn, 1);
  ASSERT_EQ(lastPlayback().remarks.size(), 1U);
  EXPECT_NE(lastPlayback().remarks[0].find("codec \"SVQ?\", depth 24, 2x2, 12 bytes"), std::string::npos);
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
