// The dearest opcode of each family by its bytes, played on 500x500 pixels, against writing all of these pixels once.
#include <cstring>

#include "bench/bench.h"
#include "qdraw/qdraw.h"

#ifndef FONTS
#error "FONTS is the folder of the fonts."
#endif

namespace {

constexpr int kSide = 500;

struct Family {
  const char* name;
  std::string once;    // what is told first
  std::string repeat;  // and the opcode that is cheap to tell
};

std::string points(int count, int top, int bottom, int width) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += " (" + std::to_string(i * 37 % width) + ", " + std::to_string(i % 2 == 0 ? top : bottom) + ")";
  return text;
}

// A region of every other two columns.
std::string comb(int top, int bottom) {
  std::string edges;
  for (int x = 0; x < kSide; x += 2) edges += " " + std::to_string(x);
  const std::string first = std::to_string(top), last = std::to_string(bottom);
  return " (0, " + first + ", " + std::to_string(kSide - 2) + ", " + last + ") { " + first + ":" + edges + " " + last +
         ":" + edges + " }";
}

std::vector<Family> families() {
  const std::string all = "(-30000, -30000, 30000, 30000)";
  return {
      {"rectangle", "PaintRect " + all, "PaintSameRect"},
      {"rectangle in a mode of arithmetic", "OpColor #800080008000\nPnMode 40\nPaintRect " + all, "PaintSameRect"},
      {"round rectangle", "OvSize (30000, 30000)\nPaintRRect " + all, "PaintSameRRect"},
      {"frame of a round rectangle", "OvSize (30000, 30000)\nPnSize (400, 400)\nFrameRRect " + all, "FrameSameRRect"},
      {"oval", "PaintOval " + all, "PaintSameOval"},
      {"arc", "PaintArc " + all + " 10 300", "PaintSameArc 10 300"},
      {"polygon", "PaintPoly {" + points(8000, -3000, 3000, kSide) + "}", "PaintSamePoly"},
      {"frame of a polygon", "FramePoly {" + points(8000, -3000, 3000, kSide) + "}", "FrameSamePoly"},
      {"region", "PaintRgn" + comb(-3000, 3000), "PaintSameRgn"},
      {"frame of a region", "FrameRgn" + comb(-3000, 3000), "FrameSameRgn"},
      {"line", "PnSize (1, 1)", "ShortLine (250, -100) 127 127"},
      {"line of a wide pen", "PnSize (500, 500)", "ShortLine (0, 0) 1 1"},
      {"text", "TxFont 21\nTxSize 2048\nLongText (-300, 1000) \"M\"", "DHText 0 \"M\""},
      {"hollow text", "TxFont 21\nTxSize 2048\nTxFace 24\nLongText (-300, 1000) \"M\"", "DHText 0 \"M\""},
  };
}

std::vector<std::uint8_t> pictureOf(const Family& family, int times) {
  std::string text = "picture version 2 frame (0, 0, 500, 500)\n" + family.once + "\n";
  for (int i = 0; i < times; ++i) text += family.repeat + "\n";
  const qd::Assembled picture = qd::assemblePicture(text + "OpEndPic\n");
  if (picture.error) bench::fail(std::string(family.name) + ": " + picture.error->what + ".");
  return picture.picture;
}

}  // namespace

int main() {
  constexpr int kTimes = 1000;
  bench::Table table(
      "The worst",
      "The dearest opcode of each family by its bytes, each time of a thousand on 500x500 pixels of 32 bits. "
      "The other side writes all of these pixels once. Where an opcode is told with thousands of points, "
      "these are told once, and repeated by two bytes.",
      "ours / other");
  qd::System system(FONTS);
  auto world = qd::GWorld::make(system, kSide, kSide);
  if (!world) bench::fail("There is no memory for the pixels.");
  for (const Family& family : families()) {
    const auto few = pictureOf(family, 0), many = pictureOf(family, kTimes);
    const auto play = [&world, &family](const std::vector<std::uint8_t>& picture) {
      const qd::Playback playback = world->play(picture);
      if (playback.error) bench::fail(std::string(family.name) + " is broken " + qd::describe(*playback.error) + ".");
    };
    const auto taken =
        bench::takeTurns({{"many", [&] { play(many); }},
                          {"few", [&] { play(few); }},
                          {"pixels", [&] { std::memset(world->row(0).data(), 0x55, world->rowBytes() * kSide); }}},
                         3);
    const double one = (taken[0] - taken[1]) / kTimes;
    const auto bytes = static_cast<double>(many.size() - few.size()) / kTimes;
    table.row(std::string(family.name) + ", " + bench::format("%g bytes", bytes), bench::duration(one),
              bench::duration(taken[2]), one / taken[2], bench::atMost(10));
  }
}
