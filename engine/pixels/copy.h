// Copies of pixels between maps of any depth, stretched where the rectangles differ in size.
#pragma once

#include "engine/geometry/region.h"
#include "engine/pixels/transfer.h"

namespace qd {

// Destination pixel k of D shows source pixel ceil(S(2k+1)/2D) - 1. Pixels from outside the source leave the
// destination alone; the clip lies within the destination. Copies within one map come out as if the source had been
// saved first.
void copyBits(const PixelMap& source, const PixelMap& destination, const Box& from, const Box& to, int mode,
              const Region& clip, const TransferColors& colors);

// Black of the mask takes the source, white leaves the destination, what lies between mixes them.
void copyMask(const PixelMap& source, const PixelMap& mask, const PixelMap& destination, const Box& from,
              const Box& maskFrom, const Box& to, const Region& clip, const TransferColors& colors);

// The same pixels in a map of their own.
std::optional<OwnedPixels> duplicate(const PixelMap& map, const Box& part);

}  // namespace qd
