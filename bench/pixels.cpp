// Drawing and copying, against pixman and against cairo without antialiasing. Before anything is timed all sides draw
// once, and their pixels are compared.
#include <cairo.h>
#include <pixman.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <optional>

#include "bench/world.h"
#include "engine/pixels/copy.h"

namespace {

using bench::Random;
using bench::Side;
using bench::Table;

constexpr int kSize = 1024;
constexpr int kGreys = 40;  // the table of 256 greys

// The standard colours for pixman. It finds the nearest of them by the high 5 bits of each component.
const pixman_indexed_t& palette() {
  static const pixman_indexed_t made = [] {
    pixman_indexed_t palette = {};
    palette.color = 1;
    const auto colors = qd::ColorTables().standard(8);
    for (std::uint32_t i = 0; i < 256; ++i) {
      const qd::RGBColor c = colors->color(i);
      palette.rgba[i] = 0xFF000000U | static_cast<std::uint32_t>(c.red >> 8) << 16 |
                        static_cast<std::uint32_t>(c.green >> 8) << 8 | static_cast<std::uint32_t>(c.blue >> 8);
    }
    for (std::uint32_t i = 0; i < 32768; ++i) {
      palette.ent[i] = static_cast<pixman_index_type>(
          colors->nearest({qd::widen5(i >> 10), qd::widen5(i >> 5 & 31), qd::widen5(i & 31)}));
    }
    return palette;
  }();
  return made;
}

// One sheet of paper for each side. At 8 bits the others have coverage, in which full is black as the last index is; or
// pixman has the standard colours.
struct Sheet {
  int width, height, depth;
  bench::World world;
  pixman_image_t* pixman;
  cairo_surface_t* cairo;
  cairo_t* pen;

  Sheet(int w, int h, int d, bool hasColors = false, int table = 0)
      : width(w), height(h), depth(d), world(w, h, d, table) {
    const pixman_format_code_t form = d == 1    ? PIXMAN_a1
                                      : d == 8  ? (hasColors ? PIXMAN_c8 : PIXMAN_a8)
                                      : d == 16 ? PIXMAN_x1r5g5b5
                                                : PIXMAN_x8r8g8b8;
    pixman = pixman_image_create_bits(form, w, h, nullptr, 0);
    if (hasColors) pixman_image_set_indexed(pixman, &palette());
    cairo = cairo_image_surface_create(d == 1    ? CAIRO_FORMAT_A1
                                       : d == 8  ? CAIRO_FORMAT_A8
                                       : d == 16 ? CAIRO_FORMAT_RGB16_565
                                                 : CAIRO_FORMAT_RGB24,
                                       w, h);
    pen = cairo_create(cairo);
    cairo_set_antialias(pen, CAIRO_ANTIALIAS_NONE);
    cairo_set_line_width(pen, 1);
    if (d > 8) {
      const pixman_color_t white = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
      const pixman_rectangle16_t all = {0, 0, static_cast<std::uint16_t>(w), static_cast<std::uint16_t>(h)};
      pixman_image_fill_rectangles(PIXMAN_OP_SRC, pixman, &white, 1, &all);
      cairo_set_source_rgb(pen, 1, 1, 1);
      cairo_paint(pen);
    }
    cairo_set_source_rgba(pen, 0, 0, 0, 1);
  }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
  ~Sheet() {
    cairo_destroy(pen);
    cairo_surface_destroy(cairo);
    pixman_image_unref(pixman);
  }

  std::uint8_t* pixmanRow(int y) const {
    return reinterpret_cast<std::uint8_t*>(pixman_image_get_data(pixman)) +
           static_cast<std::ptrdiff_t>(y) * pixman_image_get_stride(pixman);
  }
  std::uint8_t* cairoRow(int y) const {
    return cairo_image_surface_get_data(cairo) + static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(cairo);
  }

  // A pixel as each side keeps it: a bit, a byte, 5 bits or 8 bits a component.
  std::uint32_t ours(int x, int y) const {
    const std::uint8_t* row = world.row(y);
    if (depth == 1) return row[x / 8] >> (7 - x % 8) & 1U;
    if (depth == 8) return row[x];
    if (depth == 16) return row[2 * x] << 8U | row[2 * x + 1];
    return static_cast<std::uint32_t>(row[4 * x + 1] << 16 | row[4 * x + 2] << 8 | row[4 * x + 3]);
  }
  std::uint32_t theirs(const std::uint8_t* row, int x, bool is565) const {
    if (depth == 8) return row[x];
    if (depth == 16) {
      std::uint16_t pixel = 0;
      std::memcpy(&pixel, row + 2 * x, 2);
      return is565 ? (pixel >> 1 & 0x7FE0U) | (pixel & 0x1FU) : pixel & 0x7FFFU;
    }
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, row + 4 * x, 4);
    return pixel & 0xFFFFFF;
  }

