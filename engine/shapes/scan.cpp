#include "engine/shapes/scan.h"

#include <array>
#include <utility>

namespace qd {
namespace {

// docs/pixels.md, Fixed point
using Wide = std::int64_t;  // 16.16 where nothing else is said
constexpr Wide kOne = 0x10000;
constexpr Wide kHalf = 0x8000;
constexpr std::uint32_t kMost = 0x7FFFFFFF;  // that fits in 32 bits with a sign

// Of 0 to 90 degrees, in 16.16: docs/pixels.md, Arcs. 90 has none, and is never asked for where it would count.
constexpr Wide kTangents[] = {
    0x00000000, 0x00000478, 0x000008F1, 0x00000D6B, 0x000011E7, 0x00001666, 0x00001AE8, 0x00001F6F, 0x000023FA,
    0x0000288C, 0x00002D24, 0x000031C3, 0x0000366A, 0x00003B1A, 0x00003FD4, 0x00004498, 0x00004968, 0x00004E44,
    0x0000532E, 0x00005826, 0x00005D2D, 0x00006245, 0x0000676E, 0x00006CAA, 0x000071FB, 0x00007760, 0x00007CDC,
    0x00008270, 0x0000881E, 0x00008DE7, 0x000093CD, 0x000099D2, 0x00009FF7, 0x0000A640, 0x0000ACAD, 0x0000B341,
    0x0000B9FF, 0x0000C0E9, 0x0000C802, 0x0000CF4E, 0x0000D6CF, 0x0000DE8A, 0x0000E681, 0x0000EEB9, 0x0000F737,
    0x00010000, 0x00010919, 0x00011287, 0x00011C51, 0x0001267F, 0x00013117, 0x00013C22, 0x000147AA, 0x000153B9,
    0x0001605B, 0x00016D9B, 0x00017B89, 0x00018A35, 0x000199AF, 0x0001AA0E, 0x0001BB68, 0x0001CDD6, 0x0001E177,
    0x0001F66E, 0x00020CE1, 0x000224FE, 0x00023EFC, 0x00025B19, 0x0002799F, 0x00029AE7, 0x0002BF5B, 0x0002E77A,
    0x000313E3, 0x00034556, 0x00037CC7, 0x0003BB68, 0x000402C2, 0x000454DB, 0x0004B462, 0x00052501, 0x0005ABD9,
    0x00065051, 0x00071D88, 0x000824F3, 0x000983AD, 0x000B6E17, 0x000E4CF5, 0x001314BD, 0x001CA2D7, 0x00394A30,
    0x7FFFFFFF};

constexpr int floorOf(Wide fixed) { return static_cast<int>(fixed >> 16); }

struct Run {
  int left, right;
  bool empty() const { return left >= right; }
};

// The one scan converter for ovals and round corners: gives the run of each row, from the top down, not cut to the
// rectangle. Both edges move in steps of half a pixel, by squares that are summed up in 32.32.
class OvalRows {
 public:
  explicit OvalRows(const RoundBox& shape)
      : box_(shape.box),
        w_(std::clamp(shape.ovalWidth, 0, std::max(0, shape.box.width()))),
        h_(std::clamp(shape.ovalHeight, 0, std::max(0, shape.box.height()))),
        y_(box_.top) {
    // Where they start: docs/pixels.md, Ovals.
    left_ = box_.left * kOne + w_ * kHalf;
    right_ = box_.right * kOne - w_ * kHalf + kHalf;
    if (w_ == 0) return;
    // Both fit in 32 bits, whose division takes a part of the time.
    ratio_ = std::clamp(static_cast<std::uint32_t>(h_) * 0x10000U / static_cast<std::uint32_t>(w_), 1U, kMost);
    term_ = ratio_ * ratio_;
    step_ = 2 * term_;
    odd_ = 1 - h_;
    target_ = 2 * Wide{h_} - 1;
  }

