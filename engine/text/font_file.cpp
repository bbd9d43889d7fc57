#include "engine/text/font_file.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <string_view>
#include <utility>
#include <vector>

namespace qd {
namespace {

// Big-endian numbers. One that lies outside reads as 0, and is remembered.
class Table {
 public:
  Table() = default;
  explicit Table(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t size() const { return bytes_.size(); }
  bool isCut() const { return isCut_; }
  Table from(std::size_t begin) const { return Table(bytes_.subspan(std::min(begin, bytes_.size()))); }
  Table part(std::size_t begin, std::size_t end) const { return Table(bytes_.subspan(begin, end - begin)); }

  unsigned u8(std::size_t at) { return number(at, 1); }
  unsigned u16(std::size_t at) { return number(at, 2); }
  unsigned u32(std::size_t at) { return number(at, 4); }
  int s8(std::size_t at) { return static_cast<std::int8_t>(u8(at)); }
  int s16(std::size_t at) { return static_cast<std::int16_t>(u16(at)); }

 private:
  unsigned number(std::size_t at, std::size_t width) {
    if (at > bytes_.size() || width > bytes_.size() - at) {
      isCut_ = true;
      return 0;
    }
    unsigned value = 0;
    for (const std::uint8_t byte : bytes_.subspan(at, width)) value = value << 8 | byte;
    return value;
  }

  std::span<const std::uint8_t> bytes_;
  bool isCut_ = false;
};

// The characters' glyphs by segments, found by a search whose steps the table gives itself.
bool isSoundSegments(Table map) {
  const std::size_t count = map.u16(6) / 2;
  if (count == 0) return false;
  const std::size_t most = std::bit_floor(count);
  const bool searchesItself =
      map.u16(8) / 2 == most && map.u16(10) == std::bit_width(count) - 1U && map.u16(12) / 2 == count - most;
  if (!searchesItself) return false;
  const std::size_t ends = 14, starts = ends + 2 * count + 2, offsets = starts + 4 * count;
  for (std::size_t i = 0; i < count && !map.isCut(); ++i) {
    const std::size_t end = map.u16(ends + 2 * i), start = map.u16(starts + 2 * i);
    const std::size_t here = offsets + 2 * i, offset = map.u16(here);
    if (offset != 0 && start <= end) map.u16(here + offset + 2 * (end - start));
  }
  return !map.isCut();
}

bool isSoundCharacterMap(Table map) {
  switch (map.u16(0)) {
    case 4:
      return isSoundSegments(map);
    case 12:  // groups of three numbers
      return map.u32(12) <= (map.size() - std::min<std::size_t>(map.size(), 16)) / 12 && !map.isCut();
    default:
      return false;
  }
}

// The outlines, each walked as it will be read. One that is made of others counts their points as its own.
class Glyphs {
 public:
  Glyphs(Table outlines, Table places, bool isLong, std::size_t count)
      : outlines_(outlines), places_(places), isLong_(isLong), walked_(count) {}

  bool areSound() {
    for (std::size_t i = 0; i < walked_.size(); ++i) {
      if (!walk(i, 0)) return false;
    }
    return true;
  }

 private:
  static constexpr int kDeepest = 8;
  static constexpr std::size_t kMostPoints = 20000;
  static constexpr double kFarthest = 32767;

  struct Walked {
    bool isDone = false;
    std::size_t points = 0;
    double reach = 0;  // no coordinate is farther from 0
  };

  std::size_t placeOf(std::size_t glyph) {
    return isLong_ ? places_.u32(4 * glyph) : std::size_t{places_.u16(2 * glyph)} * 2;
  }

  bool walk(std::size_t index, int depth) {
    if (index >= walked_.size() || depth > kDeepest) return false;
    if (walked_[index].isDone) return true;
    const std::size_t begin = placeOf(index), end = placeOf(index + 1);
    if (places_.isCut() || begin > end || end > outlines_.size()) return false;
    Walked found;
    if (begin < end) {
      Table glyph = outlines_.part(begin, end);
      const int contours = glyph.s16(0);
      const bool isSound =
          contours >= 0 ? walkPoints(glyph, static_cast<std::size_t>(contours), found) : walkParts(glyph, depth, found);
      if (!isSound || glyph.isCut() || found.points > kMostPoints || found.reach > kFarthest) return false;
    }
    found.isDone = true;
    walked_[index] = found;
    return true;
  }

