// QuickDraw's pixels and pictures, seen from inside and through its operations.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "engine/pict/lister.h"
#include "tests/canvas.h"

using namespace qd;

namespace {

bool isIn(const Region& region, int x, int y) {
  const auto edges = region.row(y);
  return (std::upper_bound(edges.begin(), edges.end(), x) - edges.begin()) % 2 != 0;
}

std::string bytesOf(PicHandle picture) {
  const auto handle = reinterpret_cast<Handle>(picture);
  return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
}
Bytes span(const std::string& bytes) { return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}; }

PicHandle openPicture(int width, int height) {
  const OpenCPicParams params = PictureParams(width, height);
  return OpenCPicture(&params);
}

}  // namespace

TEST_F(QuickDraw, RegionsCombineAsSetsOfPixels) {
  std::mt19937 random(3);
  const auto any = [&](int high) { return std::uniform_int_distribution<int>(0, high)(random); };
  const auto make = [&] {
    Region region;
    for (int i = 0; i < 6; ++i) {
      const int x = any(20);
      const int y = any(20);
      const Region box(Box(y, x, y + any(9), x + any(9)));
      region = i % 3 == 2 ? subtract(region, box) : unite(region, box);
    }
    return region;
  };
  for (int round = 0; round < 60; ++round) {
    const Region a = make();
    const Region b = make();
    const Region both = unite(a, b);
    const Region common = intersect(a, b);
    const Region rest = subtract(a, b);
    const Region inner = a.inset(1, 2);
    for (int y = -2; y < 34; ++y) {
      for (int x = -2; x < 34; ++x) {
        ASSERT_EQ(isIn(both, x, y), isIn(a, x, y) || isIn(b, x, y));
        ASSERT_EQ(isIn(common, x, y), isIn(a, x, y) && isIn(b, x, y));
        ASSERT_EQ(isIn(rest, x, y), isIn(a, x, y) && !isIn(b, x, y));
        bool surrounded = true;
        for (int dy = -2; dy <= 2; ++dy)
          surrounded = surrounded && isIn(a, x - 1, y + dy) && isIn(a, x, y + dy) && isIn(a, x + 1, y + dy);
        ASSERT_EQ(isIn(inner, x, y), surrounded) << x << " " << y;
      }
    }
    const auto words = a.inversionPoints();
    const auto again = Region::fromInversionPoints(a.bounds(), std::span(words).subspan(5));
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, a);
  }
  // An edge at the number that ends a row is brought in.
  const Region far = unite(Region(Box(0, 0, 9, 40000)), Region(Box(20, 0, 32767, 5)));
  const auto words = far.inversionPoints();
  const auto near = Region::fromInversionPoints(far.bounds(), std::span(words).subspan(5));
  ASSERT_TRUE(near);
  EXPECT_EQ(near->bounds(), Box(0, 0, 32766, 32766));
  const std::int16_t unsorted[] = {0, 5, 3, 0x7FFF, 9, 3, 5, 0x7FFF, 0x7FFF};
  EXPECT_FALSE(Region::fromInversionPoints(Box(0, 0, 9, 9), unsorted));
  const std::int16_t open[] = {0, 3, 5, 0x7FFF, 0x7FFF};
  EXPECT_FALSE(Region::fromInversionPoints(Box(0, 0, 9, 9), open));
}

TEST_F(QuickDraw, MasksCopyBlackLeaveWhiteAndMixBetween) {
  Canvas source(32, 4, 1);
  const Rect all = MakeRect(0, 0, 4, 1);
  PaintRect(&all);
  Canvas mask(8, 4, 1, 40);
  const RGBColor levels[] = {{0, 0, 0}, {0x8080, 0x8080, 0x8080}, {0xFFFF, 0xFFFF, 0xFFFF}};
  for (std::int16_t i = 0; i < 3; ++i) {
    RGBForeColor(&levels[i]);
    const Rect one = MakeRect(i, 0, 1, 1);
    PaintRect(&one);
  }
  Canvas target(32, 4, 1);
  CopyMask(source.bits(), mask.bits(), target.bits(), &all, &all, &all);
  EXPECT_EQ(target.pixels().substr(0, 12), std::string("\0\0\0\0"
                                                       "\0\x80\x80\x80"
                                                       "\0\xFF\xFF\xFF",
                                                       12));
  const std::string before = target.pixels();
  CopyMask(nullptr, mask.bits(), target.bits(), &all, &all, &all);
  CopyMask(source.bits(), nullptr, target.bits(), &all, &all, &all);
  CopyMask(source.bits(), mask.bits(), nullptr, &all, &all, &all);
  EXPECT_EQ(target.pixels(), before);
}

