// What a fuzzing target is.
#pragma once

#include "qdraw/qdraw.h"

// Does with an input what the target is for, and aborts where what comes of it is wrong.
void feed(qd::Bytes input);
