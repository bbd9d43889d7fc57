#include "engine/text/fonts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>

#include "engine/text/font_file.h"

// Its assertions are on rounding, where it stays inside its pixels without them.
#define STBTT_assert(condition) static_cast<void>(0)
#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb/stb_truetype.h>

namespace qd {
namespace {

constexpr std::uint8_t kHalfCovered = 128;
constexpr std::size_t kMostGlyphs = 1024;  // of a face, remembered
constexpr std::uintmax_t kMostBytes = 64 << 20;

// Nothing if there is no file of that name, or one that no font is as large as.
std::optional<std::vector<unsigned char>> bytesOf(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream in(path, std::ios::binary);
  if (error || size > kMostBytes || !in) return std::nullopt;
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return bytes;
}

}  // namespace

struct Font::Outlines {
  std::vector<unsigned char> file;
  stbtt_fontinfo info = {};

  float scale(int pixels) const { return stbtt_ScaleForMappingEmToPixels(&info, static_cast<float>(pixels)); }
  // The one for what is missing, if a table of characters names one that there isn't.
  int glyphOf(char32_t character) const {
    const int glyph = stbtt_FindGlyphIndex(&info, static_cast<int>(character));
    return glyph >= 0 && glyph < info.numGlyphs ? glyph : 0;
  }
};

Font::Font(const std::filesystem::path& file) {
  const char* fault = "it can't be read";
  if (auto bytes = bytesOf(file)) {
    auto outlines = std::make_unique<Outlines>();
    outlines->file = std::move(*bytes);
    fault = faultOfFont(outlines->file);
    if (fault == nullptr && stbtt_InitFont(&outlines->info, outlines->file.data(), 0) == 0) fault = "it is damaged";
    if (fault == nullptr) outlines_ = std::move(outlines);
  }
  if (fault != nullptr) fault_ = "text in the font \"" + file.string() + "\" is not drawn: " + fault;
}

Font::~Font() = default;

const Font& Fonts::get(Family family, bool isBold, bool isItalic) {
  constexpr const char* kFamilies[] = {"LiberationSans", "LiberationSerif", "LiberationMono"};
  constexpr const char* kStyles[] = {"Regular", "Bold", "Italic", "BoldItalic"};
  const auto row = static_cast<std::size_t>(family);
  const std::size_t style = (isBold ? 1U : 0U) + (isItalic ? 2U : 0U);
  std::unique_ptr<Font>& face = faces_[row * std::size(kStyles) + style];
  if (face == nullptr) {
    face = std::make_unique<Font>(folder_ / (std::string(kFamilies[row]) + "-" + kStyles[style] + ".ttf"));
  }
  return *face;
}

void Fonts::lose(const Font& font) {
  ++lost_.texts;
  if (std::find(lost_.faults.begin(), lost_.faults.end(), font.fault()) == lost_.faults.end())
    lost_.faults.push_back(font.fault());
}

double Font::advance(char32_t character, int h) const {
  if (outlines_ == nullptr) return 0;
  int width = 0;
  int bearing = 0;
  stbtt_GetGlyphHMetrics(&outlines_->info, outlines_->glyphOf(character), &width, &bearing);
  return width * double{outlines_->scale(h)};
}

const std::vector<GlyphRun>& Font::runs(char32_t character, FontSize size) const {
  if (remembered_.size() > kMostGlyphs) remembered_.clear();
  const auto [entry, isNew] = remembered_.try_emplace({size, character});
  if (isNew) entry->second = rasterize(character, size);
  return entry->second;
}

// Filled where half a pixel is covered.
std::vector<GlyphRun> Font::rasterize(char32_t character, FontSize size) const {
  std::vector<GlyphRun> runs;
  if (outlines_ == nullptr) return runs;
  const float scaleH = outlines_->scale(size.h);
  const float scaleV = outlines_->scale(size.v);
  stbtt_vertex* vertices = nullptr;
  const int count = stbtt_GetGlyphShape(&outlines_->info, outlines_->glyphOf(character), &vertices);
  const std::unique_ptr<stbtt_vertex, void (*)(void*)> owned(vertices, std::free);
  if (count <= 0) return runs;

  // What the outline spans itself, whatever the font says of it.
  int minX = vertices->x, maxX = vertices->x, minY = vertices->y, maxY = vertices->y;
  const auto span = [&](int x, int y) {
    minX = std::min(minX, x);
    maxX = std::max(maxX, x);
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
  };
  for (const stbtt_vertex& vertex : std::span(vertices, static_cast<std::size_t>(count))) {
    span(vertex.x, vertex.y);
    if (vertex.type == STBTT_vcurve) span(vertex.cx, vertex.cy);
  }
  const auto down = [](float at) { return static_cast<int>(std::floor(at)); };
  const auto up = [](float at) { return static_cast<int>(std::ceil(at)); };
  const int left = down(static_cast<float>(minX) * scaleH);
  const int right = up(static_cast<float>(maxX) * scaleH);
  const int top = down(static_cast<float>(-maxY) * scaleV);
  const int bottom = up(static_cast<float>(-minY) * scaleV);
  const int width = right - left;
  const int height = bottom - top;
  const int reach = reachOf(size);
  if (width <= 0 || height <= 0 || std::max({-left, right, -top, bottom}) > reach) return runs;

  std::vector<std::uint8_t> coverage(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  constexpr float kFlatness = 0.35F;  // pixels that a straight piece may lie beside its curve
  stbtt__bitmap bitmap{width, height, width, coverage.data()};
  stbtt_Rasterize(&bitmap, kFlatness, vertices, count, scaleH, scaleV, 0, 0, left, top, 1, nullptr);
  const std::uint8_t* row = coverage.data();
  for (int y = 0; y < height; ++y, row += width) {
    for (int x = 0; x < width;) {
      const int from = x;
      while (x < width && row[x] >= kHalfCovered) ++x;
      if (x > from) runs.push_back({top + y, left + from, left + x});
      while (x < width && row[x] < kHalfCovered) ++x;
    }
  }
  return runs;
}

Font::Extent Font::extent(int v) const {
  if (outlines_ == nullptr) return {v, 0};
  int ascent = 0;
  int descent = 0;
  int gap = 0;
  stbtt_GetFontVMetrics(&outlines_->info, &ascent, &descent, &gap);
  const double scale = outlines_->scale(v);
  return {static_cast<int>(std::lround(ascent * scale)), static_cast<int>(std::lround(-descent * scale))};
}

Family familyOf(int number, const std::string& name) {
  std::string lower;
  std::transform(name.begin(), name.end(), std::back_inserter(lower), [](unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : static_cast<char>(c);
  });
  const auto isOneOf = [&lower](auto... words) { return ((lower.find(words) != std::string::npos) || ...); };
  if (!name.empty()) {
    if (isOneOf("courier", "monaco", "mono", "andale", "mishawaka")) return Family::mono;
    if (isOneOf("times", "new york", "palatino", "bookman", "schoolbook", "garamond", "georgia", "venice", "athens",
                "serif")) {
      return Family::serif;
    }
    return Family::sans;
  }
  // Numbers of the system's fonts (Inside Macintosh I; Technical Note 191).
  switch (number) {
    case 4:   // Monaco
    case 22:  // Courier
      return Family::mono;
    case 2:   // New York
    case 5:   // Venice
    case 7:   // Athens
    case 14:  // Bookman
    case 16:  // Palatino
    case 20:  // Times
    case 34:  // New Century Schoolbook
      return Family::serif;
    default:
      return Family::sans;
  }
}

}  // namespace qd
