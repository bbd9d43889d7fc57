// Decodes any bytes as a JPEG by the system's library.
#include "fuzz/image.h"

void feed(qd::Bytes input) { decode(qd::openJpeg, input); }
