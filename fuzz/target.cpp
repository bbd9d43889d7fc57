// Feeds a target its inputs, and holds it to a time that goes by their bytes: a few that cost seconds are how a viewer
// is stopped, and the fuzzer itself looks only for what hangs.
#include "fuzz/target.h"

#include <cstdio>
#include <ctime>

namespace {

// Generous for a slow machine and the sanitizers, which make drawing some ten times slower: every two bytes may be an
// opcode that fills a canvas, and a byte of a compressed image may stand for a thousand pixels.
constexpr double kMostSeconds = 0.5;
constexpr double kMostSecondsPerByte = 0.0005;

// Of this process alone: others may be busy.
double now() {
  timespec time = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double secondsFor(qd::Bytes input) {
  const double begin = now();
  feed(input);
  return now() - begin;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const qd::Bytes input(data, size);
  const double most = kMostSeconds + kMostSecondsPerByte * static_cast<double>(size);
  // Once more: what is made once, such as tables and characters, is there then.
  if (secondsFor(input) <= most || secondsFor(input) <= most) return 0;
  std::fprintf(stderr, "it takes more than %.1f s for %zu bytes\n", most, size);
  std::abort();
}
