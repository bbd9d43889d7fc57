// Puts runs of a pattern down on a map.
#pragma once

#include <vector>

#include "platform/quickdraw/region.h"
#include "platform/quickdraw/transfer.h"

namespace qd {

// A pattern with colours: a tile of any size.
struct PixelPattern {
  OwnedPixels tile;
};

// Eight rows of eight bits, or a tile with colours, in whose place the bits stand where there is none.
struct Pattern {
  std::array<std::uint8_t, 8> bits = {};
  std::shared_ptr<const PixelPattern> pixels;

  bool operator==(const Pattern&) const = default;
};

inline constexpr std::array<std::uint8_t, 8> kBlack = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

// Clips runs and fills them. Patterns are anchored to the coordinates of the map, not to the shape.
class Painter : public RunSink {
 public:
  // The clip lies within the map.
  Painter(const PixelMap& map, const Region& clip, const Pattern& pattern, int mode, const TransferColors& colors);

  void run(int y, int left, int right) override;
  void box(const Box& box) override;

 private:
  static constexpr int kTileWords = 8;
  struct Tile {
    std::uint32_t keep[kTileWords], flip[kTileWords];
    bool ready = false;
    bool stores = false;     // nothing of what was there is kept
    bool isOneByte = false;  // the flip is the same byte throughout
  };

  // The words of a row that a run takes, and which bits of the first and the last.
  struct Words {
    std::size_t first, last;
    std::uint32_t firstMask, lastMask;
  };
  Words wordsOf(int left, int right) const;
  void fill(int y, int left, int right);
  void fill(int y, const Words& words);
  const Tile& tileOf(int y);
  void fillByPixel(int y, int left, int right);

  const PixelMap& map_;
  const Region& clip_;
  const Pattern& pattern_;
  Transfer transfer_;
  bool isUniform_;       // all rows of the pattern are alike
  bool isPixelByPixel_;  // the pattern or the mode asks for it
  bool isClipRect_;
  std::array<Tile, 8> tiles_;
  std::vector<std::uint32_t> source_, there_;
};

}  // namespace qd
