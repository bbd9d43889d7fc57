// Decodes any bytes as a JPEG or a PNG by the small decoder, after the check that has to keep it from harm.
#include "fuzz/image.h"

void feed(qd::Bytes input) {
  const bool isPng = !input.empty() && input[0] == 0x89;
  decode(isPng ? qd::openCheckedPng : qd::openCheckedJpeg, {input, {}});
}
