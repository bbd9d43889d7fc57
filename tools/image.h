// An image on its way to a file, 8 bits a component.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

// Dots per inch; 0 where nothing is said of it.
struct Resolution {
  double h = 0, v = 0;
};

struct ImageRows {
  int width = 0, height = 0;
  int channels = 3;  // red, green, blue; the fourth is opacity
  // Gives a row. It may be asked for the same one again, so that no more of them is in memory than is written at once.
  std::function<void(int y, std::span<std::uint8_t> row)> read;
  Resolution resolution;

  std::size_t rowBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels); }
};

// One that is in memory.
struct Image {
  int width = 0, height = 0;
  std::string rgb;  // three bytes a pixel, row by row

  // They read this image.
  ImageRows rows() const;
};

// What a file says of the program that wrote it, by which it is known again.
inline constexpr const char* kSoftware = "macpict (QuickDraw pictures)";
