#include "engine/images/lzw.h"

namespace qd {
namespace {

constexpr int kMostBits = 12;
constexpr int kMostCodes = 1 << kMostBits;

class Lzw {
 public:
  Lzw(Bytes codes, const LzwForm& form) : in_(codes), form_(form), clear_(1 << form.rootBits) {
    for (int i = 0; i < clear_; ++i) strings_[static_cast<std::size_t>(i)] = {0, 1, low(i), low(i)};
    reset();
  }

  std::size_t unpack(std::span<std::uint8_t> to) {
    std::size_t at = 0;
    int last = kNone;
    while (at < to.size()) {
      const int code = next();
      if (code == clear_) {
        reset();
        last = kNone;
        continue;
      }
      if (code == clear_ + 1 || code == kNone) break;
      const bool isNew = code == count_ && last != kNone;
      if (code >= count_ && !isNew) break;
      if (last != kNone && count_ < kMostCodes) add(last, string(isNew ? last : code).first);
      if (code >= count_) break;
      at += write(code, to.subspan(at));
      last = code;
    }
    return at;
  }

 private:
  static constexpr int kNone = -1;
  struct String {
    std::uint16_t front;  // the string without its last byte
    std::uint16_t length;
    std::uint8_t first, last;
  };

  static std::uint8_t low(int value) { return static_cast<std::uint8_t>(value); }
  String& string(int code) { return strings_[static_cast<std::size_t>(code)]; }

  void reset() {
    count_ = clear_ + 2;
    bits_ = form_.rootBits + 1;
  }
  void add(int front, std::uint8_t byte) {
    const String& begin = string(front);
    string(count_++) = {static_cast<std::uint16_t>(front), static_cast<std::uint16_t>(begin.length + 1), begin.first,
                        byte};
    if (count_ + (form_.isHighFirst ? 1 : 0) >= 1 << bits_ && bits_ < kMostBits) ++bits_;
  }

  int next() {
    while (held_ < bits_) {
      if (at_ == in_.size()) return kNone;
      const std::uint32_t byte = in_[at_++];
      pool_ = form_.isHighFirst ? pool_ << 8 | byte : pool_ | byte << held_;
      held_ += 8;
    }
    const std::uint32_t mask = (1U << bits_) - 1;
    const std::uint32_t code = (form_.isHighFirst ? pool_ >> (held_ - bits_) : pool_) & mask;
    if (!form_.isHighFirst) pool_ >>= bits_;
    held_ -= bits_;
    return static_cast<int>(code);
  }

  // From its end, as far as there is room.
  std::size_t write(int code, std::span<std::uint8_t> to) {
    const std::size_t length = string(code).length;
    for (std::size_t i = length; i-- > 0; code = string(code).front) {
      if (i < to.size()) to[i] = string(code).last;
    }
    return std::min(length, to.size());
  }

  Bytes in_;
  LzwForm form_;
  int clear_, count_ = 0, bits_ = 0;
  std::array<String, kMostCodes> strings_ = {};
  std::size_t at_ = 0;
  std::uint32_t pool_ = 0;  // bits that are read
  int held_ = 0;            // how many of them are still to be used
};

}  // namespace

std::size_t unpackLzw(Bytes codes, const LzwForm& form, std::span<std::uint8_t> to) {
  return Lzw(codes, form).unpack(to);
}

}  // namespace qd