  // Any picture, the same one for each side. Its components have 5 bits, which are all that pixman looks at for an
  // index; at 32 bits they are widened.
  void fillWithNoise() {
    Random random;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) set(x, y, random(depth == 1 ? 2 : depth == 8 ? 256 : 32768));
    }
    cairo_surface_mark_dirty(cairo);
  }
  void set(int x, int y, std::uint32_t value) {
    const auto put = [x](std::uint8_t* row, const auto& pixel) {
      std::memcpy(row + static_cast<std::size_t>(x) * sizeof pixel, &pixel, sizeof pixel);
    };
    const auto five = static_cast<std::uint16_t>(value);
    if (depth == 1) {  // the others' bits begin at the other end
      const auto into = [x, value](std::uint8_t* row, int shift) {
        row[x / 8] = static_cast<std::uint8_t>((row[x / 8] & ~(1U << shift)) | value << shift);
      };
      into(world.row(y), 7 - x % 8);
      into(pixmanRow(y), x % 8);
      into(cairoRow(y), x % 8);
    } else if (depth == 8) {
      for (std::uint8_t* row : {world.row(y), pixmanRow(y), cairoRow(y)}) row[x] = static_cast<std::uint8_t>(value);
    } else if (depth == 16) {
      put(world.row(y), __builtin_bswap16(five));
      put(pixmanRow(y), five);
      put(cairoRow(y), static_cast<std::uint16_t>((five & 0x7FE0) << 1 | (five >> 4 & 0x20) | (five & 0x1F)));
    } else {
      const auto widen = [value](int shift) {
        return static_cast<std::uint32_t>(qd::widen5(value >> shift & 31) >> 8);
      };
      const std::uint32_t pixel = widen(10) << 16 | widen(5) << 8 | widen(0);
      put(world.row(y), __builtin_bswap32(pixel));
      put(pixmanRow(y), pixel);
      put(cairoRow(y), pixel);
    }
  }
};

bool isNear(std::uint32_t a, std::uint32_t b, int depth) {
  if (a == b || depth != 32) return a == b;
  for (int shift = 0; shift < 24; shift += 8) {
    if (std::abs(static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF)) > 1) return false;
  }
  return true;
}

// Stops where another side drew more than `allowed` other pixels; what is allowed and used is told.
std::string compare(const Sheet& sheet, const std::string& what, bool withPixman, bool withCairo, long allowed) {
  std::string told;
  for (const bool isCairo : {false, true}) {
    if (!(isCairo ? withCairo : withPixman)) continue;
    long different = 0;
    for (int y = 0; y < sheet.height; ++y) {
      const std::uint8_t* row = isCairo ? sheet.cairoRow(y) : sheet.pixmanRow(y);
      for (int x = 0; x < sheet.width; ++x) {
        different += isNear(sheet.ours(x, y), sheet.theirs(row, x, isCairo), sheet.depth) ? 0 : 1;
      }
    }
    const std::string side = isCairo ? "cairo" : "pixman";
    if (different > allowed)
      bench::fail(what + ": " + side + " draws " + std::to_string(different) + " other pixels than we do.");
    if (different > 0) told += " (" + std::to_string(different) + " px other than " + side + ")";
  }
  return told;
}

// ---- drawings

struct Drawing {
  std::string name;
  std::function<void(qd::Port&)> ours;
  std::function<void(cairo_t*)> cairo;
  std::optional<pixman_rectangle16_t> pixman;  // it fills rectangles and knows no other shape
  long allowed;                                // pixels along edges, which cairo rounds in its own way
};

void roundRect(cairo_t* pen, double x, double y, double w, double h, double r) {
  constexpr double kQuarter = std::numbers::pi / 2;
  cairo_new_sub_path(pen);
  cairo_arc(pen, x + w - r, y + r, r, -kQuarter, 0);
  cairo_arc(pen, x + w - r, y + h - r, r, 0, kQuarter);
  cairo_arc(pen, x + r, y + h - r, r, kQuarter, 2 * kQuarter);
  cairo_arc(pen, x + r, y + r, r, 2 * kQuarter, 3 * kQuarter);
  cairo_close_path(pen);
  cairo_fill(pen);
}

