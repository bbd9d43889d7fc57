#include "engine/shapes/ink.h"

#include <algorithm>

namespace qd {

void Ink::add(int y, int left, int right) {
  left = std::max(left, box_.left);
  right = std::min(right, box_.right);
  if (y >= box_.top && y < box_.bottom && left < right)
    std::fill(row(y) + (left - box_.left), row(y) + (right - box_.left), std::uint8_t{1});
}

void Ink::spread(const Box& margins) {
  struct Spread : RunSink {
    Spread(Ink& to, const Box& by) : ink(to), margins(by) {}
    void run(int y, int left, int right) override {
      for (int v = y - margins.top; v <= y + margins.bottom; ++v)
        ink.add(v, left - margins.left, right + margins.right);
    }
    Ink& ink;
    const Box& margins;
  };
  const Ink before = *this;
  Spread spread(*this, margins);
  before.emit(spread);
}

void Ink::remove(const Ink& other) {
  std::transform(pixels_.begin(), pixels_.end(), other.pixels_.begin(), pixels_.begin(),
                 [](std::uint8_t here, std::uint8_t there) { return static_cast<std::uint8_t>(here & ~there); });
}

void Ink::slant(int baseline) {
  const Ink before = *this;
  std::fill(pixels_.begin(), pixels_.end(), std::uint8_t{0});
  for (int y = box_.top; y < box_.bottom; ++y) {
    const int shift = (baseline - 1 - y) >> 1;
    for (int x = box_.left; x < box_.right; ++x) {
      if (before.has(y, x - shift)) row(y)[x - box_.left] = 1;
    }
  }
}

void Ink::emit(RunSink& sink) const {
  if (box_.empty()) return;
  for (int y = box_.top; y < box_.bottom; ++y) {
    const std::uint8_t* const begin = row(y);
    const std::uint8_t* const end = begin + box_.width();
    for (const std::uint8_t* from = begin;;) {
      from = std::find(from, end, 1);
      if (from == end) break;
      const std::uint8_t* const to = std::find(from, end, 0);
      sink.run(y, box_.left + static_cast<int>(from - begin), box_.left + static_cast<int>(to - begin));
      from = to;
    }
  }
}

}  // namespace qd
