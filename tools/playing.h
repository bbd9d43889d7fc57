// How large the programs play a picture, and what is said of one that doesn't come out whole.
#pragma once

#include <string>

#include "qdraw/qdraw.h"
#include "tools/png.h"

inline constexpr int kMostSide = 32767;  // pixels of what a picture can be played into
inline constexpr int kMostShown = 4096;  // and of one that is shown among others

struct PlaySize {
  int width, height;
};
struct SizeChoice {
  double scale = 1;
  bool isInPoints = false;  // as large as on the page, at 72 dots per inch; or else with all dots that there are
  int most = kMostSide;     // smaller, in proportion, where a side would be longer
};
// Throws a Failure for a picture with an empty frame, and for what is none, which begins with its name.
PlaySize playSize(const std::string& name, qd::Bytes picture, const SizeChoice& choice = {});
// The dots per inch of a picture that is played at that size.
PNGResolution resolutionOf(qd::Bytes picture, const PlaySize& size);

// What a playback wants of being whole, to follow the picture's name: "is broken at offset 42, ...". Empty if nothing.
std::string faultOf(const qd::Playback& playback);
