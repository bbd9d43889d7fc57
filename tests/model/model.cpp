#include "tests/model/model.h"

#include <algorithm>
#include <functional>

namespace model {

// ---- maps

Map::Map(int depthIs, const Rect& boundsAre, Table colors)
    : depth(depthIs), bounds(boundsAre), table(std::move(colors)) {
  pixels.resize(static_cast<std::size_t>(bounds.width()) * static_cast<std::size_t>(bounds.height()));
}

std::uint32_t Map::ones() const { return depth == 32 ? 0xFFFFFF : depth == 16 ? 0x7FFF : (1U << depth) - 1; }

std::uint32_t& Map::at(int x, int y) {
  return pixels.at(static_cast<std::size_t>((y - bounds.top) * bounds.width() + x - bounds.left));
}

Color Map::colorOf(std::uint32_t pixel) const {
  const auto component = [pixel](int shift, int bits) {
    const int c = static_cast<int>(pixel >> shift) & ((1 << bits) - 1);
    return (bits == 5 ? c << 3 | c >> 2 : c) * 257;
  };
  if (depth == 32) return {component(16, 8), component(8, 8), component(0, 8)};
  if (depth == 16) return {component(10, 5), component(5, 5), component(0, 5)};
  if (table.empty()) return pixel != 0 ? Color{0, 0, 0} : Color{0xFFFF, 0xFFFF, 0xFFFF};
  return table.at(pixel);
}

std::uint32_t Map::pixelOf(const Color& color) const {
  const auto component = [&color](std::size_t i, int bits) {
    return static_cast<std::uint32_t>(color[i] >> (16 - bits));
  };
  if (depth == 32) return component(0, 8) << 16 | component(1, 8) << 8 | component(2, 8);
  if (depth == 16) return component(0, 5) << 10 | component(1, 5) << 5 | component(2, 5);
  const auto [known, isNew] = nearest_.try_emplace(color);
  if (!isNew) return known->second;
  const auto distance = [&color](const Color& other) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < 3; ++i) sum += std::int64_t{other[i] - color[i]} * (other[i] - color[i]);
    return sum;
  };
  return known->second = static_cast<std::uint32_t>(std::ranges::min_element(table, {}, distance) - table.begin());
}

Table tableOf(int id) {
  Table table;
  if (id < 64) {
    const int last = (1 << (id - 32)) - 1;
    for (int i = 0; i <= last; ++i) {
      const int level = 0xFFFF - 0xFFFF * i / last;
      table.push_back({level, level, level});
    }
  } else if (id == 66) {
    table = {{0xFFFF, 0xFFFF, 0xFFFF}, {0x8000, 0x8000, 0x8000}, kHighlight, {0, 0, 0}};
  } else if (id == 68) {
    table = {{0xFFFF, 0xFFFF, 0xFFFF}, {0xFC00, 0xF37D, 0x052F}, {0xFFFF, 0x648A, 0x028C}, {0xDD6B, 0x08C2, 0x06A2},
             {0xF2D7, 0x0856, 0x84EC}, {0x46E3, 0x0000, 0xA53E}, {0x0000, 0x0000, 0xD400}, {0x0241, 0xAB54, 0xEAFF},
             {0x1F21, 0xB793, 0x1431}, {0x0000, 0x64AF, 0x11B0}, {0x5600, 0x2C9D, 0x0524}, {0x90D7, 0x7160, 0x3A34},
             {0xC000, 0xC000, 0xC000}, {0x8000, 0x8000, 0x8000}, {0x4000, 0x4000, 0x4000}, {0, 0, 0}};
  } else {
    // A cube of six levels, without its black, then ten levels of each component and of grey.
    for (int i = 0; i < 215; ++i)
      table.push_back({0x3333 * (5 - i / 36), 0x3333 * (5 - i / 6 % 6), 0x3333 * (5 - i % 6)});
    for (int ramp = 0; ramp < 4; ++ramp) {
      for (const int level : {0xE, 0xD, 0xB, 0xA, 8, 7, 5, 4, 2, 1}) {
        Color color = {};
        for (int c = 0; c < 3; ++c) color[static_cast<std::size_t>(c)] = ramp == 3 || ramp == c ? 0x1111 * level : 0;
        table.push_back(color);
      }
    }
    table.push_back({0, 0, 0});
  }
  return table;
}