  static bool walkPoints(Table& glyph, std::size_t contours, Walked& found) {
    if (contours == 0) return true;
    std::size_t at = 10;
    std::vector<bool> begins;  // the points at which contours do
    for (std::size_t i = 0; i < contours; ++i, at += 2) {
      const std::size_t last = glyph.u16(at);
      if (last < begins.size()) return false;
      const std::size_t first = begins.size();
      begins.resize(last + 1);
      begins[first] = true;
    }
    at += 2 + glyph.u16(at);  // instructions
    found.points = begins.size();

    enum : unsigned { kOnCurve = 1, kShortX = 2, kShortY = 4, kRepeated = 8, kSameX = 16, kSameY = 32 };
    std::vector<std::uint8_t> flags;
    while (flags.size() < begins.size() && !glyph.isCut()) {
      const auto flag = static_cast<std::uint8_t>(glyph.u8(at++));
      flags.insert(flags.end(), 1 + ((flag & kRepeated) != 0 ? glyph.u8(at++) : 0), flag);
    }
    if (flags.size() < begins.size()) return false;
    for (std::size_t i = 0; i < begins.size(); ++i) {
      // A contour that begins beside its curve begins with the point after.
      const bool isAlone = i + 1 == begins.size() || begins[i + 1];
      if (begins[i] && isAlone && (flags[i] & kOnCurve) == 0) return false;
    }
    for (const auto& [isShort, isSame] : {std::pair(kShortX, kSameX), {kShortY, kSameY}}) {
      int coordinate = 0;
      for (std::size_t i = 0; i < begins.size() && !glyph.isCut(); ++i) {
        if ((flags[i] & isShort) != 0) {
          const int step = static_cast<int>(glyph.u8(at++));
          coordinate += (flags[i] & isSame) != 0 ? step : -step;
        } else if ((flags[i] & isSame) == 0) {
          coordinate += glyph.s16(at);
          at += 2;
        }
        found.reach = std::max(found.reach, std::abs(double{1} * coordinate));
        if (found.reach > kFarthest) return false;
      }
    }
    return true;
  }

  bool walkParts(Table& glyph, int depth, Walked& found) {
    enum : unsigned { kWords = 1, kOffsets = 2, kScale = 8, kMore = 32, kTwoScales = 64, kMatrix = 128 };
    std::size_t at = 10;
    for (unsigned flags = kMore; (flags & kMore) != 0;) {
      flags = glyph.u16(at);
      const std::size_t part = glyph.u16(at + 2);
      at += 4;
      if ((flags & kOffsets) == 0) return false;  // points that are to meet
      const bool isWords = (flags & kWords) != 0;
      const int dx = isWords ? glyph.s16(at) : glyph.s8(at);
      const int dy = isWords ? glyph.s16(at + 2) : glyph.s8(at + 1);
      at += isWords ? 4 : 2;
      const auto scale = [&] {
        at += 2;
        return glyph.s16(at - 2) / 16384.0;
      };
      double matrix[2][2] = {{1, 0}, {0, 1}};
      if ((flags & kScale) != 0) {
        matrix[0][0] = matrix[1][1] = scale();
      } else if ((flags & kTwoScales) != 0) {
        matrix[0][0] = scale();
        matrix[1][1] = scale();
      } else if ((flags & kMatrix) != 0) {
        for (auto& row : matrix) {
          for (double& factor : row) factor = scale();
        }
      }
      if (glyph.isCut() || !walk(part, depth + 1)) return false;
      found.points += 1 + walked_[part].points;
      if (found.points > kMostPoints) return false;
      // What the reader of outlines makes of it: it scales by the length of the matrix's rows once more.
      const double reach = walked_[part].reach;
      const auto farthest = [reach](double a, double b, double lengthened, int offset) {
        return lengthened * ((std::abs(a) + std::abs(b)) * reach + std::abs(offset));
      };
      found.reach =
          std::max({found.reach, farthest(matrix[0][0], matrix[1][0], std::hypot(matrix[0][0], matrix[0][1]), dx),
                    farthest(matrix[0][1], matrix[1][1], std::hypot(matrix[1][0], matrix[1][1]), dy)});
    }
    return true;
  }

