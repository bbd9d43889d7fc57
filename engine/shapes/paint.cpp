#include "engine/shapes/paint.h"

#include <algorithm>
#include <cstring>

#include "engine/swapped.h"

namespace qd {
namespace {

// A word in which a pixel stands again and again, as it lies in a row.
std::uint32_t repeated(std::uint32_t pixel, int depth) {
  if (depth < 32) pixel &= (1U << depth) - 1;
  for (int bits = depth; bits < 32; bits *= 2) pixel |= pixel << bits;
  return swapped(pixel);
}

}  // namespace

Painter::Painter(const PixelMap& map, const Region& clip, const Pattern& pattern, int mode,
                 const TransferColors& colors)
    : map_(map),
      clip_(clip),
      pattern_(pattern),
      transfer_(map, mode, colors),
      isUniform_(std::equal(pattern.bits.begin() + 1, pattern.bits.end(), pattern.bits.begin())),
      isPixelByPixel_(pattern.pixels != nullptr || !transfer_.isBoolean()) {}

void Painter::run(int y, int left, int right) {
  ++work_.runs;
  clip_.runsWithin(y, left, right, [&](int from, int to) { fill(y, from, to); });
}

void Painter::box(const Box& box) {
  const Box visible = intersect(box, clip_.bounds());
  if (visible.empty()) return;
  if (!clip_.isRect() || isPixelByPixel_) {
    for (int y = visible.top; y < visible.bottom; ++y) run(y, visible.left, visible.right);
    return;
  }
  const Tile& tile = tileOf(visible.top);
  if (!isUniform_ || !storesBytes(tile)) {
    std::uint8_t* row = map_.row(visible.top);
    const Words words = wordsOf(visible.left, visible.right);
    for (int y = visible.top; y < visible.bottom; ++y, row += map_.rowBytes) fillWords(row, tileOf(y), words);
    return;
  }
  std::size_t bytes = byteCount(visible.width());
  int rows = visible.height();
  if (bytes == static_cast<std::size_t>(map_.rowBytes)) {  // the rows touch
    bytes *= static_cast<std::size_t>(rows);
    rows = 1;
  }
  storeBytes(map_.at(visible.top, visible.left), bytes, rows, tile);
}

const Painter::Tile& Painter::tileOf(int y) {
  const std::size_t row = isUniform_ ? 0 : static_cast<std::size_t>(y & 7);
  Tile& tile = tiles_[row];
  if ((ready_ >> row & 1) == 0) {
    makeTile(tile, pattern_.bits[row]);
    ready_ |= 1U << row;
  }
  return tile;
}

// Eight pixels of the pattern's row, repeated over as many bytes as eight of the deepest pixels take: at every depth
// the row of a map is filled by words of this tile.
void Painter::makeTile(Tile& tile, std::uint8_t bits) const {
  const Transfer::Masks set = transfer_.masks(map_.ones());
  const Transfer::Masks clear = transfer_.masks(0);
  if (bits == 0xFF || bits == 0) {
    const Transfer::Masks& all = bits != 0 ? set : clear;
    std::fill_n(tile.keep, kTileWords, repeated(all.keep, map_.depth));
    std::fill_n(tile.flip, kTileWords, repeated(all.flip, map_.depth));
    tile.storesOnePixel = tile.keep[0] == 0;
    tile.isOneByte = tile.flip[0] == (tile.flip[0] & 0xFF) * 0x01010101U;
    return;
  }
  std::array<std::uint32_t, 8> keep;
  std::array<std::uint32_t, 8> flip;
  for (int i = 0; i < 8; ++i) {
    const bool isSet = (bits >> (7 - ((map_.bounds.left + i) & 7)) & 1) != 0;
    keep[static_cast<std::size_t>(i)] = isSet ? set.keep : clear.keep;
    flip[static_cast<std::size_t>(i)] = isSet ? set.flip : clear.flip;
  }
  const auto expand = [depth = map_.depth](const auto& pixels, std::uint32_t* words) {
    std::uint8_t bytes[kTileWords * 4];
    for (int first = 0; first < kTileWords * 32 / depth; first += 8) packPixels(depth, bytes, first, pixels);
    std::memcpy(words, bytes, sizeof bytes);
  };
  expand(keep, tile.keep);
  expand(flip, tile.flip);
  tile.storesOnePixel = false;
}

// Bits of a word count from its first byte's most significant one.
Painter::Words Painter::wordsOf(int left, int right) const {
  const auto firstBit = static_cast<std::uint32_t>((left - map_.bounds.left) * map_.depth);
  const auto endBit = static_cast<std::uint32_t>((right - map_.bounds.left) * map_.depth);
  const std::size_t first = firstBit / 32;
  const std::size_t last = endBit / 32;
  const std::uint32_t firstMask = ~0U >> firstBit % 32;
  const std::uint32_t lastMask = endBit % 32 != 0 ? ~0U << (32 - endBit % 32) : 0;
  if (first == last) return {first, last, last, swapped(firstMask & lastMask), 0};
  const bool hasHead = firstBit % 32 != 0;
  return {first, hasHead ? first + 1 : first, last, hasHead ? swapped(firstMask) : 0, swapped(lastMask)};
}

void Painter::fill(int y, int left, int right) {
  if (isPixelByPixel_) return fillByPixel(y, left, right);
  const Tile& tile = tileOf(y);
  if (!storesBytes(tile)) return fillWords(map_.row(y), tile, wordsOf(left, right));
  storeBytes(map_.at(y, left), byteCount(right - left), 1, tile);
}

// Pieces of so many pixels as fit; the first and the last overlap what lies between them.
void Painter::storeBytes(std::uint8_t* at, std::size_t bytes, int rows, const Tile& tile) const {
  std::array<std::uint8_t, 16> pixels;
  std::memcpy(pixels.data(), tile.flip, pixels.size());
  const auto forRows = [=, this](auto store) {
    std::uint8_t* row = at;
    for (int i = 0; i < rows; ++i, row += map_.rowBytes) store(row);
  };
  const auto storeEnds = [=]<std::size_t Size>(std::uint8_t* row, std::integral_constant<std::size_t, Size>) {
    std::memcpy(row, pixels.data(), Size);
    std::memcpy(row + bytes - Size, pixels.data(), Size);
  };
  const auto storeFew = [=](auto size) { forRows([=](std::uint8_t* row) { storeEnds(row, size); }); };
  constexpr std::size_t kMany = 512;
  if (bytes == 1) return forRows([=](std::uint8_t* row) { *row = pixels[0]; });
  if (bytes < 4) return storeFew(std::integral_constant<std::size_t, 2>());
  if (bytes < 8) return storeFew(std::integral_constant<std::size_t, 4>());
  if (bytes < 16) return storeFew(std::integral_constant<std::size_t, 8>());
  if (tile.isOneByte && bytes > kMany) return forRows([=](std::uint8_t* row) { std::memset(row, pixels[0], bytes); });
  forRows([=](std::uint8_t* row) {
    storeEnds(row, std::integral_constant<std::size_t, 16>());
    // Those between don't cross the lines of a cache.
    std::size_t done = 16 - reinterpret_cast<std::uintptr_t>(row) % 16;
    for (; done + 16 <= bytes; done += 16) std::memcpy(row + done, pixels.data(), 16);
  });
}

void Painter::fillWords(std::uint8_t* row, const Tile& tile, const Words& words) {
  const auto put = [&](std::size_t at, std::uint32_t mask) {
    std::uint32_t pixels = 0;
    std::memcpy(&pixels, row + at * 4, 4);
    pixels = (pixels & (tile.keep[at % kTileWords] | ~mask)) ^ (tile.flip[at % kTileWords] & mask);
    std::memcpy(row + at * 4, &pixels, 4);
  };
  if (words.headMask != 0) put(words.head, words.headMask);
  if (words.tailMask != 0) put(words.last, words.tailMask);
  std::size_t word = words.first;
  for (; word < words.last && word % kTileWords != 0; ++word) put(word, ~0U);
  for (; word + kTileWords <= words.last; word += kTileWords) {
    std::uint32_t pixels[kTileWords];
    std::memcpy(pixels, row + word * 4, sizeof pixels);
    for (int i = 0; i < kTileWords; ++i) pixels[i] = (pixels[i] & tile.keep[i]) ^ tile.flip[i];
    std::memcpy(row + word * 4, pixels, sizeof pixels);
  }
  for (; word < words.last; ++word) put(word, ~0U);
}

void Painter::fillByPixel(int y, int left, int right) {
  const auto count = static_cast<std::size_t>(right - left);
  work_.pixels += count;
  expandPattern(y, left, count);
  if (transfer_.isPlainCopy()) return map_.put(y, left, source_);
  there_.resize(count);
  map_.get(y, left, there_);
  transfer_.apply(source_, there_);
  map_.put(y, left, there_);
}

// The pattern's pixels for a run, as the map's. They stay for a next run that takes the same.
void Painter::expandPattern(int y, int left, std::size_t count) {
  constexpr int kBits = 8;
  const PixelMap* const tile = pattern_.pixels != nullptr ? &pattern_.pixels->tile.map : nullptr;
  const int width = tile != nullptr ? tile->bounds.width() : kBits;
  const int height = tile != nullptr ? tile->bounds.height() : isUniform_ ? 1 : kBits;
  const auto wrap = [](int value, int size) { return (value % size + size) % size; };
  const std::array<int, 3> run = {wrap(y, height), wrap(left, width), static_cast<int>(count)};
  if (run == expanded_) return;
  expanded_ = run;
  source_.resize(count);
  // Once around the pattern at most; what follows is the same again.
  const std::span<std::uint32_t> once(source_.data(), std::min(count, static_cast<std::size_t>(width)));
  if (tile != nullptr) {
    readTile(*tile, run[0], run[1], once);
  } else {
    const unsigned bits = pattern_.bits[static_cast<std::size_t>(run[0])];
    for (std::size_t i = 0; i < once.size(); ++i)
      once[i] = transfer_.patternPixel((bits << ((static_cast<std::size_t>(run[1]) + i) % kBits) & 0x80) != 0);
  }
  for (std::size_t i = once.size(); i < count; ++i) source_[i] = source_[i - once.size()];
}

// In two parts, to the right edge of the tile and from the left one.
void Painter::readTile(const PixelMap& tile, int row, int first, std::span<std::uint32_t> pixels) {
  work_.pixels += pixels.size();
  const std::size_t before = std::min(pixels.size(), static_cast<std::size_t>(tile.bounds.width() - first));
  tile.get(row, first, pixels.first(before));
  tile.get(row, 0, pixels.subspan(before));
  if (!tile.isDirect() && tilePixels_.empty()) {
    for (std::uint32_t index = 0; index < 1U << tile.depth; ++index)
      tilePixels_.push_back(map_.pixelOf(tile.colorOf(index)));
  }
  for (std::uint32_t& pixel : pixels) pixel = tile.isDirect() ? map_.pixelOf(tile.colorOf(pixel)) : tilePixels_[pixel];
}

std::optional<OwnedPixels> whitePixels(const Box& bounds, int depth, ColorTablePtr colors) {
  auto pixels = OwnedPixels::make(bounds, depth, std::move(colors));
  if (!pixels || !pixels->map.isDirect()) return pixels;  // zero is white already
  const Region all(bounds);
  Painter(pixels->map, all, Pattern{}, patCopy, TransferColors{}).box(bounds);
  return pixels;
}

}  // namespace qd