// ---- regions and sets of pixels

void Region::toggle(const Rect& r) {
  if (r.isEmpty()) return;
  for (const int h : {r.left, r.right}) {
    for (const int v : {r.top, r.bottom}) points.push_back({h, v});
  }
}

bool Region::holds(int x, int y) const {
  return std::ranges::count_if(points, [=](Point p) { return p.h <= x && p.v <= y; }) % 2 != 0;
}

// Some pixels of a map.
class Pixels {
 public:
  explicit Pixels(const Rect& bounds) : bounds_(bounds) {
    isIn_.resize(static_cast<std::size_t>(bounds.width()) * static_cast<std::size_t>(bounds.height()));
  }
  const Rect& bounds() const { return bounds_; }
  bool holds(int x, int y) const { return isIn_[indexOf(x, y)]; }
  void addRun(int y, int left, int right) { set(y, left, right, true); }
  void add(const Rect& r) {
    for (int y = std::max(r.top, bounds_.top); y < std::min(r.bottom, bounds_.bottom); ++y) addRun(y, r.left, r.right);
  }
  void take(const Pixels& others) {
    for (std::size_t i = 0; i < isIn_.size(); ++i) isIn_[i] = isIn_[i] && !others.isIn_[i];
  }
  void addIf(const std::function<bool(int x, int y)>& isIn) {
    for (int y = bounds_.top; y < bounds_.bottom; ++y) {
      for (int x = bounds_.left; x < bounds_.right; ++x) {
        if (isIn(x, y)) addRun(y, x, x + 1);
      }
    }
  }

 private:
  std::size_t indexOf(int x, int y) const {
    return static_cast<std::size_t>((y - bounds_.top) * bounds_.width() + x - bounds_.left);
  }
  void set(int y, int left, int right, bool isIn) {
    if (y < bounds_.top || y >= bounds_.bottom) return;
    for (int x = std::max(left, bounds_.left); x < std::min(right, bounds_.right); ++x) isIn_[indexOf(x, y)] = isIn;
  }

  Rect bounds_;
  std::vector<bool> isIn_;
};

// ---- shapes

