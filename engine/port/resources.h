// What drawing and pictures refer to by name or number and don't hold: the system's fonts and colour tables.
#pragma once

#include "engine/pixels/pixels.h"
#include "engine/text/fonts.h"

namespace qd {

// Shared by the ports of one thread; two threads have one each.
struct Resources {
  // The fonts lie in that folder.
  explicit Resources(std::filesystem::path folder) : fonts(std::move(folder)) {}

  Fonts fonts;
  ColorTables tables;
};

}  // namespace qd
