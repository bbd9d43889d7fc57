#include "engine/text/substitutes.h"

#include <algorithm>

namespace qd {
namespace {

constexpr Substitute kSans{}, kSerif{.family = Family::serif}, kMono{.family = Family::mono};
constexpr Substitute kSymbol{.family = Family::symbol}, kDingbats{.family = Family::dingbats};
constexpr Substitute kSystem{.isBold = true, .hasMarks = true};
constexpr Substitute kHeavySans{.isBold = true}, kHeavySerif{.family = Family::serif, .isBold = true};
constexpr Substitute kScript{.family = Family::serif, .isItalic = true};
constexpr Substitute kNarrow{.width = 82};

constexpr int kNoNumber = -1;

// A word of names in small letters, and a font's number (Inside Macintosh I and Technical Note 191). Of a name the
// first row counts whose word is in it, so that what is special stands before what is common.
struct Row {
  const char* word;
  int number;
  Substitute substitute;
};
constexpr Row kRows[] = {
    {"chicago", 0, kSystem},
    {"application font", 1, kSans},
    {"new york", 2, kSerif},
    {"geneva", 3, kSans},
    {"monaco", 4, kMono},
    {"venice", 5, kScript},
    {"london", 6, kHeavySerif},
    {"athens", 7, kHeavySerif},
    {"san francisco", 8, kHeavySans},
    {"toronto", 9, kSerif},
    {"los angeles", 12, kSans},
    {"dingbats", 13, kDingbats},
    {"bookman", 14, kSerif},
    {"narrow", 15, kNarrow},
    {"palatino", 16, kSerif},
    {"chancery", 18, kScript},
    {"times", 20, kSerif},
    {"helvetica", 21, kSans},
    {"courier", 22, kMono},
    {"symbol", 23, kSymbol},
    {"avant garde", 33, kSans},
    {"schoolbook", 34, kSerif},
    {"charcoal", kNoNumber, kSystem},
    {"gadget", kNoNumber, kHeavySans},
    {"textile", kNoNumber, kScript},
    {"capitals", kNoNumber, kSerif},
    {"wingdings", kNoNumber, kDingbats},
    {"condensed", kNoNumber, kNarrow},
    {"compressed", kNoNumber, kNarrow},
    {"mono", kNoNumber, kMono},
    {"andale", kNoNumber, kMono},
    {"typewriter", kNoNumber, kMono},
    {"mishawaka", kNoNumber, kMono},
    {"profont", kNoNumber, kMono},
    {"mpw", kNoNumber, kMono},
    {"vt100", kNoNumber, kMono},
    {"console", kNoNumber, kMono},
    {"ocr", kNoNumber, kMono},
    {"sans", kNoNumber, kSans},
    {"serif", kNoNumber, kSerif},
    {"roman", kNoNumber, kSerif},
    {"garamond", kNoNumber, kSerif},
    {"georgia", kNoNumber, kSerif},
    {"hoefler", kNoNumber, kSerif},
    {"century", kNoNumber, kSerif},
    {"baskerville", kNoNumber, kSerif},
    {"bodoni", kNoNumber, kSerif},
    {"caslon", kNoNumber, kSerif},
    {"cochin", kNoNumber, kSerif},
    {"didot", kNoNumber, kSerif},
    {"goudy", kNoNumber, kSerif},
    {"janson", kNoNumber, kSerif},
    {"korinna", kNoNumber, kSerif},
    {"minion", kNoNumber, kSerif},
    {"sabon", kNoNumber, kSerif},
    {"souvenir", kNoNumber, kSerif},
    {"utopia", kNoNumber, kSerif},
    {"bright", kNoNumber, kSerif},
};

// The row of a number; the end if there is none.
const Row* rowOf(int number) {
  return std::find_if(std::begin(kRows), std::end(kRows),
                      [number](const Row& row) { return row.number == number && number >= 0; });
}

}  // namespace

std::string systemFontName(int number) {
  const Row* const row = rowOf(number);
  std::string name = row != std::end(kRows) ? row->word : "";
  bool beginsWord = true;
  for (char& letter : name) {
    if (beginsWord && letter != ' ') letter = static_cast<char>(letter + ('A' - 'a'));
    beginsWord = letter == ' ';
  }
  return name;
}

Substitute substituteOf(int number, std::string_view name) {
  if (name.empty()) {
    const Row* const row = rowOf(number);
    return row != std::end(kRows) ? row->substitute : kSans;
  }
  std::string lower(name);
  for (char& letter : lower) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + ('a' - 'A'));
  }
  const auto has = [&lower](const char* word) { return lower.find(word) != std::string::npos; };
  const auto* const row =
      std::find_if(std::begin(kRows), std::end(kRows), [&has](const Row& row) { return has(row.word); });
  Substitute substitute = row != std::end(kRows) ? row->substitute : kSans;
  substitute.isBold = substitute.isBold || has("bold") || has("black") || has("heavy");
  substitute.isItalic = substitute.isItalic || has("italic") || has("oblique");
  return substitute;
}

}  // namespace qd