namespace {

constexpr std::int64_t kOne = 65536, kHalf = 32768;

int whole(std::int64_t fixed) { return static_cast<int>(fixed >> 16); }

struct Run {
  int left, right;
};

// The runs of a round rectangle, from its top row on. They may be wider than it is.
std::vector<Run> roundRuns(const Rect& r, Point corner) {
  const std::int64_t w = std::clamp(corner.h, 0, r.width()), h = std::clamp(corner.v, 0, r.height());
  const auto ratio = static_cast<std::uint64_t>(w == 0 ? 0x7FFFFFFF : std::min(h * kOne / w, std::int64_t{0x7FFFFFFF}));
  std::uint64_t steps = 0;  // of half a pixel
  const auto square = [ratio](std::uint64_t n) { return static_cast<std::int64_t>(n * ratio * n * ratio >> 32); };
  const auto fits = [ratio](std::uint64_t n) { return n * ratio <= UINT32_MAX; };
  std::int64_t target = 2 * h - 1, odd = 1 - h;
  std::vector<Run> runs;
  for (int y = r.top; y < r.bottom; ++y) {
    if (y < r.top + h / 2 || y >= r.top + h / 2 + r.height() - h) {
      while (square(steps) < target && fits(steps + 1)) ++steps;
      while (square(steps) > target) --steps;
      target -= 4 * (odd + 1);
      odd += 2;
    }
    const std::int64_t out = static_cast<std::int64_t>(steps) * kHalf;
    runs.push_back({whole(r.left * kOne + w * kHalf - out), whole(r.right * kOne - w * kHalf + kHalf + out)});
  }
  return runs;
}

void addRuns(Pixels& to, const Rect& r, const std::vector<Run>& runs, bool isCut) {
  for (int y = r.top; y < r.bottom; ++y) {
    const auto [left, right] = runs[static_cast<std::size_t>(y - r.top)];
    to.addRun(y, isCut ? std::max(left, r.left) : left, isCut ? std::min(right, r.right) : right);
  }
}

// Tangents of whole degrees, as the machine had them.
constexpr std::int64_t kTangents[] = {
    0x000000, 0x000478, 0x0008F1,  0x000D6B, 0x0011E7, 0x001666, 0x001AE8, 0x001F6F, 0x0023FA, 0x00288C, 0x002D24,
    0x0031C3, 0x00366A, 0x003B1A,  0x003FD4, 0x004498, 0x004968, 0x004E44, 0x00532E, 0x005826, 0x005D2D, 0x006245,
    0x00676E, 0x006CAA, 0x0071FB,  0x007760, 0x007CDC, 0x008270, 0x00881E, 0x008DE7, 0x0093CD, 0x0099D2, 0x009FF7,
    0x00A640, 0x00ACAD, 0x00B341,  0x00B9FF, 0x00C0E9, 0x00C802, 0x00CF4E, 0x00D6CF, 0x00DE8A, 0x00E681, 0x00EEB9,
    0x00F737, 0x010000, 0x010919,  0x011287, 0x011C51, 0x01267F, 0x013117, 0x013C22, 0x0147AA, 0x0153B9, 0x01605B,
    0x016D9B, 0x017B89, 0x018A35,  0x0199AF, 0x01AA0E, 0x01BB68, 0x01CDD6, 0x01E177, 0x01F66E, 0x020CE1, 0x0224FE,
    0x023EFC, 0x025B19, 0x02799F,  0x029AE7, 0x02BF5B, 0x02E77A, 0x0313E3, 0x034556, 0x037CC7, 0x03BB68, 0x0402C2,
    0x0454DB, 0x04B462, 0x052501,  0x05ABD9, 0x065051, 0x071D88, 0x0824F3, 0x0983AD, 0x0B6E17, 0x0E4CF5, 0x1314BD,
    0x1CA2D7, 0x394A30, 0x7FFFFFFF};

// Where a ray from the middle stands in each row, from the top one on.
std::vector<int> ray(const Rect& r, int degrees) {
  const auto turned = static_cast<std::size_t>(degrees % 180);
  const std::int64_t tangent = turned <= 90 ? -kTangents[turned] : kTangents[180 - turned];
  const std::int64_t ratio = r.width() * kOne / r.height();
  const std::int64_t slope = (tangent * ratio + kHalf) >> 16;
  std::int64_t at = ((r.left + r.right) >> 1) * kOne - slope * (r.height() >> 1);
  std::vector<int> rows;
  for (int y = r.top; y < r.bottom; ++y, at += slope) rows.push_back(whole(at));
  return rows;
}

void addArc(Pixels& to, const Rect& r, int start, int arc) {
  if (arc < 0) {
    start += arc;
    arc = -arc;
  }
  const auto oval = roundRuns(r, {r.width(), r.height()});
  if (arc >= 360) return addRuns(to, r, oval, true);
  if (arc == 0) return;
  const int first = (start % 360 + 360) % 360, last = (first + arc) % 360;
  const auto starts = ray(r, first), stops = ray(r, last);
  for (int y = r.top; y < r.bottom; ++y) {
    const auto row = static_cast<std::size_t>(y - r.top);
    const bool isUpper = y < (r.top + r.bottom) >> 1;
    const auto liesHere = [isUpper](int degrees) {
      return isUpper ? degrees < 90 || degrees > 270 : degrees > 90 && degrees < 270;
    };
    const int ovalLeft = std::max(oval[row].left, r.left), ovalRight = std::min(oval[row].right, r.right);
    const bool hasStart = liesHere(first), hasStop = liesHere(last);
    if (!hasStart && !hasStop) {
      const bool isHidden = arc < 180 || (arc == 180 && first == (isUpper ? 90 : 270));
      if (!isHidden) to.addRun(y, ovalLeft, ovalRight);
      continue;
    }
    const bool hasLeft = isUpper ? hasStart : hasStop, hasRight = isUpper ? hasStop : hasStart;
    const int left = isUpper ? starts[row] : stops[row], right = isUpper ? stops[row] : starts[row];
    if (hasLeft && hasRight && arc > 180 && left >= right) {
      to.addRun(y, ovalLeft, std::min(right, ovalRight));
      to.addRun(y, std::max(left, ovalLeft), ovalRight);
    } else {
      to.addRun(y, hasLeft ? std::max(left, ovalLeft) : ovalLeft, hasRight ? std::min(right, ovalRight) : ovalRight);
    }
  }
}

Pixels lineOf(const Rect& bounds, Point from, Point to, Point pen) {
  Pixels pixels(bounds);
  if (pen.h <= 0 || pen.v <= 0) return pixels;
  if (from.v > to.v) std::swap(from, to);
  const int least = std::min(from.h, to.h), most = std::max(from.h, to.h) + pen.h;
  if (from.h == to.h || from.v == to.v) {
    pixels.add({least, from.v, most, to.v + pen.v});
    return pixels;
  }
  const std::int64_t slope = (to.h - from.h) * kOne / (to.v - from.v);
  std::int64_t left = from.h * kOne + kHalf + (slope >> 1), right = left + pen.h * kOne;
  const std::int64_t rise = pen.v * slope;
  if (slope >= 0) {
    left -= rise;
    slope < kOne ? left += slope : right -= kOne;
  } else {
    right -= rise;
    slope < -kOne ? left += kOne : right += slope;
  }
  for (int y = from.v; y < to.v + pen.v; ++y, left += slope, right += slope)
    pixels.addRun(y, std::max(whole(left), least), std::min(whole(right), most));
  return pixels;
}

Pixels insideOf(const Rect& bounds, const std::vector<Point>& points) {
  Pixels pixels(bounds);
  std::vector<std::vector<int>> edges(static_cast<std::size_t>(bounds.height()));
  for (std::size_t i = 0; i < points.size(); ++i) {
    Point from = points[i], to = points[(i + 1) % points.size()];
    if (from.v > to.v) std::swap(from, to);
    if (from.v == to.v) continue;
    const std::int64_t slope = (to.h - from.h) * kOne / (to.v - from.v);
    std::int64_t at = from.h * kOne;
    if (from.h != to.h) {
      at += kHalf + (slope >> 1);
      if (slope >= 0 && slope < kOne) at += slope;
      if (slope < -kOne) at += kOne;
    }
    for (int y = from.v; y < to.v; ++y, at += slope) {
      if (y >= bounds.top && y < bounds.bottom) edges[static_cast<std::size_t>(y - bounds.top)].push_back(whole(at));
    }
  }
  pixels.addIf([&](int x, int y) {
    return std::ranges::count_if(edges[static_cast<std::size_t>(y - bounds.top)], [x](int e) { return e <= x; }) % 2 !=
           0;
  });
  return pixels;
}

// A coordinate of `at` lies that far in 0..to as it did in 0..from.
int scaled(int at, int from, int to) {
  if (from == to) return at;
  const std::int64_t size = (std::int64_t{std::abs(at)} * to + from / 2) / from;
  return static_cast<int>(at < 0 ? -size : size);
}

// The pixel of a source that is shown at a place in the destination.
int shown(int k, int from, int to) { return (from * (2 * k + 1) + 2 * to - 1) / (2 * to) - 1; }

constexpr int kHilite = 50;

// The mode of a source that a mode is, for a map of that depth.
int sourceMode(int mode, int depth) {
  constexpr int kCopy = 0, kOr = 1, kXor = 2, kBic = 3, kGrey = 49;
  // One bit deep there is nothing to calculate.
  constexpr int kStandIns[] = {kCopy, kBic, kXor, kOr, kOr, kBic, kXor, kOr};
  mode &= ~64;
  if (mode == kHilite) return mode;
  if (mode == kGrey) return kOr;
  if (mode >= 32 && mode < 48) return depth == 1 ? kStandIns[mode % 8] : 32 + mode % 8;
  return mode >= 0 && mode < 16 ? mode % 8 : kCopy;
}

}  // namespace

