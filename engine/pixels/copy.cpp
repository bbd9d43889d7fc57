#include "engine/pixels/copy.h"

#include <cstring>

#include "engine/pixels/rows.h"

namespace qd {
namespace {

// Copies between maps of the same format as bytes: run by run, or at once where rows touch.
void copyBytes(const PixelMap& source, const PixelMap& destination, const Stretches& stretches, const Box& area,
               const Region& clip) {
  const auto copy = [&](int y, int left, std::size_t pixels) {
    std::memcpy(destination.at(y, left), source.at(stretches.v(y), stretches.h(left)), pixels * source.pixelBytes());
  };
  const auto width = static_cast<std::size_t>(area.width());
  const auto isWholeRow = [bytes = width * source.pixelBytes()](const PixelMap& map) {
    return bytes == static_cast<std::size_t>(map.rowBytes);
  };
  if (clip.isRect() && stretches.v.isStraight() && isWholeRow(source) && isWholeRow(destination))
    return copy(area.top, area.left, width * static_cast<std::size_t>(area.height()));
  for (int y = area.top; y < area.bottom; ++y) {
    clip.runsWithin(y, area.left, area.right,
                    [&](int left, int right) { copy(y, left, static_cast<std::size_t>(right - left)); });
  }
}

// Copies black on white: what was there doesn't matter.
void copyPlain(const Rows& rows, const PixelMap& destination, const Box& area, const Region& clip) {
  const bool mayRepeat = destination.depth >= 8 && clip.isRect();
  const std::size_t bytes = static_cast<std::size_t>(area.width()) * destination.pixelBytes();
  for (int y = area.top; y < area.bottom; ++y) {
    if (mayRepeat && y > area.top && rows.repeats(y)) {
      std::memcpy(destination.at(y, area.left), destination.at(y - 1, area.left), bytes);
      continue;
    }
    clip.runsWithin(y, area.left, area.right, [&](int left, int right) {
      rows.pack(y, left, right, destination.depth, destination.row(y), left - destination.bounds.left);
    });
  }
}

// Changes runs of the destination: `change` gets the pixels that are there, as numbers, and where they are.
template <class Change>
void changeRuns(const PixelMap& destination, const Box& area, const Region& clip, const Change& change) {
  std::vector<std::uint32_t> there;
  for (int y = area.top; y < area.bottom; ++y) {
    clip.runsWithin(y, area.left, area.right, [&](int left, int right) {
      there.resize(static_cast<std::size_t>(right - left));
      destination.get(y, left, there);
      change(y, left, std::span(there));
      destination.put(y, left, there);
    });
  }
}

// The loops over masked rows stand by themselves: within their caller the compiler does them one by one.

// Pixels whose components are bytes, mixed by those of a mask, of which 0 takes the source; rounded as components of 16
// bits would be, of which the upper half is kept.
[[gnu::noinline]] void mixBytes(std::span<const std::uint8_t> source, std::span<const std::uint8_t> mask,
                                std::uint8_t* there) {
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
[[gnu::noinline]] void selectBits(std::span<const std::uint8_t> source, std::span<const std::uint8_t> mask,
                                  std::uint8_t* there) {
  for (std::size_t i = 0; i < source.size(); ++i) {
    there[i] = static_cast<std::uint8_t>(there[i] ^ ((there[i] ^ source[i]) & mask[i]));
  }
}

// Clears the bits that are not used.
[[gnu::noinline]] void useBits(std::span<std::uint32_t> words, std::uint32_t used) {
  for (std::uint32_t& word : words) word &= used;
}

// The same, but sets them where all that are used are set: white leaves the unused byte too, and no other mask does.
[[gnu::noinline]] void useBitsOrAll(std::span<std::uint32_t> words, std::uint32_t used) {
  for (std::uint32_t& word : words) word = (word & used) == used ? ~0U : word & used;
}

// Plain copies through a mask of bits onto pixels of whole bytes, or through one of byte components onto those of 32
// bits. Of source and mask only the bits that make a colour take part.
void maskBytes(const Rows& rows, const Rows& maskRows, bool isBits, const PixelMap& destination, const Box& area,
               const Region& clip) {
  const int depth = destination.depth;
  const std::uint32_t used = depth == 32 ? 0xFFFFFF00 : depth == 16 ? 0xFF7FFF7F : ~0U;  // in a row's order
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(area.width()));
  std::vector<std::uint32_t> weights(pixels.size());
  auto* const from = reinterpret_cast<std::uint8_t*>(pixels.data());
  auto* const by = reinterpret_cast<std::uint8_t*>(weights.data());
  for (int y = area.top; y < area.bottom; ++y) {
    clip.runsWithin(y, area.left, area.right, [&](int left, int right) {
      const auto count = static_cast<std::size_t>(right - left);
      const std::size_t bytes = count * destination.pixelBytes();
      rows.pack(y, left, right, depth, from, 0);
      maskRows.pack(y, left, right, depth, by, 0);
      useBits(std::span(pixels).first(count), used);
      if (isBits) return selectBits({from, bytes}, {by, bytes}, destination.at(y, left));
      useBitsOrAll(std::span(weights).first(count), used);
      mixBytes({from, bytes}, {by, bytes}, destination.at(y, left));
    });
  }
}

// Any pixel through any mask.
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

// The format of a mask's weights.
const PixelMap kDeep{nullptr, 0, {}, 32, nullptr};

}  // namespace

std::optional<OwnedPixels> duplicate(const PixelMap& map, const Box& part) {
  const Box box = intersect(map.bounds, part);
  auto copy = OwnedPixels::make(box, map.depth, map.colors);
  if (!copy) return copy;
  copy->map.hasAlpha = map.hasAlpha;
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
  const Rows rows(source, conversion, stretches, area);
  if (transfer.isPlainCopy()) return copyPlain(rows, destination, area, clip);
  std::vector<std::uint32_t> pixels;
  changeRuns(destination, area, clip, [&](int y, int left, std::span<std::uint32_t> there) {
    pixels.resize(there.size());
    rows.read(y, left, pixels);
    transfer.apply(pixels, there);
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
  const Rows rows(source, conversion, stretches, area);
  const bool isBits = mask.depth == 1;
  const bool isDeep = mask.isDirect() || mask.colors == nullptr || mask.colors->isDeep();
  if (transfer.isPlainCopy() && (isBits ? destination.depth >= 8 : destination.depth == 32 && isDeep)) {
    const Conversion weight = isBits ? Conversion(0, ~0U) : Conversion(mask, kDeep);
    return maskBytes(rows, Rows(mask, weight, maskStretches, area), isBits, destination, area, clip);
  }

  const Conversion same(mask, mask);
  const Rows maskRows(mask, same, maskStretches, area);
  std::vector<std::uint32_t> pixels;
  std::vector<std::uint32_t> weights;
  std::vector<std::uint32_t> changed;
  changeRuns(destination, area, clip, [&](int y, int left, std::span<std::uint32_t> there) {
    pixels.resize(there.size());
    weights.resize(there.size());
    rows.read(y, left, pixels);
    maskRows.read(y, left, weights);
    changed.assign(there.begin(), there.end());
    transfer.apply(pixels, changed);
    for (std::size_t i = 0; i < there.size(); ++i) {
      const RGBColor black = {0, 0, 0};
      const RGBColor white = {0xFFFF, 0xFFFF, 0xFFFF};
      const RGBColor weight = !isBits ? mask.colorOf(weights[i]) : weights[i] != 0 ? black : white;
      there[i] = mixed(destination, changed[i], there[i], weight);
    }
  });
}

}  // namespace qd
