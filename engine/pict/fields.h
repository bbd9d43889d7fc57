// The types of an opcode's fields. Each says what its value is in memory, how it lies in a picture, how it stands in a
// text, and gives an example, which tells people what would work and makes the fuzzers' seeds.
//
// A struct of fields has describe(self, visitor), which calls the visitor with each of them in turn: its type, its
// value, its name, and the struct. A field may go by those before it.
#pragma once

#include <array>
#include <limits>

#include "engine/geometry/region.h"
#include "engine/pict/notation.h"
#include "engine/pixels/pixels.h"

namespace qd {

// What a field's size is if it isn't always the same: so little that a sum with others is below zero.
inline constexpr int kVaries = -10000;

struct FieldReader {
  ByteReader& in;

  template <class Type, class Value, class Self>
  void operator()(Type, Value& value, const char*, const Self& self) {
    if constexpr (requires { Type::read(in, self); }) {
      value = Type::read(in, self);
    } else {
      value = Type::read(in);
    }
  }
  void check(bool isSane, const char*) {
    if (!isSane) in.fail();
  }
};

// Goes past the fields by their lengths, without a look at what needs none.
struct FieldSkipper : FieldReader {
  template <class Type, class Value, class Self>
  void operator()(Type type, Value& value, const char* name, const Self& self) {
    if constexpr (requires { Type::skip(in); }) {
      Type::skip(in);
    } else {
      FieldReader::operator()(type, value, name, self);
    }
  }
};

struct FieldWriter {
  ByteWriter& out;

  template <class Type, class Value, class Self>
  void operator()(Type, const Value& value, const char*, const Self&) {
    Type::write(out, value);
  }
  void check(bool, const char*) {}
};

struct FieldLister {
  TextWriter& out;
  bool isNamed;

  template <class Type, class Value, class Self>
  void operator()(Type, const Value& value, const char* name, const Self& self) {
    if (isNamed) out.word(name);
    if constexpr (requires { Type::list(out, value, self); }) {
      Type::list(out, value, self);
    } else {
      Type::list(out, value);
    }
  }
  void check(bool, const char*) {}
};

// In a group between braces each field has its name in front, and may be left out. Elsewhere all are there, and their
// names may be left out.
struct FieldParser {
  TextReader& in;
  bool isGroup;
  std::string names = {};

