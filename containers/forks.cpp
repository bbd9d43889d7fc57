// A Mac's files have two forks. Resources lie in one of them, which is either a file here, or is carried together with
// the other one (Inside Macintosh: More Macintosh Toolbox; RFC 1740; the MacBinary notes).
#include "containers/finder.h"

namespace containers {
namespace {

constexpr std::uint32_t kAppleSingle = 0x00051600, kAppleDouble = 0x00051607;

struct ForkHead {
  std::uint32_t data, map, dataSize, mapSize;

  explicit ForkHead(Cursor in) : data(in.u32()), map(in.u32()), dataSize(in.u32()), mapSize(in.u32()) {}
};
constexpr std::size_t kForkHead = 16;
constexpr std::size_t kMapHead = 28;  // up to the list of types

struct Reference {
  int id;
  std::uint16_t name;  // where it lies among the names; kNoName if there is none
  std::uint8_t attributes;
  std::uint32_t data;

  explicit Reference(Cursor& in)
      : id(static_cast<std::int16_t>(in.u16())), name(in.u16()), attributes(in.u8()), data(in.u24()) {
    in.u32();  // for a handle
  }
};
constexpr std::size_t kReference = 12;
constexpr std::uint16_t kNoName = 0xFFFF;
constexpr std::uint8_t kIsCompressed = 1;
constexpr std::string_view kCompressedHead = "\xA8\x9F\x65\x72";

void takePicture(const Reference& reference, Cursor data, Bytes names, const std::string& place, Finder& finder) {
  const std::string id = place + "#" + std::to_string(reference.id);
  std::string title;
  if (reference.name != kNoName) {
    Cursor name = Cursor(names).at(reference.name);
    title = shown(qd::utf8OfMacRoman(textOf(name.upTo(name.u8()))));
  }
  const std::uint32_t size = data.u32();
  if (!data.good()) return finder.note(id, "This resource lies outside of the fork's data, and can't be read.");
  const Bytes picture = data.upTo(size);
  if ((reference.attributes & kIsCompressed) != 0 && hasAt(picture, 0, kCompressedHead))
    return finder.note(
        id, "This resource is compressed in a way that isn't known here; saved anew on a Mac it would be read.");
  if (!qd::pictureInfo(picture)) return finder.note(id, "This resource should be a picture and holds none.");
  finder.found(id, title, picture);
  if (picture.size() < size)
    finder.note(id, "This resource is cut off: there are " + ofBytes(picture.size(), size) + ".");
}

}  // namespace

// One that is cut off has lost its map, and is known by where all programs put the data.
bool isResourceFork(Bytes file) {
  constexpr std::uint32_t kUsualData = 256;
  const ForkHead head{Cursor(file)};
  if (head.data < kForkHead || std::uint64_t{head.data} + head.dataSize > head.map || head.mapSize < kMapHead)
    return false;
  if (head.map >= file.size()) return head.data == kUsualData && head.data + head.dataSize == head.map;
  const std::uint16_t types = Cursor(file).at(std::uint64_t{head.map} + 24).u16();
  return types >= kMapHead && types < head.mapSize && std::uint64_t{head.map} + types <= file.size();
}

// Each number may be anything: forks that something else carries come here without being recognised.
void openResourceFork(Bytes file, const std::string& place, Finder& finder) {
  if (file.empty()) return;
  const ForkHead head{Cursor(file)};
  const Bytes data = Cursor(file).at(head.data).upTo(head.dataSize);
  const Bytes map = Cursor(file).at(head.map).upTo(head.mapSize);
  Cursor offsets = Cursor(map).at(24);
  const std::uint16_t typesAt = offsets.u16();
  const Bytes names = Cursor(map).at(offsets.u16()).upTo(map.size());
  Cursor types = Cursor(map).at(typesAt);
  // The counts are less one. All references together have room in the map, each once.
  std::size_t room = map.size() / kReference;
  bool isWhole = map.size() == head.mapSize;
  int typeCount = static_cast<std::uint16_t>(types.u16() + 1);
  for (; typeCount > 0 && types.good(); --typeCount) {
    const bool isPictures = textOf(types.take(4)) == "PICT";
    int count = types.u16() + 1;
    Cursor references = Cursor(map).at(std::uint64_t{typesAt} + types.u16());
    for (; isPictures && types.good() && count > 0; --count) {
      const Reference reference(references);
      if (!references.good() || room == 0) break;
      --room;
      takePicture(reference, Cursor(data).at(reference.data), names, place, finder);
    }
    isWhole &= !isPictures || count == 0;
  }
  if (!isWhole || !types.good()) {
    finder.note(place, "The map of its resources is broken or cut off: there are " + ofBytes(map.size(), head.mapSize) +
                           "; " + std::string(kSearchHelps) + ".");
  }
}

// ---- AppleSingle and AppleDouble

bool isAppleSingle(Bytes file) { return Cursor(file).u32() == kAppleSingle; }
bool isAppleDouble(Bytes file) { return Cursor(file).u32() == kAppleDouble; }

void openAppleFile(Bytes file, const std::string& place, Finder& finder) {
  constexpr std::uint32_t kDataFork = 1, kResourceFork = 2;
  Cursor in = Cursor(file).at(24);  // after version and filler
  bool hasData = false, hasResources = false;
  for (int count = in.u16(); count > 0; --count) {
    const std::uint32_t id = in.u32(), offset = in.u32(), size = in.u32();
    if (!in.good()) return finder.note(place, "The list of its parts is cut off.");
    bool& isTaken = id == kDataFork ? hasData : hasResources;
    if ((id != kDataFork && id != kResourceFork) || isTaken) continue;
    isTaken = true;
    const Bytes fork = Cursor(file).at(offset).upTo(size);
    if (fork.size() < size)
      finder.note(place, "A fork in it is cut off: there are " + ofBytes(fork.size(), size) + ".");
    if (id == kDataFork) finder.look(fork, place);
    if (id == kResourceFork) finder.lookAs(openResourceFork, fork, place);
  }
}

// ---- MacBinary

namespace {

constexpr std::size_t kBlock = 128;  // all parts are filled up to a multiple
constexpr std::uint8_t kVersion2 = 129;

std::uint64_t filled(std::uint64_t size) { return (size + kBlock - 1) / kBlock * kBlock; }

// XMODEM's: the polynomial 1021, from zero.
std::uint16_t checksum(Bytes bytes) {
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) {
    sum ^= std::uint32_t{byte} << 8;
    for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ ((sum & 0x8000) != 0 ? 0x1021 : 0);
  }
  return static_cast<std::uint16_t>(sum);
}

struct MacBinary {
  std::uint64_t data, resources;  // where the forks lie
  std::uint32_t dataSize, resourcesSize;

