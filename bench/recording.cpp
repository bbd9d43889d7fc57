// Recording and playing back, against cairo's recording surface with the same drawing.
#include <cairo.h>
#include <malloc.h>

#include <cmath>
#include <cstring>
#include <numbers>

#include "bench/bench.h"
#include "bench/commands.h"

namespace {

using bench::Command;
using bench::commands;
using bench::kHeight;
using bench::kWidth;
using bench::Table;
using Picture = std::vector<std::uint8_t>;

void drawCairo(cairo_t* pen, const Command& c) {
  constexpr double kQuarter = std::numbers::pi / 2;
  const double r = 4;
  cairo_set_source_rgb(pen, c.color.red / 65535.0, c.color.green / 65535.0, c.color.blue / 65535.0);
  switch (c.kind) {
    case Command::rect:
      cairo_rectangle(pen, c.x, c.y, c.width, c.height);
      return cairo_fill(pen);
    case Command::oval:
      cairo_save(pen);
      cairo_translate(pen, c.x + c.width / 2.0, c.y + c.height / 2.0);
      cairo_scale(pen, c.width / 2.0, c.height / 2.0);
      cairo_arc(pen, 0, 0, 1, 0, 4 * kQuarter);
      cairo_restore(pen);
      return cairo_fill(pen);
    case Command::roundRect:
      cairo_arc(pen, c.x + c.width - r, c.y + r, r, -kQuarter, 0);
      cairo_arc(pen, c.x + c.width - r, c.y + c.height - r, r, 0, kQuarter);
      cairo_arc(pen, c.x + r, c.y + c.height - r, r, kQuarter, 2 * kQuarter);
      cairo_arc(pen, c.x + r, c.y + r, r, 2 * kQuarter, 3 * kQuarter);
      return cairo_fill(pen);
    case Command::line:
      cairo_move_to(pen, c.x + 0.5, c.y + 0.5);
      cairo_line_to(pen, c.x + c.width + 0.5, c.y + c.height + 0.5);
      return cairo_stroke(pen);
    case Command::polygon:
      cairo_move_to(pen, c.x, c.y + c.height);
      cairo_line_to(pen, c.x + c.width, c.y + c.height);
      cairo_line_to(pen, c.x, c.y);
      return cairo_fill(pen);
  }
}

Picture record(const std::vector<Command>& drawing) {
  return bench::recorded(kWidth, kHeight, [&](qd::Recorder& recorder) {
    for (const Command& c : drawing) draw(recorder, c);
  });
}

cairo_surface_t* recordCairo(const std::vector<Command>& drawing) {
  const cairo_rectangle_t extents = {0, 0, kWidth, kHeight};
  cairo_surface_t* const recording = cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &extents);
  cairo_t* const pen = cairo_create(recording);
  cairo_set_antialias(pen, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(pen, 1);
  for (const Command& c : drawing) drawCairo(pen, c);
  cairo_destroy(pen);
  return recording;
}

void play(qd::GWorld& world, const Picture& picture) {
  if (world.play(picture).error) bench::fail("A picture that we recorded is broken.");
}

void playCairo(cairo_t* pen, cairo_surface_t* recording) {
  cairo_set_source_surface(pen, recording, 0, 0);
  cairo_paint(pen);
}

// To a file and back, into bytes of its own.
Picture throughFile(const Picture& picture, std::FILE* file) {
  std::rewind(file);
  Picture again(picture.size());
  if (std::fwrite(picture.data(), 1, picture.size(), file) != picture.size() || std::fflush(file) != 0 ||
      std::fseek(file, 0, SEEK_SET) != 0 || std::fread(again.data(), 1, again.size(), file) != again.size())
    bench::fail("The picture can't be written and read.");
  return again;
}

struct Stage {
  qd::GWorld world = std::move(*qd::GWorld::make(bench::system(), kWidth, kHeight));
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight);
  cairo_t* pen = cairo_create(surface);
  std::FILE* file = std::tmpfile();
  Stage() {
    if (file == nullptr) bench::fail("There is no place for a file.");
    cairo_set_antialias(pen, CAIRO_ANTIALIAS_NONE);
    cairo_set_source_rgb(pen, 1, 1, 1);
    cairo_paint(pen);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage() {
    std::fclose(file);
    cairo_destroy(pen);
    cairo_surface_destroy(surface);
  }
};

// The share of pixels that come out otherwise. Edges of curves and lines are rounded otherwise, so some do.
double differing(Stage& stage, const std::vector<Command>& drawing) {
  play(stage.world, record(drawing));
  cairo_surface_t* const recording = recordCairo(drawing);
  playCairo(stage.pen, recording);
  cairo_surface_destroy(recording);
  cairo_surface_flush(stage.surface);
  long different = 0;
  for (int y = 0; y < kHeight; ++y) {
    const std::uint8_t* const ours = stage.world.row(y).data();
    const std::uint8_t* const theirs =
        cairo_image_surface_get_data(stage.surface) + y * cairo_image_surface_get_stride(stage.surface);
    for (int x = 0; x < kWidth; ++x) {
      std::uint32_t a = 0;
      std::uint32_t b = 0;
      std::memcpy(&a, ours + 4 * x, 4);
      std::memcpy(&b, theirs + 4 * x, 4);
      different += (__builtin_bswap32(a) & 0xFFFFFF) != (b & 0xFFFFFF) ? 1 : 0;
    }
  }
  return static_cast<double>(different) / (kWidth * kHeight);
}

// The heap that a recording holds, for each command.
double heapPerCommand(const std::vector<Command>& drawing) {
  const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
  cairo_surface_t* const recording = recordCairo(drawing);
  const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
  cairo_surface_destroy(recording);
  return static_cast<double>(after - before) / static_cast<double>(drawing.size());
}

struct Cost {
  double recorded, whole;  // seconds a command
};

Cost measure(Table& table, Stage& stage, int count) {
  const std::vector<Command> drawing = commands(count);
  const int rounds = count > 10000 ? 5 : bench::kRounds;
  const std::string by = std::to_string(count) + " commands";

  const double bytes = static_cast<double>(record(drawing).size()) / count;
  const double heap = heapPerCommand(drawing);
  table.row(by + ": bytes a command", bench::format("%.1f", bytes), bench::format("%.1f", heap), heap / bytes,
            bench::atLeast(1));

  const auto recordedOnly = bench::takeTurns({{"ours", [&] { bench::keep(record(drawing).data()); }},
                                              {"cairo", [&] { cairo_surface_destroy(recordCairo(drawing)); }}},
                                             rounds);
  const auto whole = bench::takeTurns({{"ours", [&] { play(stage.world, throughFile(record(drawing), stage.file)); }},
                                       {"cairo",
                                        [&] {
                                          cairo_surface_t* const recording = recordCairo(drawing);
                                          playCairo(stage.pen, recording);
                                          cairo_surface_destroy(recording);
                                        }}},
                                      rounds);
  const auto perSecond = [count](double seconds) { return bench::format("%.2f M/s", count / seconds / 1e6); };
  table.row(by + " recorded", perSecond(recordedOnly[0]), perSecond(recordedOnly[1]), recordedOnly[1] / recordedOnly[0],
            bench::atLeast(3));
  table.row(by + " recorded, written, read, played (cairo: recorded, played)", perSecond(whole[0]), perSecond(whole[1]),
            whole[1] / whole[0], bench::atLeast(3));
  return {recordedOnly[0] / count, whole[0] / count};
}

}  // namespace

int main() {
  Stage stage;
  const double share = differing(stage, commands(1000));
  // Along the edges of a thousand small shapes, where curves and slanted lines are rounded in another way.
  if (share > 0.03) bench::fail("cairo draws " + bench::format("%.0f", share * 100) + "% other pixels than we do.");
  Table table("Recording",
              "Rectangles, ovals, round rectangles, lines and triangles of 4 to 50 pixels in colours on 640x480 pixels "
              "of 32 bits, against cairo's recording surface, at 64 bits. " +
                  bench::format("%.1f", share * 100) +
                  "% of the pixels come out otherwise, where cairo rounds edges in its own way. cairo only records and "
                  "plays: its recordings stay in memory. Its bytes are the heap that a recording holds. The last two "
                  "rows compare us with ourselves.",
              "other / ours");
  const Cost few = measure(table, stage, 1000);
  const Cost many = measure(table, stage, 1000000);
  const auto growth = [&table](const char* what, double a, double b) {
    table.row(what, bench::duration(b), bench::duration(a), b / a, bench::atMost(1.2));
  };
  growth("a command recorded among a million, by one among a thousand", few.recorded, many.recorded);
  growth("a command recorded, written, read and played, alike", few.whole, many.whole);
}