  int y() const { return y_; }
  bool done() const { return y_ >= box_.bottom; }

  // Goes on at a row further down, where all rows between would have led.
  void skipTo(int y) {
    if (y <= y_) return;
    const int rows = y - box_.top;
    const int straight = std::clamp(rows - h_ / 2, 0, box_.height() - h_);
    const int advances = rows - straight;
    y_ = y;
    if (w_ == 0 || advances == 0) return;
    const int last = advances - 1;
    const int widest = (h_ - 1) / 2;
    auto steps = stepsFromBelow(targetOf(std::min(last, widest)));
    if (last > widest) steps = std::min(steps, mostStepsWithin(targetOf(last)));
    left_ += (Wide(steps_) - Wide(steps)) * kHalf;
    right_ -= (Wide(steps_) - Wide(steps)) * kHalf;
    steps_ = steps;
    sum_ = squareOf(steps);
    term_ = step_ / 2 * (2 * steps + 1);
    odd_ = 1 - h_ + 2 * advances;
    target_ = targetOf(advances);
  }

  Run next() {
    const int y = y_++;
    const bool inCorners = y < box_.top + h_ / 2 || y >= box_.top + h_ / 2 + box_.height() - h_;
    if (w_ != 0 && inCorners) advance();
    return {floorOf(left_), floorOf(right_)};
  }
  Run nextCut() {
    const Run run = next();
    return {std::max(run.left, box_.left), std::min(run.right, box_.right)};
  }

 private:
  // What the sum is measured against in a row of the corners.
  Wide targetOf(Wide row) const { return 2 * Wide{h_} - 1 - 4 * row * (row + 1 - h_); }
  bool hasSquare(std::uint64_t steps) const { return steps * ratio_ <= UINT32_MAX; }
  std::uint64_t squareOf(std::uint64_t steps) const { return step_ / 2 * steps * steps; }
  Wide sumAfter(std::uint64_t steps) const { return static_cast<Wide>(squareOf(steps) >> 32); }
  // The most steps whose sum is no more than the target.
  std::uint64_t mostStepsWithin(Wide target) const {
    std::uint64_t low = 0, high = UINT32_MAX / ratio_;
    while (low < high) {
      const std::uint64_t middle = (low + high + 1) / 2;
      if (sumAfter(middle) <= target) {
        low = middle;
      } else {
        high = middle - 1;
      }
    }
    return low;
  }
  // As many steps as rows that get wider come to: of those with the same sum the first.
  std::uint64_t stepsFromBelow(Wide target) const {
    const std::uint64_t below = target > 0 ? mostStepsWithin(target - 1) : 0;
    const bool meets = hasSquare(below + 1) && target > 0 && sumAfter(below + 1) == target;
    return meets ? below + 1 : below;
  }

  void advance() {
    while (static_cast<Wide>(sum_ >> 32) < target_ && hasSquare(steps_ + 1)) {
      ++steps_;
      left_ -= kHalf;
      right_ += kHalf;
      sum_ += term_;
      term_ += step_;
    }
    while (static_cast<Wide>(sum_ >> 32) > target_) {
      --steps_;
      left_ += kHalf;
      right_ -= kHalf;
      term_ -= step_;
      sum_ -= term_;
    }
    target_ -= 4 * (odd_ + 1);
    odd_ += 2;
  }

