// QuickDraw's pixels and pictures, seen from inside and through its operations.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <random>
#include <set>

#include "engine/pict/bits.h"
#include "engine/pict/lister.h"
#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "engine/pixels/copy.h"
#include "engine/shapes/scan.h"
#include "tests/canvas.h"

using namespace qd;

namespace {

// The runs of a shape as text: "2..14 0..16 1..15", a row after the other, with "-" for one without runs in between.
class RunText : public RunSink {
 public:
  void run(int y, int left, int right) override {
    if (!text.empty()) {
      while (++last_ < y) text += " -";
      text += y < last_ ? "+" : " ";
    }
    text += std::to_string(left) + ".." + std::to_string(right);
    last_ = y;
  }
  std::string text;

 private:
  int last_ = INT32_MIN;
};

bool isIn(const Region& region, int x, int y) {
  const auto edges = region.row(y);
  return (std::upper_bound(edges.begin(), edges.end(), x) - edges.begin()) % 2 != 0;
}

// The bits of a pixel that make its colour.
std::uint32_t pixelAt(const PixelMap& map, int x, int y) {
  std::array<std::uint32_t, 1> one;
  map.get(y, x, one);
  return one[0] & map.ones();
}

const Box kAllRows(-65536, -65536, 65536, 65536);

template <class Scan>
std::string runsOf(Scan scan) {
  RunText sink;
  scan(sink);
  return sink.text;
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

TEST_F(QuickDraw, ShapesTouchTheirPixels) {
  EXPECT_EQ(runsOf([](RunSink& s) { scanRoundBox(RoundBox::oval(Box(0, 0, 3, 16)), kAllRows, s); }),
            "2..14 0..16 1..15");
  EXPECT_EQ(runsOf([](RunSink& s) { scanRoundBox(RoundBox::oval(Box(0, 0, 8, 8)), kAllRows, s); }),
            "2..6 1..7 0..8 0..8 0..8 0..8 1..7 2..6");
  EXPECT_EQ(runsOf([](RunSink& s) { scanRoundBox({Box(0, 0, 5, 9), 4, 4}, kAllRows, s); }), "1..8 0..9 0..9 0..9 1..8");
  EXPECT_EQ(runsOf([](RunSink& s) {
              scanFrame({Box(0, 0, 4, 5), 0, 0}, {1, 2}, kAllRows, s);
            }),
            "0..5 0..2+3..5 0..2+3..5 0..5");
  EXPECT_EQ(runsOf([](RunSink& s) {
              scanFrame({Box(0, 0, 3, 3), 0, 0}, {2, 2}, kAllRows, s);
            }),
            "0..3 0..3 0..3")
      << "nothing is left inside";
  EXPECT_EQ(runsOf([](RunSink& s) { scanArc(Box(0, 0, 8, 8), {0, 90}, kAllRows, s); }), "4..6 4..7 4..8 4..8");
  EXPECT_EQ(runsOf([](RunSink& s) { scanArc(Box(0, 0, 8, 8), {90, -90}, kAllRows, s); }), "4..6 4..7 4..8 4..8");
  EXPECT_EQ(runsOf([](RunSink& s) { scanArc(Box(0, 0, 8, 8), {90, 180}, kAllRows, s); }), "0..8 0..8 1..7 2..6");
  EXPECT_EQ(runsOf([](RunSink& s) { scanArc(Box(0, 0, 8, 8), {45, 0}, kAllRows, s); }), "");
  EXPECT_EQ(runsOf([](RunSink& s) {
              scanArcFrame(Box(0, 0, 8, 8), {270, 90}, {1, 1}, kAllRows, s);
            }),
            "2..4 1..2 0..1 0..1");
  EXPECT_EQ(runsOf([](RunSink& s) { scanLine({0, 0}, {2, 5}, {1, 1}, kAllRows, s); }), "0..1 1..4 4..6");
  EXPECT_EQ(runsOf([](RunSink& s) { scanLine({5, 3}, {5, 0}, {2, 2}, kAllRows, s); }), "0..5 0..5");
  const Point triangle[] = {{0, 0}, {4, 0}, {4, 4}};
  EXPECT_EQ(runsOf([&](RunSink& s) { scanPolygon(triangle, Box(0, 0, 10, 10), s); }), "0..1 0..2 0..3 0..4");
}

TEST_F(QuickDraw, FlatShapesAndCornersOfNoSizeTouchTheirPixels) {
  const Box flat(0, 0, 3, 30);
  const Box low(0, 0, 3, 16);
  const struct {
    RoundBox shape;
    const char *solid, *framed;  // by a pen of 1
  } shapes[] = {
      {RoundBox::oval(flat), "3..27 0..30 3..27", "3..27 - 3..27"},
      {RoundBox::oval(low), "2..14 0..16 1..15", "2..14 - 1..15"},
      {{flat, 40, 40}, "3..27 0..30 3..27", "3..27 - 3..27"},
      {{low, 4, 0}, "2..14 2..14 2..14", "2..14 - 2..14"},
      {{low, 5, -1}, "2..14 2..14 2..14", "2..14 - 2..14"},
      {{low, 0, 4}, "0..16 0..16 0..16", "0..16 0..1+15..16 0..16"},
      {{Box(0, 0, 4, 9), 6, 2}, "0..9 0..9 0..9 0..9", "0..9 0..3+6..9 0..3+6..9 0..9"},
  };
  for (const auto& [shape, solid, framed] : shapes) {
    EXPECT_EQ(runsOf([&round = shape](RunSink& s) { scanRoundBox(round, kAllRows, s); }), solid);
    EXPECT_EQ(runsOf([&round = shape](RunSink& s) { scanFrame(round, {1, 1}, kAllRows, s); }), framed);
  }
  EXPECT_EQ(runsOf([&](RunSink& s) { scanArcFrame(flat, {0, 180}, {1, 1}, kAllRows, s); }), "15..27 - 15..27");
}

// Rows in which a tangent that is rounded from the exact one would put the ray a pixel farther right.
TEST_F(QuickDraw, ArcsTakeTheirTangentsFromTheTable) {
  const struct {
    int degrees, width, height, y;
    const char* run;
  } rows[] = {{58, 299, 11, 3, "149..235"}, {73, 38, 145, 51, "19..36"}, {89, 290, 117, 57, "145..286"}};
  for (const auto& [degrees, width, height, y, run] : rows) {
    RegionBuilder wedge;
    scanArc(Box(0, 0, height, width), {0, degrees}, kAllRows, wedge);
    const Region row = intersect(wedge.take(), Region(Box(y, 0, y + 1, width)));
    EXPECT_EQ(runsOf([&](RunSink& s) { row.emit(s, row.bounds()); }), run) << degrees;
  }
}

TEST_F(QuickDraw, ScannersStayInTheirRectangleAndEnd) {
  class Bounds : public RunSink {
   public:
    explicit Bounds(const Box& limit) : limit_(limit) {}
    void run(int y, int left, int right) override {
      ASSERT_TRUE(limit_.contains(Box(y, left, y + 1, right))) << y << " " << left << ".." << right;
    }

   private:
    Box limit_;
  };
  for (const int width : {1, 2, 3}) {
    const Box thin(-32768, 0, 32767, width);
    Bounds sink(thin);
    scanRoundBox(RoundBox::oval(thin), kAllRows, sink);
    scanFrame(RoundBox::oval(thin), {1, 1}, kAllRows, sink);
  }
  std::mt19937 random(7);
  const auto any = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  for (int i = 0; i < 400; ++i) {
    const bool isHuge = i % 40 == 0;
    const int far = isHuge ? 32767 : 60;
    const Box box(any(-far, far), any(-far, far), any(-far, far), any(-far, far));
    Bounds sink(box);
    const Point pen = {static_cast<std::int16_t>(any(-1, 9)), static_cast<std::int16_t>(any(-1, 9))};
    scanRoundBox({box, any(-3, far), any(-3, far)}, kAllRows, sink);
    scanFrame({box, any(-3, far), any(-3, far)}, pen, kAllRows, sink);
    if (!box.empty()) {
      scanArc(box, {any(-400, 400), any(-400, 400)}, kAllRows, sink);
      scanArcFrame(box, {any(-400, 400), any(-400, 400)}, pen, kAllRows, sink);
    }
    const Point from = {static_cast<std::int16_t>(any(-far, far)), static_cast<std::int16_t>(any(-far, far))};
    const Point to = {static_cast<std::int16_t>(any(-far, far)), static_cast<std::int16_t>(any(-far, far))};
    Bounds swept(Box(std::min(from.v, to.v), std::min(from.h, to.h), std::max(from.v, to.v) + std::max<int>(pen.v, 0),
                     std::max(from.h, to.h) + std::max<int>(pen.h, 0)));
    scanLine(from, to, pen, kAllRows, swept);
  }
}

// Scanners begin at the clip's first row as if they had come to it row by row.
TEST_F(QuickDraw, ScannersLookAtRowsOfTheClipAlone) {
  struct Rows : RunSink {
    explicit Rows(const Box& only) : clip(only) {}
    void run(int y, int left, int right) override {
      if (y >= clip.top && y < clip.bottom) runs.push_back({y, left, right});
      ++count;
    }
    void box(const Box& box) override {
      const Box shown = intersect(box, clip);
      for (int y = shown.top; y < shown.bottom; ++y) runs.push_back({y, shown.left, shown.right});
    }
    Box clip;
    std::vector<std::array<int, 3>> runs;
    int count = 0;
  };
  struct PixelSet : RunSink {
    explicit PixelSet(const Box& only) : clip(only) {}
    void run(int y, int left, int right) override {
      if (y < clip.top || y >= clip.bottom) return;
      for (int x = std::max(left, clip.left); x < std::min(right, clip.right); ++x) pixels.insert({y, x});
    }
    Box clip;
    std::set<std::pair<int, int>> pixels;
  };
  std::mt19937 random(11);
  const auto any = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const auto word = [&](int far) { return static_cast<std::int16_t>(any(-far, far)); };
  for (int i = 0; i < 4000; ++i) {
    const int far = i % 50 == 0 ? 32767 : 90, across = i % 7 == 0 ? 3 : far;
    const Box box(any(-far, 0), any(-across, 0), any(1, far), any(1, across));
    const RoundBox round = i % 2 == 0 ? RoundBox::oval(box) : RoundBox{box, any(0, across), any(0, far)};
    const Point pen = {static_cast<std::int16_t>(any(1, 5)), static_cast<std::int16_t>(any(1, 5))};
    const Wedge wedge = {any(-400, 400), any(-400, 400)};
    const Point from = {word(far), word(far)}, to = {word(far), word(far)};
    const int top = any(-far, far - 1);
    const Box clip(top, -65536, any(top + 1, std::min(far, top + 40)), 65536);
    const std::function<void(const Box&, RunSink&)> scans[] = {
        [&](const Box& rows, RunSink& sink) { scanRoundBox(round, rows, sink); },
        [&](const Box& rows, RunSink& sink) { scanFrame(round, pen, rows, sink); },
        [&](const Box& rows, RunSink& sink) { scanArc(box, wedge, rows, sink); },
        [&](const Box& rows, RunSink& sink) { scanArcFrame(box, wedge, pen, rows, sink); },
        [&](const Box& rows, RunSink& sink) { scanLine(from, to, pen, rows, sink); },
    };
    // More edges than columns.
    if (i % 20 == 0) {
      std::vector<Point> points(200);
      for (Point& point : points) point = {word(40), word(40)};
      const Box narrow(clip.top, -5, clip.bottom, 20);
      PixelSet all(narrow), shown(narrow);
      scanPolygon(points, kAllRows, all);
      scanPolygon(points, narrow, shown);
      ASSERT_EQ(all.pixels, shown.pixels);
    }
    for (const auto& scan : scans) {
      Rows all(clip), shown(clip);
      scan(kAllRows, all);
      scan(clip, shown);
      ASSERT_EQ(all.runs, shown.runs) << "shape " << i << ", scanner " << &scan - scans;
      EXPECT_LE(shown.count, 4 * clip.height());
    }
  }
}

TEST_F(QuickDraw, ColoursGoToTheNearestEntry) {
  std::mt19937 random(5);
  for (const int id : {33, 34, 36, 40, 66, 68, 72}) {
    const ColorTablePtr table = qd::ColorTables().byId(id);
    const auto distance = [](const RGBColor& a, const RGBColor& b) {
      const std::int64_t d[] = {a.red - b.red, a.green - b.green, a.blue - b.blue};
      return d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
    };
    for (int i = 0; i < 3000; ++i) {
      const auto any = [&] { return static_cast<std::uint16_t>(random()); };
      const RGBColor color = {any(), any(), any()};
      std::size_t best = 0;
      for (std::size_t k = 1; k < table->colors().size(); ++k) {
        if (distance(table->colors()[k], color) < distance(table->colors()[best], color)) best = k;
      }
      ASSERT_EQ(table->nearest(color), best) << id;
    }
  }
}

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

TEST_F(QuickDraw, TransfersByTheRulesOfTheirModes) {
  // Two pixels of source, black and white, on black and white.
  const auto row = [](int depth, int mode) {
    Canvas source(depth, 8, 1);
    const Rect black = MakeRect(0, 0, 2, 1);
    PaintRect(&black);
    Canvas target(depth, 8, 1);
    const Rect half = MakeRect(0, 0, 1, 1);
    const Rect other = MakeRect(2, 0, 1, 1);
    PaintRect(&half);
    PaintRect(&other);
    const Rect all = MakeRect(0, 0, 4, 1);
    CopyBits(source.bits(), target.bits(), &all, &all, static_cast<std::int16_t>(mode), nullptr);
    return target.picture().substr(0, 4);
  };
  // Source ##.. on #.#.
  for (const int depth : {1, 2, 4, 8, 16, 32}) {
    SCOPED_TRACE(depth);
    EXPECT_EQ(row(depth, srcCopy), "##..");
    EXPECT_EQ(row(depth, srcOr), "###.");
    EXPECT_EQ(row(depth, srcXor), ".##.");
    EXPECT_EQ(row(depth, srcBic), "..#.");
    EXPECT_EQ(row(depth, notSrcCopy), "..##");
    EXPECT_EQ(row(depth, 5), "#.##");
    EXPECT_EQ(row(depth, 6), "#..#");
    EXPECT_EQ(row(depth, 7), "#...");
    EXPECT_EQ(row(depth, srcCopy + ditherCopy), "##..");
    if (depth == 1) continue;
    EXPECT_EQ(row(depth, transparent), "###.");
    EXPECT_EQ(row(depth, adMax), "#...");
    EXPECT_EQ(row(depth, adMin), "###.");
  }
  EXPECT_EQ(row(1, blend) + row(1, addPin) + row(1, adMin), "##....#.###.");
}

TEST_F(QuickDraw, CopiesStretchBetweenDepthsAndWithinOneMap) {
  for (const int from : {1, 2, 4, 8, 16, 32}) {
    for (const int to : {1, 4, 8, 16, 32}) {
      SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
      Canvas source(from, 8, 4);
      const Rect corner = MakeRect(1, 1, 2, 2);
      PaintRect(&corner);
      Canvas target(to, 12, 8);
      const Rect part = MakeRect(0, 0, 4, 4);
      const Rect twice = MakeRect(2, 0, 8, 8);
      CopyBits(source.bits(), target.bits(), &part, &twice, srcCopy, nullptr);
      EXPECT_EQ(target.picture(),
                "............\n............\n....####....\n....####....\n....####....\n....####....\n............\n...."
                "........\n");
      const Rect outside = MakeRect(-2, -2, 4, 4);
      CopyBits(target.bits(), target.bits(), &twice, &outside, srcCopy, nullptr);
      EXPECT_EQ(target.picture().substr(0, 13), "#...........\n");
    }
  }
  Canvas canvas(8, 12, 3);
  const Rect square = MakeRect(0, 0, 4, 3);
  FrameOval(&square);
  const std::string before = canvas.picture();
  const Rect moved = MakeRect(1, 0, 4, 3);
  CopyBits(canvas.bits(), canvas.bits(), &square, &moved, srcCopy, nullptr);
  for (std::size_t y = 0; y < 3; ++y) EXPECT_EQ(canvas.picture().substr(y * 13 + 1, 4), before.substr(y * 13, 4));
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
}

TEST_F(QuickDraw, PatternsFillEachPixelByTheirBits) {
  std::mt19937 random(17);
  const auto any = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  for (const int depth : {1, 2, 4, 8, 16, 32}) {
    for (int round = 0; round < 200; ++round) {
      const auto map = OwnedPixels::make(Box(-3, any(-9, 9), 5, any(10, 99)), depth, qd::ColorTables().standard(depth));
      const auto rows = static_cast<std::size_t>(map->map.bounds.height());
      std::generate_n(map->map.base, rows * static_cast<std::size_t>(map->map.rowBytes), [&] { return random(); });
      const auto before = duplicate(map->map, map->map.bounds);
      Pattern pattern{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, nullptr};
      if (any(0, 1) == 0) std::generate(pattern.bits.begin(), pattern.bits.end(), random);
      const int mode = any(patCopy, patBic);
      const Box box = intersect(Box(any(-5, 4), any(-9, 20), any(0, 7), any(0, 110)), map->map.bounds);
      const Region all(map->map.bounds);
      const Region clip = any(0, 1) == 0 ? all : subtract(all, Region(Box(0, 2, 2, any(3, 60))));
      Painter(map->map, clip, pattern, mode, TransferColors{}).box(box);

      const std::uint32_t ones = map->map.ones();
      const std::uint32_t black = map->map.isDirect() ? 0 : ones;
      for (int y = all.bounds().top; y < all.bounds().bottom; ++y) {
        for (int x = all.bounds().left; x < all.bounds().right; ++x) {
          const bool isFilled = isIn(clip, x, y) && y >= box.top && y < box.bottom && x >= box.left && x < box.right;
          const bool isSet = (pattern.bits[static_cast<std::size_t>(y & 7)] >> (7 - (x & 7)) & 1) != 0;
          const std::uint32_t there = pixelAt(before->map, x, y);
          const std::uint32_t set[] = {black, black, there ^ ones, black ^ ones};
          const std::uint32_t clear = mode == patCopy ? black ^ ones : there;
          const std::uint32_t filled = isSet ? set[mode - patCopy] : clear;
          ASSERT_EQ(pixelAt(map->map, x, y), isFilled ? filled : there)
              << x << "," << y << " at " << depth << " in mode " << mode << " round " << round;
        }
      }
    }
  }
}

// The loops over rows take shortcuts: whole bytes, repeated rows, masks by bytes. Pixel by pixel there are none.
TEST_F(QuickDraw, CopiesOfAnyDepthsAreThoseOfEachPixel) {
  std::mt19937 random(13);
  const auto any = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const auto noise = [&](int depth, int width, int height) {
    auto made = OwnedPixels::make(Box(0, 0, height, width), depth, qd::ColorTables().standard(depth));
    std::vector<std::uint32_t> row(static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y) {
      // Often black or white, which masks take otherwise.
      for (std::uint32_t& p : row) p = any(0, 2) == 0 ? made->map.ones() : any(0, 2) == 0 ? 0 : random();
      made->map.put(y, 0, row);
    }
    return std::move(*made);
  };
  const auto mix = [](std::uint16_t s, std::uint16_t d, std::uint16_t m) {
    return static_cast<std::uint16_t>((std::uint64_t{s} * (0xFFFFU - m) + std::uint64_t{d} * m + 0x7FFF) / 0xFFFF);
  };
  constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};
  for (int round = 0; round < 1500; ++round) {
    const OwnedPixels source = noise(kDepths[any(0, 5)], any(1, 50), any(1, 6));
    const OwnedPixels mask = noise(kDepths[any(0, 5)], source.map.bounds.width(), source.map.bounds.height());
    const OwnedPixels target = noise(kDepths[any(0, 5)], any(1, 70), any(1, 12));
    const OwnedPixels before = *duplicate(target.map, target.map.bounds);
    const int left = any(-5, 20);
    const int top = any(-2, 3);
    const Box from = source.map.bounds;
    const bool isStretched = any(0, 1) == 0;
    const Box to(top, left, top + (isStretched ? any(1, 15) : from.bottom),
                 left + (isStretched ? any(1, 90) : from.right));
    const Box hole(1, 3, 3, any(4, 30));
    const Region clip = any(0, 1) == 0 ? Region(target.map.bounds) : subtract(Region(target.map.bounds), Region(hole));
    const bool isMasked = any(0, 1) == 0;
    if (isMasked) {
      copyMask(source.map, mask.map, target.map, from, from, to, clip, TransferColors{});
    } else {
      copyBits(source.map, target.map, from, to, srcCopy, clip, TransferColors{});
    }
    const auto shown = [](int at, int sourceSize, int size) {
      return (sourceSize * (2 * at + 1) + 2 * size - 1) / (2 * size) - 1;
    };
    for (int y = 0; y < target.map.bounds.bottom; ++y) {
      for (int x = 0; x < target.map.bounds.right; ++x) {
        const bool isInside = x >= to.left && x < to.right && y >= to.top && y < to.bottom && isIn(clip, x, y);
        std::uint32_t expected = pixelAt(before.map, x, y);
        if (isInside) {
          const int sx = shown(x - to.left, from.width(), to.width());
          const int sy = shown(y - to.top, from.height(), to.height());
          RGBColor color = source.map.colorOf(pixelAt(source.map, sx, sy));
          if (isMasked) {
            color = target.map.colorOf(target.map.pixelOf(color));
            const RGBColor d = target.map.colorOf(expected);
            const RGBColor m = mask.map.colorOf(pixelAt(mask.map, sx, sy));
            color = {mix(color.red, d.red, m.red), mix(color.green, d.green, m.green), mix(color.blue, d.blue, m.blue)};
          }
          expected = target.map.pixelOf(color);
        }
        ASSERT_EQ(pixelAt(target.map, x, y), expected)
            << x << "," << y << " of " << source.map.depth << " to " << target.map.depth
            << (isMasked ? " by " : " not ") << mask.map.depth << " round " << round;
      }
    }
  }
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

TEST_F(QuickDraw, PackBitsGoesBothWays) {
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    std::vector<std::uint8_t> row(static_cast<std::size_t>(2 * (1 + random() % 300)));
    for (auto& byte : row) byte = static_cast<std::uint8_t>(random() % (round % 5 + 1));
    for (const std::size_t unit : {1, 2}) {
      ByteWriter packed;
      packBits(row, unit, packed);
      EXPECT_LE(packed.size(), row.size() + row.size() / 100 + 3);
      for (std::size_t at = 0; at < packed.size();) {
        const auto count = static_cast<std::int8_t>(packed.bytes()[at]);
        ASSERT_NE(count, -128);
        at += 1 + unit * static_cast<std::size_t>(count >= 0 ? count + 1 : 1);
      }
      std::vector<std::uint8_t> again(row.size());
      ASSERT_TRUE(unpackBits(packed.bytes(), unit, again));
      ASSERT_EQ(again, row);
    }
  }
}

// Draws something of everything by chance; the same for the same seed.
void drawAnything(unsigned seed, BitMapPtr otherBits, BitMapPtr deepBits) {
  std::mt19937 random(seed);
  const auto any = [&](int low, int high) {
    return static_cast<std::int16_t>(std::uniform_int_distribution<int>(low, high)(random));
  };
  for (int i = 0; i < 40; ++i) {
    const Rect r = MakeRect(any(-10, 60), any(-10, 44), any(-3, 50), any(-3, 40));
    const std::int16_t a = any(-200, 400);
    const std::int16_t b = any(-50, 90);
    switch (any(0, 26)) {
      case 0:
        MacFrameRect(&r);
        break;
      case 1:
        PaintRect(&r);
        break;
      case 2:
        EraseRect(&r);
        break;
      case 3:
        MacInvertRect(&r);
        break;
      case 4:
        FrameOval(&r);
        break;
      case 5:
        PaintOval(&r);
        break;
      case 6:
        EraseOval(&r);
        break;
      case 7:
        InvertOval(&r);
        break;
      case 8:
        FrameArc(&r, a, b);
        break;
      case 9:
        PaintArc(&r, a, b);
        break;
      case 10:
        EraseArc(&r, a, b);
        break;
      case 11:
        InvertArc(&r, a, b);
        break;
      case 12:
        FrameRoundRect(&r, 9, 7);
        break;
      case 13:
        PaintRoundRect(&r, 12, 30);
        break;
      case 14:
        EraseRoundRect(&r, 5, 5);
        break;
      case 15:
        InvertRoundRect(&r, b, b);
        break;
      case 16:
        MoveTo(a, b);
        LineTo(any(-5, 70), any(-5, 50));
        break;
      case 17:
        Move(any(-9, 9), 3);
        Line(any(-99, 99), any(-40, 40));
        break;
      case 18:
        PenSize(any(0, 5), any(0, 5));
        break;
      case 19:
        PenNormal();
        break;
      case 20: {
        const RGBColor color = {static_cast<std::uint16_t>(random()), static_cast<std::uint16_t>(random()),
                                static_cast<std::uint16_t>(random())};
        if (any(0, 3) == 0)
          RGBBackColor(&color);
        else
          RGBForeColor(&color);
        break;
      }
      case 21:
        TextSize(any(0, 24));
        TextFace(any(0, 127));
        TextMode(any(0, 3));
        break;
      case 22:
        MoveTo(any(0, 50), any(0, 48));
        DrawText("Pict \x80 123", 0, 10);
        DrawText("more", 1, 3);
        break;
      case 23: {
        const PolyHandle polygon = OpenPoly();
        MoveTo(any(0, 60), any(0, 40));
        for (int p = any(1, 6); p > 0; --p) LineTo(any(-9, 70), any(-9, 60));
        ClosePoly();
        const int verb = any(0, 3);
        if (verb == 0) FramePoly(polygon);
        if (verb == 1) PaintPoly(polygon);
        if (verb == 2) ErasePoly(polygon);
        if (verb == 3) InvertPoly(polygon);
        KillPoly(polygon);
        break;
      }
      case 24:
      case 25:
      case 26: {
        CGrafPtr port = nullptr;
        GetPort(&port);
        const Rect from = MakeRect(any(-4, 20), any(-4, 20), any(1, 40), any(1, 30));
        CopyBits(any(0, 1) == 0 ? otherBits : deepBits, GetPortBitMapForCopyBits(port), &from, &r, any(0, 7), nullptr);
        break;
      }
    }
  }
}

class DirectEqualsPlayed : public QuickDraw, public ::testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(DirectEqualsPlayed, OverAllOperations) {
  const auto [depth, table] = GetParam();
  Canvas bits(1, 30, 20);
  const Rect dot = MakeRect(3, 4, 20, 9);
  PaintOval(&dot);
  for (const int otherDepth : {2, 4, 8, 16, 32}) {
    Canvas deep(otherDepth, 40, 24);
    for (std::int16_t x = 0; x < 40; x += 4) {
      const RGBColor color = {static_cast<std::uint16_t>(x * 1600), static_cast<std::uint16_t>(0xFFFF - x * 1000),
                              0x4321};
      RGBForeColor(&color);
      const Rect bar = MakeRect(x, 0, 4, 24);
      PaintRect(&bar);
    }
    for (unsigned seed = 0; seed < 12; ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", copies from depth " + std::to_string(otherDepth));
      Canvas direct(depth, 64, 48, table);
      drawAnything(seed, bits.bits(), deep.bits());
      const std::string expected = direct.pixels();

      Canvas recording(depth, 64, 48, table);
      const std::string blank = recording.pixels();
      const PicHandle picture = openPicture(64, 48);
      drawAnything(seed, bits.bits(), deep.bits());
      ClosePicture();
      EXPECT_EQ(recording.pixels(), blank) << "recording draws nothing";

      Canvas played(depth, 64, 48, table);
      const Rect target = MakeRect(0, 0, 64, 48);
      DrawPicture(picture, &target);
      ASSERT_FALSE(lastPlayback().error) << describe(*lastPlayback().error);
      ASSERT_EQ(played.pixels(), expected);

      // What is played into an open recording comes out the same again.
      Canvas rerecording(depth, 64, 48, table);
      const PicHandle again = openPicture(64, 48);
      DrawPicture(picture, &target);
      ClosePicture();
      Canvas replayed(depth, 64, 48, table);
      DrawPicture(again, &target);
      ASSERT_EQ(replayed.pixels(), expected);
      KillPicture(picture);
      KillPicture(again);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Depths, DirectEqualsPlayed,
                         ::testing::Values(std::pair(1, 33), std::pair(2, 66), std::pair(2, 34), std::pair(4, 68),
                                           std::pair(4, 36), std::pair(8, 72), std::pair(8, 40), std::pair(16, 0),
                                           std::pair(32, 0)),
                         [](const auto& info) {
                           return "Depth" + std::to_string(info.param.first) + "Table" +
                                  std::to_string(info.param.second);
                         });

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

TEST_F(QuickDraw, BrokenPicturesEndWithoutHarm) {
  Canvas canvas(8);
  Canvas source(16, 20, 10);
  canvas.select();
  const PicHandle picture = openPicture(64, 48);
  drawAnything(5, source.bits(), source.bits());
  ClosePicture();
  const std::string whole = bytesOf(picture);
  KillPicture(picture);
  std::mt19937 random(1);
  const Rect target = MakeRect(3, 3, 40, 30);
  int broken = 0;
  for (int i = 0; i < 1500; ++i) {
    std::string bytes = whole;
    if (i % 3 == 0) bytes.resize(random() % bytes.size());
    for (int change = i % 7; change > 0 && !bytes.empty(); --change)
      bytes[random() % bytes.size()] = static_cast<char>(random());
    const Handle handle = NewHandle(static_cast<std::int32_t>(bytes.size()));
    if (!bytes.empty()) std::memcpy(*handle, bytes.data(), bytes.size());
    DrawPicture(reinterpret_cast<PicHandle>(handle), &target);
    broken += lastPlayback().error ? 1 : 0;
    const bool listed = listPicture(span(bytes), [](const std::string&) {});
    if (listed && lastPlayback().error) {
      EXPECT_EQ(lastPlayback().error->what, "its operands make no sense");
    }
    DisposeHandle(handle);
  }
  EXPECT_GT(broken, 500);
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
