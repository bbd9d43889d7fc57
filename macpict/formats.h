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

// A file's ending, with its dot and in small letters.
std::string endingOf(const std::filesystem::path& path);

// How many of a file's bytes tell whether it is an image that the program has written, or a picture.
inline constexpr std::size_t kTellingBytes = 2048;
// Of an image that begins so.
bool hasOurMark(std::string_view head);
