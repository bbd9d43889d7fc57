#include "engine/geometry/region.h"

#include <iterator>

namespace qd {
namespace {

constexpr int kEnd = 0x7FFF;
constexpr std::size_t kMostEdges = std::size_t{1} << 22;  // of all rows together; real regions have thousands

}  // namespace

Region::Region(const Box& box) {
  if (box.empty()) return;
  bounds_ = box;
  bands_.push_back({box.top, box.bottom, 0, 2});
  xs_ = {box.left, box.right};
}

std::span<const int> Region::row(int y) const {
  const auto band =
      std::upper_bound(bands_.begin(), bands_.end(), y, [](int at, const Band& b) { return at < b.bottom; });
  if (band == bands_.end() || y < band->top) return {};
  return runsOf(*band);
}

void Region::emit(RunSink& sink, const Box& clip) const {
  auto band = std::partition_point(bands_.begin(), bands_.end(), [&](const Band& b) { return b.bottom <= clip.top; });
  for (; band != bands_.end() && band->top < clip.bottom; ++band) {
    const auto edges = runsOf(*band);
    const int top = std::max(band->top, clip.top);
    const int bottom = std::min(band->bottom, clip.bottom);
    if (edges.size() == 2) {
      sink.box({top, edges[0], bottom, edges[1]});
      continue;
    }
    // The first run that isn't left of the clip.
    const auto begin = std::upper_bound(edges.begin(), edges.end(), clip.left) - edges.begin();
    const auto first = static_cast<std::size_t>(begin) / 2 * 2;
    for (int y = top; y < bottom; ++y) {
      for (std::size_t i = first; i < edges.size() && edges[i] < clip.right; i += 2)
        sink.run(y, edges[i], edges[i + 1]);
    }
  }
}

Region Region::offset(int h, int v) const {
  Region moved = *this;
  if (moved.empty()) return moved;
  moved.bounds_ = bounds_.offset(h, v);
  for (Band& band : moved.bands_) {
    band.top += v;
    band.bottom += v;
  }
  for (int& x : moved.xs_) x += h;
  return moved;
}

Region Region::inset(int h, int v) const {
  RegionBuilder narrowed;
  std::vector<int> edges;
  for (const Band& band : bands_) {
    edges.clear();
    const auto runs = runsOf(band);
    for (std::size_t i = 0; i < runs.size(); i += 2) {
      if (runs[i] + h < runs[i + 1] - h) edges.insert(edges.end(), {runs[i] + h, runs[i + 1] - h});
    }
    narrowed.add(band.top, band.bottom, edges);
  }
  // A pixel stays if the 2v + 1 pixels around it in its column are all inside. Steps that double cover them quickly.
  Region result = narrowed.take();
  int covered = 0;
  while (covered < 2 * v && !result.empty()) {
    const int step = std::min(covered + 1, 2 * v - covered);
    result = intersect(result, result.offset(0, step));
    covered += step;
  }
  return result.offset(0, -v);
}

Region Region::mapped(const Mapping& mapping) const {
  RegionBuilder builder;
  std::vector<int> edges;
  for (const Band& band : bands_) {
    edges.clear();
    for (const int x : runsOf(band)) {
      const int to = mapping.h(x);
      if (!edges.empty() && edges.back() == to) {
        edges.pop_back();  // a run or a gap that vanished
      } else {
        edges.push_back(to);
      }
    }
    builder.add(mapping.v(band.top), mapping.v(band.bottom), edges);
  }
  return builder.take();
}

std::vector<std::int16_t> Region::inversionPoints() const {
  // 32767 ends a row, so no edge may lie there or beyond.
  const Box most(-32768, -32768, kEnd - 1, kEnd - 1);
  if (!empty() && !isRect() && !most.contains(bounds_)) return intersect(*this, Region(most)).inversionPoints();
  const Rect box = toRect(bounds_);
  std::vector<std::int16_t> words = {10, box.top, box.left, box.bottom, box.right};
  if (empty() || isRect()) return words;

  std::vector<int> above;
  std::vector<int> changes;
  const auto addRow = [&](int y, std::span<const int> edges) {
    changes.clear();
    std::set_symmetric_difference(above.begin(), above.end(), edges.begin(), edges.end(), std::back_inserter(changes));
    above.assign(edges.begin(), edges.end());
    if (changes.empty()) return;
    words.push_back(clamp16(y));
    for (const int x : changes) words.push_back(clamp16(x));
    words.push_back(kEnd);
  };
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    addRow(bands_[i].top, runsOf(bands_[i]));
    const bool gap = i + 1 == bands_.size() || bands_[i + 1].top > bands_[i].bottom;
    if (gap) addRow(bands_[i].bottom, {});
  }
  words.push_back(kEnd);
  words[0] = static_cast<std::int16_t>(words.size() * 2);
  return words;
}