TEST_F(QuickDraw, ScrollingErasesWhatItUncovers) {
  Canvas canvas(4, 12, 4);
  const Rect dot = MakeRect(2, 1, 2, 2);
  PaintRect(&dot);
  const Rect area = MakeRect(1, 0, 8, 4);
  const RgnHandle update = NewRgn();
  ScrollRect(&area, 3, 1, update);
  EXPECT_EQ(canvas.picture(), "............\n............\n.....##.....\n.....##.....\n");
  EXPECT_EQ(Box((*reinterpret_cast<const Rect*>(reinterpret_cast<const char*>(*update) + 2))), Box(0, 1, 4, 9));
  DisposeRgn(update);
}

// Its bytes move while they are read.
TEST_F(QuickDraw, ARecordingCanBePlayedIntoItself) {
  Canvas canvas(32);
  const PicHandle picture = openPicture(64, 48);
  for (std::int16_t i = 0; i < 60; ++i) {
    const Rect bar = MakeRect(i, 0, 1, 9);
    PaintRect(&bar);
  }
  const Rect all = MakeRect(0, 0, 64, 48);
  DrawPicture(picture, &all);
  ClosePicture();
  int painted = 0;
  const std::string bytes = bytesOf(picture);
  EXPECT_TRUE(
      listPicture(span(bytes), [&](const std::string& line) { painted += line.find("PaintRect") != line.npos; }));
  EXPECT_EQ(painted, 120);
  KillPicture(picture);
}

// A locked handle can't grow: what doesn't fit is missing, and nothing that would have gone by it comes after.
TEST_F(QuickDraw, ARecordingWithoutRoomTakesNoMoreAndIsWhole) {
  const auto record = [](bool lockedInBetween) {
    Canvas canvas(32);
    const PicHandle picture = openPicture(64, 48);
    const auto handle = reinterpret_cast<Handle>(picture);
    for (std::int16_t i = 0; i < 60; ++i) {
      if (lockedInBetween && i == 20) HLock(handle);
      if (lockedInBetween && i == 50) HUnlock(handle);
      const RGBColor color = {static_cast<std::uint16_t>(i * 1000), 0, 0};
      RGBForeColor(&color);
      const Rect bar = MakeRect(i, 0, 1, 9);
      PaintRect(&bar);
    }
    ClosePicture();
    std::vector<std::string> lines;
    const std::string bytes = bytesOf(picture);
    EXPECT_TRUE(listPicture(span(bytes), [&](const std::string& line) { lines.push_back(line.substr(8)); }));
    KillPicture(picture);
    return lines;
  };
  const std::vector<std::string> all = record(false);
  std::vector<std::string> first = record(true);
  EXPECT_EQ(first.back(), all.back()) << "the end";
  first.pop_back();
  EXPECT_GT(first.size(), 40U);
  EXPECT_LT(first.size(), 110U) << "nothing comes after what is missing";
  EXPECT_TRUE(std::equal(first.begin(), first.end(), all.begin()));
}

