// The table of PICT's opcodes, which writer, player and lister share.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qd {

namespace op {
enum Number : std::uint16_t {
#define OPCODES(first, last, name, operands) name = first,
#include "engine/pict/opcodes.def"
};
}  // namespace op

struct OpcodeRow {
  std::uint16_t first, last;
  const char* name;
  const char* operands;
  bool isFamily;

  bool isReserved() const { return std::string_view(name).starts_with("Reserved"); }
};

// Every number has a row.
const OpcodeRow& opcodeRow(std::uint16_t number);
// The name, with the verb in front in a family: "FrameRect".
std::string opcodeName(std::uint16_t number);

}  // namespace qd