  Box box_;
  int w_, h_;
  int y_;
  Wide left_, right_;
  // Squares in 32.32; steps whose square wouldn't fit aren't made: docs/pixels.md, Fixed point.
  std::uint64_t sum_ = 0, term_ = 0, step_ = 0;
  std::uint64_t steps_ = 0, ratio_ = 0;
  Wide odd_ = 0, target_ = 0;
};

void emit(int y, Run run, RunSink& sink) {
  if (!run.empty()) sink.run(y, run.left, run.right);
}

// A run without what lies in another.
void emitWithout(int y, Run run, Run hole, RunSink& sink) {
  if (hole.empty()) return emit(y, run, sink);
  emit(y, {run.left, std::min(run.right, hole.left)}, sink);
  emit(y, {std::max(run.left, hole.right), run.right}, sink);
}

// The rows of the shape inside a frame, asked for in step with the rows around it. They are not cut to its rectangle,
// so that a flat frame loses its ends: docs/pixels.md, Frames.
class Hole {
 public:
  explicit Hole(const RoundBox& shape) : isEmpty_(shape.box.empty()), rows_(shape) {}
  void skipTo(int y) {
    if (!isEmpty_) rows_.skipTo(y);
  }
  Run at(int y) { return !isEmpty_ && !rows_.done() && y == rows_.y() ? rows_.next() : Run{0, 0}; }

 private:
  bool isEmpty_;
  OvalRows rows_;
};

// A ray from the middle of a rectangle: where it crosses each row (docs/pixels.md, Arcs).
class Ray {
 public:
  Ray(const Box& box, int angle) : isUpper_(angle < 90 || angle > 270), isLower_(angle > 90 && angle < 270) {
    const int turn = angle % 180;
    Wide slope = turn <= 90 ? -kTangents[turn] : kTangents[180 - turn];
    const Wide ratio = box.width() * kOne / std::max(1, box.height());
    slope = (slope * ratio + kHalf) >> 16;
    const Wide middle = (box.left + box.right) >> 1;
    x_ = middle * kOne - slope * (box.height() >> 1);
    slope_ = slope;
  }

  bool isIn(bool upper) const { return upper ? isUpper_ : isLower_; }
  void skip(int rows) { x_ += slope_ * rows; }
  int next() {
    const Wide x = std::clamp(x_ >> 16, Wide{-0x100000}, Wide{0x100000});
    x_ += slope_;
    return static_cast<int>(x);
  }

 private:
  bool isUpper_, isLower_;
  Wide x_, slope_;
};

// Cuts the rows of an oval to a wedge.
class WedgeRows {
 public:
  WedgeRows(const Box& box, int start, int arc)
      : box_(box), arc_(arc), start_(start), first_(box, start), last_(box, (start + arc) % 360) {}

  // The runs of the row that are left; rows are asked for from the top down.
  struct Runs {
    std::array<Run, 2> runs;
    int count;
  };
  void skip(int rows) {
    first_.skip(rows);
    last_.skip(rows);
  }
  Runs cut(int y, Run run) {
    const bool upper = y < (box_.top + box_.bottom) >> 1;
    const int firstX = first_.next();
    const int lastX = last_.next();
    const bool hasFirst = first_.isIn(upper);
    const bool hasLast = last_.isIn(upper);
    if (!hasFirst && !hasLast) {
      const bool hidden = arc_ < 180 || (arc_ == 180 && start_ == (upper ? 90 : 270));
      return {{run}, hidden ? 0 : 1};
    }
    // Clockwise the upper half is run through from left to right, the lower from right to left.
    const bool bothBound = hasFirst && hasLast;
    const int left = upper ? firstX : lastX;
    const int right = upper ? lastX : firstX;
    const bool hasLeft = upper ? hasFirst : hasLast;
    const bool hasRight = upper ? hasLast : hasFirst;
    if (bothBound && arc_ > 180 && left >= right) {
      return {{Run{run.left, std::min(run.right, right)}, Run{std::max(run.left, left), run.right}}, 2};
    }
    if (hasLeft) run.left = std::max(run.left, left);
    if (hasRight) run.right = std::min(run.right, right);
    return {{run}, 1};
  }

