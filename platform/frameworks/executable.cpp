#include "platform/frameworks/executable.h"

#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "platform/frameworks/mach_o.h"

namespace fs = std::filesystem;

namespace {

class ElfLibrary final : public Executable {
 public:
  explicit ElfLibrary(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
  ~ElfLibrary() override {
    if (isLoaded()) dlclose(handle_);
  }
  bool isLoaded() const { return handle_ != nullptr; }
  void* find(const std::string& name) const override { return dlsym(handle_, name.c_str()); }

 private:
  void* handle_;
};

std::variant<std::unique_ptr<Executable>, Refusal> loadElf(const fs::path& path, const Elf32_Ehdr& header) {
  if (header.e_ident[EI_CLASS] != ELFCLASS32 || header.e_machine != EM_386) {
    return Refusal{"it is an ELF file for another machine; one of 32 bits for i386 would work"};
  }
  if (auto library = std::make_unique<ElfLibrary>(path.c_str()); library->isLoaded()) return library;
  // The loader's message begins with the file that it is about, which is often this one.
  std::string message = dlerror();
  if (message.starts_with(path.string() + ": ")) message.erase(0, path.string().size() + 2);
  return Refusal{"it is an ELF file, which the dynamic loader refuses with \"" + message + "\""};
}

}  // namespace

std::variant<std::unique_ptr<Executable>, Refusal> loadExecutable(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) {
    return Refusal{"it has no executable; a file \"Contents/MacOS/" + path.filename().string() + "\" in it would work"};
  }
  std::ifstream in(path, std::ios::binary);
  std::vector<std::uint8_t> file(sizeof(Elf32_Ehdr));
  in.read(reinterpret_cast<char*>(file.data()), static_cast<std::streamsize>(file.size()));
  if (in.gcount() >= SELFMAG && std::memcmp(file.data(), ELFMAG, SELFMAG) == 0) {
    Elf32_Ehdr header = {};
    std::memcpy(&header, file.data(), sizeof header);
    return loadElf(path, header);
  }
  if (fs::file_size(path, error) > mach_o::kMostBytes) {
    return Refusal{
        "its executable is no ELF library, and too large for a Mach-O bundle; one of at most 16 MiB would work"};
  }
  in.clear();
  in.seekg(0);
  file.assign(std::istreambuf_iterator<char>(in), {});
  return mach_o::load(std::move(file));
}