TEST_F(QuickDraw, APictureBeginsAndEndsAsReadersExpect) {
  Canvas canvas(32);
  const OpenCPicParams params = {{0, 0, 144, 288}, 0x900000, 0x480000, -2, 0, 0};
  const PicHandle picture = OpenCPicture(&params);
  EXPECT_EQ(OpenCPicture(&params), nullptr) << "a port has one open picture";
  const Rect r = MakeRect(1, 2, 3, 4);
  PaintRect(&r);
  PaintRect(&r);
  ClosePicture();
  const std::string bytes = bytesOf(picture);
  const std::string head(
      "\x00\x00\x00\x00\x00\x90\x00\x90\x00\x11\x02\xFF\x0C\x00\xFF\xFE\x00\x00\x00\x90\x00\x00\x00\x48\x00\x00"
      "\x00\x00\x00\x00\x00\x90\x01\x20\x00\x00\x00\x00",
      38);
  EXPECT_EQ(bytes.substr(2, head.size()), head);
  EXPECT_EQ(bytes.substr(2 + head.size()), std::string("\x00\x01\x00\x0A\x00\x00\x00\x00\x00\x90\x01\x20"
                                                       "\x00\x31\x00\x02\x00\x01\x00\x06\x00\x04\x00\x39\x00\xFF",
                                                       26));
  EXPECT_EQ(static_cast<unsigned char>(bytes[0]) << 8 | static_cast<unsigned char>(bytes[1]),
            static_cast<int>(bytes.size()));
  KillPicture(picture);
}

TEST_F(QuickDraw, PlayingScalesAndLeavesThePortAsItWas) {
  Canvas canvas(32, 40, 20);
  const PicHandle picture = openPicture(10, 5);
  const Rect r = MakeRect(1, 1, 4, 2);
  MacFrameRect(&r);
  ClosePicture();
  PenSize(3, 4);
  const RGBColor red = {0xFFFF, 0, 0};
  RGBForeColor(&red);
  MoveTo(7, 8);
  const Rect target = MakeRect(0, 0, 40, 20);
  DrawPicture(picture, &target);
  // At four times the size the pen is four pixels wide, so nothing is left inside.
  EXPECT_EQ(canvas.picture().substr(4 * 41, 40), "....################....................");
  Point pen = {};
  CGrafPtr port = nullptr;
  GetPort(&port);
  GetPortPenSize(port, &pen);
  EXPECT_EQ(pen, (Point{4, 3}));
  RGBColor color = {};
  GetForeColor(&color);
  EXPECT_EQ(color, red);
  KillPicture(picture);
}

TEST_F(QuickDraw, EndsOfPicturesAreTold) {
  const auto error = [](const std::string& bytes) {
    std::string last;
    EXPECT_FALSE(listPicture(span(bytes), [&](const std::string& line) { last = line; }));
    return last;
  };
  const std::string head("\0\0\0\0\0\0\0\x09\0\x09\0\x11\x02\xFF", 14);
  EXPECT_NE(error("nonsense of some length").find("it doesn't begin as a picture does"), std::string::npos);
  EXPECT_NE(error(head).find("at offset 14, in opcode 0000 NOP: it ends without an end opcode"), std::string::npos);
  EXPECT_NE(error(head + std::string("\0\x30\0\1", 4)).find("at offset 14, in opcode 0030 FrameRect: its operands"),
            std::string::npos);
  EXPECT_TRUE(listPicture(span(head + std::string("\x01\x02\0\0\0\xFF", 6)), [](const std::string&) {}))
      << "reserved, by its length";
}

TEST_F(QuickDraw, RefusesWorldsThatCannotBe) {
  const auto made = [](int depth, const Rect& bounds) {
    auto* world = reinterpret_cast<GWorldPtr>(1);
    const OSErr error = NewGWorld(&world, static_cast<std::int16_t>(depth), &bounds, nullptr, nullptr, 0);
    EXPECT_EQ(error == 0, world != nullptr);
    if (world != nullptr) DisposeGWorld(world);
    return error;
  };
  EXPECT_EQ(made(3, MakeRect(0, 0, 5, 5)), -157);
  EXPECT_EQ(made(32, MakeRect(0, 0, 0, 5)), -50);
  EXPECT_EQ(made(32, {10, 10, 5, 20}), -50);
  EXPECT_EQ(made(32, {-32768, -32768, 32767, 32767}), -108);
  EXPECT_EQ(made(1, MakeRect(0, 0, 32767, 4)), 0);
}
