// Decodes any bytes as a GIF or a TIFF by our own decoders, which serve where the libraries aren't.
#include "fuzz/image.h"

void feed(qd::Bytes input) {
  const bool isGif = !input.empty() && input[0] == 'G';
  decode(isGif ? qd::openOwnGif : qd::openOwnTiff, {input, {}});
}
