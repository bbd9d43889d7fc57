#include "platform/quickdraw/copy.h"

#include <cstring>

#include "platform/quickdraw/rows.h"

namespace qd {
namespace {

// Calls `use` for each run of the clip in a row of the area.
template <class Use>
void forRuns(const Region& clip, const Box& area, int y, const Use& use) {
  if (clip.isRect()) return use(area.left, area.right);
  const auto edges = clip.row(y);
  for (std::size_t i = 0; i < edges.size(); i += 2) {
    const int left = std::max(edges[i], area.left);
    const int right = std::min(edges[i + 1], area.right);
    if (left < right) use(left, right);
  }
}

// Copies between maps of the same format as bytes: row by row, or at once where rows touch.
void copyBytes(const PixelMap& source, const PixelMap& destination, const Stretches& stretches, const Box& area,
               const Region& clip) {
  const auto pixelBytes = static_cast<std::size_t>(source.depth / 8);
  const auto at = [pixelBytes](const PixelMap& map, int y, int x) {
    return map.row(y) + static_cast<std::size_t>(x - map.bounds.left) * pixelBytes;
  };
  if (!clip.isRect() || !stretches.v.isStraight()) {
    for (int y = area.top; y < area.bottom; ++y) {
      const int sourceY = stretches.v(y);
      forRuns(clip, area, y, [&](int left, int right) {
        std::memcpy(at(destination, y, left), at(source, sourceY, stretches.h(left)),
                    static_cast<std::size_t>(right - left) * pixelBytes);
      });
    }
    return;
  }
  std::uint8_t* to = at(destination, area.top, area.left);
  const std::uint8_t* from = at(source, stretches.v(area.top), stretches.h(area.left));
  std::size_t bytes = static_cast<std::size_t>(area.width()) * pixelBytes;
  int rows = area.height();
  if (bytes == static_cast<std::size_t>(source.rowBytes) && source.rowBytes == destination.rowBytes) {
    bytes *= static_cast<std::size_t>(rows);
    rows = 1;
  }
  for (; rows > 0; --rows, to += destination.rowBytes, from += source.rowBytes) std::memcpy(to, from, bytes);
}

// Copies black on white: what was there doesn't matter.
void copyPlain(const Rows& rows, const PixelMap& destination, const Stretch& v, const Box& area, const Region& clip) {
  const int depth = destination.depth;
  const int left = area.left - destination.bounds.left;
  for (int y = area.top; y < area.bottom; ++y) {
    const bool isRepeated = depth >= 8 && clip.isRect() && y > area.top && v(y) == v(y - 1);
    if (isRepeated) {
      const std::ptrdiff_t start = std::ptrdiff_t{left} * depth / 8;
      std::memcpy(destination.row(y) + start, destination.row(y - 1) + start,
                  static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(depth / 8));
      continue;
    }
    forRuns(clip, area, y, [&](int from, int to) {
      rows.pack(v(y), from, to, depth, destination.row(y), from - destination.bounds.left);
    });
  }
}

// Changes runs of the destination: `change` gets the pixels that are there, as numbers, and where they are.
template <class Change>
void changeRuns(const PixelMap& destination, const Box& area, const Region& clip, const Change& change) {
  std::vector<std::uint32_t> there;
  for (int y = area.top; y < area.bottom; ++y) {
    forRuns(clip, area, y, [&](int left, int right) {
      there.resize(static_cast<std::size_t>(right - left));
      destination.get(y, left, there);
      change(y, left, std::span(there));
      destination.put(y, left, there);
    });
  }
}

// Pixels whose components are bytes, mixed by those of a mask, of which 0 takes the source; rounded as components of 16
// bits would be, of which the upper half is kept.
void mixBytes(std::span<const std::uint8_t> source, std::span<const std::uint8_t> mask, std::uint8_t* there) {
  for (std::size_t i = 0; i < source.size(); ++i) {
    // 255 of the source and the mask's part of the difference; what overflows in between comes back.
    const auto difference = static_cast<std::uint16_t>(there[i] - source[i]);
    const auto all = static_cast<std::uint16_t>((source[i] << 8) - source[i]);
    const auto sum = static_cast<std::uint16_t>(all + static_cast<std::uint16_t>(difference * mask[i]));
    const auto scaled = static_cast<std::uint16_t>(sum + (static_cast<std::uint16_t>(sum + 127) >> 8));
    const auto rounded = static_cast<std::uint16_t>(scaled + 1 + (scaled >> 8));  // to be divided by 255
    there[i] = static_cast<std::uint8_t>(rounded >> 8);
  }
}

// The bits of a mask that are set take the source.
void selectBits(std::span<const std::uint8_t> source, std::span<const std::uint8_t> mask, std::uint8_t* there) {
  for (std::size_t i = 0; i < source.size(); ++i) {
    there[i] = static_cast<std::uint8_t>(there[i] ^ ((there[i] ^ source[i]) & mask[i]));
  }
}

// The same of any pixels.
std::uint32_t mixed(const PixelMap& map, std::uint32_t source, std::uint32_t there, const RGBColor& mask) {
  if (mask == RGBColor{0, 0, 0}) return source;
  if (mask == RGBColor{0xFFFF, 0xFFFF, 0xFFFF}) return there;
  const RGBColor s = map.colorOf(source);
  const RGBColor d = map.colorOf(there);
  const auto mix = [&](std::uint16_t RGBColor::*c) {
    const std::uint64_t sum = std::uint64_t{s.*c} * (0xFFFFU - mask.*c) + std::uint64_t{d.*c} * (mask.*c);
    return static_cast<std::uint16_t>((sum + 0x7FFF) / 0xFFFF);
  };
  return map.pixelOf({mix(&RGBColor::red), mix(&RGBColor::green), mix(&RGBColor::blue)});
}

// Components of a byte, repeated in 16 bits.
bool hasWholeBytes(const PixelMap& map) {
  if (map.isDirect() || map.colors == nullptr) return true;
  const auto isWhole = [](std::uint16_t c) { return c % 257 == 0; };
  const auto& colors = map.colors->colors();
  return std::all_of(colors.begin(), colors.end(),
                     [isWhole](const RGBColor& c) { return isWhole(c.red) && isWhole(c.green) && isWhole(c.blue); });
}

// The format of a mask's weights.
const PixelMap kDeep{nullptr, 0, {}, 32, nullptr};

}  // namespace

std::optional<OwnedPixels> duplicate(const PixelMap& map, const Box& part) {
  const Box box = intersect(map.bounds, part);
  auto copy = OwnedPixels::make(box, map.depth, map.colors);
  if (!copy) return copy;
  if (map.depth >= 8) {
    copyBytes(map, copy->map, Stretches(box, box), box, Region(box));
  } else {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(box.width()));
    for (int y = box.top; y < box.bottom; ++y) {
      map.get(y, box.left, pixels);
      copy->map.put(y, box.left, pixels);
    }
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
  const bool goesAsBytes = transfer.isPlainCopy() && source.depth >= 8 && stretches.h.isStraight();
  if (goesAsBytes && sameColors(source, destination)) return copyBytes(source, destination, stretches, area, clip);

  const Conversion conversion = Conversion::of(source, destination, transfer);
  const Rows rows(source, conversion, stretches.h, area);
  if (transfer.isPlainCopy()) return copyPlain(rows, destination, stretches.v, area, clip);
  std::vector<std::uint32_t> pixels;
  changeRuns(destination, area, clip, [&](int y, int left, std::span<std::uint32_t> there) {
    pixels.resize(there.size());
    rows.read(stretches.v(y), left, pixels);
    for (std::size_t i = 0; i < there.size(); ++i) there[i] = transfer.apply(pixels[i], there[i]);
  });
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
  const Conversion conversion = Conversion::of(source, destination, transfer);
  const Rows rows(source, conversion, stretches.h, area);
  const bool isBits = mask.depth == 1;
  const int depth = destination.depth;
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(area.width()));
  std::vector<std::uint32_t> weights(pixels.size());
  if (transfer.isPlainCopy() && (isBits ? depth >= 8 : depth == 32 && hasWholeBytes(mask))) {
    const Conversion weight = isBits ? Conversion(0, ~0U) : Conversion(mask, kDeep);
    const Rows maskRows(mask, weight, maskStretches.h, area);
    const auto pixelBytes = static_cast<std::size_t>(depth / 8);
    auto* const from = reinterpret_cast<std::uint8_t*>(pixels.data());
    auto* const by = reinterpret_cast<std::uint8_t*>(weights.data());
    const std::uint32_t used = depth == 32 ? 0xFFFFFF00 : depth == 16 ? 0xFF7FFF7F : ~0U;  // bits, in a row's order
    for (int y = area.top; y < area.bottom; ++y) {
      forRuns(clip, area, y, [&](int left, int right) {
        rows.pack(stretches.v(y), left, right, depth, from, 0);
        for (std::uint32_t& word : std::span(pixels).first(static_cast<std::size_t>(right - left))) word &= used;
        maskRows.pack(maskStretches.v(y), left, right, depth, by, 0);
        const std::size_t bytes = static_cast<std::size_t>(right - left) * pixelBytes;
        std::uint8_t* const there =
            destination.row(y) + static_cast<std::size_t>(left - destination.bounds.left) * pixelBytes;
        if (isBits) return selectBits({from, bytes}, {by, bytes}, there);
        // White leaves the unused byte too; no other mask does.
        for (std::uint32_t& w : std::span(weights).first(static_cast<std::size_t>(right - left))) {
          w = (w & used) == used ? ~0U : w & used;
        }
        mixBytes({from, bytes}, {by, bytes}, there);
      });
    }
    return;
  }

  const Conversion same(mask, mask);
  const Rows maskRows(mask, same, maskStretches.h, area);
  changeRuns(destination, area, clip, [&](int y, int left, std::span<std::uint32_t> there) {
    rows.read(stretches.v(y), left, std::span(pixels).first(there.size()));
    maskRows.read(maskStretches.v(y), left, std::span(weights).first(there.size()));
    for (std::size_t i = 0; i < there.size(); ++i) {
      const RGBColor black = {0, 0, 0};
      const RGBColor white = {0xFFFF, 0xFFFF, 0xFFFF};
      const RGBColor weight = !isBits ? mask.colorOf(weights[i]) : weights[i] != 0 ? black : white;
      there[i] = mixed(destination, transfer.apply(pixels[i], there[i]), there[i], weight);
    }
  });
}

}  // namespace qd
