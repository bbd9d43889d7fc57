// Writes a small picture for each opcode, its text, and a small Mach-O bundle, into a folder, for the fuzzers to begin
// with.
#include <cstdio>
#include <fstream>

#include "engine/pict/assembler.h"
#include "engine/pict/opcodes.h"
#include "tests/mach_o_file.h"

using namespace qd;

namespace {

void write(const std::string& path, Bytes bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main(int, char** arguments) {
  for (std::uint32_t number = 0; number <= 0x8201; ++number) {
    const auto opcode = static_cast<std::uint16_t>(number);
    if (number > 0xFF && number != opcodeRow(opcode).first) continue;
    // Something to act on comes first.
    const std::string text =
        "picture frame (0, 0, 40, 32)\nPaintRect (1, 1, 9, 9)\n" + exampleOf(opcode) + "\nOpEndPic\n";
    const Assembled picture = assemblePicture(text);
    if (picture.error) return std::fprintf(stderr, "%s: %s\n", exampleOf(opcode).c_str(), picture.error->what.c_str());
    ByteWriter out;
    out.u8(static_cast<int>(number % 30));  // which world
    out.put(picture.picture);
    char name[32];
    std::snprintf(name, sizeof name, "/%04X", number);
    write(arguments[1] + std::string(name), out.bytes());
    write(arguments[1] + std::string(name) + ".txt", bytesOf(text));
  }
  MachOFile bundle;
  write(arguments[1] + std::string("/bundle"), bundle.bytes());
  bundle.lazy = MachOFile::text("\x71\x10\x40_HLock\0\x90\0\x71\x14\x40_HLock\0\xC0\x02\x04\0");
  write(arguments[1] + std::string("/lazy-bundle"), bundle.bytes());
}
