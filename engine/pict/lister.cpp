#include "engine/pict/lister.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "engine/pict/bits.h"

namespace qd {
namespace {

__attribute__((format(printf, 1, 2))) std::string format(const char* pattern, ...) {
  std::array<char, 256> text;
  va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(text.data(), text.size(), pattern, arguments);
  va_end(arguments);
  return text.data();
}

std::string textOf(Bytes bytes) {
  std::string text = "\"";
  for (const std::uint8_t byte : bytes) {
    if (byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\') {
      text += static_cast<char>(byte);
    } else {
      text += format("\\x%02X", byte);
    }
  }
  return text + "\"";
}

std::string boxOf(const Box& box) { return format("(%d, %d, %d, %d)", box.left, box.top, box.right, box.bottom); }

std::string fixedOf(Fixed value) { return format("%g", value / 65536.0); }

std::string regionOf(ByteReader& in) {
  const std::size_t size = in.u16();
  const Box bounds(in.rect());
  if (size == 10) return boxOf(bounds);
  return boxOf(bounds) + format(" and %zu words", (size - 10) / 2);
}

std::string polygonOf(ByteReader& in) {
  std::string text;
  const auto points = readPolygon(in);
  if (!points) return "broken";
  for (const Point& p : *points) text += format("%s(%d, %d)", text.empty() ? "" : " ", p.h, p.v);
  return text;
}

std::string bitsOf(ByteReader& in, std::uint16_t opcode) {
  const auto header = readBitsHeader(in, opcode);
  if (!header) return "broken";
  return format("depth %d, %dx%d, from ", header->depth, header->bounds.width(), header->bounds.height()) +
         boxOf(Box(header->from)) + " to " + boxOf(Box(header->to)) + format(" mode %d", header->mode) +
         (header->mask ? " in " + boxOf(header->mask->bounds()) : "");
}

std::string operandOf(char letter, ByteReader& in, std::uint16_t opcode) {
  switch (letter) {
    case 'b':
      return format("%d", in.s8());
    case 'u':
      return format("%u", in.u8());
    case 's':
      return format("%d", in.s16());
    case 'w':
      return format("%u", in.u16());
    case 'l':
      return format("%d", in.s32());
    case 'F':
      return fixedOf(in.s32());
    case 'p': {
      const Point p = in.point();
      return format("(%d, %d)", p.h, p.v);
    }
    case 'r':
      return boxOf(Box(in.rect()));
    case 'c': {
      const RGBColor color = in.color();
      return format("#%04X%04X%04X", color.red, color.green, color.blue);
    }
    case '8': {
      std::string text;
      for (const std::uint8_t byte : in.take(8)) text += format("%02X", byte);
      return text;
    }
    case 'T':
      return textOf(in.take(in.u8()));
    case 'n':
      return format("%zu bytes", in.take(in.u16()).size());
    case 'N':
      return format("%zu bytes", in.take(in.u32()).size());
    case 'H':
      return format("%zu bytes", in.take(std::size_t{2} * (opcode >> 8)).size());
    case 'g':
      return (opcode & 0xF0) == op::Poly ? polygonOf(in) : regionOf(in);
    case 'X':
      return in.u16() == 2 ? "a colour" : "a tile";
    default:
      return bitsOf(in, opcode);
  }
}

}  // namespace

ListingEnd listOpcodes(Bytes picture, const std::function<void(const Listing&)>& opcode) {
  PictureReader reader(picture);
  if (reader.error()) return {reader.error(), 0};
  Opcode read;
  while (reader.next(read)) {
    Listing listing{read.offset, read.number, opcodeName(read.number), {}};
    ByteReader operands = read.operands;
    for (const char* letter = opcodeRow(read.number).operands; *letter != 0; ++letter) {
      listing.operands.push_back(operandOf(*letter, operands, read.number));
    }
    opcode(listing);
  }
  if (!reader.error()) opcode({read.offset, op::OpEndPic, opcodeName(op::OpEndPic), {}});
  return {reader.error(), reader.left()};
}

bool listPicture(Bytes picture, const std::function<void(const std::string&)>& line) {
  if (const auto header = pictureHeader(picture)) {
    line(format("version %d, frame ", header->version) + boxOf(Box(header->frame)) + ", source " +
         boxOf(header->source) + ", " + fixedOf(header->hRes) + "x" + fixedOf(header->vRes) + " dpi");
  }
  const ListingEnd end = listOpcodes(picture, [&line](const Listing& listing) {
    std::string text = format("%6zu  %04X  ", listing.offset, listing.number) + listing.name;
    for (const std::string& operand : listing.operands) text += " " + operand;
    line(text);
  });
  if (end.error) {
    line(describe(*end.error));
  } else if (end.left != 0) {
    line(format("%zu bytes behind the end", end.left));
  }
  return !end.error;
}

std::optional<PictureHeader> pictureHeader(Bytes picture) {
  PictureReader reader(picture);
  if (reader.error()) return std::nullopt;
  return reader.header();
}

std::string describe(const PictureError& error) {
  return format("at offset %zu, in opcode %04X %s: ", error.offset, error.opcode, opcodeName(error.opcode).c_str()) +
         error.what;
}

}  // namespace qd
