// Writes a small picture for each opcode, and a small Mach-O bundle, into a folder, for the fuzzers to begin with.
#include <cstdio>
#include <fstream>

#include "engine/pict/bytes.h"
#include "engine/pict/opcodes.h"
#include "tests/mach_o_file.h"

using namespace qd;

namespace {

void operand(ByteWriter& out, char letter, int number) {
  const auto words = [&out](std::initializer_list<int> values) {
    for (const int value : values) out.u16(value);
  };
  const bool isPolygon = (number & 0xF0) == op::Poly;
  switch (letter) {
    case 'b':
    case 'u':
      out.u8(5);
      break;
    case 's':
    case 'w':
      out.u16(7);
      break;
    case 'l':
    case 'F':
      words({2, 0});
      break;
    case 'p':
      words({5, 6});
      break;
    case 'r':
      words({3, 4, 25, 30});
      break;
    case 'c':
      words({0xFFFF, 0x8000, 0});
      break;
    case '8':
      words({0xAA55, 0xAA55, 0xF00F, 0x1234});
      break;
    case 'T':
      out.u8(3);
      out.u8('a');
      out.u8('b');
      out.u8('c');
      break;
    case 'n':
      words({5, 3});
      out.u8(1);
      out.u8('x');
      out.u8(0);
      break;
    case 'N':
      words({0, 2, 0});
      break;
    case 'H':
      for (int i = 0; i < (number >> 8 & 15); ++i) out.u16(0);
      break;
    case 'g':
      if (isPolygon)
        words({22, 2, 2, 20, 30, 2, 2, 20, 30, 15, 3});
      else
        words({36, 2, 2, 20, 30, 2, 2, 30, 0x7FFF, 9, 10, 30, 0x7FFF, 20, 2, 10, 0x7FFF, 0x7FFF});
      break;
    case 'X':
      words({2, 0, 0, 0, 0, 1, 2, 3});
      break;
    default: {  // bits
      const bool isDirect = number == op::DirectBitsRect || number == op::DirectBitsRgn;
      if (isDirect) words({0, 0xFF});
      words({isDirect ? 0x8004 : 2, 0, 0, 1, 2});
      if (isDirect) words({0, 1, 0, 0, 72, 0, 72, 0, 16, 16, 3, 5, 0, 0, 0, 0, 0, 0});
      words({0, 0, 1, 2, 1, 1, 20, 30, 0});
      if (number % 2 != 0) words({10, 0, 0, 9, 9});
      out.u16(0x7C00);
      if (isDirect) out.u16(0x1F);
    }
  }
}

void write(const std::string& path, Bytes bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main(int, char** arguments) {
  for (std::uint32_t number = 0; number <= 0x8201; ++number) {
    const auto opcode = static_cast<std::uint16_t>(number);
    const OpcodeRow& row = opcodeRow(opcode);
    if (number > 0xFF && number != row.first) continue;
    ByteWriter out;
    out.u8(static_cast<int>(number % 30));  // which world
    out.u16(0);
    out.rect({0, 0, 32, 40});
    out.u32(0x001102FF);
    // Something to act on comes first.
    out.u16(op::Rect + 1);
    out.rect({1, 1, 9, 9});
    out.u16(opcode);
    for (const char* letter = row.operands; *letter != 0; ++letter) operand(out, *letter, opcode);
    if (out.size() % 2 == 0) out.u8(0);  // with the byte in front the opcodes are at odd places
    out.u16(op::OpEndPic);
    char name[32];
    std::snprintf(name, sizeof name, "/%04X", number);
    write(arguments[1] + std::string(name), out.bytes());
  }
  MachOFile bundle;
  write(arguments[1] + std::string("/bundle"), bundle.bytes());
  bundle.lazy = MachOFile::text("\x71\x10\x40_HLock\0\x90\0\x71\x14\x40_HLock\0\xC0\x02\x04\0");
  write(arguments[1] + std::string("/lazy-bundle"), bundle.bytes());
}
