// PNG files.
#pragma once

#include <filesystem>
#include <string>

struct Image {
  int width = 0, height = 0;
  std::string rgb;  // three bytes a pixel, row by row
};

// Throws runtime::Error with a sentence for a person.
void writePNG(const std::filesystem::path& path, const Image& image);
