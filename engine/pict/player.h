// Plays a PICT on a port: its opcodes become the port's state and the commands that operations make too.
#pragma once

#include "engine/pict/reader.h"
#include "engine/port/port.h"

namespace qd {

// Maps the picture's space to the target and draws. The port's state is as before afterwards. The first broken opcode
// ends the playback; what came before it stays.
Playback play(Port& port, Bytes picture, const Rect& target);
// Plays an image by what its pixels have as their fourth component, as greys. False unless the picture is nothing but
// one image of such pixels.
bool playFourth(Port& port, Bytes picture, const Rect& target);

}  // namespace qd
