// What a copy reads: rows of a source, stretched and converted as the destination shows them. There is one loop for
// each pair of depths.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

#include "engine/pict/packing.h"
#include "engine/pixels/transfer.h"

namespace qd {

// Which source row or column a destination one shows.
class Stretch {
 public:
  Stretch(int from, int fromSize, int to, int toSize) : from_(from), fromSize_(fromSize), to_(to), toSize_(toSize) {}
  int operator()(int at) const {
    if (fromSize_ == toSize_) return from_ + (at - to_);
    const std::int64_t numerator = std::int64_t{fromSize_} * (2 * std::int64_t{at - to_} + 1);
    return from_ + static_cast<int>((numerator + 2 * std::int64_t{toSize_} - 1) / (2 * std::int64_t{toSize_})) - 1;
  }
  // The sources of all destinations from first on; adds up what operator() multiplies and divides.
  std::vector<int> list(int first, int last) const {
    std::vector<int> sources(static_cast<std::size_t>(last - first));
    const std::int64_t whole = 2 * std::int64_t{toSize_};
    const std::int64_t step = 2 * std::int64_t{fromSize_};
    const std::int64_t numerator = std::int64_t{fromSize_} * (2 * std::int64_t{first - to_} + 1) - 1;
    int source = from_ + static_cast<int>(numerator / whole);
    std::int64_t rest = numerator % whole;
    for (int& at : sources) {
      at = source;
      source += static_cast<int>(step / whole);
      rest += step % whole;
      if (rest >= whole) {
        rest -= whole;
        ++source;
      }
    }
    return sources;
  }
  bool isStraight() const { return fromSize_ == toSize_; }
  // The destinations between first and last that show a source within [low, high).
  std::pair<int, int> within(int first, int last, int low, int high) const {
    if (isStraight()) return {std::clamp(low - from_ + to_, first, last), std::clamp(high - from_ + to_, first, last)};
    const auto search = [&](int bound) {
      int a = first;
      int b = last;
      while (a < b) {
        const int middle = a + (b - a) / 2;
        if ((*this)(middle) < bound) {
          a = middle + 1;
        } else {
          b = middle;
        }
      }
      return a;
    };
    return {search(low), search(high)};
  }

 private:
  int from_, fromSize_, to_, toSize_;
};

struct Stretches {
  Stretch h, v;
  Stretches(const Box& from, const Box& to)
      : h(from.left, from.width(), to.left, to.width()), v(from.top, from.height(), to.top, to.height()) {}
  // What of the destination shows pixels of the source.
  Box reach(const PixelMap& source, const Box& to) const {
    const auto [left, right] = h.within(to.left, to.right, source.bounds.left, source.bounds.right);
    const auto [top, bottom] = v.within(to.top, to.bottom, source.bounds.top, source.bounds.bottom);
    return {top, left, bottom, right};
  }
};

inline bool sameColors(const PixelMap& a, const PixelMap& b) {
  if (a.depth != b.depth) return false;
  if (a.isDirect() || a.colors == b.colors) return true;
  return a.colors != nullptr && b.colors != nullptr && a.colors->colors() == b.colors->colors();
}

// How source pixels become pixels of the destination's format: as they are; by a table, if they are indices; or by
// their components.
class Conversion {
 public:
  Conversion(const PixelMap& source, const PixelMap& destination) {
    if (sameColors(source, destination)) return;
    if (source.isDirect()) {
      if (!destination.isDirect()) inverse_ = &destination.colors->inverse();
      way_ = destination.depth == 32 ? Way::widen : destination.depth == 16 ? Way::narrow : Way::look;
    } else if (destination.depth == 32 && source.colors != nullptr) {
      way_ = Way::table;
      entries_ = source.colors->deepPixels().data();
    } else {
      way_ = Way::table;
      for (std::uint32_t i = 0; i <= source.ones(); ++i) own_[i] = destination.pixelOf(source.colorOf(i));
    }
  }
  // Bits that stand for two pixels.
  Conversion(std::uint32_t clear, std::uint32_t set) : way_(Way::table) {
    own_[0] = clear;
    own_[1] = set;
  }
  // The set bits of a bitmap take the foreground colour, the clear ones the background.
  static Conversion of(const PixelMap& source, const PixelMap& destination, const Transfer& transfer) {
    if (!source.isBitMap()) return {source, destination};
    if (!transfer.isBoolean()) return {transfer.patternPixel(false), transfer.patternPixel(true)};
    return {transfer.ink(0), transfer.ink(destination.ones())};
  }

