// How large a picture comes out, as a person says it.
#pragma once

#include <string>

#include "tools/command.h"
#include "tools/playing.h"

struct SizeOptions {
  int width = 0, height = 0;  // 0: what goes with the other
  bool isStretched = false;   // both, whatever the picture's shape
  double scale = 1;
  bool isInPoints = false;
};
// --size, --stretch, --scale and --points.
void addSizes(CLI::App& command, SizeOptions& options);

// Throws a Failure for a picture of no size, or of more than QuickDraw can count.
PlaySize wantedSize(const std::string& what, qd::Bytes picture, const SizeOptions& options);
