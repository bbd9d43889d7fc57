#include "engine/pict/opcodes.h"

#include <algorithm>
#include <array>

namespace qd {
namespace {

constexpr OpcodeRow kRows[] = {
#define FAMILY(first, name, operands) {first, first + 4, #name, operands, true},
#define OPCODES(first, last, name, operands) {first, last, #name, operands, false},
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

}  // namespace

const OpcodeRow& opcodeRow(std::uint16_t number) {
  if (number < kCommon.size()) return kRows[kCommon[number]];
  return *std::lower_bound(std::begin(kRows), std::end(kRows), number,
                           [](const OpcodeRow& row, std::uint16_t n) { return row.last < n; });
}

std::string opcodeName(std::uint16_t number) {
  static constexpr std::array<const char*, 5> kVerbs = {"Frame", "Paint", "Erase", "Invert", "Fill"};
  const OpcodeRow& row = opcodeRow(number);
  if (row.isReserved()) return "Reserved";
  return row.isFamily ? std::string(kVerbs[static_cast<std::size_t>(number - row.first)]) + row.name : row.name;
}

}  // namespace qd
