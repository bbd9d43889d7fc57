// Decodes any bytes as a PNG by the system's library.
#include "fuzz/image.h"

void feed(qd::Bytes input) { decode(qd::openPng, input); }