// ---- playing

Player::Player(Map& map, const Rect& from, const Rect& to)
    : map_(map), from_(from), to_(to), clip_(map.pixels.size(), true) {}

// Coordinates stop at 16 bits.
int Player::x(int h) const {
  return std::clamp(to_.left + scaled(h - from_.left, from_.width(), to_.width()), -32768, 32767);
}
int Player::y(int v) const {
  return std::clamp(to_.top + scaled(v - from_.top, from_.height(), to_.height()), -32768, 32767);
}

Region Player::mapped(const Region& region) const {
  Region result;
  for (const Point& p : region.points) result.points.push_back(mapped(p));
  return result;
}

Point Player::sized(Point size) const {
  const auto one = [](int at, int from, int to) { return at <= 0 ? at : std::max(scaled(at, from, to), 1); };
  return {one(size.h, from_.width(), to_.width()), one(size.v, from_.height(), to_.height())};
}

void Player::clip(const Region& region) {
  const Region there = mapped(region);
  std::size_t i = 0;
  for (int y = map_.bounds.top; y < map_.bounds.bottom; ++y) {
    for (int x = map_.bounds.left; x < map_.bounds.right; ++x) clip_[i++] = there.holds(x, y);
  }
}

void Player::origin(int dh, int dv) { from_ = {from_.left + dh, from_.top + dv, from_.right + dh, from_.bottom + dv}; }

