// Peaks of resident memory when bytes go in and out, pixels become a PICT and commands are recorded. Each is a process
// of its own, which begins with the plug-in loaded; one that does no more is the baseline.
#include "platform/memory/memory.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "bench/commands.h"
#include "bench/hosted.h"
#include "platform/quickdraw/operations.h"

using runtime::Object;
using runtime::Value;

namespace {

constexpr int kSide = 4096;
constexpr std::size_t kBytes = std::size_t{4} * kSide * kSide;

void check(bool isDone) {
  if (!isDone) bench::fail("What was to be weighed wasn't done.");
}

// Grain, which doesn't pack.
Object photograph(runtime::Host& host) {
  Object picture = host.newPicture(kSide, kSide);
  char* const pixels = GetPixBaseAddr(GetGWorldPixMap(reinterpret_cast<GWorldPtr>(host.worldOf(picture))));
  bench::Random random;
  for (std::size_t i = 0; i < kBytes; ++i) pixels[i] = static_cast<char>(random(256));
  return picture;
}

// Objects of the host with so many bytes, without a copy of them elsewhere.
Object block(runtime::Host& host) {
  Object made = host.block("");
  runtime::as<runtime::MemoryBlock>(made.get())->bytes.assign(kBytes, 'x');
  return made;
}
Object recorder(runtime::Host& host) {
  Object made = host.make("MacPictTVK");
  const Handle handle = NewHandle(kBytes);
  check(handle != nullptr);
  std::memset(*handle, 'x', kBytes);
  host.set(made, "PicHandle", static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(handle)));
  return made;
}
std::size_t pictureOf(runtime::Host& host, const Object& of) {
  return static_cast<std::size_t>(
      GetHandleSize(reinterpret_cast<Handle>(std::get<std::int32_t>(host.get(of, "PicHandle")))));
}

std::size_t getPixels(runtime::Host& host) {
  const Object picture = photograph(host);
  check(std::holds_alternative<Object>(host.get(picture, "GWorldPixelDataTVK")));
  return 2 * kBytes;
}
std::size_t setPixels(runtime::Host& host) {
  const Object picture = host.newPicture(kSide, kSide);
  host.set(picture, "GWorldPixelDataTVK", block(host));
  return 2 * kBytes;
}
std::size_t getString(runtime::Host& host) {
  check(std::holds_alternative<runtime::String>(host.get(recorder(host), "PicHandleData")));
  return kBytes;
}
std::size_t getBlock(runtime::Host& host) {
  check(std::holds_alternative<Object>(host.get(recorder(host), "PicHandleDataMemory")));
  return kBytes;
}
std::size_t setBlock(runtime::Host& host) {
  const Object empty = host.make("MacPictTVK");
  host.set(empty, "PicHandleDataMemory", block(host));
  check(pictureOf(host, empty) == kBytes);
  return kBytes;
}
std::size_t exportPicture(runtime::Host& host) {
  const Value made = host.call(photograph(host), "PicHandleDataTVK");
  const auto* string = std::get_if<runtime::String>(&made);
  check(string != nullptr);
  return kBytes + runtime::bytesOf(string->get()).size();
}

// QuickDraw's operations, on the port that is current.
struct Operations {
  static void foreColor(const RGBColor& color) { RGBForeColor(&color); }
  static void rect(qd::Verb, const Rect& area) { PaintRect(&area); }
  static void oval(qd::Verb, const Rect& area) { PaintOval(&area); }
  static void roundRect(qd::Verb, const Rect& area, Point corner) { PaintRoundRect(&area, corner.h, corner.v); }
  static void line(Point from, Point to) {
    MoveTo(from.h, from.v);
    LineTo(to.h, to.v);
  }
  static void polygon(qd::Verb, std::span<const Point> points) {
    const PolyHandle polygon = OpenPoly();
    MoveTo(points[0].h, points[0].v);
    for (const Point& point : points.subspan(1)) LineTo(point.h, point.v);
    ClosePoly();
    PaintPoly(polygon);
    KillPoly(polygon);
  }
};
std::size_t recordCommands(runtime::Host& host) {
  const Object made = host.make("MacPictTVK");
  host.call(made, "CreatePicture", {bench::kWidth, bench::kHeight});
  Operations operations;
  for (int i = 0; i < 1000; ++i) {
    for (const bench::Command& c : bench::commands(1000)) draw(operations, c);
  }
  host.call(made, "ClosePicture");
  return pictureOf(host, made) + std::size_t{4} * bench::kWidth * bench::kHeight;
}
std::size_t nothing(runtime::Host&) { return 0; }

struct Weight {
  std::size_t peak, parts;
};

// In a process of its own.
Weight weigh(runtime::Host& host, std::size_t (*work)(runtime::Host&)) {
  int ends[2];
  if (pipe(ends) != 0) bench::fail("There is no pipe.");
  const pid_t child = fork();
  if (child == 0) {
    const std::size_t parts = work(host);
    _exit(write(ends[1], &parts, sizeof parts) == sizeof parts ? 0 : 1);
  }
  int status = 0;
  rusage usage = {};
  Weight weight = {};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0 ||
      read(ends[0], &weight.parts, sizeof weight.parts) != sizeof weight.parts)
    bench::fail("A process that was to be weighed failed.");
  close(ends[0]);
  close(ends[1]);
  weight.peak = static_cast<std::size_t>(usage.ru_maxrss) * 1024;
  return weight;
}

}  // namespace

int main() {
  const bench::Hosted hosted;
  const std::size_t baseline = weigh(hosted.host(), nothing).peak;
  const auto size = [](std::size_t bytes) { return bench::format("%.1f MiB", static_cast<double>(bytes) / (1 << 20)); };
  bench::Table table("Memory",
                     "Peak resident memory of a process of 32 bits that has the plug-in loaded, less that of one that "
                     "does no more (" +
                         size(baseline) +
                         "), as a multiple of the bytes of the picture and of the port or block that is handed over. "
                         "What is played is weighed with the playing.",
                     "peak / parts");
  const std::pair<const char*, std::size_t (*)(runtime::Host&)> all[] = {
      {"pixels of 4096x4096 got as a block", getPixels}, {"pixels of 4096x4096 set from a block", setPixels},
      {"a PICT of 64 MiB got as a string", getString},   {"a PICT of 64 MiB got as a block", getBlock},
      {"a PICT of 64 MiB set from a block", setBlock},   {"pixels of 4096x4096 made a PICT", exportPicture},
      {"a million commands recorded", recordCommands},
  };
  for (const auto& [what, work] : all) {
    const Weight weight = weigh(hosted.host(), work);
    const std::size_t peak = weight.peak - baseline;
    table.row(what, size(peak), size(weight.parts), static_cast<double>(peak) / static_cast<double>(weight.parts),
              bench::atMost(2.5));
  }
}