  template <class Type, class Value, class Self>
  void operator()(Type, Value& value, const char* name, const Self& self) {
    names += (names.empty() ? "" : ", ") + std::string(name);
    if (!in.take(name) && isGroup) return;
    if constexpr (requires { Type::parse(in, self); }) {
      value = Type::parse(in, self);
    } else {
      value = Type::parse(in);
    }
  }
  void check(bool isSane, const char* what) {
    if (!isSane && in.good()) in.failBefore(what);
  }
};

namespace field {

template <class T>
struct Integer {
  using Value = T;
  static constexpr int kSize = sizeof(T);
  static constexpr const char* kExample = "5";
  static T read(ByteReader& in) {
    if constexpr (sizeof(T) == 1) return static_cast<T>(in.u8());
    if constexpr (sizeof(T) == 2) return static_cast<T>(in.u16());
    if constexpr (sizeof(T) == 4) return static_cast<T>(in.u32());
  }
  static void write(ByteWriter& out, T value) {
    if constexpr (sizeof(T) == 1) out.u8(value);
    if constexpr (sizeof(T) == 2) out.u16(value);
    if constexpr (sizeof(T) == 4) out.u32(static_cast<std::uint32_t>(value));
  }
  static void list(TextWriter& out, T value) { out.word(std::to_string(value)); }
  static T parse(TextReader& in) {
    return static_cast<T>(in.integer(std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
  }
};
using u8 = Integer<std::uint8_t>;
using s8 = Integer<std::int8_t>;
using u16 = Integer<std::uint16_t>;
using s16 = Integer<std::int16_t>;
using u32 = Integer<std::uint32_t>;
using s32 = Integer<std::int32_t>;

struct fixed {
  using Value = Fixed;
  static constexpr int kSize = 4;
  static constexpr const char* kExample = "1.5";
  static Fixed read(ByteReader& in) { return in.s32(); }
  static void write(ByteWriter& out, Fixed value) { out.u32(static_cast<std::uint32_t>(value)); }
  static void list(TextWriter& out, Fixed value) { out.word(fixedText(value)); }
  static Fixed parse(TextReader& in) { return in.fixed(); }
  static std::string brief(ByteReader& in) { return format("%g", in.s32() / 65536.0); }
};

struct point {
  using Value = Point;
  static constexpr int kSize = 4;
  static constexpr const char* kExample = "(6, 5)";
  static Point read(ByteReader& in) { return in.point(); }
  static void write(ByteWriter& out, Point value) { out.point(value); }
  static void list(TextWriter& out, Point value) { out.word(textOf(value)); }
  static Point parse(TextReader& in) { return in.point(); }
};

struct rect {
  using Value = Rect;
  static constexpr int kSize = 8;
  static constexpr const char* kExample = "(4, 3, 30, 25)";
  static Rect read(ByteReader& in) { return in.rect(); }
  static void write(ByteWriter& out, const Rect& value) { out.rect(value); }
  static void list(TextWriter& out, const Rect& value) { out.word(textOf(value)); }
  static Rect parse(TextReader& in) { return in.rect(); }
};

struct rgb {
  using Value = RGBColor;
  static constexpr int kSize = 6;
  static constexpr const char* kExample = "#FF8000";
  static RGBColor read(ByteReader& in) { return in.color(); }
  static void write(ByteWriter& out, const RGBColor& value) { out.color(value); }
  static void list(TextWriter& out, const RGBColor& value) { out.word(textOf(value)); }
  static RGBColor parse(TextReader& in) { return in.color(); }
};

struct pattern {
  using Value = std::array<std::uint8_t, 8>;
  static constexpr int kSize = 8;
  static constexpr const char* kExample = "AA55AA55F00F1234";
  static Value read(ByteReader& in);
  static void write(ByteWriter& out, const Value& value) { out.put(value); }
  static void list(TextWriter& out, const Value& value) { out.word(hexOf(value)); }
  static Value parse(TextReader& in);
};

// Bytes stay where they were read.
struct BytesField {
  using Value = Bytes;
  static constexpr int kSize = kVaries;
  static void list(TextWriter& out, Bytes value) { out.bytes(value); }
};

// A byte that counts, and as many characters in MacRoman.
struct text : BytesField {
  static constexpr const char* kExample = "\"abc\"";
  static Bytes read(ByteReader& in) { return in.take(in.u8()); }
  static void write(ByteWriter& out, Bytes value);
  static void list(TextWriter& out, Bytes value) { out.word(quoted(value)); }
  static Bytes parse(TextReader& in);
};

// A count, and as many bytes.
template <class Count>
struct Data : BytesField {
  static constexpr const char* kExample = "010203";
  static Bytes read(ByteReader& in) { return in.take(Count::read(in)); }
  static void write(ByteWriter& out, Bytes value) {
    Count::write(out, static_cast<typename Count::Value>(value.size()));
    out.put(value);
  }
  static Bytes parse(TextReader& in) {
    const Bytes bytes = in.bytes();
    if (bytes.size() > std::numeric_limits<typename Count::Value>::max())
      in.failBefore("that is too long for its count");
    return bytes;
  }
  static std::string brief(ByteReader& in) { return format("%zu bytes", read(in).size()); }
};
using data16 = Data<u16>;
using data32 = Data<u32>;

// Twice as many bytes as the number's high byte says.
struct byNumber : BytesField {
  template <class Self>
  static std::string example(const Self& self) {
    return std::string(2 * sizeOf(self.number), '0');
  }
  template <class Self>
  static Bytes read(ByteReader& in, const Self& self) {
    return in.take(sizeOf(self.number));
  }
  static void write(ByteWriter& out, Bytes value) { out.put(value); }
  template <class Self>
  static Bytes parse(TextReader& in, const Self& self) {
    const Bytes bytes = in.bytes();
    if (bytes.size() != sizeOf(self.number))
      in.failBefore(format("an opcode of that number has %zu bytes", sizeOf(self.number)));
    return bytes;
  }
  template <class Self>
  static std::string brief(ByteReader& in, const Self& self) {
    return format("%zu bytes", read(in, self).size());
  }

 private:
  static std::size_t sizeOf(std::uint16_t number) { return std::size_t{2} * (number >> 8); }
};

struct region {
  using Value = Region;
  static constexpr int kSize = kVaries;
  static constexpr const char* kExample = "(2, 2, 30, 20) { 2: 2 30 9: 10 30 20: 2 10 }";
  static Region read(ByteReader& in);
  static void skip(ByteReader& in);
  static void write(ByteWriter& out, const Region& value);
  static void list(TextWriter& out, const Region& value);
  static Region parse(TextReader& in);
  static std::string brief(ByteReader& in);
};
// That of bits is looked into already when it is passed over.
struct mask : region {
  static void skip(ByteReader&) = delete;
};

// Bytes of a picture, or points that are written.
struct Polygon {
  Rect bounds = {};
  Bytes bytes = {};
  std::span<const Point> given = {};

  void getPoints(std::vector<Point>& points) const;
};
struct polygon {
  using Value = Polygon;
  static constexpr int kSize = kVaries;
  static constexpr const char* kExample = "{ (2, 2) (30, 20) (3, 15) }";
  static Polygon read(ByteReader& in);
  static void skip(ByteReader& in) { region::skip(in); }
  static void write(ByteWriter& out, const Polygon& value);
  static void list(TextWriter& out, const Polygon& value);
  static Polygon parse(TextReader& in);
  static std::string brief(ByteReader& in);
};

// Fields of its own. In a text they are a group.
template <class T>
struct Nested {
  using Value = T;
  static constexpr int kSize = kVaries;
  static T read(ByteReader& in) {
    T value;
    FieldReader reader{in};
    T::describe(value, reader);
    return value;
  }
  static void write(ByteWriter& out, const T& value) {
    FieldWriter writer{out};
    T::describe(value, writer);
  }
  static void list(TextWriter& out, const T& value) {
    FieldLister lister{out, true};
    out.open();
    T::describe(value, lister);
    out.close();
  }
  static T parse(TextReader& in) {
    T value;
    parseInto(in, value);
    return value;
  }
  static void parseInto(TextReader& in, T& value) {
    in.expect('{');
    FieldParser parser{in, true};
    T::describe(value, parser);
    if (!in.at('}'))
      in.fail("is too much, or out of its turn; of " + parser.names + ", each with its value, would work");
    in.take('}');
  }
};

// The entries of a colour table: each the pixel that it is for, and a colour.
struct colorEntries : BytesField {
  static Bytes read(ByteReader& in);
  static void write(ByteWriter& out, Bytes value);
  static void list(TextWriter& out, Bytes value);
  static Bytes parse(TextReader& in);
};

// The bytes in a row, and whether more of a pixel map follows.
struct rowBytes : Integer<std::uint16_t> {
  static void list(TextWriter& out, std::uint16_t value);
  static std::uint16_t parse(TextReader& in);
};

}  // namespace field

#define FIELD(type, name) field::type::Value name = {};
#define RECORD(Name, ...)                             \
  struct Name {                                       \
    __VA_ARGS__                                       \
    template <class Self, class Visitor>              \
    static void describe(Self& self, Visitor& visit); \
  };
#include "engine/pict/opcodes.def"
#define FIELD(type, name) visit(field::type(), self.name, #name, self);
#define RECORD(Name, ...)                           \
  template <class Self, class Visitor>              \
  void Name::describe(Self& self, Visitor& visit) { \
    __VA_ARGS__                                     \
  }
#include "engine/pict/opcodes.def"

// A bit map or a pixel map, without its pixels.
struct Map {
  static constexpr int kPixMapFlag = 0x8000;
  static constexpr int kRowBytesMask = 0x3FFF;
  static constexpr int kRawBelow = 8;  // rows of fewer bytes are not packed
  enum PackType { kRaw = 1, kTriplets = 2, kWords = 3, kPlanes = 4 };