void Player::line(Point from, Point to) {
  draw(Verb::frame, lineOf(map_.bounds, mapped(from), mapped(to), sized(penSize)));
  lineEnd_ = to;
}

void Player::shape(Shape shape, Verb verb, const Rect& rect, int start, int arc) {
  rect_ = rect;
  const Rect r = mapped(rect);
  const Point whole = {r.width(), r.height()};
  const Point corner = shape == Shape::rect ? Point{} : shape == Shape::roundRect ? sized(ovalSize) : whole;
  Pixels pixels(map_.bounds);
  if (r.isEmpty()) {
    // Nothing is touched.
  } else if (shape == Shape::arc) {
    addArc(pixels, r, start, arc);
  } else if (shape == Shape::rect) {
    pixels.add(r);
  } else {
    addRuns(pixels, r, roundRuns(r, corner), true);
  }
  if (verb == Verb::frame) {
    const Point pen = sized(penSize);
    if (pen.h <= 0 || pen.v <= 0) return;
    const Rect inset = {r.left + pen.h, r.top + pen.v, r.right - pen.h, r.bottom - pen.v};
    Pixels inner(map_.bounds);
    if (shape == Shape::rect) {
      inner.add(inset);
    } else if (!inset.isEmpty()) {
      addRuns(inner, inset, roundRuns(inset, {corner.h - 2 * pen.h, corner.v - 2 * pen.v}), false);
    }
    pixels.take(inner);
  }
  draw(verb, pixels);
}

void Player::shape(Shape kind, Verb verb, int start, int arc) { shape(kind, verb, rect_, start, arc); }

void Player::polygon(Verb verb, const std::vector<Point>& points) {
  polygon_ = points;
  std::vector<Point> there;
  there.reserve(points.size());
  for (const Point& p : points) there.push_back(mapped(p));
  if (verb != Verb::frame) return draw(verb, insideOf(map_.bounds, there));
  for (std::size_t i = 1; i < there.size(); ++i)
    draw(verb, lineOf(map_.bounds, there[i - 1], there[i], sized(penSize)));
}

