// Plays a PICT on a port: its opcodes become the port's state and the commands that operations make too.
#pragma once

#include "engine/pict/reader.h"
#include "engine/port/port.h"

namespace qd {

// What became of a picture's opcodes.
struct Playback {
  int played = 0;                    // drawn, or taken as state
  int skipped = 0;                   // reserved opcodes and comments, by their length
  int undrawn = 0;                   // known opcodes of drawings that can't be made here
  std::vector<std::string> remarks;  // what a person should know, once each
  std::optional<PictureError> error;
};

// Maps the picture's space to the target and draws. The port's state is as before afterwards. The first broken opcode
// ends the playback; what came before it stays.
Playback play(Port& port, Bytes picture, const Rect& target);

}  // namespace qd