std::vector<qd::Point> star(int corners, int radius) {
  std::vector<qd::Point> points;
  for (int i = 0; i < corners; ++i) {
    const double turn = 2 * std::numbers::pi * i / corners;
    const double reach = i % 2 == 0 ? radius : radius / 2.0;
    points.push_back({static_cast<std::int16_t>(std::lround(512 + reach * std::sin(turn))),
                      static_cast<std::int16_t>(std::lround(512 + reach * std::cos(turn)))});
  }
  return points;
}

Drawing line(const char* name, qd::Point to) {
  return {std::string("line ") + name,
          [to](qd::Port& port) {
            draw(port, qd::LineCommand{{10, 10}, to});
          },
          [to](cairo_t* pen) {
            cairo_move_to(pen, 10.5, 10.5);
            cairo_line_to(pen, to.h + 0.5, to.v + 0.5);
            cairo_stroke(pen);
          },
          {},
          2L * (to.h + to.v)};
}

std::vector<Drawing> drawings() {
  std::vector<Drawing> all;
  for (const int size : {4, 64, 1024}) {
    const auto at = static_cast<std::int16_t>(size == 1024 ? 0 : 13);
    const qd::Rect area = qd::MakeRect(at, at, size, size);
    const auto side = static_cast<std::uint16_t>(size);
    const std::string by = " " + std::to_string(size) + "x" + std::to_string(size);
    all.push_back({"rectangle" + by, [area](qd::Port& port) { draw(port, qd::ShapeCommand{.rect = area}); },
                   [at, size](cairo_t* pen) {
                     cairo_rectangle(pen, at, at, size, size);
                     cairo_fill(pen);
                   },
                   pixman_rectangle16_t{at, at, side, side}, 0});
    all.push_back({"oval" + by,
                   [area](qd::Port& port) { draw(port, qd::ShapeCommand{.shape = qd::Shape::oval, .rect = area}); },
                   [at, size](cairo_t* pen) {
                     cairo_arc(pen, at + size / 2.0, at + size / 2.0, size / 2.0, 0, 2 * std::numbers::pi);
                     cairo_fill(pen);
                   },
                   {},
                   4L * size});
    const int corner = std::max(size / 4, 2);
    all.push_back(
        {"round rectangle" + by,
         [area, corner](qd::Port& port) {
           const auto side = static_cast<std::int16_t>(corner);
           draw(port, qd::ShapeCommand{.shape = qd::Shape::roundRect, .rect = area, .ovalSize = {side, side}});
         },
         [at, size, corner](cairo_t* pen) { roundRect(pen, at, at, size, size, corner / 2.0); },
         {},
         4L * size});
  }
  all.push_back(line("across", {10, 1000}));
  all.push_back(line("down", {1000, 10}));
  all.push_back(line("slanted", {377, 1000}));
  all.push_back(line("steep", {1000, 377}));
  all.push_back(line("short", {17, 29}));
  for (const auto& [corners, radius] : {std::pair{10, 40}, std::pair{10, 500}, std::pair{100, 500}}) {
    std::vector<qd::Point> points = star(corners, radius);
    points.push_back(points.front());
    all.push_back(
        {"star of " + std::to_string(corners) + " points, " + std::to_string(2 * radius) + " px",
         [points](qd::Port& port) { draw(port, qd::ShapeCommand{.shape = qd::Shape::polygon, .points = points}); },
         [points](cairo_t* pen) {
           for (const qd::Point& p : points) cairo_line_to(pen, p.h, p.v);
           cairo_close_path(pen);
           cairo_fill(pen);
         },
         {},
         static_cast<long>(corners) * radius});
  }
  return all;
}

