// What is played, recorded again and played from the recording comes out the same.
#include "fuzz/canvas.h"
#include "fuzz/target.h"

void feed(qd::Bytes input) {
  if (input.empty()) return;
  const int depth = kDepths[input[0] % 6];
  const qd::Bytes picture = input.subspan(1);
  const qd::Rect target = qd::MakeRect(0, 0, 40, 32);

  Canvas direct(40, 32, depth);
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  qd::Port& port = direct.port();
  port.recording = std::make_unique<qd::PictureWriter>(qd::PictureParams(40, 32), sink, resources().fonts);
  qd::play(port, picture, target);
  port.recording->close();

  Canvas again(40, 32, depth);
  if (qd::play(again.port(), bytes, target).error || again.bytes() != direct.bytes()) std::abort();
}
