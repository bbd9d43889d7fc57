#include "engine/text/substitutes.h"

#include <algorithm>
#include <string>

namespace qd {
namespace {

constexpr Substitute kSans{}, kSerif{.family = Family::serif}, kMono{.family = Family::mono};
constexpr Substitute kSymbol{.family = Family::symbol}, kDingbats{.family = Family::dingbats};
constexpr Substitute kSystem{.isBold = true, .hasMarks = true};
constexpr Substitute kHeavySans{.isBold = true}, kHeavySerif{.family = Family::serif, .isBold = true};
constexpr Substitute kScript{.family = Family::serif, .isItalic = true};
constexpr Substitute kNarrow{.width = 82};

constexpr int kNoNumber = -1;

// A font's number (Inside Macintosh I and Technical Note 191), and a word of names in small letters. Of a name the
// first row counts whose word is in it, so that what is special stands before what is common.
struct Row {
  int number;
  const char* word;
  Substitute substitute;
};
constexpr Row kRows[] = {
    {0, "chicago", kSystem},
    {1, "application font", kSans},
    {2, "new york", kSerif},
    {3, "geneva", kSans},
    {4, "monaco", kMono},
    {5, "venice", kScript},
    {6, "london", kHeavySerif},
    {7, "athens", kHeavySerif},
    {8, "san francisco", kHeavySans},
    {9, "toronto", kSerif},
    {12, "los angeles", kSans},
    {13, "dingbats", kDingbats},
    {14, "bookman", kSerif},
    {15, "narrow", kNarrow},
    {16, "palatino", kSerif},
    {18, "chancery", kScript},
    {20, "times", kSerif},
    {21, "helvetica", kSans},
    {22, "courier", kMono},
    {23, "symbol", kSymbol},
    {33, "avant garde", kSans},
    {34, "schoolbook", kSerif},
    {kNoNumber, "charcoal", kSystem},
    {kNoNumber, "gadget", kHeavySans},
    {kNoNumber, "textile", kScript},
    {kNoNumber, "capitals", kSerif},
    {kNoNumber, "wingdings", kDingbats},
    {kNoNumber, "condensed", kNarrow},
    {kNoNumber, "compressed", kNarrow},
    {kNoNumber, "mono", kMono},
    {kNoNumber, "andale", kMono},
    {kNoNumber, "typewriter", kMono},
    {kNoNumber, "mishawaka", kMono},
    {kNoNumber, "profont", kMono},
    {kNoNumber, "mpw", kMono},
    {kNoNumber, "vt100", kMono},
    {kNoNumber, "console", kMono},
    {kNoNumber, "ocr", kMono},
    {kNoNumber, "sans", kSans},
    {kNoNumber, "serif", kSerif},
    {kNoNumber, "roman", kSerif},
    {kNoNumber, "garamond", kSerif},
    {kNoNumber, "georgia", kSerif},
    {kNoNumber, "hoefler", kSerif},
    {kNoNumber, "century", kSerif},
    {kNoNumber, "baskerville", kSerif},
    {kNoNumber, "bodoni", kSerif},
    {kNoNumber, "caslon", kSerif},
    {kNoNumber, "cochin", kSerif},
    {kNoNumber, "didot", kSerif},
    {kNoNumber, "goudy", kSerif},
    {kNoNumber, "janson", kSerif},
    {kNoNumber, "korinna", kSerif},
    {kNoNumber, "minion", kSerif},
    {kNoNumber, "sabon", kSerif},
    {kNoNumber, "souvenir", kSerif},
    {kNoNumber, "utopia", kSerif},
    {kNoNumber, "bright", kSerif},
};

}  // namespace

Substitute substituteOf(int number, std::string_view name) {
  if (name.empty()) {
    const auto* const row = std::find_if(std::begin(kRows), std::end(kRows),
                                         [number](const Row& row) { return row.number == number && number >= 0; });
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
