#include "platform/quickdraw/paint.h"

#include <algorithm>
#include <cstring>

namespace qd {
namespace {

// A word in which a pixel stands again and again, as it lies in a row.
std::uint32_t repeated(std::uint32_t pixel, int depth) {
  if (depth < 32) pixel &= (1U << depth) - 1;
  for (int bits = depth; bits < 32; bits *= 2) pixel |= pixel << bits;
  return __builtin_bswap32(pixel);
}

}  // namespace

Painter::Painter(const PixelMap& map, const Region& clip, const Pattern& pattern, int mode,
                 const TransferColors& colors)
    : map_(map),
      clip_(clip),
      pattern_(pattern),
      transfer_(map, mode, colors),
      isUniform_(std::count(pattern.bits.begin(), pattern.bits.end(), pattern.bits[0]) == 8),
      isPixelByPixel_(pattern.pixels != nullptr || !transfer_.isBoolean()),
      isClipRect_(clip.isRect()) {}

void Painter::run(int y, int left, int right) {
  const Box& bounds = clip_.bounds();
  if (y < bounds.top || y >= bounds.bottom) return;
  left = std::max(left, bounds.left);
  right = std::min(right, bounds.right);
  if (left >= right) return;
  if (isClipRect_) return fill(y, left, right);
  const auto edges = clip_.row(y);
  for (std::size_t i = 0; i < edges.size() && edges[i] < right; i += 2) {
    const int from = std::max(left, edges[i]);
    const int to = std::min(right, edges[i + 1]);
    if (from < to) fill(y, from, to);
  }
}

void Painter::box(const Box& box) {
  const Box visible = intersect(box, clip_.bounds());
  if (visible.empty()) return;
  if (isClipRect_ && !isPixelByPixel_) {
    const Words words = wordsOf(visible.left, visible.right);
    for (int y = visible.top; y < visible.bottom; ++y) fill(y, words);
  } else {
    for (int y = visible.top; y < visible.bottom; ++y) run(y, visible.left, visible.right);
  }
}

// Eight pixels of the pattern's row, repeated over as many bytes as eight of the deepest pixels take: at every depth
// the row of a map is filled by words of this tile.
const Painter::Tile& Painter::tileOf(int y) {
  const std::size_t row = isUniform_ ? 0 : static_cast<std::size_t>(y & 7);
  Tile& tile = tiles_[row];
  if (tile.ready) return tile;
  const std::uint8_t bits = pattern_.bits[row];
  const Transfer::Masks set = transfer_.masks(map_.ones());
  const Transfer::Masks clear = transfer_.masks(0);
  if (bits == 0xFF || bits == 0) {
    const Transfer::Masks& all = bits != 0 ? set : clear;
    std::fill_n(tile.keep, kTileWords, repeated(all.keep, map_.depth));
    std::fill_n(tile.flip, kTileWords, repeated(all.flip, map_.depth));
  } else {
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
  }
  tile.stores = std::all_of(tile.keep, tile.keep + kTileWords, [](std::uint32_t word) { return word == 0; });
  const std::uint32_t word = tile.flip[0];
  tile.isOneByte =
      word == (word & 0xFF) * 0x01010101U &&
      std::all_of(tile.flip, tile.flip + kTileWords, [word](std::uint32_t other) { return other == word; });
  tile.ready = true;
  return tile;
}

Painter::Words Painter::wordsOf(int left, int right) const {
  const std::int64_t firstBit = std::int64_t{left - map_.bounds.left} * map_.depth;
  const std::int64_t lastBit = std::int64_t{right - map_.bounds.left} * map_.depth - 1;
  return {static_cast<std::size_t>(firstBit / 32), static_cast<std::size_t>(lastBit / 32), ~0U >> (firstBit % 32),
          ~0U << (31 - lastBit % 32)};
}

void Painter::fill(int y, int left, int right) {
  if (isPixelByPixel_) return fillByPixel(y, left, right);
  fill(y, wordsOf(left, right));
}

void Painter::fill(int y, const Words& words) {
  const Tile& tile = tileOf(y);
  std::uint8_t* const row = map_.row(y);
  std::size_t word = words.first;
  const std::size_t lastWord = words.last;

  // Bits of a word count from its first byte's most significant one.
  const auto put = [&](std::size_t at, std::uint32_t mask) {
    mask = __builtin_bswap32(mask);
    std::uint32_t pixels = 0;
    std::memcpy(&pixels, row + at * 4, 4);
    pixels = (pixels & (tile.keep[at % kTileWords] | ~mask)) ^ (tile.flip[at % kTileWords] & mask);
    std::memcpy(row + at * 4, &pixels, 4);
  };
  if (word == lastWord) return put(word, words.firstMask & words.lastMask);
  put(word, words.firstMask);
  ++word;
  if (tile.stores && tile.isOneByte) {
    std::memset(row + word * 4, static_cast<int>(tile.flip[0] & 0xFF), (lastWord - word) * 4);
    return put(lastWord, words.lastMask);
  }
  for (; word < lastWord && word % kTileWords != 0; ++word) put(word, ~0U);
  for (; word + kTileWords <= lastWord; word += kTileWords) {
    std::uint32_t pixels[kTileWords];
    if (tile.stores) {
      std::memcpy(row + word * 4, tile.flip, sizeof tile.flip);
      continue;
    }
    std::memcpy(pixels, row + word * 4, sizeof pixels);
    for (int i = 0; i < kTileWords; ++i) pixels[i] = (pixels[i] & tile.keep[i]) ^ tile.flip[i];
    std::memcpy(row + word * 4, pixels, sizeof pixels);
  }
  for (; word < lastWord; ++word) put(word, ~0U);
  put(lastWord, words.lastMask);
}

void Painter::fillByPixel(int y, int left, int right) {
  const auto count = static_cast<std::size_t>(right - left);
  source_.resize(count);
  there_.resize(count);
  if (pattern_.pixels != nullptr) {
    const PixelMap& tile = pattern_.pixels->tile.map;
    const auto wrap = [](int value, int size) { return (value % size + size) % size; };
    const int row = wrap(y, tile.bounds.height());
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(tile.bounds.width()));
    tile.get(row, 0, pixels);
    for (std::uint32_t& pixel : pixels) pixel = map_.pixelOf(tile.colorOf(pixel));
    for (std::size_t i = 0; i < count; ++i) {
      source_[i] = pixels[static_cast<std::size_t>(wrap(left + static_cast<int>(i), tile.bounds.width()))];
    }
  } else {
    const std::uint8_t bits = pattern_.bits[static_cast<std::size_t>(y & 7)];
    for (std::size_t i = 0; i < count; ++i) {
      const bool isSet = (bits >> (7 - ((left + static_cast<int>(i)) & 7)) & 1) != 0;
      source_[i] = transfer_.patternPixel(isSet);
    }
  }
  map_.get(y, left, there_);
  for (std::size_t i = 0; i < count; ++i) there_[i] = transfer_.apply(source_[i], there_[i]);
  map_.put(y, left, there_);
}

}  // namespace qd