void Player::polygon(Verb verb) { polygon(verb, std::vector<Point>(polygon_)); }

void Player::region(Verb verb, const Region& region) {
  region_ = region;
  const Region there = mapped(region);
  const Point pen = sized(penSize);
  if (verb == Verb::frame && (pen.h <= 0 || pen.v <= 0)) return;
  Pixels pixels(map_.bounds);
  pixels.addIf([&](int x, int y) {
    if (!there.holds(x, y)) return false;
    bool isOutside = verb != Verb::frame;
    for (int dy = -pen.v; dy <= pen.v; ++dy) {
      for (int dx = -pen.h; dx <= pen.h; ++dx) isOutside = isOutside || !there.holds(x + dx, y + dy);
    }
    return isOutside;
  });
  draw(verb, pixels);
}

void Player::region(Verb verb) { region(verb, Region(region_)); }

void Player::draw(Verb verb, const Pixels& pixels) {
  constexpr int kPatCopy = 8, kPatXor = 10;
  const int mode = penMode & ~64;
  const bool isOfPatterns = (mode >= 8 && mode < 16) || (mode >= 32 && mode < 48) || mode == kHilite;
  switch (verb) {
    case Verb::frame:
    case Verb::paint:
      if (isOfPatterns) fill(pixels, penPattern, penMode);
      break;
    case Verb::erase:
      fill(pixels, backPattern, kPatCopy);
      break;
    case Verb::invert:
      fill(pixels, {kSolid, {}}, highlights ? kHilite : kPatXor);
      highlights = false;
      break;
    case Verb::fill:
      fill(pixels, fillPattern, kPatCopy);
  }
}

void Player::fill(const Pixels& pixels, const Pattern& pattern, int mode) {
  const int made = sourceMode(mode, map_.depth);
  std::size_t i = 0;
  for (int y = map_.bounds.top; y < map_.bounds.bottom; ++y) {
    for (int x = map_.bounds.left; x < map_.bounds.right; ++x) {
      if (!clip_[i++] || !pixels.holds(x, y)) continue;
      std::uint32_t& there = map_.at(x, y);
      const bool isSet = (pattern.bits[static_cast<std::size_t>(y & 7)] >> (7 - (x & 7)) & 1) != 0;
      if (pattern.tile) {
        const Rect& tile = pattern.tile->bounds;
        const auto folded = [](int at, int size) { return (at % size + size) % size; };
        const std::uint32_t pixel =
            pattern.tile->at(tile.left + folded(x, tile.width()), tile.top + folded(y, tile.height()));
        there = transferred(map_.pixelOf(pattern.tile->colorOf(pixel)), there, made);
      } else {
        there = withBit(isSet, there, made);
      }
    }
  }
}

void Player::bits(const Map& source, const Rect& from, const Rect& to, int mode, const std::vector<Region>& masks,
                  const Map* matte) {
  if (from.isEmpty()) return;
  const Rect place = mapped(to);
  std::vector<Region> within;
  within.reserve(masks.size());
  for (const Region& mask : masks) within.push_back(mapped(mask));
  const Map before = source;
  const int made = matte != nullptr ? 0 : sourceMode(mode, map_.depth);
  // A map of one bit in white and black is one.
  const bool isBitMap = source.depth == 1 && (source.table.empty() || source.table == tableOf(33));
  std::size_t i = 0;
  for (int y = map_.bounds.top; y < map_.bounds.bottom; ++y) {
    for (int x = map_.bounds.left; x < map_.bounds.right; ++x) {
      if (!clip_[i++] || !place.holds(x, y)) continue;
      if (!std::ranges::all_of(within, [&](const Region& mask) { return mask.holds(x, y); })) continue;
      const auto pixelOf = [&](const Map& map, const Rect& part) -> std::optional<std::uint32_t> {
        const int sx = part.left + shown(x - place.left, part.width(), place.width());
        const int sy = part.top + shown(y - place.top, part.height(), place.height());
        if (!map.bounds.holds(sx, sy)) return std::nullopt;
        return map.at(sx, sy);
      };
      const auto pixel = pixelOf(before, from);
      if (!pixel) continue;
      std::uint32_t& there = map_.at(x, y);
      const std::uint32_t copied =
          isBitMap ? withBit(*pixel != 0, there, made) : transferred(map_.pixelOf(before.colorOf(*pixel)), there, made);
      there = matte != nullptr ? mixed(copied, there, *matte, *pixelOf(*matte, matte->bounds)) : copied;
    }
  }
}

