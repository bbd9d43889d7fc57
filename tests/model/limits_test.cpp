// Where one form of the format ends and the next begins, in what is recorded and in what is read: each a row of a
// table.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/model/scene.h"

namespace model {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Records into a picture of 40 by 30.
template <class Record>
Bytes recordedBy(const Record& record) {
  qd::System system(FONTS);
  Bytes picture;
  qd::VectorSink sink(picture);
  qd::Recorder recorder(system, qd::PictureParams(40, 30), sink);
  record(recorder);
  EXPECT_TRUE(recorder.close());
  return picture;
}

// The opcodes that draw, with their operands, a line each.
std::string drawnIn(const Bytes& picture) {
  std::string lines;
  const qd::ListingEnd end = qd::listOpcodes(picture, [&lines](const qd::Listing& opcode) {
    const bool draws = opcode.number >= 0x20 && opcode.number < 0xFF;
    if (!draws) return;
    if (!lines.empty()) lines += "\n";
    lines += opcode.name;
    for (const std::string& operand : opcode.operands) lines += " " + operand;
  });
  EXPECT_FALSE(end.error);
  EXPECT_EQ(end.left, 0U);
  return lines;
}

TEST(Limits, RecordingsHaveTheShortestFormThatHolds) {
  // Lines go on from the last one's end, or begin elsewhere; how far they go is a byte or two.
  const std::pair<std::vector<std::pair<Point, Point>>, const char*> lines[] = {
      {{{{0, 0}, {127, -128}}}, "ShortLineFrom 127 -128"},
      {{{{0, 0}, {128, 0}}}, "LineFrom (128, 0)"},
      {{{{0, 0}, {0, 128}}}, "LineFrom (0, 128)"},
      {{{{0, 0}, {-129, 0}}}, "LineFrom (-129, 0)"},
      {{{{0, 0}, {0, -129}}}, "LineFrom (0, -129)"},
      {{{{6, 5}, {133, -123}}}, "ShortLine (6, 5) 127 -128"},
      {{{{6, 5}, {134, 5}}}, "Line (6, 5) (134, 5)"},
      {{{{6, 5}, {6, -124}}}, "Line (6, 5) (6, -124)"},
      {{{{6, 5}, {8, 7}}, {{8, 7}, {9, 7}}, {{8, 7}, {9, 7}}},
       "ShortLine (6, 5) 2 2\nShortLineFrom 1 0\nShortLine (8, 7) 1 0"},
  };
  for (const auto& [drawn, opcodes] : lines) {
    EXPECT_EQ(drawnIn(recordedBy([&drawn = drawn](qd::Recorder& r) {
                for (const auto& [from, to] : drawn) r.line(plain(from), plain(to));
              })),
              opcodes);
  }
  // A text counts from where the last one began, and only forward.
  const std::pair<std::vector<Point>, const char*> texts[] = {
      {{{255, 0}}, "DHText 255 \"a\""},
      {{{256, 0}}, "LongText (256, 0) \"a\""},
      {{{0, 255}}, "DVText 255 \"a\""},
      {{{0, 256}}, "LongText (0, 256) \"a\""},
      {{{255, 255}}, "DHDVText 255 255 \"a\""},
      {{{9, 9}, {10, 8}, {9, 9}, {10, 9}},
       "DHDVText 9 9 \"a\"\nLongText (10, 8) \"a\"\nLongText (9, 9) \"a\"\nDHText 1 \"a\""},
  };
  for (const auto& [drawn, opcodes] : texts) {
    EXPECT_EQ(drawnIn(recordedBy([&drawn = drawn](qd::Recorder& r) {
                for (const Point& at : drawn) r.text(plain(at), "a");
              })),
              opcodes);
  }
  // A rectangle is left out if it was the last one, and the last one of this shape.
  EXPECT_EQ(drawnIn(recordedBy([](qd::Recorder& r) {
              const qd::Rect rect = {1, 2, 9, 8};
              r.rect(qd::Verb::paint, rect);
              r.rect(qd::Verb::invert, rect);
              r.oval(qd::Verb::paint, rect);
              r.rect(qd::Verb::erase, rect);
              r.oval(qd::Verb::paint, {1, 2, 9, 9});
              r.rect(qd::Verb::erase, rect);
              r.arc(qd::Verb::paint, rect, -5, 90);
              r.arc(qd::Verb::fill, rect, 7, -90);
            })),
            "PaintRect (2, 1, 8, 9)\nInvertSameRect\nPaintOval (2, 1, 8, 9)\nEraseSameRect\nPaintOval (2, 1, 9, 9)\n"
            "EraseRect (2, 1, 8, 9)\nPaintArc (2, 1, 8, 9) -5 90\nFillSameArc 7 -90");
  // Nothing is recorded of what shows nothing.
  EXPECT_EQ(drawnIn(recordedBy([](qd::Recorder& r) {
              qd::System system(FONTS);
              const auto world = qd::GWorld::make(system, 4, 4);
              r.image(*world, {0, 4, 4, 8}, {0, 0, 4, 4});
              r.image(*world, {0, 0, 4, 4}, {0, 4, 4, 4});
              r.polygon(qd::Verb::paint, std::array{qd::Point{1, 1}});
              r.text({3, 3}, "");
            })),
            "");
  // A text of more bytes than an opcode can have goes on where its first part ended.
  for (const std::size_t count : {255, 256, 511}) {
    const std::string lines = drawnIn(recordedBy([count](qd::Recorder& r) {
      r.text({5, 5}, std::string(count, 'i'));
    }));
    EXPECT_EQ(std::ranges::count(lines, 'i'), static_cast<std::ptrdiff_t>(count));
    EXPECT_EQ(std::ranges::count(lines, '\n'), static_cast<std::ptrdiff_t>((count - 1) / 255));
    EXPECT_EQ(lines.find("\nDHText 0"), lines.npos) << lines;
  }
}

// How many bytes a white row takes tells how it was packed, and how wide its count is.
TEST(Limits, RowsArePackedFromEightBytesOnAndCountWordsBeyond250) {
  struct Case {
    int depth, width;
    const char* opcode;
    std::size_t bytes;  // of one more row
  };
  constexpr Case kCases[] = {
      {1, 48, "Bits", 6},       {1, 49, "PackBits", 3},   {1, 2000, "PackBits", 5},   {1, 2001, "PackBits", 6},
      {2, 24, "Bits", 6},       {2, 25, "PackBits", 3},   {4, 12, "Bits", 6},         {4, 13, "PackBits", 3},
      {8, 6, "Bits", 6},        {8, 7, "PackBits", 3},    {8, 250, "PackBits", 5},    {8, 251, "PackBits", 6},
      {16, 3, "DirectBits", 6}, {16, 4, "DirectBits", 4}, {16, 125, "DirectBits", 4}, {16, 126, "DirectBits", 5},
      {32, 1, "DirectBits", 4}, {32, 2, "DirectBits", 3}, {32, 62, "DirectBits", 5},  {32, 63, "DirectBits", 6},
  };
  qd::System system(FONTS);
  for (const auto& [depth, width, opcode, bytes] : kCases) {
    std::size_t sizes[2] = {};
    for (const int more : {0, 1}) {
      const auto world = qd::GWorld::make(system, width, 10 + 2 * more, depth);
      const Rect all = {0, 0, width, 10 + 2 * more};
      const Bytes picture = recordedBy([&](qd::Recorder& r) { r.image(*world, plain(all), plain(all)); });
      EXPECT_EQ(drawnIn(picture).find(opcode), 0U) << depth << " " << width;
      const qd::Playback playback = qd::GWorld::make(system, 9, 9)->play(picture);
      EXPECT_TRUE(!playback.error && playback.remarks.empty()) << depth << " " << width;
      sizes[more] = picture.size();
    }
    // Opcodes begin at even offsets: two rows tell.
    EXPECT_EQ(sizes[1] - sizes[0], 2 * bytes) << depth << " " << width;
  }
}

// Rows that are too long for the format go out in pieces, which meet without a seam.
TEST(Limits, WideImagesAreRecordedInPieces) {
  struct Case {
    int depth, width, pieces;
  };
  constexpr Case kCases[] = {{32, 4095, 1}, {32, 4096, 2}, {32, 9001, 4}, {16, 8191, 1}, {16, 8192, 2}, {8, 16383, 2}};
  Chance chance(1);
  for (const auto& [depth, width, pieces] : kCases) {
    const int table = depth == 8 ? 72 : 0;
    const Drawn wide(noise(depth, table, {0, 0, width, 2}, {{0, 0, 0}}, chance), table);
    for (const bool isStretched : {false, true}) {
      for (const int shift : {0, width / 4 - 20, width / 2 - 20, width - 40}) {
        const Rect all = {0, 0, width, 2}, to = {-shift, 1, width - shift, isStretched ? 6 : 3};
        const Bytes picture = recordedBy([&](qd::Recorder& r) { r.image(wide.world, plain(all), plain(to), 2); });
        EXPECT_EQ(std::ranges::count(drawnIn(picture), '\n'), pieces - 1) << depth << " " << width;
        Drawn drawn(noise(32, 0, {0, 0, 40, 30}, {{0, 0, 0}}, chance), 0);
        EXPECT_FALSE(drawn.world.play(picture).error);
        Player(drawn.map, drawn.map.bounds, drawn.map.bounds).bits(wide.map, all, to, 2);
        ASSERT_EQ(drawn.difference(), "")
            << depth << " " << width << " at " << shift << (isStretched ? " stretched" : "");
      }
    }
  }
}

// What a picture says of itself, and what comes of playing it.
std::string outcomeOf(const Bytes& picture) {
  qd::System system(FONTS);
  const auto info = qd::pictureInfo(picture);
  const qd::Playback playback = qd::GWorld::make(system, 9, 9)->play(picture);
  if (!info) return playback.error ? "none" : "none, but played";
  const qd::Rect& r = info->source;
  return format("%d in (%d, %d, %d, %d) of %dx%d: ", info->version, r.left, r.top, r.right, r.bottom, info->hRes >> 16,
                info->vRes >> 16) +
         (playback.error ? "broken" : format("%d drawn", playback.drawn)) +
         (playback.remarks.empty() ? "" : ", remark");
}

TEST(Limits, HeadsSayWhereAPictureLies) {
  const std::string frame = " frame (2, 1, 9, 8)\n", paint = "PaintRect (0, 0, 1, 1)\n", end = "OpEndPic\n";
  const std::string one = "picture version 1" + frame, two = "picture" + frame;
  const auto head = [](const char* fields) { return "HeaderOp { version -2 " + std::string(fields) + " }\n"; };
  const std::pair<std::string, const char*> cases[] = {
      {one + paint + end, "1 in (2, 1, 9, 8) of 72x72: 1 drawn"},
      {one + "TxFace 1\n" + paint, "1 in (2, 1, 9, 8) of 72x72: 1 drawn, remark"},
      {one + paint + end + "bytes 31", "1 in (2, 1, 9, 8) of 72x72: 1 drawn"},
      {one + paint + "bytes 3100", "1 in (2, 1, 9, 8) of 72x72: broken"},
      {one + end, "1 in (2, 1, 9, 8) of 72x72: 0 drawn"},
      {one, "1 in (2, 1, 9, 8) of 72x72: broken"},
      {two + "TxFace 1\n" + paint + end, "2 in (2, 1, 9, 8) of 72x72: 1 drawn"},
      {two + paint + "bytes 00", "2 in (2, 1, 9, 8) of 72x72: 1 drawn, remark"},
      // A frame without pixels is played into nothing.
      {"picture frame (2, 1, 2, 8)\n" + paint + end, "2 in (2, 1, 2, 8) of 72x72: 0 drawn"},
      {"picture frame (2, 9, 9, 8)\n" + paint + end, "2 in (2, 9, 9, 8) of 72x72: 0 drawn"},
      // The head's rectangle and its resolutions count if they can be, and if it comes first.
      {two + head("hRes 144 vRes 72 source (0, 0, 6, 5)") + end, "2 in (0, 0, 6, 5) of 144x72: 0 drawn"},
      {"picture\n" + head("hRes 72 vRes 144 source (0, 0, 6, 5)") + paint + end,
       "2 in (0, 0, 6, 5) of 72x144: 1 drawn"},
      {two + head("hRes 0 vRes 144 source (0, 0, 6, 5)") + end, "2 in (0, 0, 6, 5) of 72x72: 0 drawn"},
      {two + head("hRes 144 vRes -1 source (0, 0, 6, 5)") + end, "2 in (0, 0, 6, 5) of 72x72: 0 drawn"},
      {two + head("hRes 144 vRes 144 source (0, 0, 0, 5)") + end, "2 in (2, 1, 9, 8) of 144x144: 0 drawn"},
      {two + "HeaderOp { version -1 left 5 right 6 bottom 7 }\n" + end, "2 in (2, 1, 9, 8) of 72x72: 0 drawn"},
      {two + "NOP\n" + head("hRes 144 vRes 144 source (0, 0, 6, 5)") + end, "2 in (2, 1, 9, 8) of 72x72: 0 drawn"},
      // No-ops may come before the version; another version is none.
      {"bytes 0000000100020008000900001101FF", "1 in (2, 1, 9, 8) of 72x72: 0 drawn"},
      {"bytes 00000001000200080009001102FF00FF", "2 in (2, 1, 9, 8) of 72x72: 0 drawn"},
      {"bytes 000000010002000800091103FF", "none"},
      {"bytes 00000001000200080009001102FE00FF", "none"},
      {"bytes 00000001000200080009001002FF00FF", "none"},
      {"bytes 0000000100020008", "none"},
  };
  for (const auto& [text, outcome] : cases) EXPECT_EQ(outcomeOf(qd::assemblePicture(text).picture), outcome) << text;
}

}  // namespace
}  // namespace model
