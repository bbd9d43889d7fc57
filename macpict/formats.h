// The formats in which images are written: one row each.
#pragma once

#include <string>
#include <string_view>

#include "tools/image.h"
#include "tools/output.h"

struct OutputFormat {
  std::string_view name;
  std::string_view ending, otherEnding;  // of a file's name, in small letters; the first is ours
  bool hasAlpha;
  void (*write)(OutputFile& file, const ImageRows& image);
};

// Null for a name that is none of them.
const OutputFormat* formatNamed(std::string_view name);
// By the ending of a file's name; null for one that is none of theirs.
const OutputFormat* formatOf(const std::filesystem::path& path);
// "png|ppm|...", and ".png, .ppm, ...".
std::string formatNames();
std::string formatEndings();

// Whether a file is an image that the program has written.
bool hasOurMark(const std::filesystem::path& path);