void draw(Table& table) {
  for (const Drawing& drawing : drawings()) {
    for (const int depth : {8, 16, 32}) {
      Sheet sheet(kSize, kSize, depth);
      const pixman_color_t black = {0, 0, 0, 0xFFFF};
      const auto withPixman = [&] {
        pixman_image_fill_rectangles(PIXMAN_OP_SRC, sheet.pixman, &black, 1, &*drawing.pixman);
      };
      const auto ours = [&] { drawing.ours(sheet.world.port()); };
      ours();
      drawing.cairo(sheet.pen);
      if (drawing.pixman) withPixman();
      const std::string what = drawing.name + " at " + std::to_string(depth);
      const std::string told = compare(sheet, what, drawing.pixman.has_value(), true, drawing.allowed);

      std::vector<Side> sides = {{"ours", ours}, {"cairo", [&] { drawing.cairo(sheet.pen); }}};
      if (drawing.pixman) sides.emplace_back("pixman", withPixman);
      race(table, what + told, sides, bench::atLeast(1));
      if (!drawing.pixman || drawing.pixman->width != kSize) continue;
      const std::size_t bytes = sheet.world.rowBytes() * kSize;
      race(table, what, {{"ours", ours}, {"memset", [&] { std::memset(sheet.world.row(0), 0, bytes); }}},
           bench::atLeast(0.9));
    }
  }
}

// ---- copies

struct Copy {
  const char* name;
  int fromDepth, toDepth;
  int fromWidth, fromHeight, toWidth, toHeight;
  int maskDepth = 0;
};

// No stretch of these puts a pixel's middle on an edge, where sides may round it to either.
constexpr Copy kCopies[] = {
    {"copy 8 to 8, 16x16", 8, 8, 16, 16, 16, 16},
    {"copy 8 to 8, 256x256", 8, 8, 256, 256, 256, 256},
    {"copy 8 to 8, 1024x1024", 8, 8, 1024, 1024, 1024, 1024},
    {"copy 16 to 16, 16x16", 16, 16, 16, 16, 16, 16},
    {"copy 16 to 16, 256x256", 16, 16, 256, 256, 256, 256},
    {"copy 16 to 16, 1024x1024", 16, 16, 1024, 1024, 1024, 1024},
    {"copy 32 to 32, 16x16", 32, 32, 16, 16, 16, 16},
    {"copy 32 to 32, 256x256", 32, 32, 256, 256, 256, 256},
    {"copy 32 to 32, 1024x1024", 32, 32, 1024, 1024, 1024, 1024},
    {"copy 8 to 32, 16x16", 8, 32, 16, 16, 16, 16},
    {"copy 8 to 32, 1024x1024", 8, 32, 1024, 1024, 1024, 1024},
    {"copy 32 to 8, 16x16", 32, 8, 16, 16, 16, 16},
    {"copy 32 to 8, 1024x1024", 32, 8, 1024, 1024, 1024, 1024},
    {"copy 16 to 32, 1024x1024", 16, 32, 1024, 1024, 1024, 1024},
    {"copy 32 to 16, 1024x1024", 32, 16, 1024, 1024, 1024, 1024},
    {"copy 1 to 32, 16x16", 1, 32, 16, 16, 16, 16},
    {"copy 1 to 32, 1024x1024", 1, 32, 1024, 1024, 1024, 1024},
    {"stretch up at 8", 8, 8, 640, 480, 1024, 768},
    {"stretch up at 16", 16, 16, 640, 480, 1024, 768},
    {"stretch up at 32", 32, 32, 640, 480, 1024, 768},
    {"stretch to twice the size at 32", 32, 32, 512, 512, 1024, 1024},
    {"stretch down at 8", 8, 8, 1000, 750, 640, 480},
    {"stretch down at 16", 16, 16, 1000, 750, 640, 480},
    {"stretch down at 32", 32, 32, 1000, 750, 640, 480},
    {"stretch to half the size at 32", 32, 32, 1024, 1024, 512, 512},
    {"through a mask of 1 at 32, 16x16", 32, 32, 16, 16, 16, 16, 1},
    {"through a mask of 1 at 32, 1024x1024", 32, 32, 1024, 1024, 1024, 1024, 1},
    {"through a mask of 8 at 32, 1024x1024", 32, 32, 1024, 1024, 1024, 1024, 8},
    {"through a mask of 1 at 16, 1024x1024", 16, 16, 1024, 1024, 1024, 1024, 1},
};

