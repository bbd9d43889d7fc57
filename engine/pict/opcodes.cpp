#include "engine/pict/opcodes.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>

namespace qd {
namespace {

template <class Op>
void skipOperands(ByteReader& in, std::uint16_t number) {
  if constexpr (Op::kKind == Kind::sized) {
    in.take(in.u16());
  } else {
    Op op;
    if constexpr (Op::kKind == Kind::reserved) op.number = number;
    FieldSkipper skipper{{in}};
    Op::describe(op, skipper);
  }
}

constexpr OpcodeRow kRows[] = {
#define FIELD(type, name) +field::type::kSize
#define ROW(first, last, Name, kind, ...)                 \
  {first,                                                 \
   last,                                                  \
   op::Name::kName,                                       \
   Kind::kind,                                            \
   (Kind::kind == Kind::sized ? kVaries : 0) __VA_ARGS__, \
   skipOperands<op::Name>},
#include "engine/pict/opcodes.def"
};

// The rows cover all numbers, in order.
constexpr bool isComplete() {
  std::uint32_t next = 0;
  for (const OpcodeRow& row : kRows) {
    if (row.first != next) return false;
    next = row.last + 1U;
  }
  return next == 0x10000;
}
static_assert(isComplete());

// The rows of the numbers that pictures are made of.
constexpr auto kCommon = [] {
  std::array<std::uint8_t, 256> rows = {};
  std::uint8_t row = 0;
  for (std::size_t number = 0; number < rows.size(); ++number) {
    if (number > kRows[row].last) ++row;
    rows[number] = row;
  }
  return rows;
}();

// How many letters it takes to make one word of the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t same = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({same, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

const std::map<std::string, std::uint16_t, std::less<>>& namesAndNumbers() {
  static const auto names = [] {
    std::map<std::string, std::uint16_t, std::less<>> numbers;
    for (const OpcodeRow& row : kRows) {
      if (row.kind == Kind::reserved) continue;
      for (std::uint16_t number = row.first; number <= row.last; ++number) numbers[opcodeName(number)] = number;
    }
    return numbers;
  }();
  return names;
}

}  // namespace

std::size_t rowIndex(std::uint16_t number) {
  if (number < kCommon.size()) return kCommon[number];
  const auto* const row = std::lower_bound(std::begin(kRows), std::end(kRows), number,
                                           [](const OpcodeRow& r, std::uint16_t n) { return r.last < n; });
  return static_cast<std::size_t>(row - std::begin(kRows));
}

const OpcodeRow& opcodeRow(std::uint16_t number) { return kRows[rowIndex(number)]; }

std::string opcodeName(std::uint16_t number) {
  static constexpr std::array<const char*, 5> kVerbs = {"Frame", "Paint", "Erase", "Invert", "Fill"};
  const OpcodeRow& row = opcodeRow(number);
  const bool hasVerbs = row.kind == Kind::family || row.kind == Kind::same;
  return hasVerbs ? std::string(kVerbs[static_cast<std::size_t>(number - row.first)]) + row.name : row.name;
}

std::optional<std::uint16_t> opcodeNumber(std::string_view name) {
  const auto found = namesAndNumbers().find(name);
  if (found == namesAndNumbers().end()) return std::nullopt;
  return found->second;
}

std::string likeliestName(std::string_view word) {
  const auto& names = namesAndNumbers();
  return std::min_element(
             names.begin(), names.end(),
             [word](const auto& a, const auto& b) { return distance(a.first, word) < distance(b.first, word); })
      ->first;
}

}  // namespace qd
