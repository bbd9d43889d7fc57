// The scan converters by themselves, as far as no picture's pixels tell what they do.
#include "engine/shapes/scan.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>

using namespace qd;

namespace {

const Box kAllRows(-65536, -65536, 65536, 65536);

}  // namespace

TEST(Scan, ScannersStayInTheirRectangleAndEnd) {
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
TEST(Scan, ScannersLookAtRowsOfTheClipAlone) {
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