void copyOne(Table& table, const Copy& copy) {
  const bool isConverted = copy.fromDepth != copy.toDepth;
  Sheet from(copy.fromWidth, copy.fromHeight, copy.fromDepth, copy.fromDepth == 8);
  from.fillWithNoise();
  std::unique_ptr<Sheet> mask;
  if (copy.maskDepth != 0) {
    mask = std::make_unique<Sheet>(copy.fromWidth, copy.fromHeight, copy.maskDepth, false,
                                   copy.maskDepth == 8 ? kGreys : 0);
    mask->fillWithNoise();
  }
  Sheet to(copy.toWidth, copy.toHeight, copy.toDepth, copy.toDepth == 8);
  const qd::PixelMap& source = from.world.map();
  const qd::PixelMap& target = to.world.map();
  const qd::Region clip(target.bounds);
  const qd::TransferColors colors;

  const auto ours = [&] {
    if (!mask) return copyBits(source, target, source.bounds, target.bounds, qd::srcCopy, clip, colors);
    const qd::PixelMap& through = mask->world.map();
    copyMask(source, through, target, source.bounds, through.bounds, target.bounds, clip, colors);
  };

  const bool isStretched = copy.fromWidth != copy.toWidth;
  const double h = double(copy.fromWidth) / copy.toWidth;
  const double v = double(copy.fromHeight) / copy.toHeight;
  if (isStretched) {
    pixman_transform_t transform;
    pixman_transform_init_scale(&transform, pixman_double_to_fixed(h), pixman_double_to_fixed(v));
    pixman_image_set_transform(from.pixman, &transform);
    pixman_image_set_filter(from.pixman, PIXMAN_FILTER_NEAREST, nullptr, 0);
  }
  pixman_image_t* const solid = [] {
    const pixman_color_t black = {0, 0, 0, 0xFFFF};
    return pixman_image_create_solid_fill(&black);
  }();
  const pixman_color_t white = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
  const pixman_rectangle16_t all = {0, 0, static_cast<std::uint16_t>(copy.toWidth),
                                    static_cast<std::uint16_t>(copy.toHeight)};
  const auto withPixman = [&] {
    const bool isBits = copy.fromDepth == 1;  // ink on a white ground
    if (isBits) pixman_image_fill_rectangles(PIXMAN_OP_SRC, to.pixman, &white, 1, &all);
    pixman_image_composite32(isBits || mask ? PIXMAN_OP_OVER : PIXMAN_OP_SRC, isBits ? solid : from.pixman,
                             isBits ? from.pixman
                             : mask ? mask->pixman
                                    : nullptr,
                             to.pixman, 0, 0, 0, 0, 0, 0, copy.toWidth, copy.toHeight);
  };

  // cairo has neither tables of colours nor 5 bits of green.
  const bool hasCairo = !isConverted || copy.fromDepth == 1;
  const auto withCairo = [&] {
    cairo_t* const pen = to.pen;
    if (copy.fromDepth == 1) {
      cairo_set_source_rgb(pen, 1, 1, 1);
      cairo_paint(pen);
      cairo_set_source_rgb(pen, 0, 0, 0);
      return cairo_mask_surface(pen, from.cairo, 0, 0);
    }
    if (isStretched) {
      cairo_save(pen);
      cairo_scale(pen, 1 / h, 1 / v);
    }
    cairo_set_source_surface(pen, from.cairo, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(pen), CAIRO_FILTER_NEAREST);
    cairo_set_operator(pen, mask ? CAIRO_OPERATOR_OVER : CAIRO_OPERATOR_SOURCE);
    if (mask) {
      cairo_mask_surface(pen, mask->cairo, 0, 0);
    } else {
      cairo_paint(pen);
    }
    if (isStretched) cairo_restore(pen);
  };

  ours();
  withPixman();
  if (hasCairo) withCairo();
  const std::string told = compare(to, copy.name, true, hasCairo, 0);
  std::vector<Side> sides = {{"ours", ours}, {"pixman", withPixman}};
  if (hasCairo) sides.emplace_back("cairo", withCairo);
  race(table, copy.name + told, sides, bench::atLeast(1));
  if (!isConverted && !isStretched && !mask && copy.fromWidth == kSize) {
    const std::size_t bytes = to.world.rowBytes() * kSize;
    race(table, copy.name,
         {{"ours", ours}, {"memcpy", [&] { std::memcpy(to.world.row(0), from.world.row(0), bytes); }}},
         bench::atLeast(0.9));
  }
  pixman_image_unref(solid);
}

}  // namespace

int main() {
  Table table("Pixels",
              "Drawings in black on 1024x1024 pixels, and copies, against the faster of pixman and cairo without "
              "antialiasing, at 64 bits. Where another side rounds an edge in its own way, the pixels that "
              "come out otherwise are counted; mixed colours may differ by 1 in 255. pixman and cairo keep pixels in "
              "the machine's order of bytes, we in QuickDraw's.",
              "other / ours");
  draw(table);
  for (const Copy& copy : kCopies) copyOne(table, copy);
}
