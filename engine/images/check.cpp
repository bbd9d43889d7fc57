#include "engine/images/check.h"

#include <algorithm>
#include <array>
#include <vector>

#include "engine/pict/bytes.h"

namespace qd {
namespace {

// Segments in the order of the file (ITU-T T.81, annex B).
class JpegWalk {
 public:
  JpegWalk(Bytes data, std::string& why) : data_(data), in_(data), why_(why) {}

  bool isGood() {
    why_ = kSenseless;
    if (marker() != kBegin) return false;
    for (int at = marker(); at != kEnd; at = marker()) {
      if (!segment(at)) return false;
    }
    // What no scan brought would be whatever was in memory.
    return !components_.empty() && std::ranges::all_of(components_, &Component::isScanned);
  }

 private:
  static constexpr int kBegin = 0xD8, kEnd = 0xD9;
  struct Component {
    int id, table;
    bool isScanned = false;
  };

  // 0 where none stands.
  int marker() {
    if (in_.u8() != 0xFF) return 0;
    int at = 0xFF;
    while (at == 0xFF && in_.good()) at = in_.u8();
    return at;
  }

  bool segment(int at) {
    const std::size_t length = in_.u16();
    if (length < 2) return false;
    ByteReader body(in_.take(length - 2));
    if (!in_.good()) return false;
    if ((at >= 0xE0 && at <= 0xEF) || at == 0xFE) return true;  // of programs, and comments
    switch (at) {
      case 0xC0:
      case 0xC1:
      case 0xC2:
        isProgressive_ = at == 0xC2;
        return frame(body) && isAllOf(body);
      case 0xC4:
        return eachTable(body, &JpegWalk::huffmanTable);
      case 0xDB:
        return eachTable(body, &JpegWalk::quantizationTable);
      case 0xDA:
        return scan(body) && isAllOf(body) && passBits();
      case 0xDD:
        body.u16();
        return isAllOf(body);
      default:
        return false;
    }
  }
  static bool isAllOf(const ByteReader& body) { return body.good() && body.left() == 0; }
  bool eachTable(ByteReader& body, bool (JpegWalk::*table)(ByteReader&)) {
    while (body.left() > 0) {
      if (!(this->*table)(body)) return false;
    }
    return body.good();
  }

  // Codes get longer by lengths, and each takes its part of all that can follow: together no more than all. The decoder
  // looks symbols up by a byte, of which one value says that there is none.
  bool huffmanTable(ByteReader& body) {
    constexpr std::uint32_t kMostSymbols = 255;
    const int which = body.u8();
    const bool isOfMeans = which >> 4 == 0;
    if (which >> 4 > 1 || (which & 15) > 3) return false;
    std::uint32_t symbols = 0;
    std::uint32_t taken = 0;
    for (int length = 1; length <= 16; ++length) {
      const std::uint32_t count = body.u8();
      symbols += count;
      taken += count << (16 - length);
    }
    if (symbols > kMostSymbols || taken > 1U << 16) return false;
    const Bytes values = body.take(symbols);
    constexpr int kMostBits = 11;  // of a mean's difference to the one before
    if (isOfMeans && std::ranges::any_of(values, [](int bits) { return bits > kMostBits; })) return false;
    hasHuffman_[static_cast<std::size_t>(which >> 4)][static_cast<std::size_t>(which & 15)] = true;
    return body.good();
  }

  bool quantizationTable(ByteReader& body) {
    const int which = body.u8();
    if (which >> 4 > 1 || (which & 15) > 3) return false;
    hasQuantization_[static_cast<std::size_t>(which & 15)] = true;
    body.take(which >> 4 != 0 ? 128 : 64);
    return body.good();
  }

  bool frame(ByteReader& body) {
    if (!components_.empty() || body.u8() != 8) return false;
    const int height = body.u16();
    const int width = body.u16();
    const int count = body.u8();
    if (count != 1 && count != 3 && count != 4) return false;
    for (int i = 0; i < count; ++i) {
      const int id = body.u8();
      const int sampling = body.u8();
      const int table = body.u8();
      const auto isFactor = [](int factor) { return factor >= 1 && factor <= 4; };
      if (!isFactor(sampling >> 4) || !isFactor(sampling & 15) || table > 3) return false;
      components_.push_back({id, table});
    }
    std::string refusal;
    if (mayBeHeldWhole(width, height, data_.size(), kMostJpegPixelsPerByte, refusal)) return true;
    why_ = refusal;
    return false;
  }

