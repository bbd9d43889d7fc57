#include "engine/text/fonts.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb/stb_truetype.h>

namespace fs = std::filesystem;

namespace qd {
namespace {

// The Resources folder beside this code, unless the environment names another.
fs::path resourcesFolder() {
  if (const char* named = std::getenv("MACPICT_FONTS")) return named;
  Dl_info self = {};
  if (dladdr(reinterpret_cast<void*>(&resourcesFolder), &self) == 0) return {};
  return fs::absolute(self.dli_fname).parent_path() / "Resources";
}

}  // namespace

struct Font::Outlines {
  std::vector<unsigned char> file;
  stbtt_fontinfo info = {};

  float scale(int pixels) const { return stbtt_ScaleForMappingEmToPixels(&info, static_cast<float>(pixels)); }
};

Font::Font(const std::string& file) : outlines_(nullptr) {
  std::ifstream in(resourcesFolder() / file, std::ios::binary);
  auto outlines = std::make_unique<Outlines>();
  outlines->file.assign(std::istreambuf_iterator<char>(in), {});
  if (outlines->file.empty() || stbtt_InitFont(&outlines->info, outlines->file.data(), 0) == 0) return;
  outlines_ = outlines.release();
}

Font::~Font() { delete outlines_; }

const Font& Font::get(Family family, bool isBold, bool isItalic) {
  static const std::array<std::string_view, 3> families = {"LiberationSans", "LiberationSerif", "LiberationMono"};
  static const std::array<std::string_view, 4> styles = {"Regular", "Bold", "Italic", "BoldItalic"};
  static std::array<std::unique_ptr<Font>, 12> loaded;
  const auto style = static_cast<std::size_t>((isBold ? 1 : 0) + (isItalic ? 2 : 0));
  const auto index = static_cast<std::size_t>(family);
  std::unique_ptr<Font>& font = loaded[index * 4 + style];
  if (font == nullptr) font.reset(new Font(std::string(families[index]) + "-" + std::string(styles[style]) + ".ttf"));
  return *font;
}

double Font::advance(char32_t character, int h) const {
  if (outlines_ == nullptr) return 0;
  int width = 0;
  int bearing = 0;
  stbtt_GetCodepointHMetrics(&outlines_->info, static_cast<int>(character), &width, &bearing);
  return width * double{outlines_->scale(h)};
}

Coverage Font::rasterize(char32_t character, int h, int v) const {
  Coverage coverage;
  if (outlines_ == nullptr) return coverage;
  const stbtt_fontinfo* info = &outlines_->info;
  const int glyph = stbtt_FindGlyphIndex(info, static_cast<int>(character));
  const float scaleH = outlines_->scale(h);
  const float scaleV = outlines_->scale(v);
  int right = 0;
  int bottom = 0;
  stbtt_GetGlyphBitmapBox(info, glyph, scaleH, scaleV, &coverage.left, &coverage.top, &right, &bottom);
  coverage.width = right - coverage.left;
  coverage.height = bottom - coverage.top;
  if (coverage.width <= 0 || coverage.height <= 0) return {};
  coverage.pixels.resize(static_cast<std::size_t>(coverage.width) * static_cast<std::size_t>(coverage.height));
  stbtt_MakeGlyphBitmap(info, coverage.pixels.data(), coverage.width, coverage.height, coverage.width, scaleH, scaleV,
                        glyph);
  return coverage;
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
    case 4:
    case 22:
      return Family::mono;  // Monaco, Courier
    case 2:
    case 5:
    case 7:
    case 14:
    case 16:
    case 20:
    case 34:
      return Family::serif;  // New York, Venice, Athens, Bookman,
    default:
      return Family::sans;  // Palatino, Times, Century Schoolbook
  }
}

}  // namespace qd
