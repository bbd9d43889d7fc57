// Puts runs of a pattern down on a map.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "engine/geometry/region.h"
#include "engine/pixels/transfer.h"
#include "qdraw/qdraw.h"

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

  const Work& work() const { return work_; }

 private:
  // What words of a row become: (word & keep) ^ flip, again and again.
  static constexpr int kTileWords = 8;
  struct Tile {
    std::uint32_t keep[kTileWords], flip[kTileWords];
    bool storesOnePixel;  // and keeps nothing of what was there
    bool isOneByte;       // that pixel is, again and again
  };

  // The words of a row that a run takes: some bits of one, whole ones, some bits of another.
  struct Words {
    std::size_t head, first, last;  // the tail is the word at last
    std::uint32_t headMask, tailMask;
  };
  Words wordsOf(int left, int right) const;
  void fill(int y, int left, int right);
  static void fillWords(std::uint8_t* row, const Tile& tile, const Words& words);
  // Where a pixel is whole bytes and one is put down everywhere, there are no bits to mask.
  bool storesBytes(const Tile& tile) const { return tile.storesOnePixel && map_.depth >= 8; }
  std::size_t byteCount(int pixels) const { return static_cast<std::size_t>(pixels) * map_.pixelBytes(); }
  void storeBytes(std::uint8_t* at, std::size_t bytes, int rows, const Tile& tile) const;
  const Tile& tileOf(int y);
  void makeTile(Tile& tile, std::uint8_t bits) const;
  void fillByPixel(int y, int left, int right);
  void expandPattern(int y, int left, std::size_t count);
  void readTile(const PixelMap& tile, int row, int first, std::span<std::uint32_t> pixels);

  Work work_;
  const PixelMap& map_;
  const Region& clip_;
  const Pattern& pattern_;
  Transfer transfer_;
  bool isUniform_;       // all rows of the pattern are alike
  bool isPixelByPixel_;  // the pattern or the mode asks for it
  unsigned ready_ = 0;   // tiles, by bits
  std::array<Tile, 8> tiles_;
  std::vector<std::uint32_t> source_, there_;
  std::vector<std::uint32_t> tilePixels_;  // what the indices of a tile with colours become
  std::array<int, 3> expanded_ = {};  // the pattern's row, its first column and the pixels that source_ holds of it
};

// New pixels, all of them white; nothing where OwnedPixels::make has nothing.
std::optional<OwnedPixels> whitePixels(const Box& bounds, int depth, ColorTablePtr colors);

}  // namespace qd
