#include "engine/pict/bytes.h"

#include <cstring>

namespace qd {

void packBits(Bytes row, std::size_t unit, ByteWriter& out) {
  constexpr std::size_t kMost = 128;
  const std::size_t count = row.size() / unit;
  const auto same = [&](std::size_t a, std::size_t b) {
    return std::memcmp(row.data() + a * unit, row.data() + b * unit, unit) == 0;
  };
  const auto runAt = [&](std::size_t at) {
    std::size_t length = 1;
    while (at + length < count && length < kMost && same(at, at + length)) ++length;
    return length;
  };
  for (std::size_t at = 0; at < count;) {
    const std::size_t run = runAt(at);
    if (run >= 2) {
      out.u8(static_cast<int>(257 - run));
      out.put(row.subspan(at * unit, unit));
      at += run;
      continue;
    }
    // Literals up to a run that pays: of three units, or of two that end the row.
    std::size_t end = at + 1;
    while (end < count && end - at < kMost) {
      const std::size_t next = runAt(end);
      if (next >= 3 || (next == 2 && end + 2 == count)) break;
      ++end;
    }
    out.u8(static_cast<int>(end - at - 1));
    out.put(row.subspan(at * unit, (end - at) * unit));
    at = end;
  }
}

bool unpackBits(Bytes packed, std::size_t unit, std::span<std::uint8_t> row) {
  ByteReader in(packed);
  std::size_t at = 0;
  while (in.left() > 0 && at < row.size()) {
    const int count = in.s8();
    if (count == -128) continue;
    const std::size_t length = static_cast<std::size_t>(count >= 0 ? count + 1 : 1 - count) * unit;
    const Bytes source = in.take(count >= 0 ? length : unit);
    if (!in.good()) return false;
    const std::size_t room = std::min(length, row.size() - at);
    if (count >= 0) {
      std::memcpy(row.data() + at, source.data(), room);
    } else {
      for (std::size_t i = 0; i < room; ++i) row[at + i] = source[i % unit];
    }
    at += room;
  }
  return at == row.size();
}

}  // namespace qd
