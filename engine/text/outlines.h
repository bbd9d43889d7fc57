// A TrueType file's characters as outlines, at any size, and which pixels they take.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/shapes/ink.h"

namespace qd {

// Pixels per em, across and down; they differ in text that is stretched.
struct FontSize {
  int h, v;
  bool operator==(const FontSize&) const = default;
};

// Where a character stands: its origin on the baseline.
struct Pen {
  int h, v;
};

// Pixels of a line of text, above and below the baseline.
struct Extent {
  int ascent, descent;
};

class Outlines {
 public:
  explicit Outlines(const std::filesystem::path& file);
  Outlines(const Outlines&) = delete;
  Outlines& operator=(const Outlines&) = delete;
  ~Outlines();

  // What is wrong with the file, as a clause; empty for one that is sound, and only of such a one may the rest be
  // asked.
  const std::string& fault() const { return fault_; }

  bool has(char32_t character) const;
  // Characters that it doesn't have are all the same box.
  double advance(char32_t character, int pixels) const;
  Extent extent(int pixels) const;
  // All that a character at (0, 0) on its baseline may touch.
  Box bounds(char32_t character, FontSize size) const;
  // A pixel is taken if its middle lies inside. A stroke that passes between the middles of two neighbours, in a row or
  // in a column, takes the one that it lies in, and a dot between all middles its own: no stroke is lost however thin.
  void draw(char32_t character, FontSize size, Pen at, Ink& ink) const;

 private:
  struct File;
  // A point of an outline in the font's units, upwards, and for the end of a curve the one that bends it.
  struct Step {
    enum Kind : std::uint8_t { start, line, curve } kind;
    int x, y, bendX, bendY;
  };
  struct Shape {
    std::vector<Step> steps;
    Box around;  // all its points, in the font's units, downwards
  };
  const Shape& shapeOf(char32_t character) const;

  std::string fault_;
  std::unique_ptr<File> file_;
  mutable std::map<int, Shape> shapes_;  // by glyph; no larger than the font is
};

}  // namespace qd