std::optional<Region> Region::fromInversionPoints(const Box& bounds, std::span<const std::int16_t> points) {
  if (points.empty()) return Region(bounds);
  RegionBuilder builder;
  std::vector<int> edges;
  std::vector<int> changes;
  std::vector<int> next;
  std::size_t total = 0;
  int top = 0;
  std::size_t i = 0;
  while (i < points.size() && points[i] != kEnd) {
    const int y = points[i++];
    if (!edges.empty()) {
      if (y <= top) return std::nullopt;
      total += edges.size();
      if (total > kMostEdges) return std::nullopt;
      builder.add(top, y, edges);
    }
    changes.clear();
    for (; i < points.size() && points[i] != kEnd; ++i) {
      if (!changes.empty() && points[i] <= changes.back()) return std::nullopt;
      changes.push_back(points[i]);
    }
    if (i == points.size()) return std::nullopt;
    ++i;
    next.clear();
    std::set_symmetric_difference(edges.begin(), edges.end(), changes.begin(), changes.end(), std::back_inserter(next));
    if (next.size() % 2 != 0) return std::nullopt;
    edges.swap(next);
    top = y;
  }
  if (i == points.size() || !edges.empty()) return std::nullopt;
  return builder.take();
}

template <class Rule>
Region Region::combine(const Region& a, const Region& b, Rule rule) {
  RegionBuilder builder;
  std::vector<int> edges;
  std::size_t i = 0;
  std::size_t j = 0;
  int y = std::min(a.empty() ? b.bounds_.top : a.bounds_.top, b.empty() ? a.bounds_.top : b.bounds_.top);
  while (i < a.bands_.size() || j < b.bands_.size()) {
    // The rows from y on, as far down as neither region changes.
    int bottom = INT32_MAX;
    const auto runsAt = [&](const Region& region, std::size_t& at) -> std::span<const int> {
      if (at < region.bands_.size() && region.bands_[at].bottom <= y) ++at;
      if (at == region.bands_.size()) return {};
      const Band& band = region.bands_[at];
      bottom = std::min(bottom, band.top > y ? band.top : band.bottom);
      return band.top > y ? std::span<const int>() : region.runsOf(band);
    };
    const auto left = runsAt(a, i);
    const auto right = runsAt(b, j);
    if (bottom == INT32_MAX) break;

    edges.clear();
    bool inside = false;
    for (std::size_t p = 0, q = 0; p < left.size() || q < right.size();) {
      const int x = std::min(p < left.size() ? left[p] : INT32_MAX, q < right.size() ? right[q] : INT32_MAX);
      if (p < left.size() && left[p] == x) ++p;
      if (q < right.size() && right[q] == x) ++q;
      if (rule(p % 2 != 0, q % 2 != 0) != inside) {
        inside = !inside;
        edges.push_back(x);
      }
    }
    builder.add(y, bottom, edges);
    y = bottom;
  }
  return builder.take();
}

Region unite(const Region& a, const Region& b) {
  return Region::combine(a, b, [](bool inA, bool inB) { return inA || inB; });
}

Region intersect(const Region& a, const Region& b) {
  if (a.isRect() && b.isRect()) return Region(intersect(a.bounds_, b.bounds_));
  if (a.isRect() && a.bounds_.contains(b.bounds_)) return b;
  if (b.isRect() && b.bounds_.contains(a.bounds_)) return a;
  return Region::combine(a, b, [](bool inA, bool inB) { return inA && inB; });
}

Region subtract(const Region& a, const Region& b) {
  return Region::combine(a, b, [](bool inA, bool inB) { return inA && !inB; });
}

void RegionBuilder::add(int top, int bottom, std::span<const int> edges) {
  if (top >= bottom || edges.empty()) return;
  auto& bands = region_.bands_;
  auto& xs = region_.xs_;
  if (!bands.empty() && bands.back().bottom == top) {
    const auto last = region_.runsOf(bands.back());
    if (std::equal(last.begin(), last.end(), edges.begin(), edges.end())) {
      bands.back().bottom = bottom;
      return;
    }
  }
  bands.push_back({top, bottom, xs.size(), edges.size()});
  xs.insert(xs.end(), edges.begin(), edges.end());
}

void RegionBuilder::run(int y, int left, int right) {
  if (left >= right) return;
  if (y != y_) flush();
  y_ = y;
  if (!pending_.empty() && left <= pending_.back()) {
    pending_.back() = std::max(pending_.back(), right);
  } else {
    pending_.insert(pending_.end(), {left, right});
  }
}

void RegionBuilder::flush() {
  add(y_, y_ + 1, pending_);
  pending_.clear();
}

Region RegionBuilder::take() {
  flush();
  if (!region_.bands_.empty()) {
    Box& bounds = region_.bounds_;
    bounds = {region_.bands_.front().top, region_.xs_[0], region_.bands_.back().bottom, region_.xs_[1]};
    for (const auto& band : region_.bands_) {
      const auto edges = region_.runsOf(band);
      bounds.left = std::min(bounds.left, edges.front());
      bounds.right = std::max(bounds.right, edges.back());
    }
  }
  return std::move(region_);
}

}  // namespace qd
