// Documents of older office programs: compound files, which hold streams as a disk holds files, and the pictures among
// the drawings in them (the published layouts of both). Numbers are little-endian.
#include <algorithm>

#include "containers/finder.h"

namespace containers {
namespace {

constexpr std::uint64_t kAll = ~std::uint64_t{0};
constexpr std::uint32_t kNoSector = 0xFFFFFFFA;  // from there on numbers mean something else

using Numbers = std::vector<std::uint32_t>;

Numbers numbersIn(Bytes bytes) {
  Numbers numbers(bytes.size() / sizeof(std::uint32_t));
  Cursor in(bytes, Order::little);
  for (std::uint32_t& number : numbers) number = in.u32();
  return numbers;
}

// Bytes cut into sectors, which a table chains to streams.
struct Sectors {
  Bytes bytes;
  int shift = 0;
  std::uint64_t first = 0;  // where the first lies, in sectors
  Numbers next = {};        // after each

  Bytes at(std::uint32_t number) const {
    return Cursor(bytes).at((number + first) << shift).upTo(std::uint64_t{1} << shift);
  }
  // As many bytes from a sector on, or fewer where the chain breaks.
  Buffer chain(std::uint32_t number, std::uint64_t size, Finder& finder) const {
    Buffer stream;
    // None comes twice, so that there are no more than the bytes hold.
    std::size_t left = (bytes.size() >> shift) + 1;
    for (; number < next.size() && left > 0 && stream.size() < size; --left) {
      const Bytes sector = at(number);
      if (!finder.unpack(stream, Cursor(sector).upTo(size - stream.size()))) break;
      number = next[number];
    }
    return stream;
  }
};

struct Stream {
  std::string name;
  std::uint8_t type;
  std::uint32_t first, size;
};
constexpr std::uint8_t kStream = 2, kRoot = 5;

class CompoundFile {
 public:
  CompoundFile(Bytes file, Finder& finder) : finder_(finder) {
    const Cursor head(file, Order::little);
    large_ = {file, std::clamp<int>(head.at(30).u16(), 7, 16), 1};
    readTable(head);
    const Buffer directory = large_.chain(head.at(48).u32(), kAll, finder);
    for (std::size_t at = 0; at + kEntry <= directory.size(); at += kEntry)
      streams_.push_back(streamIn(Bytes(directory).subspan(at, kEntry)));
    // Streams of less than some size lie in small sectors, which are cut from the root's stream.
    leastLarge_ = head.at(56).u32();
    const auto root = std::ranges::find(streams_, kRoot, &Stream::type);
    isWhole_ = root != streams_.end();
    if (!isWhole_) return;
    ofSmall_ = large_.chain(root->first, root->size, finder);
    small_ = {ofSmall_, 6, 0, numbersIn(large_.chain(head.at(60).u32(), kAll, finder))};
  }

  // Whether it has a directory.
  bool isWhole() const { return isWhole_; }
  const std::vector<Stream>& streams() const { return streams_; }
  Buffer read(const Stream& stream) const {
    return (stream.size < leastLarge_ ? small_ : large_).chain(stream.first, stream.size, finder_);
  }

 private:
  static constexpr std::size_t kEntry = 128;

  // The table lies in sectors, whose numbers stand in the head and in further sectors. Each of these ends in the number
  // of the next.
  void readTable(const Cursor& head) {
    const std::size_t count = (large_.bytes.size() >> large_.shift) + 1;
    const auto take = [&](Bytes list) {
      for (const std::uint32_t number : numbersIn(list)) {
        if (large_.next.size() >= count) return;
        const Numbers part = number < kNoSector ? numbersIn(large_.at(number)) : Numbers();
        large_.next.insert(large_.next.end(), part.begin(), part.end());
      }
    };
    constexpr std::size_t kInHead = 109;
    take(head.at(76).upTo(kInHead * sizeof(std::uint32_t)));
    std::uint32_t more = head.at(68).u32();
    for (std::size_t lists = 0; more < kNoSector && lists < count; ++lists) {
      const Bytes list = large_.at(more);
      if (list.size() >> large_.shift == 0) return;
      take(list.first(list.size() - sizeof more));
      more = numbersIn(list.last(sizeof more))[0];
    }
  }

