// How large the programs play a picture, and what is said of one that doesn't come out whole.
#pragma once

#include <string>

#include "qdraw/qdraw.h"
#include "tools/image.h"

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
Resolution resolutionOf(qd::Bytes picture, const PlaySize& size);

// Why a playback is none of the picture, to follow its name: "is broken at offset 42, ...". Empty if it is one, if only
// of a part.
std::string faultOf(const qd::Playback& playback);
enum class Outcome { whole, partly, failed };
Outcome outcomeOf(const qd::Playback& playback);
// How a playback came out, in a few words: "whole", or "partly: 2 opcodes are not drawn"; with a count of all opcodes
// if that is asked for.
std::string outcomeOf(const qd::Playback& playback, bool isCounted);
