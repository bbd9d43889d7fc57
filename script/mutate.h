// What each source of the build for script/mutate includes first. A fault stands behind a switch, as in
// (faults::on(17) ? a <= b : a < b), and the environment says which one is on: MUTATE_FAULT is its number, and
// MUTATE_REACHED a file with a byte for each fault, which is set when its switch is passed. Each image of a process
// reads for itself. The file is mapped, so that nothing is lost however a process ends.
#pragma once
#ifdef __cplusplus
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace faults {

struct Switches {
  int on = 0;
  unsigned char* reached = nullptr;
};

inline Switches fromEnvironment() {
  Switches switches;
  if (const char* number = std::getenv("MUTATE_FAULT")) switches.on = std::atoi(number);
  const char* path = std::getenv("MUTATE_REACHED");
  const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) return switches;
  struct stat status = {};
  if (fstat(file, &status) == 0) {
    void* const bytes =
        mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (bytes != MAP_FAILED) switches.reached = static_cast<unsigned char*>(bytes);
  }
  close(file);
  return switches;
}

inline bool on(int fault) {
  static const Switches switches = fromEnvironment();
  if (switches.reached != nullptr) switches.reached[fault] = 1;
  return fault == switches.on;
}

}  // namespace faults
#endif