  Table outlines_, places_;
  bool isLong_;
  std::vector<Walked> walked_;
};

}  // namespace

const char* faultOfFont(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kNames[] = {"cmap", "head", "hhea", "hmtx", "maxp", "loca", "glyf"};
  enum { kCmap, kHead, kHhea, kHmtx, kMaxp, kLoca, kGlyf };
  Table tables[std::size(kNames)];
  bool isThere[std::size(kNames)] = {};
  Table file(bytes);
  constexpr unsigned kTrueType = 0x00010000, kTrue = 0x74727565;
  if (const unsigned kind = file.u32(0); kind != kTrueType && kind != kTrue) return "it is no TrueType font";
  const std::size_t directory = 12, count = file.u16(4);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t row = directory + 16 * i;
    const std::size_t begin = file.u32(row + 8), length = file.u32(row + 12);
    if (file.isCut()) return "its directory is cut short";
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()) + row, 4);
    const auto* const known = std::find(std::begin(kNames), std::end(kNames), name);
    if (known == std::end(kNames)) continue;
    const auto which = known - std::begin(kNames);
    if (std::exchange(isThere[which], true)) return "it has two tables of one name";
    if (begin < directory + 16 * count || begin > bytes.size() || length > bytes.size() - begin)
      return "a table lies outside of it";
    tables[which] = file.part(begin, begin + length);
  }

  Table& head = tables[kHead];
  const unsigned unitsPerEm = head.u16(18), placeFormat = head.u16(50);
  if (head.isCut() || unitsPerEm < 16 || unitsPerEm > 16384 || placeFormat > 1) return "its head makes no sense";
  const std::size_t glyphs = tables[kMaxp].u16(4);
  if (tables[kMaxp].isCut() || glyphs == 0) return "it has no glyphs";

  Table& hhea = tables[kHhea];
  const std::size_t widths = hhea.u16(34);
  if (hhea.isCut() || widths == 0 || widths > glyphs || tables[kHmtx].size() < 4 * widths + 2 * (glyphs - widths))
    return "its table of widths is cut short";

  Table& cmap = tables[kCmap];
  const std::size_t maps = cmap.u16(2);
  bool hasUnicode = false;
  for (std::size_t i = 0; i < maps && !cmap.isCut(); ++i) {
    const unsigned platform = cmap.u16(4 + 8 * i), encoding = cmap.u16(6 + 8 * i);
    const std::size_t begin = cmap.u32(8 + 8 * i);
    if (platform != 0 && (platform != 3 || (encoding != 1 && encoding != 10))) continue;
    hasUnicode = true;
    if (!isSoundCharacterMap(cmap.from(begin))) return "its table of characters makes no sense";
  }
  if (cmap.isCut() || !hasUnicode) return "it has no table of Unicode's characters";

  if (tables[kGlyf].size() == 0 || !Glyphs(tables[kGlyf], tables[kLoca], placeFormat == 1, glyphs).areSound())
    return "an outline in it makes no sense";
  return nullptr;
}

bool readFont(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes) {
  constexpr std::uintmax_t kMostBytes = 64 << 20;
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream in(path, std::ios::binary);
  if (error || size > kMostBytes || !in) return false;
  bytes.resize(static_cast<std::size_t>(size));
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return true;
}

std::string sentenceOfFault(const std::filesystem::path& path, const char* fault) {
  return "the font file \"" + path.string() + "\" can't be used: " + fault;
}

}  // namespace qd
