// Bytes in and out: the pixels of a picture, and the PICT of a recorder as a string and as a block, against copying
// that many bytes once. Where the host gets or gives a new object, the other side allocates one too.
#include <cmath>
#include <cstring>

#include "bench/bench.h"
#include "bench/hosted.h"

using bench::Hosted;
using runtime::Object;
using runtime::String;

namespace {

std::string anyBytes(std::size_t size) {
  bench::Random random;
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random(256));
  return bytes;
}

std::string contentOf(const void* object) {
  const auto* block = runtime::as<runtime::MemoryBlock>(object);
  if (block != nullptr) return {block->bytes.begin(), block->bytes.end()};
  if (runtime::Host::running()->heap().isString(object))
    return std::string(runtime::bytesOf(static_cast<const REALstringStruct*>(object)));
  return "(neither a block nor a string)";
}

// A property's getter, with what it gives released again, and its setter.
template <class Reference, class Struct>
void measure(bench::Table& table, const Hosted& hosted, const std::string& what, const Object& of,
             const char* className, const char* property, const Reference& value, bool setterMakesObject) {
  const auto& method = hosted.method(className, property);
  const auto get = reinterpret_cast<Struct* (*)(REALobjectStruct*)>(method.handler);
  const auto set = reinterpret_cast<void (*)(REALobjectStruct*, Struct*)>(method.setter);
  auto* const object = of.get();
  auto* const given = reinterpret_cast<Struct*>(value.get());
  const auto getOnce = [=] { return Reference(reinterpret_cast<decltype(value.get())>(get(object))); };

  const std::string bytes = contentOf(value.get());
  set(object, given);
  if (contentOf(getOnce().get()) != bytes) bench::fail(what + ": other bytes come back than were set.");

  const std::size_t size = bytes.size();
  std::string target(size, '\0');
  const auto copyToNew = [&bytes, size] {
    void* const made = std::malloc(size);
    std::memcpy(made, bytes.data(), size);
    bench::keep(made);
    std::free(made);
  };
  const auto copy = [&] {
    std::memcpy(target.data(), bytes.data(), size);
    bench::keep(target);
  };
  const std::string by = ", " + bench::format("%g KiB", static_cast<double>(size) / 1024);
  // So few bytes only show what a call costs whatever its size.
  const auto aim = size >= 4096 ? std::optional(bench::atLeast(0.9)) : std::nullopt;
  race(table, what + " got" + by, {{"ours", [&] { bench::keep(getOnce()); }}, {"memcpy to a new block", copyToNew}},
       aim);
  const bench::Side other =
      setterMakesObject ? bench::Side{"memcpy to a new block", copyToNew} : bench::Side{"memcpy", copy};
  race(table, what + " set" + by, {{"ours", [=] { set(object, given); }}, other}, aim);
}

}  // namespace

int main() {
  const Hosted hosted;
  bench::Table table("Bytes",
                     "Bytes got from the plug-in and given to it, at 32 bits, against one memcpy of that size; where "
                     "the host takes or gives a new object, into a block that is allocated for it and freed. The "
                     "strings and blocks are those of the platform's host.",
                     "other / ours");
  for (const std::size_t size : {std::size_t{64}, std::size_t{4} << 10, std::size_t{1} << 20, std::size_t{64} << 20}) {
    const std::string bytes = anyBytes(size);
    const int side = static_cast<int>(std::lround(std::sqrt(static_cast<double>(size) / 4)));
    {
      const Object picture = hosted.host().newPicture(side, side);
      measure<Object, REALmemoryBlockStruct>(table, hosted, "pixels", picture, "Picture", "GWorldPixelDataTVK",
                                             hosted.host().block(bytes), false);
    }
    const Object recorder = hosted.host().make("MacPictTVK");
    measure<String, REALstringStruct>(table, hosted, "PICT as a string", recorder, "MacPictTVK", "PicHandleData",
                                      hosted.host().string(bytes, kTextEncodingUnknown), true);
    measure<Object, REALmemoryBlockStruct>(table, hosted, "PICT as a block", recorder, "MacPictTVK",
                                           "PicHandleDataMemory", hosted.host().block(bytes), true);
  }
}
