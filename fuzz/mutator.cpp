// Changes inputs by what they are made of: the opcodes of a picture, the segments of a JPEG, the chunks of a PNG. They
// are doubled, dropped, moved and taken from another input, and what counts, measures or nests in them gets numbers at
// which something may give way. Every third change, and all of other inputs, is the fuzzer's own.
#include <zlib.h>

#include <algorithm>
#include <random>

#include "engine/pict/reader.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

using qd::Bytes;
using Unit = std::vector<std::uint8_t>;
using Units = std::vector<Unit>;
using Random = std::minstd_rand;

// A file is a head, which stays first, and units.
struct Format {
  bool (*holds)(Bytes file);
  Units (*split)(Bytes file);
  Unit (*join)(const Units& units);
  void (*tweak)(Unit& unit, Random& random);
};

std::size_t below(std::size_t count, Random& random) { return count > 0 ? random() % count : 0; }
bool onceIn(std::size_t count, Random& random) { return below(count, random) == 0; }

std::uint32_t numberAt(const Unit& unit, std::size_t at, std::size_t width) {
  std::uint32_t number = 0;
  for (std::size_t i = at; i < at + width && i < unit.size(); ++i) number = number << 8 | unit[i];
  return number;
}
void setNumber(Unit& unit, std::size_t at, std::size_t width, std::uint32_t number) {
  for (std::size_t i = at + width; i-- > at; number >>= 8) {
    if (i < unit.size()) unit[i] = static_cast<std::uint8_t>(number);
  }
}

// A number beside a limit of bytes, words, rows or pictures, beside the unit's own size, or beside what it was.
std::uint32_t tellingNumber(std::uint32_t old, std::size_t size, Random& random) {
  constexpr std::uint32_t kLimits[] = {
      0,   1,   2,    3,    7,    8,      15,    16,     32,     64,     127,    128,    250,        255,
      256, 511, 1024, 4095, 8191, 0x3FFE, 16384, 0x7FFE, 0x7FFF, 0x8000, 0x8001, 0xFFFE, 0x7FFFFFFF, 0x80000000};
  const auto near = static_cast<std::uint32_t>(below(3, random)) - 1;
  switch (below(4, random)) {
    case 0:
      return old + near;
    case 1:
      return static_cast<std::uint32_t>(size) + near;
    case 2:
      return onceIn(2, random) ? old * 2 : old / 2;
    default:
      return kLimits[below(std::size(kLimits), random)] + near;
  }
}

void tell(Unit& unit, std::size_t at, std::size_t width, Random& random) {
  setNumber(unit, at, width, tellingNumber(numberAt(unit, at, width), unit.size(), random));
}

// The fuzzer's own change of what comes after a unit's beginning.
void stir(Unit& unit, std::size_t begin) {
  constexpr std::size_t kMore = 64;
  if (unit.size() <= begin) return;
  const std::size_t size = unit.size();
  unit.resize(size + kMore);
  unit.resize(begin + LLVMFuzzerMutate(unit.data() + begin, size - begin, size + kMore - begin));
}

Unit joined(const Units& units) {
  Unit file;
  for (const Unit& unit : units) file.insert(file.end(), unit.begin(), unit.end());
  return file;
}

Unit copyOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

bool beginsWith(Bytes file, std::string_view head) {
  const Bytes bytes = qd::bytesOf(head);
  return file.size() >= bytes.size() && std::equal(bytes.begin(), bytes.end(), file.begin());
}

// ---- JPEG

constexpr std::string_view kJpegHead("\xFF\xD8", 2);

bool holdsJpeg(Bytes file) { return beginsWith(file, kJpegHead); }

// From one marker to the next; a scan's bits belong to its segment.
Units splitJpeg(Bytes file) {
  Units units = {copyOf(file.first(2))};
  for (std::size_t at = 2; at < file.size();) {
    const std::size_t length = at + 4 <= file.size() ? static_cast<std::size_t>(file[at + 2] << 8 | file[at + 3]) : 2;
    std::size_t end = std::min(file.size(), at + 2 + length);
    const auto isMarker = [file](std::size_t i) {
      const int next = i + 1 < file.size() ? file[i + 1] : 0;
      return file[i] == 0xFF && next != 0 && next != 0xFF && (next < 0xD0 || next > 0xD7);
    };
    while (end < file.size() && !isMarker(end)) ++end;
    units.push_back(copyOf(file.subspan(at, end - at)));
    at = end;
  }
  return units;
}

