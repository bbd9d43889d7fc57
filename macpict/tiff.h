#pragma once

#include "tools/image.h"
#include "tools/output.h"

// TIFF 6.0: strips of red, green, blue and opacity, as differences, compressed as in PNG.
void writeTIFF(OutputFile& file, const ImageRows& image);
