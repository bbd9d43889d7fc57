// Containers of pictures, built byte by byte.
#pragma once

#include <zlib.h>

#include <string>
#include <utility>
#include <vector>

#include "qdraw/qdraw.h"

namespace files {

using Bytes = std::string;
using Parts = std::vector<std::pair<Bytes, Bytes>>;

inline qd::Bytes asBytes(const Bytes& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline Bytes big(std::uint32_t value, int width = 4) {
  Bytes bytes;
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}
inline Bytes little(std::uint32_t value, int width = 4) {
  const Bytes bytes = big(value, width);
  return {bytes.rbegin(), bytes.rend()};
}
inline Bytes filled(Bytes bytes, std::size_t unit, char with = '\0') {
  bytes.resize((bytes.size() + unit - 1) / unit * unit, with);
  return bytes;
}
inline Bytes put(Bytes in, std::size_t at, const Bytes& bytes) { return in.replace(at, bytes.size(), bytes); }

// A picture as high as the number, with that many lines.
inline Bytes picture(int n) {
  Bytes all = big(0, 2) + big(0) + big(n, 2) + big(9, 2) + Bytes("\0\x11\x02\xFF\x0C\0", 6) + Bytes(24, '\0');
  for (int i = 0; i < n; ++i) all += Bytes("\0\x20\0\0\0\0\0\x05\0\x05", 10);
  return all + Bytes("\0\xFF", 2);
}
inline const Bytes kHeader(512, '\0');
// One of version 1, whose first number is its size.
inline const Bytes kOld = big(13, 2) + big(0) + big(9, 2) + big(9, 2) + "\x11\x01\xFF";

struct Resource {
  int id;
  Bytes name, data;
  int attributes = 0;
};
inline Bytes fork(const std::vector<Resource>& resources) {
  Bytes data, references, names;
  for (const Resource& each : resources) {
    references += big(each.id, 2) + (each.name.empty() ? big(0xFFFF, 2) : big(names.size(), 2)) +
                  big(each.attributes, 1) + big(data.size(), 3) + big(0);
    if (!each.name.empty()) names += big(each.name.size(), 1) + each.name;
    data += big(each.data.size()) + each.data;
  }
  // A type of other resources lies before ours, which share their references.
  const Bytes types = big(1, 2) + "ICON" + big(0, 2) + big(18, 2) + "PICT" + big(resources.size() - 1, 2) + big(18, 2);
  const Bytes map =
      Bytes(24, '\0') + big(28, 2) + big(28 + types.size() + references.size(), 2) + types + references + names;
  return filled(big(256) + big(256 + data.size()) + big(data.size()) + big(map.size()), 256) + data + map;
}

inline Bytes appleFile(std::uint32_t magic, const Bytes& data, const Bytes& resources) {
  const Bytes head = big(magic) + big(0x20000) + Bytes(16, '\0') + big(3, 2);
  const std::size_t begin = head.size() + 36;
  return head + big(9) + big(begin) + big(0) + big(2) + big(begin) + big(resources.size()) + big(1) +
         big(begin + resources.size()) + big(data.size()) + resources + data;
}

inline std::uint16_t checksum(const Bytes& bytes) {
  unsigned sum = 0;
  for (const char byte : bytes) {
    for (int bit = 7; bit >= 0; --bit) {
      const bool isSet = ((sum >> 15 ^ static_cast<unsigned>(byte) >> bit) & 1) != 0;
      sum = (sum << 1 & 0xFFFF) ^ (isSet ? 0x1021 : 0);
    }
  }
  return static_cast<std::uint16_t>(sum);
}
inline Bytes macBinary(const Bytes& data, const Bytes& resources, int version) {
  Bytes head = put(Bytes(128, '\0'), 1, "\4name");
  head = put(head, 83, big(data.size()) + big(resources.size()));
  if (version == 3) head = put(head, 102, "mBIN");
  if (version >= 2) head = put(put(head, 120, big(7, 2)), 122, big(127 + version, 1) + big(129, 1));
  if (version >= 2) head = put(head, 124, big(checksum(head.substr(0, 124)), 2));
  return head + (version >= 2 ? Bytes(128, 'x') : "") + filled(data, 128) + filled(resources, 128);
}

inline Bytes deflated(const Bytes& bytes, int windowBits) {
  z_stream stream = {};
  deflateInit2(&stream, 9, Z_DEFLATED, windowBits, 9, Z_DEFAULT_STRATEGY);
  Bytes out(deflateBound(&stream, bytes.size()) + 64, '\0');
  stream.next_in = const_cast<Bytef*>(asBytes(bytes).data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}
inline Bytes gzip(const Bytes& bytes) { return deflated(bytes, 15 + 16); }

inline Bytes zip(const Parts& entries) {
  Bytes all, directory;
  for (const auto& [name, bytes] : entries) {
    const Bytes packed = deflated(bytes, -15);
    const auto sum = static_cast<std::uint32_t>(crc32(0, asBytes(bytes).data(), static_cast<uInt>(bytes.size())));
    const Bytes fields = little(20, 2) + little(0, 2) + little(8, 2) + little(0) + little(sum) + little(packed.size()) +
                         little(bytes.size()) + little(name.size(), 2) + little(0, 2);
    directory += "PK\1\2" + little(20, 2) + fields + Bytes(10, '\0') + little(all.size()) + name;
    all += "PK\3\4" + fields + name + packed;
  }
  return all + directory + "PK\5\6" + little(0) + little(entries.size(), 2) + little(entries.size(), 2) +
         little(directory.size()) + little(all.size()) + little(0, 2);
}

// Sectors of 512 bytes, and small ones for what has less than 4096. The table comes last.
inline Bytes compound(const Parts& streams) {
  Bytes sectors, table, small, smallTable, directory;
  const auto chain = [](Bytes& to, Bytes& next, const Bytes& bytes, std::size_t unit) {
    const std::size_t first = to.size() / unit;
    to += filled(bytes, unit);
    for (std::size_t i = first + 1; i < to.size() / unit; ++i) next += little(i);
    next += little(0xFFFFFFFE);
    return first;
  };
  const auto entry = [&directory](const Bytes& name, int type, std::size_t first, std::size_t size) {
    Bytes wide;
    for (const char c : name) wide += little(c, 2);
    directory += put(Bytes(128, '\0'), 0, wide).replace(64, 4, little(wide.size() + 2, 2) + little(type, 1) + "\1");
    directory = put(directory, directory.size() - 12, little(first) + little(size));
  };
  Parts large, less;
  for (const auto& each : streams) (each.second.size() < 4096 ? less : large).push_back(each);
  Bytes entries;
  for (const auto& [name, bytes] : less) entry(name, 2, chain(small, smallTable, bytes, 64), bytes.size());
  for (const auto& [name, bytes] : large) entry(name, 2, chain(sectors, table, bytes, 512), bytes.size());
  entry("Root Entry", 5, chain(sectors, table, small, 512), small.size());
  const std::size_t smallAt = chain(sectors, table, filled(smallTable, 512, '\xFF'), 512);
  const std::size_t directoryAt = chain(sectors, table, directory, 512);
  const std::size_t tableAt = sectors.size() / 512;
  Bytes head = put(Bytes(512, '\xFF'), 0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
  head = put(head, 30,
             little(9, 2) + little(6, 2) + Bytes(10, '\0') + little(1) + little(directoryAt) + little(0) +
                 little(4096) + little(smallAt) + little(1) + little(0xFFFFFFFE) + little(0) + little(tableAt));
  return head + sectors + filled(table, 512, '\xFF');
}

inline Bytes blip(const Bytes& drawing, bool hasTwoIds, bool isPacked) {
  const Bytes data = isPacked ? deflated(drawing, 15) : drawing;
  const Bytes body = Bytes(hasTwoIds ? 32 : 16, '\x77') + little(drawing.size()) + Bytes(24, '\0') +
                     little(data.size()) + (isPacked ? '\0' : '\xFE') + '\xFE' + data;
  return little(hasTwoIds ? 0x5430 : 0x5420, 2) + little(0xF01C, 2) + little(body.size()) + body;
}
// A drawing as a workbook cuts it.
inline Bytes workbook(const Bytes& drawings) {
  constexpr std::size_t kMost = 100;
  Bytes all = little(0x0809, 2) + little(2, 2) + "xx";
  for (std::size_t at = 0; at < drawings.size(); at += kMost) {
    const Bytes part = drawings.substr(at, kMost);
    all += little(at == 0 ? 0x00EB : 0x003C, 2) + little(part.size(), 2) + part;
  }
  return all + little(0x000A, 2) + little(0, 2);
}

}  // namespace files
