// Plays any bytes into a port of any depth.
#include "fuzz/canvas.h"
#include "fuzz/target.h"

void feed(qd::Bytes input) {
  if (input.empty()) return;
  Canvas canvas(48, 40, kDepths[input[0] % 6]);
  qd::play(canvas.port(), input.subspan(1), qd::MakeRect(input[0] / 6 % 5, 0, 40, 30 + input[0] % 9));
}
