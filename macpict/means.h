// Rows of pixels made fewer: each pixel is the mean of those that fall into it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

class Means {
 public:
  using ReadRow = std::function<void(int y, std::span<std::uint8_t> triplets)>;
  struct Size {
    int width, height;
  };
  // Neither side grows. `read` gives rows of the larger size.
  Means(Size from, Size to, ReadRow read);
  // A row's red, green and blue.
  void row(int y, std::span<std::uint8_t> triplets);

 private:
  Size size_, to_;
  ReadRow read_;
  std::vector<int> edges_;  // the columns at which pixels begin, and where the last ends
  std::vector<std::uint8_t> from_;
  std::vector<std::uint32_t> sums_;
};
