#include "platform/quickdraw/copy.h"

#include <cstring>
#include <functional>

namespace qd {
namespace {

// Which source row or column a destination one shows.
class Stretch {
 public:
  Stretch(int from, int fromSize, int to, int toSize) : from_(from), fromSize_(fromSize), to_(to), toSize_(toSize) {}
  int operator()(int at) const {
    if (fromSize_ == toSize_) return from_ + (at - to_);
    const std::int64_t numerator = std::int64_t{fromSize_} * (2 * std::int64_t{at - to_} + 1);
    return from_ + static_cast<int>((numerator + 2 * std::int64_t{toSize_} - 1) / (2 * std::int64_t{toSize_})) - 1;
  }
  // The destinations between first and last that show a source within [low, high).
  std::pair<int, int> within(int first, int last, int low, int high) const {
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

// Reads source pixels as pixels of the destination's format.
class Reader {
 public:
  Reader(const PixelMap& source, const PixelMap& destination, const Transfer& transfer)
      : source_(source), destination_(destination) {
    if (source.isDirect()) return;
    const bool isBit = source.isBitMap();
    for (std::uint32_t i = 0; i <= source.ones(); ++i) {
      if (isBit && transfer.isBoolean()) {
        table_.push_back(transfer.ink(i != 0 ? destination.ones() : 0));
      } else if (isBit) {
        table_.push_back(transfer.patternPixel(i != 0));
      } else {
        table_.push_back(destination.pixelOf(source.colorOf(i)));
      }
    }
  }

  void convert(std::span<std::uint32_t> pixels) const {
    if (!table_.empty()) {
      for (std::uint32_t& pixel : pixels) pixel = table_[pixel];
    } else if (source_.depth == 16 && destination_.depth == 32) {
      const auto byte = [](std::uint32_t five) { return five << 3 | five >> 2; };
      for (std::uint32_t& p : pixels) p = byte(p >> 10 & 31) << 16 | byte(p >> 5 & 31) << 8 | byte(p & 31);
    } else if (source_.depth == 32 && destination_.depth == 16) {
      for (std::uint32_t& p : pixels) p = (p >> 19 & 31) << 10 | (p >> 11 & 31) << 5 | (p >> 3 & 31);
    } else if (source_.depth != destination_.depth) {
      for (std::uint32_t& pixel : pixels) pixel = destination_.pixelOf(source_.colorOf(pixel));
    }
  }

 private:
  const PixelMap& source_;
  const PixelMap& destination_;
  std::vector<std::uint32_t> table_;
};

// Source rows, stretched over the columns from left on.
class Rows {
 public:
  Rows(const PixelMap& source, const Stretch& columns, int left, int right) : source_(source) {
    for (int x = left; x < right; ++x) columns_.push_back(columns(x));
    if (columns_.empty()) return;
    isPlain_ = columns_.back() - columns_.front() == right - 1 - left && columns(left + 1) - columns(left) == 1;
    if (!isPlain_) whole_.resize(static_cast<std::size_t>(columns_.back() - columns_.front()) + 1);
    pixels_.resize(columns_.size());
  }
  std::span<std::uint32_t> read(int y) {
    if (isPlain_) {
      source_.get(y, columns_.front(), pixels_);
    } else {
      source_.get(y, columns_.front(), whole_);
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        pixels_[i] = whole_[static_cast<std::size_t>(columns_[i] - columns_.front())];
      }
    }
    return pixels_;
  }

 private:
  const PixelMap& source_;
  std::vector<int> columns_;
  bool isPlain_ = false;
  std::vector<std::uint32_t> whole_, pixels_;
};

bool sameColors(const PixelMap& a, const PixelMap& b) {
  if (a.depth != b.depth) return false;
  if (a.isDirect() || a.colors == b.colors) return true;
  return a.colors != nullptr && b.colors != nullptr && a.colors->colors() == b.colors->colors();
}

// Calls `use` for each run of the clip in a row of the area.
template <class Use>
void forRuns(const Region& clip, const Box& area, int y, Use use) {
  const auto edges = clip.row(y);
  for (std::size_t i = 0; i < edges.size(); i += 2) {
    const int left = std::max(edges[i], area.left);
    const int right = std::min(edges[i + 1], area.right);
    if (left < right) use(left, right);
  }
}

// Copies between maps of the same format, row by row, as bytes.
void copyRows(const PixelMap& source, const PixelMap& destination, const Stretches& stretches, const Box& area,
              const Region& clip) {
  const auto pixelBytes = static_cast<std::size_t>(source.depth / 8);
  const auto at = [pixelBytes](const PixelMap& map, int y, int x) {
    return map.row(y) + static_cast<std::size_t>(x - map.bounds.left) * pixelBytes;
  };
  for (int y = area.top; y < area.bottom; ++y) {
    const int sourceY = stretches.v(y);
    forRuns(clip, area, y, [&](int left, int right) {
      std::memcpy(at(destination, y, left), at(source, sourceY, stretches.h(left)),
                  static_cast<std::size_t>(right - left) * pixelBytes);
    });
  }
}

}  // namespace

std::optional<OwnedPixels> duplicate(const PixelMap& map, const Box& part) {
  const Box box = intersect(map.bounds, part);
  auto copy = OwnedPixels::make(box, map.depth, map.colors);
  if (!copy) return copy;
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(box.width()));
  for (int y = box.top; y < box.bottom; ++y) {
    map.get(y, box.left, pixels);
    copy->map.put(y, box.left, pixels);
  }
  return copy;
}

void copyBits(const PixelMap& source, const PixelMap& destination, const Box& from, const Box& to, int mode,
              const Region& clip, const TransferColors& colors) {
  if (from.empty() || to.empty() || clip.empty()) return;
  const Stretches stretches(from, to);
  const Box area = intersect(stretches.reach(source, to), clip.bounds());
  if (area.empty()) return;
  if (source.base == destination.base) {
    const auto saved = duplicate(source, from);
    if (saved) copyBits(saved->map, destination, from, to, mode, clip, colors);
    return;
  }

  const Transfer transfer(destination, mode, colors);
  const bool goesAsBytes =
      transfer.isPlainCopy() && source.depth >= 8 && from.width() == to.width() && sameColors(source, destination);
  if (goesAsBytes) return copyRows(source, destination, stretches, area, clip);

  Rows rows(source, stretches.h, area.left, area.right);
  const Reader reader(source, destination, transfer);
  std::vector<std::uint32_t> there;
  std::span<std::uint32_t> pixels;
  std::optional<int> lastY;  // a row that is stretched over several is read once
  for (int y = area.top; y < area.bottom; ++y) {
    const int sourceY = stretches.v(y);
    if (lastY != sourceY) {
      pixels = rows.read(sourceY);
      reader.convert(pixels);
      lastY = sourceY;
    }
    forRuns(clip, area, y, [&](int left, int right) {
      const auto run =
          pixels.subspan(static_cast<std::size_t>(left - area.left), static_cast<std::size_t>(right - left));
      if (transfer.isPlainCopy()) return destination.put(y, left, run);
      there.resize(run.size());
      destination.get(y, left, there);
      for (std::size_t i = 0; i < run.size(); ++i) there[i] = transfer.apply(run[i], there[i]);
      destination.put(y, left, there);
    });
  }
}

void copyMask(const PixelMap& source, const PixelMap& mask, const PixelMap& destination, const Box& from,
              const Box& maskFrom, const Box& to, const Region& clip, const TransferColors& colors) {
  if (from.empty() || maskFrom.empty() || to.empty() || clip.empty()) return;
  if (source.base == destination.base || mask.base == destination.base) {
    const auto savedSource = duplicate(source, from);
    const auto savedMask = duplicate(mask, maskFrom);
    if (savedSource && savedMask) {
      copyMask(savedSource->map, savedMask->map, destination, from, maskFrom, to, clip, colors);
    }
    return;
  }
  const Stretches stretches(from, to);
  const Stretches maskStretches(maskFrom, to);
  const Box area = intersect(intersect(stretches.reach(source, to), maskStretches.reach(mask, to)), clip.bounds());
  if (area.empty()) return;

  const Transfer transfer(destination, srcCopy, colors);
  const Reader reader(source, destination, transfer);
  Rows rows(source, stretches.h, area.left, area.right);
  Rows maskRows(mask, maskStretches.h, area.left, area.right);
  std::vector<std::uint32_t> there;
  const auto mix = [](std::uint16_t s, std::uint16_t d, std::uint16_t m) {
    return static_cast<std::uint16_t>((std::uint64_t{s} * (0xFFFFU - m) + std::uint64_t{d} * m + 0x7FFF) / 0xFFFF);
  };
  for (int y = area.top; y < area.bottom; ++y) {
    const auto pixels = rows.read(stretches.v(y));
    reader.convert(pixels);
    const auto masks = maskRows.read(maskStretches.v(y));
    forRuns(clip, area, y, [&](int left, int right) {
      there.resize(static_cast<std::size_t>(right - left));
      destination.get(y, left, there);
      for (std::size_t i = 0; i < there.size(); ++i) {
        const std::size_t at = i + static_cast<std::size_t>(left - area.left);
        const std::uint32_t whole = transfer.apply(pixels[at], there[i]);
        const RGBColor m = mask.depth == 1 ? RGBColor{} : mask.colorOf(masks[at]);
        if (mask.depth == 1 ? masks[at] != 0 : m == RGBColor{0, 0, 0}) {
          there[i] = whole;
        } else if (mask.depth != 1 && !(m == RGBColor{0xFFFF, 0xFFFF, 0xFFFF})) {
          const RGBColor s = destination.colorOf(whole);
          const RGBColor d = destination.colorOf(there[i]);
          there[i] = destination.pixelOf(
              {mix(s.red, d.red, m.red), mix(s.green, d.green, m.green), mix(s.blue, d.blue, m.blue)});
        }
      }
      destination.put(y, left, there);
    });
  }
}

}  // namespace qd