  bool isDirect = false;  // it belongs to an opcode for direct pixels
  std::uint16_t rowBytes = 0;
  Rect bounds = {};
  PixMap pixels = {};
  Colors colors = {};

  bool isPixMap() const { return (rowBytes & kPixMapFlag) != 0 || isDirect; }
  bool isDeep() const { return isDirect || (isPixMap() && pixels.pixelSize > 8); }
  int depth() const { return isPixMap() ? pixels.pixelSize : 1; }
  int bytesInRow() const { return rowBytes & kRowBytesMask; }
  int neededBytes() const;  // by the pixels of a row
  bool isShort() const { return bytesInRow() < neededBytes(); }
  bool isSane() const;

  template <class Self, class Visitor>
  static void describe(Self& self, Visitor& visit) {
    visit(field::rowBytes(), self.rowBytes, "rowBytes", self);
    visit(field::rect(), self.bounds, "bounds", self);
    if (self.isPixMap()) PixMap::describe(self.pixels, visit);
    if (self.isPixMap() && !self.isDeep()) visit(field::Nested<Colors>(), self.colors, "colors", self);
    visit.check(self.isSane(), "there are no such pixels: their depth, their bounds or rowBytes can't be");
  }
};

// The rows of a map's pixels: bytes of a picture, or pixels that are packed when they are written.
struct Rows {
  Bytes bytes = {};
  bool isPacked = false;
  bool hasWrongCounts = false;  // of one byte where a word is due
  const PixelMap* pixels = nullptr;
};

namespace field {

struct map : Nested<Map> {
  static constexpr const char* kExample = "{ rowBytes bitMap 4 bounds (0, 0, 2, 1) }";
};
struct directMap : Nested<Map> {
  static constexpr const char* kExample =
      "{ rowBytes pixMap 4 bounds (0, 0, 2, 1) packType 1 pixelSize 16 cmpCount 3 }";
  static Map read(ByteReader& in) {
    Map value{.isDirect = true};
    FieldReader reader{in};
    Map::describe(value, reader);
    return value;
  }
  static Map parse(TextReader& in) {
    Map value{.isDirect = true};
    parseInto(in, value);
    return value;
  }
};

struct AnyRows {
  using Value = Rows;
  static constexpr int kSize = kVaries;
  static constexpr const char* kExample = "{ 7C00001F }";
  static void write(ByteWriter& out, const Rows& value);

