// Which of our fonts stands in for one of the system's.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qd {

// A sans-serif, a serif and a monospaced family with the widths of Helvetica, Times and Courier, and two fonts of
// signs.
enum class Family { sans, serif, mono, symbol, dingbats };
inline constexpr std::size_t kFamilies = 5;

struct Substitute {
  Family family = Family::sans;
  bool isBold = false, isItalic = false;  // already in its plain style
  bool hasMarks = false;                  // those of menus, which the system font has
  int width = 100;                        // percent
};

// By the name that a picture gives a font, or if that is empty by its number.
Substitute substituteOf(int number, std::string_view name);
// The name of the system's font of that number; empty if it has none.
std::string systemFontName(int number);

}  // namespace qd
