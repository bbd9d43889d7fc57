// Mach-O bundles of 32 bits for i386, as linkers for Mac OS X 10.6 and later make them: read from foreign bytes, and
// mapped where the machine is of 32 bits too.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/frameworks/executable.h"

namespace mach_o {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t kMostBytes = 16 << 20;  // of a file, and of an image in memory
constexpr std::uint32_t kPage = 4096;

// The bits are those that mmap takes.
constexpr std::uint32_t kRead = 1;
constexpr std::uint32_t kWrite = 2;
constexpr std::uint32_t kExecute = 4;

struct Segment {
  std::uint32_t at;    // from the image's beginning
  std::uint32_t size;  // whole pages
  std::uint32_t protection;
  Bytes content;  // zeros follow
};

// A word that takes the address of a name.
struct Binding {
  std::uint32_t at;
  std::uint32_t addend;
  std::string_view name;
  bool isWeak;  // may be missing
};

// What is to be mapped. It refers to the bytes that it was read from; all places are inside the image, and those to be
// fixed up inside the content of writable segments.
struct Image {
  std::uint32_t address = 0;  // that it was linked for
  std::uint32_t size = 0;
  std::vector<Segment> segments;
  std::vector<std::uint32_t> rebases;
  std::vector<Binding> bindings;
  Bytes exports;

  // The place of what is exported by this name, as C knows it.
  std::optional<std::uint32_t> find(std::string_view name) const;
};

std::variant<Image, Refusal> parse(Bytes file);

// Fills memory of the image's size that will be seen at the given address. `addressOf` answers 0 for what is missing;
// the first missing name that isn't weak comes back.
using AddressOf = std::function<std::uint32_t(const std::string& name)>;
std::optional<std::string> fill(const Image& image, std::span<std::uint8_t> memory, std::uint32_t address,
                                const AddressOf& addressOf);

#if UINTPTR_MAX == UINT32_MAX
// Maps it, with the names that it imports bound to what the process has by them.
std::variant<std::unique_ptr<Executable>, Refusal> load(std::vector<std::uint8_t> file);
#endif

}  // namespace mach_o