 protected:
  static Rows readRows(ByteReader& in, const Map& map, bool isPacked);
  static void listRows(TextWriter& out, const Rows& value, const Map& map);
  static Rows parseRows(TextReader& in, const Map& map, bool isPacked);
};
template <bool IsPacked>
struct RowsOf : AnyRows {
  template <class Self>
  static Rows read(ByteReader& in, const Self& self) {
    return readRows(in, self.map, IsPacked);
  }
  template <class Self>
  static void list(TextWriter& out, const Rows& value, const Self& self) {
    listRows(out, value, self.map);
  }
  template <class Self>
  static Rows parse(TextReader& in, const Self& self) {
    return parseRows(in, self.map, IsPacked);
  }
};
using rows = RowsOf<false>;
using packedRows = RowsOf<true>;

}  // namespace field

// A colour, or a tile with colours; in the place of either a pattern of bits.
struct PixelPatternFields {
  static constexpr int kTile = 1, kColor = 2;

  std::uint16_t type = 0;
  std::array<std::uint8_t, 8> bits = {};
  RGBColor color = {};
  Map map = {};
  Rows rows = {};

  template <class Self, class Visitor>
  static void describe(Self& self, Visitor& visit) {
    visit(field::u16(), self.type, "type", self);
    visit(field::pattern(), self.bits, "bits", self);
    visit.check(self.type == kTile || self.type == kColor, "there is no such type; type 1, or 2, would work");
    if (self.type == kColor) return visit(field::rgb(), self.color, "color", self);
    visit(field::map(), self.map, "map", self);
    visit(field::packedRows(), self.rows, "rows", self);
  }
};

// What the head of version 2 says beyond the frame, in its forms: version -2, -1 with the frame in Fixed, and others.
struct Head {
  std::int16_t version = 0;
  std::uint16_t reserved = 0;
  Fixed hRes = 0, vRes = 0;
  Rect source = {};
  Fixed left = 0, top = 0, right = 0, bottom = 0;
  std::uint32_t reserved2 = 0;

  template <class Self, class Visitor>
  static void describe(Self& self, Visitor& visit) {
    visit(field::s16(), self.version, "version", self);
    visit(field::u16(), self.reserved, "reserved", self);
    if (self.version == -2) {
      visit(field::fixed(), self.hRes, "hRes", self);
      visit(field::fixed(), self.vRes, "vRes", self);
      visit(field::rect(), self.source, "source", self);
    } else {
      visit(field::fixed(), self.left, "left", self);
      visit(field::fixed(), self.top, "top", self);
      visit(field::fixed(), self.right, "right", self);
      visit(field::fixed(), self.bottom, "bottom", self);
    }
    visit(field::u32(), self.reserved2, "reserved2", self);
  }
};

namespace field {

struct pixelPattern : Nested<PixelPatternFields> {
  static constexpr const char* kExample = "{ type 2 color #FF8000 }";
  static std::string brief(ByteReader& in);
};
struct head : Nested<Head> {
  static constexpr int kSize = 24;
  static constexpr const char* kExample = "{ version -2 hRes 72 vRes 72 source (0, 0, 40, 32) }";
  static std::string brief(ByteReader& in);
};

}  // namespace field
}  // namespace qd
