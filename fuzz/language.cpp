// Reads any text as host code, and runs what has no loops, which may go on for ever. The host has no plug-in.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "fuzz/target.h"
#include "platform/frameworks/executable.h"
#include "platform/language/evaluator.h"
#include "platform/language/lexer.h"
#include "platform/language/parser.h"
#include "platform/runtime/declaration.h"

namespace {

// A few lines that double a string ask for all memory, and one can fill as much as there is. Programs have this much,
// and are told so.
constexpr std::size_t kMostMemory = 8 << 20;
std::size_t memory = 0;
std::size_t mostMemory = SIZE_MAX;

void* allocated(std::size_t size) {
  void* const bytes = size <= mostMemory - std::min(memory, mostMemory) ? std::malloc(size) : nullptr;
  if (bytes != nullptr) memory += malloc_usable_size(bytes);
  return bytes;
}
void* allocatedOrThrown(std::size_t size) {
  if (void* const bytes = allocated(size)) return bytes;
  throw std::bad_alloc();
}
void release(void* bytes) {
  if (bytes != nullptr) memory -= malloc_usable_size(bytes);
  std::free(bytes);
}

// The fuzzer's own memory isn't counted.
struct Limited {
  Limited() { mostMemory = memory + kMostMemory; }
  ~Limited() { mostMemory = SIZE_MAX; }
  Limited(const Limited&) = delete;
  Limited& operator=(const Limited&) = delete;
};

bool hasLoop(std::string_view source) {
  const auto tokens = language::tokensOf(source);
  return std::ranges::any_of(tokens, [](const language::Token& token) {
    return runtime::sameName(token.text, "while") || runtime::sameName(token.text, "for");
  });
}

}  // namespace

void* operator new(std::size_t size) { return allocatedOrThrown(size); }
void* operator new[](std::size_t size) { return allocatedOrThrown(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocated(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocated(size); }
void operator delete(void* bytes) noexcept { release(bytes); }
void operator delete[](void* bytes) noexcept { release(bytes); }
void operator delete(void* bytes, std::size_t) noexcept { release(bytes); }
void operator delete[](void* bytes, std::size_t) noexcept { release(bytes); }

// Pixels and blocks of memory come from calloc, which the linker wraps in this.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
  constexpr std::size_t kMost = 1 << 20;
  const bool isLimited = mostMemory != SIZE_MAX;
  return !isLimited || size == 0 || count <= kMost / size ? __real_calloc(count, size) : nullptr;
}

std::variant<std::unique_ptr<Executable>, Refusal> loadExecutable(const std::filesystem::path&) {
  return Refusal{"nothing is loaded here"};
}

void feed(qd::Bytes input) {
  const std::string_view source(reinterpret_cast<const char*>(input.data()), input.size());
  const auto before = runtime::audit();
  {
    const Limited limited;
    runtime::Host host;
    try {
      if (hasLoop(source)) {
        language::parse(source);
      } else {
        language::run(source, host,
                      {[](const std::string&) {}, [](const std::string& name) { return name; },
                       [](const runtime::Value&, const std::string&) {}});
      }
    } catch (const language::Error& error) {
      if (error.place.line < 1 || error.place.column < 1 || std::string_view(error.what()).empty()) std::abort();
    } catch (const std::bad_alloc&) {  // of the program's tree, which whoever runs it tells
    }
    if (runtime::audit() != before) std::abort();
  }
}