void tweakJpeg(Unit& unit, Random& random) {
  const std::size_t length = std::min<std::size_t>(unit.size(), 2 + numberAt(unit, 2, 2));
  const std::uint32_t marker = numberAt(unit, 1, 1);
  const bool isFrame = marker >= 0xC0 && marker <= 0xC2;
  switch (below(6, random)) {
    case 0:
      return tell(unit, 2, 2, random);
    case 1:
      stir(unit, marker == 0xDA ? length : 4);
      if (marker != 0xDA && onceIn(2, random)) setNumber(unit, 2, 2, static_cast<std::uint32_t>(unit.size() - 2));
      return;
    case 2:
      if (isFrame) return tell(unit, onceIn(2, random) ? 5 : 7, 2, random);  // height or width
      break;
    case 3:
      if (isFrame && onceIn(4, random)) return setNumber(unit, 1, 1, 0xC0 + static_cast<std::uint32_t>(random() % 3));
      // Sampling factors, a digit each.
      if (isFrame) {
        const auto factor = [&random] { return static_cast<std::uint32_t>(1 + below(4, random)); };
        return setNumber(unit, 11 + 3 * below(4, random), 1, factor() << 4 | factor());
      }
      break;
    default:
      break;
  }
  // A table's number, a count of codes, a component, what a scan brings.
  constexpr std::size_t kTold = 24;
  tell(unit, 4 + below(std::min(kTold, length > 4 ? length - 4 : 1), random), 1, random);
}

// ---- PNG

constexpr std::string_view kPngHead = "\x89PNG\r\n\x1A\n";

bool holdsPng(Bytes file) { return beginsWith(file, kPngHead); }

// A unit is a chunk's name and data. Its length and its checksum come by themselves.
Units splitPng(Bytes file) {
  Units units = {copyOf(file.first(kPngHead.size()))};
  qd::ByteReader in(file.subspan(kPngHead.size()));
  while (in.left() >= 8) {
    const std::size_t length = std::min<std::size_t>(in.u32(), in.left() - 4);
    units.push_back(copyOf(in.take(4 + length)));
    in.u32();
  }
  return units;
}

Unit joinPng(const Units& units) {
  Unit file = units[0];
  for (std::size_t i = 1; i < units.size(); ++i) {
    const Unit& unit = units[i];
    qd::ByteWriter chunk;
    chunk.u32(static_cast<std::uint32_t>(unit.size()) - 4);
    chunk.put(unit);
    chunk.u32(static_cast<std::uint32_t>(crc32(0, unit.data(), static_cast<uInt>(unit.size()))));
    file.insert(file.end(), chunk.bytes().begin(), chunk.bytes().end());
  }
  return file;
}

// Changes what is compressed, and compresses it again.
void stirCompressed(Unit& unit) {
  constexpr uLongf kMost = 1 << 16;
  Unit rows(kMost);
  uLongf size = kMost;
  if (uncompress(rows.data(), &size, unit.data() + 4, static_cast<uLong>(unit.size()) - 4) != Z_OK) return;
  rows.resize(size);
  stir(rows, 0);
  uLongf packed = compressBound(static_cast<uLong>(rows.size()));
  unit.resize(4 + packed);
  compress(unit.data() + 4, &packed, rows.data(), static_cast<uLong>(rows.size()));
  unit.resize(4 + packed);
}

void tweakPng(Unit& unit, Random& random) {
  const std::string_view name(reinterpret_cast<const char*>(unit.data()), 4);
  if (name == "IHDR" && !onceIn(4, random)) {
    struct {
      std::size_t at, width;
    } constexpr kFields[] = {{4, 4}, {8, 4}, {12, 1}, {13, 1}, {16, 1}};  // width, height, depth, colour, interlacing
    const auto [at, width] = kFields[below(std::size(kFields), random)];
    return tell(unit, at, width, random);
  }
  if (name == "IDAT" && onceIn(2, random)) return stirCompressed(unit);
  stir(unit, onceIn(8, random) ? 0 : 4);
  unit.resize(std::max<std::size_t>(unit.size(), 4));
}

// ---- PICT

// A byte that says which world comes first.
bool holdsPict(Bytes file) { return file.size() > 1 && !qd::PictureReader(file.subspan(1)).error(); }

Units splitPict(Bytes file) {
  qd::PictureReader reader(file.subspan(1));
  Units units;
  std::size_t begin = 0;
  const auto until = [&](std::size_t end) {
    units.push_back(copyOf(file.subspan(begin, end - begin)));
    begin = end;
  };
  qd::Opcode opcode;
  while (reader.next(opcode)) until(1 + opcode.offset);
  if (begin == 0) until(std::min(file.size(), 1 + opcode.offset));
  until(file.size());
  return units;
}

bool tweakImage(Unit& unit, Random& random);

