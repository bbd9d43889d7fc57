// The fonts that text is drawn in: a sans-serif, a serif and a monospaced family with the widths of Helvetica, Times
// and Courier.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qd {

enum class Family { sans, serif, mono };

// The nearest family to one of the system's, by the name that a picture gives it or else by its number.
Family familyOf(int number, const std::string& name);

// Pixels per em, across and down; they differ in text that is stretched.
struct FontSize {
  int h, v;
  bool operator<(const FontSize& other) const { return h != other.h ? h < other.h : v < other.v; }
};

// No character goes further than this from where it stands: one that would isn't drawn.
constexpr int reachOf(FontSize size) { return 2 * (size.h > size.v ? size.h : size.v) + 8; }

// A part of a row of a character, from the pen's position on the baseline.
struct GlyphRun {
  int y, left, right;
};

// One face of a family. One whose file is missing or damaged has no characters, each of them of no width.
class Font {
 public:
  explicit Font(const std::filesystem::path& file);
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  ~Font();

  // Why it has no characters, as a sentence without its full stop; empty if it has.
  const std::string& fault() const { return fault_; }

  double advance(char32_t character, int h) const;
  struct Extent {
    int ascent, descent;
  };
  Extent extent(int v) const;
  // Remembered from one use to the next.
  const std::vector<GlyphRun>& runs(char32_t character, FontSize size) const;

 private:
  struct Outlines;
  std::vector<GlyphRun> rasterize(char32_t character, FontSize size) const;

  std::string fault_;
  std::unique_ptr<Outlines> outlines_;
  mutable std::map<std::pair<FontSize, char32_t>, std::vector<GlyphRun>> remembered_;
};

// The faces in a folder, each read when it is first asked for. For one thread at a time, as its fonts are.
class Fonts {
 public:
  explicit Fonts(std::filesystem::path folder) : folder_(std::move(folder)) {}
  const Font& get(Family family, bool isBold, bool isItalic);

  // Texts that were not drawn, since their faces have no characters, and what is wrong with those faces, once each.
  struct Lost {
    int texts = 0;
    std::vector<std::string> faults;
  };
  void lose(const Font& font);
  // Those since they were last taken.
  Lost takeLost() { return std::exchange(lost_, {}); }

 private:
  std::filesystem::path folder_;
  Lost lost_;
  std::array<std::unique_ptr<Font>, 12> faces_;
};

}  // namespace qd
