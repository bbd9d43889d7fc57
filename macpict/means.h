// A world's pixels, smaller: each is the mean of those that fall into it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "qdraw/qdraw.h"

class Means {
 public:
  // Neither side is larger than the world's, which outlives this.
  Means(const qd::GWorld& world, int width, int height);
  // A row's red, green and blue.
  void row(int y, std::span<std::uint8_t> triplets);

 private:
  const qd::GWorld& world_;
  int height_;
  std::vector<int> edges_;  // the world's columns at which pixels begin, and where the last ends
  std::vector<std::uint8_t> from_;
  std::vector<std::uint32_t> sums_;
};
