// The bundle as a file: what it exports, imports and runs at load.
#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace {

const char* const kExecutable = BUNDLE "/Contents/MacOS/QuickDrawTVK";

class Elf {
 public:
  explicit Elf(const char* path) {
    std::ifstream in(path, std::ios::binary);
    file_.assign(std::istreambuf_iterator<char>(in), {});
  }
  template <class T>
  const T& at(std::size_t offset) const {
    return *reinterpret_cast<const T*>(file_.data() + offset);
  }
  const Elf32_Shdr& section(std::size_t index) const {
    const auto& header = at<Elf32_Ehdr>(0);
    return at<Elf32_Shdr>(header.e_shoff + index * header.e_shentsize);
  }
  std::size_t sections() const { return file_.size() >= sizeof(Elf32_Ehdr) ? at<Elf32_Ehdr>(0).e_shnum : 0; }
  bool hasSection(std::uint32_t type) const {
    for (std::size_t i = 0; i < sections(); ++i) {
      if (section(i).sh_type == type) return true;
    }
    return false;
  }
  struct Symbols {
    std::set<std::string> exported, imported, weak;
  };
  Symbols dynamicSymbols() const {
    Symbols found;
    for (std::size_t i = 0; i < sections(); ++i) {
      const Elf32_Shdr& table = section(i);
      if (table.sh_type != SHT_DYNSYM) continue;
      for (std::size_t j = 1; j < table.sh_size / sizeof(Elf32_Sym); ++j) {
        const auto& symbol = at<Elf32_Sym>(table.sh_offset + j * sizeof(Elf32_Sym));
        const std::string name = &at<char>(section(table.sh_link).sh_offset + symbol.st_name);
        (symbol.st_shndx == SHN_UNDEF ? found.imported : found.exported).insert(name);
        if (ELF32_ST_BIND(symbol.st_info) == STB_WEAK) found.weak.insert(name);
      }
    }
    return found;
  }

 private:
  std::string file_;
};

}  // namespace

TEST(Bundle, ExportsItsEntryPointAndImportsOnlyWhatItMay) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "an instrumented bundle imports the sanitizers' runtime too";
#endif
  const Elf elf(kExecutable);
  const auto [exported, imported, weak] = elf.dynamicSymbols();
  EXPECT_EQ(exported, std::set<std::string>{"REALPluginMain"});

  std::set<std::string> system;
  std::set<std::string> carbon;
#define IMPORT_OBJECT(framework, name, type) system.insert(#name);
#define IMPORT(framework, name, result, arguments) system.insert(#name);
#define WEAK_IMPORT(framework, name, result, arguments) \
  system.insert(#name);                                 \
  carbon.insert(#name);
#include "contract/system.def"
  const std::set<std::string> library = {"calloc", "malloc", "free", "memcpy", "memset", "strlen", "snprintf"};
  for (const std::string& name : imported) {
    EXPECT_TRUE(system.contains(name) || library.contains(name)) << name << " is one too many";
  }
  for (const std::string& name : system) EXPECT_TRUE(imported.contains(name)) << name << " is missing";
  EXPECT_EQ(weak, carbon);
}

TEST(Bundle, RunsNothingWhenItIsLoaded) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "an instrumented bundle registers itself with the sanitizers' runtime";
#endif
  const Elf elf(kExecutable);
  ASSERT_GT(elf.sections(), 0U);
  EXPECT_FALSE(elf.hasSection(SHT_INIT_ARRAY));
  EXPECT_FALSE(elf.hasSection(SHT_FINI_ARRAY));
}
