// PNG files of 8-bit colours.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

struct Image {
  int width = 0, height = 0;
  std::string rgb;  // three bytes a pixel, row by row
};

// Dots per inch; 0 where nothing is said of it.
struct PNGResolution {
  double h = 0, v = 0;
};

// Writes rows as `read` gives them, three bytes a pixel, so that no more of them is in memory than is asked for. Throws
// a Failure.
using ReadRow = std::function<void(int y, std::span<std::uint8_t> rgb)>;
void writePNG(const std::filesystem::path& path, int width, int height, const ReadRow& read,
              const PNGResolution& resolution = {});
void writePNG(const std::filesystem::path& path, const Image& image);
