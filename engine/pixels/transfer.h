// Transfer modes: how source or pattern pixels and the pixels that are there make new ones (Imaging With QuickDraw,
// chapters 3 and 4).
#pragma once

#include "engine/pixels/pixels.h"

namespace qd {

enum Mode : std::int16_t {
  srcCopy = 0,
  srcOr = 1,
  srcXor = 2,
  srcBic = 3,
  notSrcCopy = 4,
  patCopy = 8,
  patOr = 9,
  patXor = 10,
  patBic = 11,
  blend = 32,
  addPin = 33,
  addOver = 34,
  subPin = 35,
  transparent = 36,
  adMax = 37,
  subOver = 38,
  adMin = 39,
  grayishTextOr = 49,
  hilite = 50,
  ditherCopy = 64,
};

// The colours that take part in a transfer, as pixels of the map.
struct TransferColors {
  RGBColor foreground = {0, 0, 0};
  RGBColor background = {0xFFFF, 0xFFFF, 0xFFFF};
  RGBColor operand = {0, 0, 0};  // weight or pin of the arithmetic modes
  RGBColor highlight = {0xB5B5, 0xD5D5, 0xFFFF};
};

// One mode with its colours, for one map. The logic of the Boolean modes works on ink: the bits in which a pixel is
// black, which are those of an index, and the inverted ones of a direct pixel. Set bits of a pattern are all ink.
class Transfer {
 public:
  Transfer(const PixelMap& map, int mode, const TransferColors& colors);

  bool isBoolean() const { return mode_ < 8; }
  std::uint32_t ink(std::uint32_t pixel) const { return isDirect_ ? ~pixel & ones_ : pixel; }
  // What stands for a bit of a pattern or of a one-bit source where ink isn't enough: where there is arithmetic.
  std::uint32_t patternPixel(bool isSet) const {
    if (mode_ == hilite) return isSet != isDirect_ ? ones_ : 0;
    return isSet ? foreground_ : background_;
  }

  // A Boolean transfer of some ink turns a pixel d into (d & keep) ^ flip.
  struct Masks {
    std::uint32_t keep, flip;
  };
  Masks masks(std::uint32_t ink) const;
  // Any transfer of source pixels in the map's own format onto as many that are there.
  void apply(std::span<const std::uint32_t> source, std::span<std::uint32_t> there) const;
  // Copying black on white: the source goes over as it is.
  bool isPlainCopy() const { return mode_ == srcCopy && ink(foreground_) == ones_ && ink(background_) == 0; }

 private:
  template <int Mode>
  void arithmetic(std::span<const std::uint32_t> source, std::span<std::uint32_t> there) const;

  const PixelMap& map_;
  int mode_;
  bool isDirect_;
  std::uint32_t ones_, foreground_, background_, highlight_;
  RGBColor operand_;
};

}  // namespace qd
