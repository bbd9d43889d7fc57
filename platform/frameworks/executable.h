// What a bundle's executable is once it is loaded, whichever kind of file it was.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

class Executable {
 public:
  Executable() = default;
  Executable(const Executable&) = delete;
  Executable& operator=(const Executable&) = delete;
  virtual ~Executable() = default;  // unloads it

  // The address of what it exports by this name, as C knows it; null if there is none.
  virtual void* find(const std::string& name) const = 0;
};

// Why something can't be loaded, as the end of a sentence: "it ...".
struct Refusal {
  std::string why;
};

// Takes the dynamic loader for an ELF file, and our own one for a Mach-O file.
std::variant<std::unique_ptr<Executable>, Refusal> loadExecutable(const std::filesystem::path& path);
