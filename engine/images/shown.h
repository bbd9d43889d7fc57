// The part of an image that shows.
#pragma once

#include "engine/images/image.h"

namespace qd {

// Pixels of which a copy from one box to the other shows what the same copy of the whole image would.
struct ShownImage {
  OwnedPixels pixels;
  Box from, to;
};

// Of an image that is stretched over a box: what falls within another one, which may be empty. It takes memory for the
// smaller of the pixels that are shown and those that show them, and reads no row after the last of them. Nothing where
// there is no memory, or the image is damaged.
std::optional<ShownImage> readShown(ImageReader& image, const Box& to, const Box& within);
// All of it, if that isn't too much.
std::optional<ShownImage> readWhole(ImageReader& image, const Box& to);

}  // namespace qd
