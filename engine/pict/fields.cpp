#include "engine/pict/fields.h"

#include "engine/pict/bits.h"

namespace qd {

bool Map::isSane() const {
  if (isPixMap()) {
    const bool isKnown =
        isDeep() ? depth() == 16 || depth() == 32 : depth() == 1 || depth() == 2 || depth() == 4 || depth() == 8;
    if (!isKnown) return false;
  }
  // Rows that are short by no more than their padding may be read yet.
  constexpr int kPadding = 3;
  const bool mayBeShort = bytesInRow() >= kRawBelow;
  return !Box(bounds).empty() && neededBytes() <= bytesInRow() + (mayBeShort ? kPadding : 0);
}

int Map::neededBytes() const {
  const bool isTriplets = isDeep() && depth() == 32 && pixels.packType == kTriplets;
  return static_cast<int>((std::int64_t{Box(bounds).width()} * (isTriplets ? 24 : depth()) + 7) / 8);
}

namespace field {
namespace {

constexpr std::int16_t kRowEnd = 0x7FFF;
constexpr std::size_t kEntryBytes = 8;
constexpr std::size_t kMostEntries = 256;
// A size that counts itself and a rectangle: the least that a region or a polygon has.
constexpr std::size_t kLeastSize = 10;

// What comes after the size and the bounds of a region or a polygon.
Bytes takeSized(ByteReader& in, Rect& bounds, std::size_t unit) {
  const std::size_t size = in.u16();
  bounds = in.rect();
  if (size < kLeastSize || (size - kLeastSize) % unit != 0) in.fail();
  return in.take(size - kLeastSize);
}

std::vector<std::int16_t> wordsOf(Bytes bytes) {
  std::vector<std::int16_t> words;
  ByteReader in(bytes);
  while (in.left() >= 2) words.push_back(in.s16());
  return words;
}

}  // namespace

pattern::Value pattern::read(ByteReader& in) {
  Value value = {};
  const Bytes bytes = in.take(value.size());
  std::copy(bytes.begin(), bytes.end(), value.begin());
  return value;
}

pattern::Value pattern::parse(TextReader& in) {
  Value value = {};
  const Bytes bytes = in.bytes();
  if (bytes.size() != value.size()) {
    in.failBefore("a pattern has 8 bytes; AA55AA55AA55AA55 would work");
  } else {
    std::copy(bytes.begin(), bytes.end(), value.begin());
  }
  return value;
}

void text::write(ByteWriter& out, Bytes value) {
  out.u8(static_cast<int>(value.size()));
  out.put(value);
}

Bytes text::parse(TextReader& in) {
  const Bytes bytes = in.bytes();
  if (bytes.size() > 255) in.failBefore("the text is too long; one of up to 255 bytes would work");
  return bytes;
}

Region region::read(ByteReader& in) {
  Rect bounds = {};
  const Bytes bytes = takeSized(in, bounds, 2);
  if (!in.good()) return {};
  if (bytes.empty()) return Region(Box(bounds));
  auto read = Region::fromInversionPoints(Box(bounds), wordsOf(bytes));
  if (!read) in.fail();
  return read ? std::move(*read) : Region();
}

void region::skip(ByteReader& in) {
  const std::size_t size = in.u16();
  if (size < kLeastSize) in.fail();
  in.take(size - 2);
}

void region::write(ByteWriter& out, const Region& value) {
  // The size is a word; of a region that is too long for it the box goes out.
  const auto words = value.inversionPoints();
  const bool fits = words.size() * 2 <= 0xFFFF;
  for (const std::int16_t word : fits ? words : Region(value.bounds()).inversionPoints()) out.u16(word);
}

void region::list(TextWriter& out, const Region& value) {
  out.word(textOf(toRect(value.bounds())));
  const auto words = value.inversionPoints();
  if (words.size() * 2 == kLeastSize) return;
  out.open();
  for (std::size_t i = kLeastSize / 2; words[i] != kRowEnd; ++i) {
    std::string row = format("%d:", words[i]);
    for (++i; words[i] != kRowEnd; ++i) row += format(" %d", words[i]);
    out.word(row);
  }
  out.close();
}

Region region::parse(TextReader& in) {
  const Rect bounds = in.rect();
  if (!in.take('{')) return Region(Box(bounds));
  std::vector<std::int16_t> words;
  const auto take = [&](std::string_view digits) {
    TextReader one(digits);
    words.push_back(static_cast<std::int16_t>(one.integer(INT16_MIN, kRowEnd - 1)));
    if (!one.good()) in.fail("is no edge and no row; \"3: 1 5\" would work, a row and the edges at which it changes");
  };
  while (in.good() && !in.peek().empty()) {
    std::string_view word = in.peek();
    const bool isRow = word.ends_with(':');
    if (isRow) word.remove_suffix(1);
    if (isRow && !words.empty()) words.push_back(kRowEnd);
    take(word);
    in.takeWord();
  }
  in.expect('}');
  words.insert(words.end(), {kRowEnd, kRowEnd});
  auto parsed = Region::fromInversionPoints(Box(bounds), words);
  if (!parsed && in.good()) in.failBefore(std::string("these rows make no region; ") + kExample + " would work");
  return parsed ? std::move(*parsed) : Region();
}

std::string region::brief(ByteReader& in) {
  const std::size_t size = in.u16();
  const std::string box = textOf(in.rect());
  return size == kLeastSize ? box : box + format(" and %zu words", (size - kLeastSize) / 2);
}

void Polygon::getPoints(std::vector<Point>& points) const {
  points.assign(given.begin(), given.end());
  ByteReader in(bytes);
  while (in.left() >= 4) points.push_back(in.point());
}

Polygon polygon::read(ByteReader& in) {
  Polygon value;
  value.bytes = takeSized(in, value.bounds, 4);
  return value;
}

void polygon::write(ByteWriter& out, const Polygon& value) {
  out.u16(static_cast<int>(kLeastSize + value.bytes.size() + 4 * value.given.size()));
  out.rect(value.bounds);
  out.put(value.bytes);
  for (const Point& p : value.given) out.point(p);
}

void polygon::list(TextWriter& out, const Polygon& value) {
  std::vector<Point> points;
  value.getPoints(points);
  if (value.bounds != boundsOf(points)) {
    out.word("box");
    out.word(textOf(value.bounds));
  }
  out.open();
  for (const Point& p : points) out.word(textOf(p));
  out.close();
}

Polygon polygon::parse(TextReader& in) {
  Polygon value;
  const bool hasBox = in.take("box");
  if (hasBox) value.bounds = in.rect();
  ByteWriter out;
  in.expect('{');
  while (in.at('(')) out.point(in.point());
  in.expect('}');
  if (out.size() > 0xFFFF - kLeastSize) in.failBefore("a polygon has up to 16381 points");
  value.bytes = in.keep(out.bytes());
  if (hasBox) return value;
  std::vector<Point> points;
  value.getPoints(points);
  value.bounds = boundsOf(points);
  return value;
}

std::string polygon::brief(ByteReader& in) {
  const Polygon value = read(in);
  if (!in.good()) return "broken";
  std::vector<Point> points;
  value.getPoints(points);
  std::string text;
  for (const Point& p : points) {
    if (!text.empty()) text += ' ';
    text += textOf(p);
  }
  return text;
}

Bytes colorEntries::read(ByteReader& in) {
  const std::size_t count = in.u16() + std::size_t{1};
  if (count > kMostEntries) in.fail();
  return in.take(kEntryBytes * count);
}

void colorEntries::write(ByteWriter& out, Bytes value) {
  out.u16(static_cast<int>(value.size() / kEntryBytes) - 1);
  out.put(value);
}

void colorEntries::list(TextWriter& out, Bytes value) {
  out.open();
  ByteReader in(value);
  while (in.left() >= kEntryBytes) {
    const int pixel = in.u16();
    out.word(std::to_string(pixel) + " " + textOf(in.color()));
  }
  out.close();
}

Bytes colorEntries::parse(TextReader& in) {
  ByteWriter out;
  in.expect('{');
  while (in.good() && !in.at('}')) {
    out.u16(static_cast<int>(in.integer(0, 0xFFFF)));
    out.color(in.color());
  }
  in.expect('}');
  if (in.good() && (out.size() == 0 || out.size() > kMostEntries * kEntryBytes)) {
    in.failBefore("a colour table has 1 to 256 entries; { 0 #FFFFFF 1 #000000 } would work");
  }
  return in.keep(out.bytes());
}

void rowBytes::list(TextWriter& out, std::uint16_t value) {
  const int kind = value & ~Map::kRowBytesMask;
  if (kind == 0 || kind == Map::kPixMapFlag) out.word(kind == 0 ? "bitMap" : "pixMap");
  out.word(std::to_string(kind == 0 || kind == Map::kPixMapFlag ? value & Map::kRowBytesMask : value));
}

std::uint16_t rowBytes::parse(TextReader& in) {
  const bool isPixMap = in.take("pixMap");
  if (!isPixMap && !in.take("bitMap")) return Integer::parse(in);
  const auto bytes = static_cast<int>(in.integer(0, Map::kRowBytesMask));
  return static_cast<std::uint16_t>(isPixMap ? bytes | Map::kPixMapFlag : bytes);
}

Rows AnyRows::readRows(ByteReader& in, const Map& map, bool isPacked) {
  return in.good() ? takeRows(in, map, isPacked) : Rows{.isPacked = isPacked};
}

void AnyRows::write(ByteWriter& out, const Rows& value) {
  if (value.pixels != nullptr) return packRows(out, *value.pixels);
  out.put(value.bytes);
}

void AnyRows::listRows(TextWriter& out, const Rows& value, const Map& map) {
  out.open();
  eachRow(map, value, [&out](Bytes row) { out.row(hexOf(row)); });
  out.close();
}

Rows AnyRows::parseRows(TextReader& in, const Map& map, bool isPacked) {
  const RowForm form = rowForm(map, isPacked);
  ByteWriter out;
  int rows = 0;
  in.expect('{');
  for (; in.good() && !in.at('}'); ++rows) {
    const bool packs = in.take("pack");
    ByteWriter packed;
    Bytes row = in.bytes();
    if (!form.isPacked || packs) {
      if (in.good() && row.size() != form.bytes) in.failBefore(format("a row of this map has %zu bytes", form.bytes));
    }
    if (form.isPacked && packs) {
      packBits(row, form.unit, packed);
      row = packed.bytes();
    }
    if (form.isPacked) putCount(out, form, row.size());
    out.put(row);
  }
  in.expect('}');
  const int height = Box(map.bounds).height();
  if (in.good() && rows != height)
    in.failBefore(format("there are %d rows; %d would work, as the bounds say", rows, height));
  return {.bytes = in.keep(out.bytes()), .isPacked = isPacked};
}

std::string pixelPattern::brief(ByteReader& in) {
  return u16::read(in) == PixelPatternFields::kColor ? "a colour" : "a tile";
}

std::string head::brief(ByteReader& in) { return format("%zu bytes", in.left()); }

}  // namespace field
}  // namespace qd