  bool hasChecksum, isChecked;

  explicit MacBinary(Bytes file)
      : dataSize(Cursor(file).at(83).u32()),
        resourcesSize(Cursor(file).at(87).u32()),
        hasChecksum(Cursor(file).at(122).u8() >= kVersion2),
        isChecked(Cursor(file).at(124).u16() == checksum(Cursor(file).upTo(124))) {
    data = kBlock + (hasChecksum ? filled(Cursor(file).at(120).u16()) : 0);
    resources = data + filled(dataSize);
  }
};

}  // namespace

// The first version has no checksum: there the forks, and a comment on the file, have to fill the file.
bool isMacBinary(Bytes file) {
  if (file.size() < kBlock || file[0] != 0 || file[1] == 0 || file[1] > 63 || file[74] != 0 || file[82] != 0)
    return false;
  const MacBinary parts(file);
  if (parts.hasChecksum && parts.isChecked) return true;
  const std::uint64_t end = parts.resources + parts.resourcesSize;
  const std::uint16_t comment = Cursor(file).at(99).u16();
  return end > kBlock && end <= file.size() && file.size() <= filled(end) + filled(comment);
}

void openMacBinary(Bytes file, const std::string& place, Finder& finder) {
  const MacBinary parts(file);
  const Bytes data = Cursor(file).at(parts.data).upTo(parts.dataSize);
  const Bytes resources = Cursor(file).at(parts.resources).upTo(parts.resourcesSize);
  if (parts.hasChecksum && !parts.isChecked) finder.note(place, "The checksum of its header is wrong.");
  if (data.size() < parts.dataSize || resources.size() < parts.resourcesSize) {
    finder.note(place,
                "It is cut off: there are " +
                    ofBytes(data.size() + resources.size(), std::uint64_t{parts.dataSize} + parts.resourcesSize) +
                    " of its forks.");
  }
  finder.look(data, place);
  finder.lookAs(openResourceFork, resources, place);
}

}  // namespace containers
