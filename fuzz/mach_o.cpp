// Reads any bytes as a Mach-O bundle, and fixes what they hold up where it would be mapped.
#include "platform/frameworks/mach_o.h"

#include <cstdlib>

#include "fuzz/target.h"

void feed(qd::Bytes input) {
  const auto parsed = mach_o::parse(input);
  if (const auto* refusal = std::get_if<Refusal>(&parsed)) return refusal->why.empty() ? std::abort() : void();
  const auto& image = std::get<mach_o::Image>(parsed);
  if (image.size > 1 << 20) return;  // zeros, which only take time
  std::vector<std::uint8_t> memory(image.size);
  mach_o::fill(image, memory, 0x20000000, [](const std::string& name) { return name == "HLock" ? 0x1234U : 0U; });
  if (image.find("answer").value_or(0) >= image.size) std::abort();
}