  static Stream streamIn(Bytes entry) {
    const Cursor in(entry, Order::little);
    constexpr std::size_t kMost = 31;
    Cursor letters = in;
    std::string name;
    for (std::uint16_t c = letters.u16(); c != 0 && name.size() < kMost; c = letters.u16())
      name += c < 0x7F ? static_cast<char>(c) : '?';
    return {std::move(name), in.at(66).u8(), in.at(116).u32(), in.at(120).u32()};
  }

  Finder& finder_;
  Sectors large_, small_;
  Buffer ofSmall_;
  std::vector<Stream> streams_;
  std::uint32_t leastLarge_ = 0;
  bool isWhole_ = false;
};

// ---- drawings

// A workbook's drawings are cut into records of its own.
Buffer drawingsOfWorkbook(Bytes workbook) {
  constexpr std::uint16_t kDrawings = 0x00EB, kContinued = 0x003C;
  Buffer drawings;
  bool isTaken = false;
  for (Cursor in(workbook, Order::little); in.left() > 0;) {
    const std::uint16_t type = in.u16();
    const Bytes record = in.upTo(in.u16());
    isTaken = type == kDrawings || (isTaken && type == kContinued);
    if (isTaken) drawings.insert(drawings.end(), record.begin(), record.end());
  }
  return drawings;
}

// Gives the record's size, after its head.
std::size_t takeBlip(Cursor in, bool hasTwoIds, const std::string& place, Finder& finder) {
  const Bytes blip = in.upTo(in.u32());
  Cursor fields(blip, Order::little);
  fields.take(hasTwoIds ? 32 : 16);
  fields.take(4 + 16 + 8);  // its unpacked size, its bounds and extent
  const std::uint32_t size = fields.u32();
  const std::uint8_t packing = fields.u8();
  constexpr std::uint8_t kDeflated = 0, kNone = 0xFE;
  const bool isBlip = fields.u8() == kNone && (packing == kDeflated || packing == kNone);
  if (!isBlip) return 0;
  const Bytes data = fields.upTo(size);
  const std::size_t before = finder.count();
  Buffer unpacked;
  const bool isWhole = packing == kNone ? finder.unpack(unpacked, data) && data.size() == size
                                        : inflate(data, Packing::zlib, unpacked, finder);
  finder.look(unpacked, place);
  if (finder.isFull()) return blip.size();
  if (!isWhole) {
    finder.note(place, "This drawing is damaged or cut off after " + std::to_string(unpacked.size()) + " bytes.");
  } else if (finder.count() == before) {
    finder.note(place, "This drawing should be a picture and holds none.");
  }
  return blip.size();
}

// They may lie in any other record, so that they are looked for by their head.
void takeBlips(Bytes stream, const std::string& place, Finder& finder) {
  constexpr std::string_view kType = "\x54\x1C\xF0";  // of pictures, after half of a number that tells two kinds apart
  const std::string_view text = textOf(stream);
  int count = 0;
  for (std::size_t at = text.find(kType, 1); at != std::string_view::npos && !finder.isFull();
       at = text.find(kType, at)) {
    const auto kind = static_cast<std::uint8_t>(text[at - 1]);
    at += kType.size();
    if (kind != 0x20 && kind != 0x30) continue;
    const std::string name = place + "/" + std::to_string(count + 1);
    const std::size_t size = takeBlip(Cursor(stream, Order::little).at(at), kind == 0x30, name, finder);
    if (size == 0) continue;
    ++count;
    at += size;
  }
}

}  // namespace

bool isCompoundFile(Bytes file) { return hasAt(file, 0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"); }

void openCompoundFile(Bytes file, const std::string& place, Finder& finder) {
  const CompoundFile compound(file, finder);
  if (!compound.isWhole())
    finder.note(place, "Its directory is damaged or cut off; " + std::string(kSearchHelps) + ".");
  for (const Stream& stream : compound.streams()) {
    if (stream.type != kStream || finder.isFull()) continue;
    const std::string name = pathIn(place, stream.name);
    const Buffer bytes = compound.read(stream);
    if (bytes.size() < stream.size && !finder.isFull())
      finder.note(name, "This stream is cut off: there are " + ofBytes(bytes.size(), stream.size) + ".");
    const std::size_t before = finder.count();
    const bool isWorkbook = stream.name == "Workbook" || stream.name == "Book";
    takeBlips(isWorkbook ? drawingsOfWorkbook(bytes) : bytes, name, finder);
    if (finder.count() == before) finder.look(bytes, name);
  }
}

}  // namespace containers