  bool scan(ByteReader& body) {
    if (++scans_ > kMostScans) {
      why_ = "it has more than " + std::to_string(kMostScans) + " scans";
      return false;
    }
    const std::size_t count = body.u8();
    if (count < 1 || count > components_.size()) return false;
    struct Part {
      Component* component;
      std::size_t mean, rest;
    };
    std::vector<Part> parts;
    for (std::size_t i = 0; i < count; ++i) {
      const auto component = std::ranges::find(components_, body.u8(), &Component::id);
      const std::size_t tables = body.u8();
      if (component == components_.end() || tables >> 4 > 3 || (tables & 15) > 3) return false;
      parts.push_back({&*component, tables >> 4, tables & 15});
    }
    const int first = body.u8();
    const int last = body.u8();
    const int bits = body.u8();
    if (isProgressive_) {
      const bool isOrdered = first == 0 ? last == 0 : last >= first && last < 64 && count == 1;
      if (!isOrdered || bits >> 4 > 13 || (bits & 15) > 13) return false;
    } else if (first != 0 || bits != 0) {
      return false;
    }
    const bool hasMeans = first == 0;
    const bool hasRest = !isProgressive_ || first > 0;
    return std::ranges::all_of(parts, [&](const Part& part) {
      part.component->isScanned = true;
      return hasQuantization_[static_cast<std::size_t>(part.component->table)] &&
             (!hasMeans || bits >> 4 > 0 || hasHuffman_[0][part.mean]) && (!hasRest || hasHuffman_[1][part.rest]);
    });
  }

  // After a scan's head come bits, in which a byte FF has a 0 after it or is a restart.
  bool passBits() {
    auto rest = data_.subspan(in_.at());
    for (;;) {
      const auto at = std::ranges::find(rest, 0xFF);
      if (rest.end() - at < 2) return false;
      const int next = *(at + 1);
      rest = rest.subspan(static_cast<std::size_t>(at - rest.begin()));
      if (next != 0 && next != 0xFF && (next < 0xD0 || next > 0xD7)) break;
      rest = rest.subspan(next == 0xFF ? 1 : 2);
    }
    in_.take(in_.left() - rest.size());
    return true;
  }

  Bytes data_;
  ByteReader in_;
  std::string& why_;
  std::vector<Component> components_;
  std::array<std::array<bool, 4>, 2> hasHuffman_ = {};  // for means, and for what else a block has
  std::array<bool, 4> hasQuantization_ = {};
  bool isProgressive_ = false;
  int scans_ = 0;
};

// What one row takes, its filter with it.
std::int64_t pngRowBytes(std::int64_t width, int bits) { return (width * bits + 7) / 8 + 1; }

constexpr std::uint32_t name(const char (&letters)[5]) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number = number << 8 | static_cast<std::uint8_t>(letters[i]);
  return number;
}

}  // namespace

bool checkJpeg(Bytes data, std::string& why) { return JpegWalk(data, why).isGood(); }

// Chunks in the order of the file (ISO/IEC 15948).
bool checkPng(Bytes data, std::string& why) {
  why = kSenseless;
  ByteReader in(data);
  in.take(8);
  if (in.u32() != 13 || in.u32() != name("IHDR")) return false;
  const std::int64_t width = in.u32();
  const std::int64_t height = in.u32();
  const int depth = in.u8();
  const int color = in.u8();
  in.take(2 + 1 + 4);  // methods of which there are one each, the interlacing, a checksum
  struct Kind {
    int color, channels;
    std::initializer_list<int> depths;
  };
  static const Kind kKinds[] = {
      {0, 1, {1, 2, 4, 8, 16}}, {2, 3, {8, 16}}, {3, 1, {1, 2, 4, 8}}, {4, 2, {8, 16}}, {6, 4, {8, 16}}};
  const auto* const kind = std::ranges::find(kKinds, color, &Kind::color);
  if (kind == std::end(kKinds) || std::ranges::find(kind->depths, depth) == kind->depths.end()) return false;

  std::size_t packed = 0;
  bool hasPalette = false;
  for (;;) {
    const std::size_t length = in.u32();
    const std::uint32_t chunk = in.u32();
    ByteReader body(in.take(length));
    in.u32();
    if (!in.good()) return false;
    if (chunk == name("IEND")) break;
    if (chunk == name("PLTE")) {
      if (hasPalette || packed > 0 || length == 0 || length % 3 != 0 || length > 768) return false;
      hasPalette = true;
    }
    if (chunk == name("IDAT")) packed += length;
  }
  if (color == 3 && !hasPalette) return false;

  const std::int64_t rowBytes = pngRowBytes(width, depth * kind->channels);
  const std::int64_t perByte = std::max<std::int64_t>(1, kMostInflatedPerByte * width / rowBytes);
  if (!mayBeHeldWhole(width, height, packed, perByte, why)) return false;
  // Rows that don't compress are stored, with little around them; what has far more bytes inflates to more than rows.
  constexpr std::int64_t kAround = 4096;
  if (static_cast<std::int64_t>(packed) <= 2 * rowBytes * height + kAround) return true;
  why = "it has more bytes than its pixels take";
  return false;
}

}  // namespace qd
