// Mach-O bundles: one that is loaded, and all that isn't one.
#include "platform/frameworks/mach_o.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "tests/fixture.h"
#include "tests/mach_o_file.h"

namespace fs = std::filesystem;

namespace {

using Words = std::uint32_t[8];

std::uint32_t wordOf(const void* pointer) { return reinterpret_cast<std::uint32_t>(pointer); }

// What /proc says of the memory at this address; nothing if none is mapped there.
std::string protectionAt(const void* pointer) {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    unsigned long from = 0;
    unsigned long to = 0;
    char protection[5] = {};
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &from, &to, protection) != 3) continue;
    if (wordOf(pointer) >= from && wordOf(pointer) < to) return protection;
  }
  return "";
}

std::string refusalOf(std::vector<std::uint8_t> bytes) {
  const auto loaded = mach_o::load(std::move(bytes));
  const auto* refusal = std::get_if<Refusal>(&loaded);
  return refusal != nullptr ? refusal->why : "none";
}

}  // namespace

TEST(MachO, IsMappedFixedUpCalledAndUnloaded) {
  MachOFile file;
  file.lazy = MachOFile::text("\x71\x10\x40_HUnlock\0\x90\0\x40_HLock\0\x90\0");
  auto loaded = mach_o::load(file.bytes());
  ASSERT_EQ(loaded.index(), 0U) << std::get<Refusal>(loaded).why;
  auto& library = std::get<0>(loaded);
  void* const answer = library->find("answer");
  const void* const data = library->find("words");
  ASSERT_NE(answer, nullptr);
  ASSERT_NE(data, nullptr);
  for (const char* name : {"", "answe", "answers", "_answer"}) EXPECT_EQ(library->find(name), nullptr) << name;

  EXPECT_EQ(reinterpret_cast<int (*)()>(answer)(), 42);
  const auto& words = *static_cast<const Words*>(data);
  const std::uint32_t lock = wordOf(dlsym(RTLD_DEFAULT, "HLock"));
  EXPECT_EQ(words[0], wordOf(answer));
  EXPECT_EQ(words[1], lock);
  EXPECT_EQ(words[2], lock + 5);
  EXPECT_EQ(words[3], 0U);
  EXPECT_EQ(words[4], wordOf(dlsym(RTLD_DEFAULT, "HUnlock")));
  EXPECT_EQ(words[5], lock);
  EXPECT_EQ(protectionAt(answer), "r-xp");
  EXPECT_EQ(protectionAt(data), "rw-p");
  library.reset();
  EXPECT_EQ(protectionAt(answer), "");
}

