// What the program finds beside itself: its fonts, and the program that runs host code.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "macpict/commands.h"
#include "tools/failure.h"

namespace fs = std::filesystem;

namespace {

fs::path ownFolder() { return fs::read_symlink("/proc/self/exe").parent_path(); }

// What this process may have of the machine's memory, in bytes.
double memoryThere() {
  const double free = double(sysconf(_SC_AVPHYS_PAGES)) * double(sysconf(_SC_PAGESIZE));
  rlimit limit = {};
  const bool isLimited = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return isLimited ? std::min(free, double(limit.rlim_cur)) : free;
}

}  // namespace

qd::System& fonts() {
  const char* const named = std::getenv("MACPICT_FONTS");
  thread_local qd::System system(named != nullptr ? fs::path(named) : ownFolder() / "../share/qdraw/fonts");
  return system;
}

Status startHostcode(char** arguments) {
  // Beside it in the build tree, and where the package puts it.
  for (const char* place : {"hostcode", "../lib/macpict-host/bin/hostcode"}) {
    const fs::path program = ownFolder() / place;
    if (!fs::exists(program)) continue;
    execv(program.c_str(), arguments);
    throw Failure("The program that runs host code, \"" + program.string() +
                  "\", can't be started: " + std::strerror(errno) + ".");
  }
  throw Failure(
      std::string("\"") + arguments[1] +
      "\" runs host code, which takes the package macpict-host; apt install ./macpict-host_*.deb would work.");
}

qd::GWorld makeWorld(const std::string& what, const qd::Rect& bounds, PictureKind kind) {
  const int depth = kind.bits();
  constexpr int kGrays[] = {0, 33, 34, 0, 36, 0, 0, 0, 40};
  try {
    auto world = qd::GWorld::make(fonts(), bounds, depth, kind.isGray && depth <= 8 ? kGrays[depth] : 0);
    if (world) return std::move(*world);
  } catch (const std::bad_alloc&) {
    // said below
  }
  const int width = bounds.right - bounds.left;
  const int height = bounds.bottom - bounds.top;
  const double bytes = double(width) * height * depth / 8;
  char sizes[80];
  std::snprintf(sizes, sizeof sizes, "%.0f MB, and there are %.0f MB", bytes / 1e6, memoryThere() / 1e6);
  throw Failure(what + " would take " + std::to_string(width) + "x" + std::to_string(height) + " pixels in " + sizes +
                "; a smaller --scale, or --memory, would work.");
}
