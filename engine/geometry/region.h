// Regions: any set of pixels, kept as bands of rows that hold the same runs.
#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

#include "engine/geometry/geometry.h"

namespace qd {

// Takes the pixels of a shape, as runs of rows.
class RunSink {
 public:
  virtual ~RunSink() = default;
  virtual void run(int y, int left, int right) = 0;
  virtual void box(const Box& box) {
    for (int y = box.top; y < box.bottom; ++y) run(y, box.left, box.right);
  }
};

class Region {
 public:
  Region() = default;
  explicit Region(const Box& box);
  static Region wideOpen() { return Region(Box(-32767, -32767, 32767, 32767)); }

  const Box& bounds() const { return bounds_; }
  bool empty() const { return bands_.empty(); }
  bool isRect() const { return bands_.size() == 1 && xs_.size() == 2; }
  bool isWideOpen() const { return isRect() && bounds_ == wideOpen().bounds_; }
  bool operator==(const Region&) const = default;

  // The edges of a row's runs, left and right by turns; empty outside.
  std::span<const int> row(int y) const;
  // Calls `use` with each run of a row that lies within left and right, cut to them.
  template <class Use>
  void runsWithin(int y, int left, int right, const Use& use) const {
    left = std::max(left, bounds_.left);
    right = std::min(right, bounds_.right);
    if (y < bounds_.top || y >= bounds_.bottom || left >= right) return;
    if (isRect()) return use(left, right);
    const auto edges = row(y);
    for (std::size_t i = 0; i < edges.size() && edges[i] < right; i += 2) {
      const int from = std::max(left, edges[i]);
      const int to = std::min(right, edges[i + 1]);
      if (from < to) use(from, to);
    }
  }
  // Its runs, but for those that lie outside of the clip as a whole.
  void emit(RunSink& sink, const Box& clip) const;

  Region offset(int h, int v) const;
  // Moves the boundary inward by h and v; a negative distance isn't taken.
  Region inset(int h, int v) const;
  Region mapped(const Mapping& mapping) const;

  // A region as QuickDraw keeps it: size in bytes, bounding box, and for what is no rectangle rows of y and the points
  // at which the row differs from the one above, each ended by 0x7FFF. A parse takes the words after the box, and
  // fails on what is out of order or absurdly large.
  std::vector<std::int16_t> inversionPoints() const;
  static std::optional<Region> fromInversionPoints(const Box& bounds, std::span<const std::int16_t> points);

  friend Region unite(const Region& a, const Region& b);
  friend Region intersect(const Region& a, const Region& b);
  friend Region subtract(const Region& a, const Region& b);

 private:
  friend class RegionBuilder;
  struct Band {
    int top, bottom;
    std::size_t first, count;  // its part of xs_
    bool operator==(const Band&) const = default;
  };
  template <class Rule>
  static Region combine(const Region& a, const Region& b, Rule rule);
  std::span<const int> runsOf(const Band& band) const { return {xs_.data() + band.first, band.count}; }

  Box bounds_;
  std::vector<Band> bands_;
  std::vector<int> xs_;
};

// Makes a region of rows, or of runs, that come from top to bottom and from left to right.
class RegionBuilder : public RunSink {
 public:
  // The rows from top to bottom with the same edges; sorted, left and right by turns.
  void add(int top, int bottom, std::span<const int> edges);
  void run(int y, int left, int right) override;
  Region take();

 private:
  void flush();

  Region region_;
  int y_ = 0;
  std::vector<int> pending_;
};

}  // namespace qd
