// What can be said of a picture without looking at it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qdraw/qdraw.h"
#include "tools/playing.h"

// "whole", "partly", "failed".
const char* wordOf(Outcome outcome);

struct OpcodeCount {
  std::uint16_t number;
  std::string name;
  std::size_t count;
};

struct Facts {
  std::string name;      // of the picture, as it is told
  std::size_t bytes;     // without a file's header
  qd::PictureInfo info;  // version, frame, source
  Resolution resolution;
  std::vector<OpcodeCount> opcodes;      // by their numbers, up to what is broken
  std::vector<qd::PictureImage> images;  // by QuickTime; their bytes are the picture's own
  std::vector<qd::PictureFont> fonts;
  Outcome outcome;
  std::string words;  // of the outcome, to follow the name after a colon: "partly: 2 opcodes are not drawn"
  std::vector<std::string> remarks;

  std::size_t opcodeCount() const;
};

// Plays the picture. Throws a Failure for what is none.
Facts factsOf(const std::string& name, qd::Bytes picture);
// Of one that has been played.
Facts factsOf(const std::string& name, qd::Bytes picture, const qd::Playback& playback);
