// The fonts that the framework carries in its Resources: a sans-serif, a serif and a monospaced family with the widths
// of Helvetica, Times and Courier.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qd {

enum class Family { sans, serif, mono };

// The nearest family to one of the system's, by the name that a picture gives it or else by its number.
Family familyOf(int number, const std::string& name);

struct Coverage {
  int left = 0, top = 0;  // from the pen's position on the baseline
  int width = 0, height = 0;
  std::vector<std::uint8_t> pixels;  // 255 is fully covered
};

class Font {
 public:
  // A font whose file is missing has no characters, each of them of no width.
  static const Font& get(Family family, bool isBold, bool isItalic);

  // Sizes are pixels per em; h and v differ in text that is stretched.
  double advance(char32_t character, int h) const;
  Coverage rasterize(char32_t character, int h, int v) const;
  struct Extent {
    int ascent, descent;
  };
  Extent extent(int v) const;

  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  ~Font();

 private:
  explicit Font(const std::string& file);

  struct Outlines;
  Outlines* outlines_;
};

}  // namespace qd
