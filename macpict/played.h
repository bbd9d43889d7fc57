// A picture on its way from opcodes to an image file.
#pragma once

#include <optional>

#include "macpict/means.h"
#include "qdraw/qdraw.h"
#include "tools/command.h"
#include "tools/image.h"
#include "tools/playing.h"

// How a picture is to look.
struct Look {
  PictureKind kind;
  bool isSmooth = false;    // played up to 4 times as large, for means
  bool hasOpacity = false;  // the image's own, where the picture is nothing but one that has some
  double memory = 0;        // the most bytes for pixels at once; 0 for all of the picture
};

// Plays a picture into an image of that size: at once, or, where memory is said, as strips from the top to the bottom,
// each of which takes a playback.
class PlayedPicture {
 public:
  // `what` names the picture. Throws where there is no memory for it. The picture's bytes outlive this.
  PlayedPicture(std::string what, qd::Bytes picture, const PlaySize& size, const Look& look);
  PlayedPicture(const PlayedPicture&) = delete;
  PlayedPicture& operator=(const PlayedPicture&) = delete;

  const qd::Playback& playback() const { return playback_; }
  // What --alpha can't be done for.
  bool lacksOpacity() const { return look_.hasOpacity && !opacity_; }
  // They read this.
  ImageRows rows();

 private:
  qd::Rect stripAt(int y) const;
  qd::Playback play(const qd::Rect& strip);
  void readPlayed(int y, std::span<std::uint8_t> triplets);
  void readRow(int y, std::span<std::uint8_t> row);

  std::string what_;
  qd::Bytes picture_;
  PlaySize size_;
  Look look_;
  int times_;
  PlaySize played_;  // that many times as large
  int stripHeight_;
  qd::Rect strip_ = {};
  std::optional<qd::GWorld> world_, opacity_;  // of the strip
  qd::Playback playback_;
  std::optional<Means> means_;
  std::vector<std::uint8_t> colors_, alphas_;
};
