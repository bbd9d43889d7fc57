#include "engine/text/outlines.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

#include "engine/text/font_file.h"

// Its assertions are on rounding, where it stays inside its pixels without them.
#define STBTT_assert(condition) static_cast<void>(0)
#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb/stb_truetype.h>

namespace qd {
namespace {

struct Spot {
  double x, y;
};
using Contour = std::vector<Spot>;

// Pixels along a row, or down a column, from the first whose middle lies at or after a place.
int firstMiddle(double at) { return static_cast<int>(std::ceil(at - 0.5)); }
int pixelAt(double at) { return static_cast<int>(std::floor(at)); }

// Where an outline crosses the middle of a row, or of a column.
struct Crossing {
  int line;
  double at;
  int turn;  // 1 or -1, by the direction
};

// Of the lines from `first` to `last`; along is the coordinate that runs in the line, and over counts lines.
std::vector<Crossing> crossingsOf(const std::vector<Contour>& contours, double Spot::*along, double Spot::*over,
                                  int first, int last) {
  std::vector<Crossing> crossings;
  for (const Contour& contour : contours) {
    for (std::size_t i = 0; i < contour.size(); ++i) {
      const Spot& from = contour[i];
      const Spot& to = contour[i + 1 < contour.size() ? i + 1 : 0];
      const int turn = from.*over < to.*over ? 1 : -1;
      const auto [low, high] = std::minmax(from.*over, to.*over);
      const int begin = std::max(firstMiddle(low), first);
      const int end = std::min(firstMiddle(high), last);
      if (begin >= end) continue;
      const double slope = (to.*along - from.*along) / (to.*over - from.*over);
      for (int line = begin; line < end; ++line)
        crossings.push_back({line, from.*along + (line + 0.5 - from.*over) * slope, turn});
    }
  }
  std::sort(crossings.begin(), crossings.end(),
            [](const Crossing& a, const Crossing& b) { return a.line != b.line ? a.line < b.line : a.at < b.at; });
  return crossings;
}

// What lies inside along each line: where the outline has turned more often one way than the other.
template <class Use>
void forSpans(const std::vector<Crossing>& crossings, const Use& use) {
  int turns = 0;
  double begin = 0;
  for (const Crossing& crossing : crossings) {
    if (turns == 0) begin = crossing.at;
    turns += crossing.turn;
    if (turns == 0) use(crossing.line, begin, crossing.at);
  }
}

void fill(const std::vector<Contour>& contours, Ink& ink) {
  const Box& box = ink.box();
  struct Pixel {
    int y, x;
  };
  std::vector<Pixel> thin;
  const auto rows = crossingsOf(contours, &Spot::x, &Spot::y, box.top, box.bottom);
  forSpans(rows, [&](int y, double left, double right) { ink.add(y, firstMiddle(left), firstMiddle(right)); });
  forSpans(rows, [&](int y, double left, double right) {
    const int next = firstMiddle(left);
    if (next == firstMiddle(right) && !ink.has(y, next - 1) && !ink.has(y, next))
      thin.push_back({y, pixelAt((left + right) / 2)});
  });
  forSpans(crossingsOf(contours, &Spot::y, &Spot::x, box.left, box.right), [&](int x, double top, double bottom) {
    const int next = firstMiddle(top);
    if (next == firstMiddle(bottom) && !ink.has(next - 1, x) && !ink.has(next, x))
      thin.push_back({pixelAt((top + bottom) / 2), x});
  });
  for (const Contour& contour : contours) {
    const auto [left, right] =
        std::minmax_element(contour.begin(), contour.end(), [](const Spot& a, const Spot& b) { return a.x < b.x; });
    const auto [top, bottom] =
        std::minmax_element(contour.begin(), contour.end(), [](const Spot& a, const Spot& b) { return a.y < b.y; });
    if (firstMiddle(left->x) == firstMiddle(right->x) && firstMiddle(top->y) == firstMiddle(bottom->y))
      thin.push_back({pixelAt((top->y + bottom->y) / 2), pixelAt((left->x + right->x) / 2)});
  }
  for (const Pixel& pixel : thin) ink.add(pixel.y, pixel.x);
}

}  // namespace

struct Outlines::File {
  std::vector<unsigned char> bytes;
  stbtt_fontinfo info = {};

