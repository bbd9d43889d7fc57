// Changes inputs by what they are made of: the opcodes of a picture, the segments, chunks, blocks or entries of an
// image, what a picture tells beside one. They are doubled, dropped, moved and taken from another input, and what
// counts, measures or nests in them gets numbers at which something may give way. Every third change, and all of other
// inputs, is the fuzzer's own.
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
  void (*tweak)(Units& units, std::size_t at, Random& random);
};

std::size_t below(std::size_t count, Random& random) { return count > 0 ? random() % count : 0; }
bool onceIn(std::size_t count, Random& random) { return below(count, random) == 0; }

enum class Order { high, low };  // which byte of a number is first

std::uint32_t numberAt(const Unit& unit, std::size_t at, std::size_t width, Order order = Order::high) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t from = at + (order == Order::high ? i : width - 1 - i);
    number = number << 8 | (from < unit.size() ? unit[from] : 0U);
  }
  return number;
}
void setNumber(Unit& unit, std::size_t at, std::size_t width, std::uint32_t number, Order order = Order::high) {
  for (std::size_t i = 0; i < width; ++i, number >>= 8) {
    const std::size_t to = at + (order == Order::low ? i : width - 1 - i);
    if (to < unit.size()) unit[to] = static_cast<std::uint8_t>(number);
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

void tell(Unit& unit, std::size_t at, std::size_t width, Random& random, Order order = Order::high) {
  setNumber(unit, at, width, tellingNumber(numberAt(unit, at, width, order), unit.size(), random), order);
}

struct Place {
  std::size_t at, width;
};
void tellOne(Unit& unit, std::span<const Place> places, Random& random, Order order = Order::high) {
  const auto& [at, width] = places[below(places.size(), random)];
  tell(unit, at, width, random, order);
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

void tweakJpeg(Units& units, std::size_t at, Random& random) {
  Unit& unit = units[at];
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

void tweakPng(Units& units, std::size_t at, Random& random) {
  Unit& unit = units[at];
  const std::string_view name(reinterpret_cast<const char*>(unit.data()), 4);
  if (name == "IHDR" && !onceIn(4, random)) {
    constexpr Place kFields[] = {
        {4, 4}, {8, 4}, {12, 1}, {13, 1}, {16, 1}};  // width, height, depth, colour, interlacing
    return tellOne(unit, kFields, random);
  }
  if (name == "IDAT" && onceIn(2, random)) return stirCompressed(unit);
  stir(unit, onceIn(8, random) ? 0 : 4);
  unit.resize(std::max<std::size_t>(unit.size(), 4));
}

// ---- GIF

bool holdsGif(Bytes file) { return beginsWith(file, "GIF8"); }

std::size_t gifTableBytes(int flags) { return (flags & 0x80) != 0 ? std::size_t{3} << ((flags & 7) + 1) : 0; }

// The screen with its table; then extensions and images.
Units splitGif(Bytes file) {
  constexpr std::size_t kScreen = 13, kImage = 10;
  constexpr int kImageMark = 0x2C;
  qd::ByteReader in(file);
  const auto take = [&in](std::size_t count) { return in.take(std::min(count, in.left())); };
  const auto passBlocks = [&in] {
    while (in.left() > 0) {
      const std::size_t size = in.u8();
      in.take(std::min(size, in.left()));
      if (size == 0) return;
    }
  };
  const Bytes screen = take(kScreen);
  take(screen.size() == kScreen ? gifTableBytes(screen[10]) : 0);
  Units units = {copyOf(file.first(in.at()))};
  while (in.left() > 0) {
    const std::size_t begin = in.at();
    if (file[begin] == kImageMark) {
      const Bytes image = take(kImage);
      take((image.size() == kImage ? gifTableBytes(image[9]) : 0) + 1);
    } else {
      take(2);
    }
    passBlocks();
    units.push_back(copyOf(file.subspan(begin, in.at() - begin)));
  }
  return units;
}

void tweakGif(Units& units, std::size_t at, Random& random) {
  // Sizes, flags and the background; of an image its place, its size, flags and the bits of its codes.
  constexpr Place kScreen[] = {{6, 2}, {8, 2}, {10, 1}, {11, 1}};
  constexpr Place kImage[] = {{1, 2}, {3, 2}, {5, 2}, {7, 2}, {9, 1}, {10, 1}};
  Unit& unit = units[at];
  if (onceIn(2, random))
    return at == 0 ? tellOne(unit, kScreen, random, Order::low) : tellOne(unit, kImage, random, Order::low);
  stir(unit, 1);
}

// ---- TIFF

bool holdsTiff(Bytes file) {
  using namespace std::string_view_literals;
  return beginsWith(file, "II*\0"sv) || beginsWith(file, "MM\0*"sv);
}

Order orderOf(const Unit& tiff) { return tiff[0] == 'I' ? Order::low : Order::high; }
constexpr std::size_t kTiffHead = 8, kTiffEntry = 12;

// The file, and the entries of its directory, which go to its end.
Units splitTiff(Bytes file) {
  Units units = {copyOf(file)};
  const Order order = orderOf(units[0]);
  const std::size_t begin = numberAt(units[0], 4, 4, order);
  std::size_t at = begin + 2;
  for (std::size_t left = begin < file.size() ? numberAt(units[0], begin, 2, order) : 0;
       left > 0 && at + kTiffEntry <= file.size(); --left, at += kTiffEntry)
    units.push_back(copyOf(file.subspan(at, kTiffEntry)));
  if (begin >= kTiffHead && at == file.size()) units[0].resize(begin);
  return units;
}

Unit joinTiff(const Units& units) {
  Unit file = units[0];
  const Order order = orderOf(file);
  setNumber(file, 4, 4, static_cast<std::uint32_t>(file.size()), order);
  file.resize(file.size() + 2);
  setNumber(file, file.size() - 2, 2, static_cast<std::uint32_t>(units.size() - 1), order);
  for (std::size_t i = 1; i < units.size(); ++i) file.insert(file.end(), units[i].begin(), units[i].end());
  return file;
}

void tweakTiff(Units& units, std::size_t at, Random& random) {
  constexpr Place kFields[] = {{0, 2}, {2, 2}, {4, 4}, {8, 4}, {8, 2}};  // tag, type, count, value
  Unit& unit = units[at];
  if (at == 0) return stir(unit, kTiffHead);
  tellOne(unit, kFields, random, orderOf(units[0]));
}

// ---- Cinepak

constexpr std::size_t kStripHead = 12, kChunkHead = 4;
constexpr int kKeyStrip = 0x10, kOtherStrip = 0x11;

bool isStrip(const Unit& unit) { return unit.size() == kStripHead && (unit[0] == kKeyStrip || unit[0] == kOtherStrip); }

// The frame's head, then the heads of strips with their chunks after them.
Units splitCinepak(Bytes file) {
  constexpr std::size_t kFrameHead = 10;
  qd::ByteReader in(file);
  const auto put = [&in](Units& units, std::size_t size) {
    units.push_back(copyOf(in.take(std::min(size, in.left()))));
  };
  Units units;
  put(units, kFrameHead);
  while (in.left() > kChunkHead) {
    qd::ByteReader peek = in;
    const int id = peek.u16() >> 8;
    const std::size_t size = peek.u16();
    put(units, id == kKeyStrip || id == kOtherStrip ? kStripHead : std::max(size, kChunkHead));
  }
  return units;
}

Unit joinCinepak(const Units& units) {
  Units told = units;
  std::size_t size = 0;  // of the chunks that come after one
  std::uint32_t strips = 0;
  for (std::size_t i = told.size(); i-- > 1;) {
    size += told[i].size();
    setNumber(told[i], 2, 2, static_cast<std::uint32_t>(isStrip(told[i]) ? size : told[i].size()));
    if (!isStrip(told[i])) continue;
    size = 0;
    ++strips;
  }
  setNumber(told[0], 8, 2, strips);
  return joined(told);
}

void tweakCinepak(Units& units, std::size_t at, Random& random) {
  constexpr Place kSides[] = {{4, 2}, {8, 2}, {10, 2}};  // of a strip: its top, bottom and right
  Unit& unit = units[at];
  if (isStrip(unit)) return tellOne(unit, kSides, random);
  if (at == 0 || unit.empty()) return tell(unit, 0, 1, random);
  if (onceIn(3, random)) {
    unit[0] ^= static_cast<std::uint8_t>(1 << below(5, random));  // another kind of chunk
  } else {
    stir(unit, kChunkHead);
  }
}

// ---- what a picture tells of an image

// Bytes in front of a matte, a mask and the image's description, with the sizes of both.
constexpr std::size_t kFront = 68, kMatteSizeAt = 38, kMaskSizeAt = 64;
constexpr std::size_t kLeastDescription = 86;

// Where the image's description begins; the size if there is none.
std::size_t descriptionIn(const Unit& operands) {
  if (operands.size() < kFront) return operands.size();
  const std::uint64_t at =
      kFront + std::uint64_t{numberAt(operands, kMatteSizeAt, 4)} + numberAt(operands, kMaskSizeAt, 4);
  return static_cast<std::size_t>(std::min<std::uint64_t>(at, operands.size()));
}
std::size_t dataIn(const Unit& operands) {
  const std::size_t at = descriptionIn(operands);
  const std::size_t size = numberAt(operands, at, 4);
  return size < kLeastDescription || size > operands.size() - at ? operands.size() : at + size;
}

bool holdsOperands(Bytes file) { return file.size() >= kFront && file[0] == 0 && dataIn(copyOf(file)) < file.size(); }

// What is told, and the data.
Units splitOperands(Bytes file) {
  const std::size_t at = dataIn(copyOf(file));
  return {copyOf(file.first(at)), copyOf(file.subspan(at))};
}

Unit joinOperands(const Units& units) {
  constexpr std::size_t kDataSizeAt = 44;
  Unit file = joined(units);
  setNumber(file, descriptionIn(units[0]) + kDataSizeAt, 4, static_cast<std::uint32_t>(file.size() - units[0].size()));
  return file;
}

void tweakOperands(Units& units, std::size_t at, Random& random);

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

void tweakPict(Units& units, std::size_t which, Random& random) {
  Unit& unit = units[which];
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

constexpr Format kOperands = {holdsOperands, splitOperands, joinOperands, tweakOperands};
constexpr Format kFormats[] = {
    {holdsJpeg, splitJpeg, joined, tweakJpeg},
    {holdsPng, splitPng, joinPng, tweakPng},
    {holdsGif, splitGif, joined, tweakGif},
    {holdsTiff, splitTiff, joinTiff, tweakTiff},
    kOperands,
    {holdsPict, splitPict, joined, tweakPict},
};
constexpr Format kCinepak = {nullptr, splitCinepak, joinCinepak, tweakCinepak};

const Format* formatOf(Bytes file) {
  const auto* const format = std::ranges::find_if(kFormats, [file](const Format& each) { return each.holds(file); });
  return format != std::end(kFormats) ? format : nullptr;
}

void change(const Format& format, Units& units, Random& random) {
  const std::size_t count = units.size() - 1;
  if (count == 0) return format.tweak(units, 0, random);
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
      return format.tweak(units, below(2, random), random);
    default:
      return format.tweak(units, static_cast<std::size_t>(at - units.begin()), random);
  }
}

Unit mutated(const Format& format, Bytes file, Random& random) {
  Units units = format.split(file);
  do change(format, units, random);
  while (onceIn(3, random));
  return format.join(units);
}

void tweakOperands(Units& units, std::size_t at, Random& random) {
  Unit& unit = units[at];
  const std::size_t begin = descriptionIn(units[0]);
  if (at == 0) {
    const Place kTold[] = {{begin + 32, 2}, {begin + 34, 2}, {begin + 82, 2}, {begin + 84, 2}};  // size, depth, table
    if (!onceIn(4, random)) return tellOne(unit, kTold, random);
    const std::size_t room = onceIn(2, random) ? kFront : unit.size();
    return tell(unit, below(room, random) & ~std::size_t{1}, onceIn(2, random) ? 4 : 2, random);
  }
  const bool isCinepak = numberAt(units[0], begin + 4, 4) == 0x63766964;
  const Format* const format = isCinepak ? &kCinepak : formatOf(unit);
  if (format == nullptr || unit.empty()) return stir(unit, 0);
  unit = mutated(*format, unit, random);
}

// Changes the image that a QuickTime opcode holds.
bool tweakImage(Unit& unit, Random& random) {
  constexpr std::size_t kHead = 6;  // the opcode and the size
  const Bytes operands = Bytes(unit).subspan(std::min(kHead, unit.size()));
  if (!holdsOperands(operands)) return false;
  const Unit image = mutated(kOperands, operands, random);
  unit.resize(kHead);
  unit.insert(unit.end(), image.begin(), image.end());
  setNumber(unit, 2, 4, static_cast<std::uint32_t>(image.size()));
  if (unit.size() % 2 != 0) unit.push_back(0);
  return true;
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
