#include "engine/text/fonts.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb/stb_truetype.h>

namespace qd {
namespace {

constexpr std::uint8_t kHalfCovered = 128;
constexpr std::size_t kMostGlyphs = 1024;  // of a face, remembered

}  // namespace

struct Font::Outlines {
  std::vector<unsigned char> file;
  stbtt_fontinfo info = {};

  float scale(int pixels) const { return stbtt_ScaleForMappingEmToPixels(&info, static_cast<float>(pixels)); }
};

Font::Font(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  auto outlines = std::make_unique<Outlines>();
  outlines->file.assign(std::istreambuf_iterator<char>(in), {});
  if (outlines->file.empty() || stbtt_InitFont(&outlines->info, outlines->file.data(), 0) == 0) return;
  outlines_ = std::move(outlines);
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

double Font::advance(char32_t character, int h) const {
  if (outlines_ == nullptr) return 0;
  int width = 0;
  int bearing = 0;
  stbtt_GetCodepointHMetrics(&outlines_->info, static_cast<int>(character), &width, &bearing);
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
  const stbtt_fontinfo* info = &outlines_->info;
  const int glyph = stbtt_FindGlyphIndex(info, static_cast<int>(character));
  const float scaleH = outlines_->scale(size.h);
  const float scaleV = outlines_->scale(size.v);
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  stbtt_GetGlyphBitmapBox(info, glyph, scaleH, scaleV, &left, &top, &right, &bottom);
  const int width = right - left;
  const int height = bottom - top;
  if (width <= 0 || height <= 0) return runs;
  std::vector<std::uint8_t> coverage(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  stbtt_MakeGlyphBitmap(info, coverage.data(), width, height, width, scaleH, scaleV, glyph);
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
