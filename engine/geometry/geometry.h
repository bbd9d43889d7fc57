// Rectangles and points in 32 bits, so that no arithmetic on 16-bit coordinates can overflow.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "contract/types.h"

namespace qd {

// The pixels between the edges; empty if an edge meets or passes its opposite.
struct Box {
  int top = 0, left = 0, bottom = 0, right = 0;

  Box() = default;
  Box(int t, int l, int b, int r) : top(t), left(l), bottom(b), right(r) {}
  explicit Box(const Rect& rect) : Box(rect.top, rect.left, rect.bottom, rect.right) {}

  int width() const { return right - left; }
  int height() const { return bottom - top; }
  bool empty() const { return left >= right || top >= bottom; }
  bool contains(const Box& other) const {
    return top <= other.top && left <= other.left && bottom >= other.bottom && right >= other.right;
  }
  Box inset(int h, int v) const { return {top + v, left + h, bottom - v, right - h}; }
  Box offset(int h, int v) const { return {top + v, left + h, bottom + v, right + h}; }
  bool operator==(const Box&) const = default;
};

inline Box intersect(const Box& a, const Box& b) {
  return {std::max(a.top, b.top), std::max(a.left, b.left), std::min(a.bottom, b.bottom), std::min(a.right, b.right)};
}

// The smallest box around both; an empty one adds nothing.
inline Box unite(const Box& a, const Box& b) {
  if (a.empty()) return b;
  if (b.empty()) return a;
  return {std::min(a.top, b.top), std::min(a.left, b.left), std::max(a.bottom, b.bottom), std::max(a.right, b.right)};
}

inline std::int16_t clamp16(int value) { return static_cast<std::int16_t>(std::clamp(value, -32768, 32767)); }

inline Rect toRect(const Box& box) {
  return {clamp16(box.top), clamp16(box.left), clamp16(box.bottom), clamp16(box.right)};
}

// From the space of one box into that of another. A distance maps as |d| × to + from / 2 divided by from, its sign
// restored; between boxes of equal size it is an offset.
class Mapping {
 public:
  Mapping() = default;
  Mapping(const Box& from, const Box& to) : from_(from), to_(to) {}

  int h(int value) const { return to_.left + scale(value - from_.left, from_.width(), to_.width()); }
  int v(int value) const { return to_.top + scale(value - from_.top, from_.height(), to_.height()); }
  Point point(Point p) const { return {clamp16(v(p.v)), clamp16(h(p.h))}; }
  Box box(const Box& b) const { return {v(b.top), h(b.left), v(b.bottom), h(b.right)}; }

  // Sizes of pens, ovals and text: they don't fall below 1.
  int width(int value) const { return size(value, from_.width(), to_.width()); }
  int height(int value) const { return size(value, from_.height(), to_.height()); }

  bool isOffset() const { return from_.width() == to_.width() && from_.height() == to_.height(); }
  const Box& from() const { return from_; }
  const Box& to() const { return to_; }
  void moveOrigin(int dh, int dv) { from_ = from_.offset(dh, dv); }

 private:
  static int scale(int value, int from, int to) {
    if (from == to || from == 0) return value;
    const std::int64_t scaled = (std::int64_t{std::abs(value)} * to + from / 2) / from;
    return static_cast<int>(std::clamp<std::int64_t>(value < 0 ? -scaled : scaled, -0x100000, 0x100000));
  }
  static int size(int value, int from, int to) { return value <= 0 ? value : std::max(1, scale(value, from, to)); }

  Box from_, to_;
};

}  // namespace qd