  double scale(int pixels) const { return double{stbtt_ScaleForMappingEmToPixels(&info, static_cast<float>(pixels))}; }
  // 0, the one for what is missing, also if a table of characters names one that there isn't.
  int glyphOf(char32_t character) const {
    const int glyph = stbtt_FindGlyphIndex(&info, static_cast<int>(character));
    return glyph >= 0 && glyph < info.numGlyphs ? glyph : 0;
  }
};

Outlines::Outlines(const std::filesystem::path& path) : file_(std::make_unique<File>()) {
  const char* fault = "it can't be read";
  if (readFont(path, file_->bytes)) {
    fault = faultOfFont(file_->bytes);
    if (fault == nullptr && stbtt_InitFont(&file_->info, file_->bytes.data(), 0) == 0) fault = "it is damaged";
  }
  if (fault != nullptr) fault_ = sentenceOfFault(path, fault);
}

Outlines::~Outlines() = default;

bool Outlines::has(char32_t character) const { return file_->glyphOf(character) != 0; }

double Outlines::advance(char32_t character, int pixels) const {
  int width = 0;
  int bearing = 0;
  stbtt_GetGlyphHMetrics(&file_->info, file_->glyphOf(character), &width, &bearing);
  return width * file_->scale(pixels);
}

Extent Outlines::extent(int pixels) const {
  int ascent = 0;
  int descent = 0;
  int gap = 0;
  stbtt_GetFontVMetrics(&file_->info, &ascent, &descent, &gap);
  const double scale = file_->scale(pixels);
  return {static_cast<int>(std::lround(ascent * scale)), static_cast<int>(std::lround(-descent * scale))};
}

const Outlines::Shape& Outlines::shapeOf(char32_t character) const {
  const int glyph = file_->glyphOf(character);
  const auto [entry, isNew] = shapes_.try_emplace(glyph);
  Shape& shape = entry->second;
  if (!isNew) return shape;
  stbtt_vertex* vertices = nullptr;
  const int count = stbtt_GetGlyphShape(&file_->info, glyph, &vertices);
  const std::unique_ptr<stbtt_vertex, void (*)(void*)> owned(vertices, std::free);
  const auto span = [&shape](int x, int y) { shape.around = unite(shape.around, Box(-y, x, 1 - y, x + 1)); };
  for (const stbtt_vertex& vertex : std::span(vertices, static_cast<std::size_t>(std::max(count, 0)))) {
    const auto kind = vertex.type == STBTT_vmove ? Step::start : vertex.type == STBTT_vline ? Step::line : Step::curve;
    shape.steps.push_back({kind, vertex.x, vertex.y, vertex.cx, vertex.cy});
    span(vertex.x, vertex.y);
    if (kind == Step::curve) span(vertex.cx, vertex.cy);
  }
  return shape;
}

Box Outlines::bounds(char32_t character, FontSize size) const {
  const Box& box = shapeOf(character).around;
  if (box.empty()) return box;
  const double h = file_->scale(size.h);
  const double v = file_->scale(size.v);
  return {pixelAt(box.top * v), pixelAt(box.left * h), pixelAt(box.bottom * v) + 1, pixelAt(box.right * h) + 1};
}

void Outlines::draw(char32_t character, FontSize size, Pen at, Ink& ink) const {
  const double h = file_->scale(size.h);
  const double v = file_->scale(size.v);
  std::vector<Contour> contours;
  Spot last = {};
  for (const Step& step : shapeOf(character).steps) {
    const Spot to = {at.h + step.x * h, at.v - step.y * v};
    if (step.kind == Step::start || contours.empty()) contours.emplace_back();
    if (step.kind == Step::curve) {
      // Cut into lines that leave the curve by no more than a twentieth of a pixel.
      constexpr double kFlatness = 0.05;
      const Spot bend = {at.h + step.bendX * h, at.v - step.bendY * v};
      const double depth = std::hypot(last.x - 2 * bend.x + to.x, last.y - 2 * bend.y + to.y) / 4;
      const int pieces = static_cast<int>(std::clamp(std::ceil(std::sqrt(depth / kFlatness)), 1.0, 128.0));
      for (int i = 1; i < pieces; ++i) {
        const double t = double(i) / pieces;
        const double a = (1 - t) * (1 - t), b = 2 * t * (1 - t), c = t * t;
        contours.back().push_back({a * last.x + b * bend.x + c * to.x, a * last.y + b * bend.y + c * to.y});
      }
    }
    contours.back().push_back(to);
    last = to;
  }
  fill(contours, ink);
}

}  // namespace qd
