// How often the runs of a shape touch each pixel of a box: where the lines of a polygon meet, they are put down on one
// another.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/geometry/region.h"

namespace qd {

class Coverage : public RunSink {
 public:
  // Nothing yet. What lies outside the box is left out.
  explicit Coverage(const Box& box);

  void run(int y, int left, int right) override;

  // Puts the fold of each count, from 1 up, in its place.
  template <class Fold>
  void fold(const Fold& fold) {
    for (int& count : counts_) count = count == 0 ? 0 : fold(count);
  }
  // What is touched at least once, at least twice and so on, as far as there is something.
  std::vector<Region> layers() const;

 private:
  const int* row(int y) const { return counts_.data() + offsetOf(y); }
  std::size_t offsetOf(int y) const {
    return static_cast<std::size_t>(y - box_.top) * static_cast<std::size_t>(box_.width());
  }

  Box box_;
  std::vector<int> counts_;
};

}  // namespace qd