TEST(MachO, IsRefusedWithASentence) {
  using File = MachOFile;
  const struct {
    void (*spoil)(File&);
    const char* says;
  } faults[] = {
      {[](File& f) { f.magic = 0x464C4558; }, "neither an ELF library nor a Mach-O bundle"},
      {[](File& f) { f.magic = 0xFEEDFACF; }, "of 64 bits; a bundle of 32 bits for i386"},
      {[](File& f) { f.magic = 0xBEBAFECA; }, "for several machines"},
      {[](File& f) { f.cpu = 18; }, "for another machine"},
      {[](File& f) { f.kind = 6; }, "of kind 6; a bundle, kind 8,"},
      {[](File& f) { f.lastCommand = 0x80000034; }, "the load command 52"},
      {[](File& f) { f.textSection = 0x9; }, "code to run at load"},
      {[](File& f) { f.textSection = 0xA; }, "code to run at load"},
      {[](File& f) { f.textSection = 0x11; }, "code to run at load"},
      {[](File& f) { f.textSection = 0x16; }, "code to run at load"},
      {[](File& f) { f.relocations = 1; }, "relocations of its own"},
      {[](File& f) { f.textProtection = 7; }, "code that can be written to"},
      {[](File& f) { f.dataAddress = File::kAddress; }, "segments overlap"},
      {[](File& f) { f.dataSize = 8 * File::kPage; }, "segments overlap"},
      {[](File& f) { f.dataAddress += 4; }, "place or size"},
      {[](File& f) { f.dataSize = 8; }, "place or size"},
      {[](File& f) { f.dataAddress = 0x80000000; }, "more than 16 MiB"},
      {[](File& f) { f.dataAddress = 0; }, "begins with its header"},
      {[](File& f) { f.rebase[1] = '\x20'; }, "code is fixed up at load"},
      {[](File& f) { f.rebase[0] = '\x13'; }, "code is fixed up at load"},
      {[](File& f) { f.rebase[1] = '\x22'; }, "outside its data"},
      {[](File& f) { f.rebase[1] = '\x29'; }, "outside its data"},
      {[](File& f) { f.rebase[2] = '\x1D'; }, "outside its data"},
      {[](File& f) { f.dataProtection = 1; }, "outside its data"},
      // Again and again the same word: each time is followed by a step back.
      {[](File& f) { f.rebase = File::text("\x11\x21\0\x80\xFF\xFF\xFF\xFF\x0F\xFC\xFF\xFF\xFF\x0F"); },
       "more words than it has"},
      {[](File& f) { f.rebase = std::string(11, '\xFF').insert(0, "\x11\x21"); }, "more than 64 bits"},
      {[](File& f) { f.bind[0] = '\xD1'; }, "the opcode 209"},
      {[](File& f) { f.bind[2] = 'H'; }, "imports \"HHLock\", which has no \"_\""},
      {[](File& f) { f.bind[16] = '\x40'; }, "imports \"NoSuchThing\", which neither"},
  };
  for (const auto& [spoil, says] : faults) {
    File file;
    spoil(file);
    const std::string why = refusalOf(file.bytes());
    EXPECT_NE(why.find(says), std::string::npos) << "not \"" << says << "\", but: " << why;
  }
  std::vector<std::uint8_t> bytes = File().bytes();
  while (!bytes.empty()) {
    bytes.pop_back();
    EXPECT_NE(refusalOf(bytes), "none") << bytes.size() << " bytes";
  }
}

TEST(MachO, BrokenNamesAreNoExports) {
  for (const std::string& tree :
       {MachOFile::text("\0\x01\0\0"), MachOFile::text("\0\x01_\0\0"), MachOFile::text("\0\x01_answer\0\x7F"),
        MachOFile::text("\0\x01_answer\0\x0B\x02\x08\0"), MachOFile::text("\0\x01_answer\0\x0B\x04\0\x80\x80\x04\0"),
        std::string()}) {
    MachOFile file;
    file.exports = tree;
    const auto loaded = mach_o::load(file.bytes());
    ASSERT_EQ(loaded.index(), 0U);
    EXPECT_EQ(std::get<0>(loaded)->find("answer"), nullptr);
  }
}

// The plug-in of a host.
TEST_F(PluginTest, MayBeAMachOBundle) {
  Host& h = start();
  const fs::path folder = fs::temp_directory_path() / ("mach-o-test-" + std::to_string(getpid()) + ".bundle");
  fs::create_directories(folder / "Contents/MacOS");
  const auto load = [&](const MachOFile& file) -> std::string {
    const auto bytes = file.bytes();
    std::ofstream(folder / "Contents/MacOS" / folder.stem(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    try {
      h.load(folder);
    } catch (const runtime::Error& error) {
      return error.what();
    }
    return "loaded";
  };
  MachOFile file;
  EXPECT_EQ(load(file), "The plug-in \"" + folder.string() + "\" has no REALPluginMain.");
  file.exports = MachOFile::names("REALPluginMain");
  EXPECT_EQ(load(file), "loaded");
  file.bind[16] = '\x40';
  EXPECT_EQ(load(file), "The plug-in \"" + folder.string() +
                            "\" can't be loaded: it imports \"NoSuchThing\", which neither the platform nor the C "
                            "library has.");
  fs::remove_all(folder);
}
