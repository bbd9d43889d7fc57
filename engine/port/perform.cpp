// What becomes of a command: a recording, pixels, or both.
#include "engine/pict/writer.h"
#include "engine/port/command.h"

namespace qd {

template <class Command>
void perform(Port& port, const Command& command) {
  if (port.recording != nullptr) port.recording->write(port.state, command);
  if (port.state.penVisibility >= 0) draw(port, command);
  ++port.drawn;
  if constexpr (std::is_same_v<Command, ShapeCommand>) {
    if (command.verb == Verb::invert) port.state.highlights = false;
  }
}

template void perform(Port&, const LineCommand&);
template void perform(Port&, const ShapeCommand&);
template void perform(Port&, const TextCommand&);
template void perform(Port&, const BitsCommand&);

}  // namespace qd
