// Pixels before they are painted: of a text, whose styles look at what is around each.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/geometry/region.h"

namespace qd {

class Ink {
 public:
  // Nothing yet. What lies outside the box is left out.
  explicit Ink(const Box& box) : box_(box), pixels_(sizeOf(box)) {}

  const Box& box() const { return box_; }
  std::size_t size() const { return pixels_.size(); }
  bool has(int y, int x) const { return holds(y, x) && row(y)[x - box_.left] != 0; }
  void add(int y, int x) {
    if (holds(y, x)) row(y)[x - box_.left] = 1;
  }
  void add(int y, int left, int right);

  // Each pixel becomes a block, that many more to each side: four margins, none below 0.
  void spread(const Box& margins);
  void remove(const Ink& other);
  // Rows move to the right by half of their height above that one, and to the left below it.
  void slant(int baseline);

  void emit(RunSink& sink) const;

 private:
  static std::size_t sizeOf(const Box& box) {
    return box.empty() ? 0 : static_cast<std::size_t>(box.width()) * static_cast<std::size_t>(box.height());
  }
  bool holds(int y, int x) const { return y >= box_.top && y < box_.bottom && x >= box_.left && x < box_.right; }
  std::uint8_t* row(int y) { return pixels_.data() + offsetOf(y); }
  const std::uint8_t* row(int y) const { return pixels_.data() + offsetOf(y); }
  std::size_t offsetOf(int y) const {
    return static_cast<std::size_t>(y - box_.top) * static_cast<std::size_t>(box_.width());
  }

  Box box_;
  std::vector<std::uint8_t> pixels_;  // a byte each, 1 where there is ink
};

}  // namespace qd
