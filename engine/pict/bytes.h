// Big-endian bytes, read with bounds known at every step and written to a growing run.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/geometry/geometry.h"
#include "qdraw/qdraw.h"

namespace qd {

inline Bytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// One cursor. The first read past the end moves it there for good; every later read gives zeros, and the caller asks
// once.
class ByteReader {
 public:
  ByteReader() = default;
  explicit ByteReader(Bytes bytes) : bytes_(bytes) {}

  bool good() const { return good_; }
  std::size_t at() const { return at_; }
  std::size_t left() const { return bytes_.size() - at_; }
  void fail() {
    good_ = false;
    at_ = bytes_.size();
  }

  Bytes take(std::size_t count) {
    if (count > left()) {
      fail();
      return {};
    }
    const Bytes taken = bytes_.subspan(at_, count);
    at_ += count;
    return taken;
  }
  std::uint8_t u8() {
    const Bytes b = take(1);
    return b.empty() ? std::uint8_t{0} : b[0];
  }
  std::uint16_t u16() {
    const Bytes b = take(2);
    return b.empty() ? std::uint16_t{0} : static_cast<std::uint16_t>(b[0] << 8 | b[1]);
  }
  std::uint32_t u32() {
    const std::uint32_t high = u16();
    return high << 16 | u16();
  }
  std::int16_t s16() { return static_cast<std::int16_t>(u16()); }
  std::int32_t s32() { return static_cast<std::int32_t>(u32()); }
  std::int8_t s8() { return static_cast<std::int8_t>(u8()); }
  Point point() {
    const std::int16_t v = s16();
    return {v, s16()};
  }
  Rect rect() {
    const Point topLeft = point();
    const Point bottomRight = point();
    return {topLeft.v, topLeft.h, bottomRight.v, bottomRight.h};
  }
  RGBColor color() {
    const std::uint16_t red = u16();
    const std::uint16_t green = u16();
    return {red, green, u16()};
  }

 private:
  Bytes bytes_;
  std::size_t at_ = 0;
  bool good_ = true;
};

class ByteWriter {
 public:
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }
  std::size_t size() const { return bytes_.size(); }
  void clear() { bytes_.clear(); }

  void u8(int value) { bytes_.push_back(static_cast<std::uint8_t>(value)); }
  void u16(int value) { words({value}); }
  void u32(std::uint32_t value) { words({static_cast<int>(value >> 16), static_cast<int>(value & 0xFFFF)}); }
  void point(Point p) { words({p.v, p.h}); }
  void rect(const Rect& r) { words({r.top, r.left, r.bottom, r.right}); }
  void color(const RGBColor& c) { words({c.red, c.green, c.blue}); }
  void put(Bytes more) { bytes_.insert(bytes_.end(), more.begin(), more.end()); }
  void align() {
    if (size() % 2 != 0) u8(0);
  }

 private:
  void words(std::initializer_list<int> values) {
    const std::size_t at = bytes_.size();
    bytes_.resize(at + 2 * values.size());
    std::uint8_t* to = bytes_.data() + at;
    for (const int value : values) {
      *to++ = static_cast<std::uint8_t>(value >> 8);
      *to++ = static_cast<std::uint8_t>(value);
    }
  }

  std::vector<std::uint8_t> bytes_;
};

// PackBits (Technical Note 1023). Units are bytes, or words in 16-bit pictures.
void packBits(Bytes row, std::size_t unit, ByteWriter& out);
// True if the packed bytes give the whole row; what they give beyond it is dropped.
bool unpackBits(Bytes packed, std::size_t unit, std::span<std::uint8_t> row);

}  // namespace qd