 private:
  Box box_;
  int arc_, start_;
  Ray first_, last_;
};

// Calls `use` with the runs of the rows that the clip may show.
template <class Use>
void eachRow(const RoundBox& shape, const Box& clip, const Use& use) {
  OvalRows rows(shape);
  rows.skipTo(clip.top);
  const int bottom = std::min(shape.box.bottom, clip.bottom);
  for (int y = rows.y(); y < bottom; ++y) use(y, rows.nextCut());
}

// Rows of a shape without those of another inside it.
void scanBand(const RoundBox& shape, const RoundBox& inside, const Box& clip, RunSink& sink) {
  Hole hole(inside);
  hole.skipTo(clip.top);
  eachRow(shape, clip, [&](int y, Run run) { emitWithout(y, run, hole.at(y), sink); });
}

void scanWedge(const Box& box, const Wedge& wedge, const RoundBox& inside, const Box& clip, RunSink& sink) {
  int start = wedge.start;
  int arc = wedge.arc;
  if (arc < 0) {
    start += arc;
    arc = -arc;
  }
  if (box.empty() || arc == 0) return;
  const RoundBox oval = RoundBox::oval(box);
  if (arc >= 360) return scanBand(oval, inside, clip, sink);
  WedgeRows cutter(box, (start % 360 + 360) % 360, arc);
  cutter.skip(std::max(0, clip.top - box.top));
  Hole hole(inside);
  hole.skipTo(clip.top);
  eachRow(oval, clip, [&](int y, Run run) {
    const WedgeRows::Runs cut = cutter.cut(y, run);
    const Run without = hole.at(y);
    for (int i = 0; i < cut.count; ++i) emitWithout(y, cut.runs[static_cast<std::size_t>(i)], without, sink);
  });
}

Wide slopeOf(Point from, Point to) { return (to.h - from.h) * kOne / (to.v - from.v); }

}  // namespace

void scanRoundBox(const RoundBox& shape, const Box& clip, RunSink& sink) {
  if (shape.box.empty()) return;
  if (shape.ovalWidth <= 0) return sink.box(shape.box);
  eachRow(shape, clip, [&sink](int y, Run run) { emit(y, run, sink); });
}

void scanFrame(const RoundBox& shape, Point pen, const Box& clip, RunSink& sink) {
  if (shape.box.empty() || pen.h <= 0 || pen.v <= 0) return;
  const RoundBox inside = shape.inset(pen.h, pen.v);
  if (inside.box.empty()) return scanRoundBox(shape, clip, sink);
  if (shape.ovalWidth <= 0) {
    const Box& outer = shape.box;
    const Box& inner = inside.box;
    sink.box({outer.top, outer.left, inner.top, outer.right});
    for (int y = std::max(inner.top, clip.top); y < std::min(inner.bottom, clip.bottom); ++y) {
      sink.run(y, outer.left, inner.left);
      sink.run(y, inner.right, outer.right);
    }
    return sink.box({inner.bottom, outer.left, outer.bottom, outer.right});
  }
  scanBand(shape, inside, clip, sink);
}

void scanArc(const Box& box, const Wedge& wedge, const Box& clip, RunSink& sink) {
  scanWedge(box, wedge, RoundBox{}, clip, sink);
}

void scanArcFrame(const Box& box, const Wedge& wedge, Point pen, const Box& clip, RunSink& sink) {
  if (pen.h <= 0 || pen.v <= 0) return;
  scanWedge(box, wedge, RoundBox::oval(box.inset(pen.h, pen.v)), clip, sink);
}

void scanLine(Point from, Point to, Point pen, const Box& clip, RunSink& sink) {
  if (pen.h <= 0 || pen.v <= 0) return;
  if (from.v > to.v) std::swap(from, to);
  const Box bounds(from.v, std::min(from.h, to.h), to.v + pen.v, std::max(from.h, to.h) + pen.h);
  if (from.v == to.v || from.h == to.h) return sink.box(bounds);

  // docs/pixels.md, Lines
  const Wide slope = slopeOf(from, to);
  const Wide rise = pen.v * slope;
  Wide left = from.h * kOne + kHalf + (slope >> 1);
  Wide right = left + pen.h * kOne;
  if (slope >= 0) {
    left -= rise;
    if (slope < kOne) {
      left += slope;
    } else {
      right -= kOne;
    }
  } else {
    right -= rise;
    left += slope < -kOne ? kOne : 0;
    right += slope < -kOne ? 0 : slope;
  }
  const int top = std::max(bounds.top, clip.top);
  const int bottom = std::min(bounds.bottom, clip.bottom);
  left += slope * (top - bounds.top);
  right += slope * (top - bounds.top);
  for (int y = top; y < bottom; ++y) {
    emit(y, {std::max(floorOf(left), bounds.left), std::min(floorOf(right), bounds.right)}, sink);
    left += slope;
    right += slope;
  }
}

void scanPolygon(std::span<const Point> points, const Box& clip, RunSink& sink) {
  struct Edge {
    int top, bottom;
    Wide x, slope;
  };
  std::vector<Edge> edges;
  edges.reserve(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    Point from = points[i];
    Point to = points[(i + 1) % points.size()];
    if (from.v == to.v) continue;
    if (from.v > to.v) std::swap(from, to);
    Edge edge = {from.v, to.v, from.h * kOne, 0};
    if (from.h != to.h) {  // docs/pixels.md, Polygons
      edge.slope = slopeOf(from, to);
      edge.x += kHalf + (edge.slope >> 1);
      if (edge.slope >= 0 && edge.slope < kOne) edge.x += edge.slope;
      if (edge.slope < -kOne) edge.x += kOne;
    }
    if (edge.top < clip.top) {
      edge.x += edge.slope * (clip.top - edge.top);
      edge.top = clip.top;
    }
    edge.bottom = std::min(edge.bottom, clip.bottom);
    if (edge.top < edge.bottom) edges.push_back(edge);
  }
  std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.top < b.top; });

  // Those that cross the row, from left to right.
  std::vector<Edge> active;
  active.reserve(edges.size());
  std::vector<char> oddHere(static_cast<std::size_t>(std::max(0, clip.width())) + 1);
  std::size_t next = 0;
  int change = clip.top;  // the next row at which some edge begins or ends
  for (int y = clip.top; y < clip.bottom && (next < edges.size() || !active.empty()); ++y) {
    if (y == change) {
      std::erase_if(active, [y](const Edge& edge) { return edge.bottom <= y; });
      for (; next < edges.size() && edges[next].top == y; ++next) active.push_back(edges[next]);
      change = next < edges.size() ? edges[next].top : clip.bottom;
      for (const Edge& edge : active) change = std::min(change, edge.bottom);
    }
    if (active.size() > oddHere.size()) {
      // Rather than sort more edges than there are columns, tell where their number is odd.
      for (Edge& edge : active) {
        const auto column = static_cast<std::size_t>(std::clamp(floorOf(edge.x), clip.left, clip.right) - clip.left);
        oddHere[column] ^= 1;
        edge.x += edge.slope;
      }
      int left = 0;
      bool isInside = false;
      for (std::size_t column = 0; column < oddHere.size(); ++column) {
        if (!std::exchange(oddHere[column], char{0})) continue;
        const int x = clip.left + static_cast<int>(column);
        if (isInside) emit(y, {left, x}, sink);
        isInside = !isInside;
        left = x;
      }
      if (isInside) emit(y, {left, clip.right}, sink);
      continue;
    }
    // They are nearly in order: few change places between two rows.
    Edge* const begin = active.data();
    Edge* const end = begin + active.size();
    for (Edge* edge = begin; edge != end; ++edge) {
      for (Edge* k = edge; k != begin && k->x < k[-1].x; --k) std::swap(k[0], k[-1]);
    }
    for (Edge* edge = begin; end - edge >= 2; edge += 2) {
      emit(y, {floorOf(edge[0].x), floorOf(edge[1].x)}, sink);
      edge[0].x += edge[0].slope;
      edge[1].x += edge[1].slope;
    }
  }
}

}  // namespace qd