  // Calls `use` with what turns a pixel of that depth into one of the destination.
  template <int Depth, class Use>
  void with(const Use& use) const {
    if (way_ == Way::same) return use([](std::uint32_t pixel) { return pixel; });
    if constexpr (Depth <= 8) {
      const std::uint32_t* const entries = entries_ != nullptr ? entries_ : own_.data();
      use([entries](std::uint32_t pixel) { return entries[pixel]; });
    } else if constexpr (Depth == 16) {
      const auto widen = [](std::uint32_t p) {
        const std::uint32_t high = (p & 0x7C00) << 9 | (p & 0x3E0) << 6 | (p & 0x1F) << 3;
        return high | (high >> 5 & 0x070707);
      };
      if (way_ == Way::widen) return use(widen);
      use([widen, inverse = inverse_](std::uint32_t p) { return inverse->nearest(deepColor(widen(p))); });
    } else {
      const auto narrow = [](std::uint32_t p) { return (p >> 9 & 0x7C00) | (p >> 6 & 0x3E0) | (p >> 3 & 0x1F); };
      if (way_ == Way::narrow) return use(narrow);
      use([inverse = inverse_](std::uint32_t p) { return inverse->nearest(deepColor(p)); });
    }
  }

 private:
  enum class Way { same, table, widen, narrow, look } way_ = Way::same;
  InverseTable* inverse_ = nullptr;
  const std::uint32_t* entries_ = nullptr;  // elsewhere than in the own table
  std::array<std::uint32_t, 256> own_;      // as far as the source has indices
};

// Rows of the source as the destination shows them: stretched over an area of it, and converted.
class Rows {
 public:
  Rows(const PixelMap& source, const Conversion& conversion, const Stretches& stretches, const Box& area)
      : source_(source),
        conversion_(conversion),
        rows_(stretches.v),
        left_(area.left),
        first_(stretches.h(area.left) - source.bounds.left) {
    if (stretches.h.isStraight()) return;
    columns_ = stretches.h.list(area.left, area.right);
    for (int& column : columns_) column -= source.bounds.left;
  }

  // Whether a row is like the one above it.
  bool repeats(int y) const { return rows_(y) == rows_(y - 1); }
  // The columns from left on; into a row in the packing of a depth, or as numbers.
  void pack(int y, int left, int right, int depth, std::uint8_t* row, int first) const {
    withPacking(depth, [&](auto packing) { convert(y, left, right, packing, row, first); });
  }
  void read(int y, int left, std::span<std::uint32_t> pixels) const {
    const int right = left + static_cast<int>(pixels.size());
    convert(y, left, right, Unpacked(), reinterpret_cast<std::uint8_t*>(pixels.data()), 0);
  }

 private:
  template <class To>
  void convert(int y, int left, int right, To, std::uint8_t* row, int first) const {
    const int start = first_ + left - left_;
    const int* const list = columns_.empty() ? nullptr : columns_.data() + (left - left_);
    withPacking(source_.depth, [&]<int Depth>(Packed<Depth>) {
      conversion_.with<Depth>([&](auto converted) {
        convertRun<Depth, To>(source_.row(rows_(y)), start, list, converted, row, first, right - left);
      });
    });
  }
  // The columns that are listed, or those from start on.
  template <int Depth, class To, class Converted>
  static void convertRun(const std::uint8_t* from, int start, const int* list, Converted converted, std::uint8_t* row,
                         int first, int count) {
    const auto put = [=](int begin, int end, auto columns) {
// A hint; compilers that know none of it pass over it.
#pragma GCC unroll 4
      for (int i = begin; i < end; ++i) To::put(row, first + i, converted(Packed<Depth>::get(from, columns(i))));
    };
    if (list != nullptr) return put(0, count, [list](int i) { return list[i]; });
    const auto straight = [start](int i) { return start + i; };
    int done = 0;
    if constexpr (Depth < 8) {
      // Bytes that are taken whole are read once.
      constexpr int kPixels = 8 / Depth;
      done = std::min(count, -start & (kPixels - 1));
      put(0, done, straight);
      for (; done + kPixels <= count; done += kPixels) {
        const std::uint8_t byte = from[(start + done) / kPixels];
        for (int i = 0; i < kPixels; ++i) To::put(row, first + done + i, converted(Packed<Depth>::get(&byte, i)));
      }
    }
    put(done, count, straight);
  }

  const PixelMap& source_;
  const Conversion& conversion_;
  Stretch rows_;
  int left_, first_;
  std::vector<int> columns_;
};

}  // namespace qd