std::uint32_t Player::mixed(std::uint32_t copied, std::uint32_t there, const Map& matte, std::uint32_t weight) const {
  if (matte.depth == 1) return weight != 0 ? copied : there;
  const Color s = map_.colorOf(copied), d = map_.colorOf(there), m = matte.colorOf(weight);
  Color mix = {};
  for (std::size_t c = 0; c < 3; ++c)
    mix[c] = static_cast<int>((std::int64_t{s[c]} * (0xFFFF - m[c]) + std::int64_t{d[c]} * m[c] + 0x7FFF) / 0xFFFF);
  if (m == Color{}) return copied;
  return m == Color{0xFFFF, 0xFFFF, 0xFFFF} ? there : map_.pixelOf(mix);
}

// ---- modes

// A set bit of a pattern or of a bit map is all ink. What calculates takes it for the foreground, and a clear one for
// the background.
std::uint32_t Player::withBit(bool isSet, std::uint32_t there, int mode) const {
  if (mode < 8) return logical(isSet ? map_.ones() : 0, there, mode);
  if (mode == kHilite) return isSet ? highlighted(there) : there;
  return calculated(map_.pixelOf(isSet ? foreground : background), there, mode);
}

std::uint32_t Player::transferred(std::uint32_t source, std::uint32_t there, int mode) const {
  const std::uint32_t ink = map_.isDirect() ? ~source & map_.ones() : source;
  if (mode < 8) return logical(ink, there, mode);
  if (mode == kHilite) return ink != 0 ? highlighted(there) : there;
  return calculated(source, there, mode);
}

std::uint32_t Player::highlighted(std::uint32_t there) const {
  const std::uint32_t b = map_.pixelOf(background), h = map_.pixelOf(highlight);
  return there == b ? h : there == h ? b : there;
}

std::uint32_t Player::logical(std::uint32_t ink, std::uint32_t there, int mode) const {
  const std::uint32_t s = (mode & 4) != 0 ? ~ink & map_.ones() : ink;
  const std::uint32_t f = map_.pixelOf(foreground), b = map_.pixelOf(background);
  switch (mode & 3) {
    case 0:
      return (s & f) | (~s & b);
    case 1:
      return (s & f) | (~s & there);
    case 2:
      return there ^ s;
    default:
      return (s & b) | (~s & there);
  }
}

std::uint32_t Player::calculated(std::uint32_t source, std::uint32_t there, int mode) const {
  if (mode == 36) return source == map_.pixelOf(background) ? there : source;
  // Of as many bits as the map has for a component; 16 for those of a table's colours.
  const int bits = map_.depth == 32 ? 8 : map_.depth == 16 ? 5 : 16;
  const int most = (1 << bits) - 1;
  const Color from = map_.colorOf(source), to = map_.colorOf(there);
  Color result = {};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::int64_t s = from[i] >> (16 - bits), d = to[i] >> (16 - bits), o = operand[i] >> (16 - bits);
    const std::int64_t made[] = {(s * o + d * (most - o)) / most,
                                 std::min(s + d, o),
                                 (s + d) & most,
                                 std::max(d - s, o),
                                 0,
                                 std::max(s, d),
                                 (d - s) & most,
                                 std::min(s, d)};
    result[i] = static_cast<int>(made[mode - 32]) << (16 - bits);
  }
  return map_.pixelOf(result);
}

}  // namespace model
