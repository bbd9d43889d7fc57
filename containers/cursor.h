// Numbers and parts of foreign bytes, with bounds known at every step.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "qdraw/qdraw.h"

namespace containers {

using qd::Bytes;
using Buffer = std::vector<std::uint8_t>;

inline std::string_view textOf(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

enum class Order { big, little };

// The first read past the end moves it there for good; every later read gives zeros, and the caller asks once. Offsets
// and counts may be sums of whatever the bytes say.
class Cursor {
 public:
  explicit Cursor(Bytes bytes, Order order = Order::big) : bytes_(bytes), order_(order) {}

  bool good() const { return good_; }
  std::size_t left() const { return bytes_.size() - at_; }
  // Elsewhere in the same bytes.
  Cursor at(std::uint64_t offset) const {
    Cursor other(bytes_, order_);
    other.take(offset);
    return other;
  }

  Bytes take(std::uint64_t count) {
    if (count > left()) {
      good_ = false;
      at_ = bytes_.size();
      return {};
    }
    return upTo(count);
  }
  // As many as there are.
  Bytes upTo(std::uint64_t count) {
    const Bytes taken = bytes_.subspan(at_, static_cast<std::size_t>(std::min<std::uint64_t>(count, left())));
    at_ += taken.size();
    return taken;
  }
  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u24() { return number(3); }
  std::uint32_t u32() { return number(4); }

 private:
  std::uint32_t number(std::size_t width) {
    const Bytes digits = take(width);
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < digits.size(); ++i)
      value = value << 8 | digits[order_ == Order::big ? i : digits.size() - 1 - i];
    return value;
  }

  Bytes bytes_;
  Order order_;
  std::size_t at_ = 0;
  bool good_ = true;
};

inline bool hasAt(Bytes bytes, std::uint64_t offset, std::string_view text) {
  return textOf(Cursor(bytes).at(offset).upTo(text.size())) == text;
}

}  // namespace containers