void tweakPict(Unit& unit, Random& random) {
  const bool isWide = unit.size() % 2 == 0;
  const std::size_t begin = isWide ? 2 : 1;
  if (numberAt(unit, 0, 2) == 0x8200 && !onceIn(4, random) && tweakImage(unit, random)) return;
  switch (below(4, random)) {
    case 0:  // another verb, or a neighbour
      if (!unit.empty()) unit[begin - 1] ^= static_cast<std::uint8_t>(1 << below(4, random));
      return;
    case 1:
      stir(unit, begin);
      if (isWide && unit.size() % 2 != 0) unit.push_back(0);
      return;
    default:
      break;
  }
  // Lengths, counts, bounds and rowBytes are words, and stand at the beginning; a rectangle is four of them.
  constexpr std::size_t kTold = 64;
  const std::size_t room = unit.size() > begin ? unit.size() - begin : 0;
  std::size_t at = begin + below(onceIn(2, random) ? std::min(kTold, room) : room, random);
  if (isWide) at &= ~std::size_t{1};
  for (std::size_t words = onceIn(4, random) ? 4 : 1; words > 0; --words, at += 2) {
    if (at < unit.size()) tell(unit, at, onceIn(8, random) ? 4 : 2, random);
  }
}

// ---- all

constexpr Format kFormats[] = {
    {holdsJpeg, splitJpeg, joined, tweakJpeg},
    {holdsPng, splitPng, joinPng, tweakPng},
    {holdsPict, splitPict, joined, tweakPict},
};

const Format* formatOf(Bytes file) {
  const auto* const format = std::ranges::find_if(kFormats, [file](const Format& each) { return each.holds(file); });
  return format != std::end(kFormats) ? format : nullptr;
}

void change(const Format& format, Units& units, Random& random) {
  const std::size_t count = units.size() - 1;
  if (count == 0) return format.tweak(units[0], random);
  const auto at = units.begin() + 1 + static_cast<std::ptrdiff_t>(below(count, random));
  switch (below(8, random)) {
    case 0: {
      constexpr std::size_t kMany = 300;
      const Unit doubled = *at;
      units.insert(at, onceIn(4, random) ? below(kMany, random) : 1, doubled);
      return;
    }
    case 1:
      units.erase(at);
      return;
    case 2:
      std::swap(*at, units[1 + below(count, random)]);
      return;
    case 3:
      return format.tweak(units[onceIn(2, random) ? 0 : 1], random);
    default:
      return format.tweak(*at, random);
  }
}

Unit mutated(const Format& format, Bytes file, Random& random) {
  Units units = format.split(file);
  do change(format, units, random);
  while (onceIn(3, random));
  return format.join(units);
}

// Changes the image that a QuickTime opcode holds, and the sizes around it.
bool tweakImage(Unit& unit, Random& random) {
  constexpr std::size_t kSizeBefore = 42;  // bytes between the size in its description and the image
  for (const std::string_view head : {kJpegHead, kPngHead}) {
    const Bytes bytes = qd::bytesOf(head);
    const auto at = std::search(unit.begin(), unit.end(), bytes.begin(), bytes.end());
    const auto begin = static_cast<std::size_t>(at - unit.begin());
    if (at == unit.end() || begin < kSizeBefore) continue;
    Unit image(at, unit.end());
    image = mutated(*formatOf(image), image, random);
    unit.erase(at, unit.end());
    unit.insert(unit.end(), image.begin(), image.end());
    setNumber(unit, begin - kSizeBefore, 4, static_cast<std::uint32_t>(image.size()));
    setNumber(unit, 2, 4, static_cast<std::uint32_t>(unit.size() - 6));
    if (unit.size() % 2 != 0) unit.push_back(0);
    return true;
  }
  return false;
}

std::size_t put(const Unit& made, std::uint8_t* data, std::size_t most) {
  const std::size_t size = std::min(made.size(), most);
  std::copy_n(made.begin(), size, data);
  return size;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
  Random random(seed);
  const Bytes file(data, size);
  const Format* const format = formatOf(file);
  if (format == nullptr || onceIn(3, random)) return LLVMFuzzerMutate(data, size, most);
  return put(mutated(*format, file, random), data, most);
}

// Puts some of the second's units among the first's.
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize, std::uint8_t* out,
                                                 std::size_t most, unsigned seed) {
  Random random(seed);
  const Bytes to(first, firstSize);
  const Bytes from(second, secondSize);
  const Format* const format = formatOf(to);
  if (format == nullptr || format != formatOf(from)) return 0;
  Units units = format->split(to);
  const Units others = format->split(from);
  const auto begin = below(others.size(), random);
  const auto count = 1 + below(others.size() - begin, random);
  const auto other = others.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(begin, 1));
  if (begin + count <= 1) return 0;
  units.insert(units.begin() + 1 + static_cast<std::ptrdiff_t>(below(units.size(), random)), other,
               others.begin() + static_cast<std::ptrdiff_t>(begin + count));
  return put(format->join(units), out, most);
}
