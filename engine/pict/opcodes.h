// The opcodes of PICT: a struct for each row of opcodes.def, and a table of the rows.
#pragma once

#include <string>
#include <type_traits>

#include "engine/pict/fields.h"
#include "engine/port/command.h"

namespace qd {

// What an opcode is for; the rows' macros say it.
enum class Kind { plain, sized, family, same, bits, comment, reserved };

// The number of an opcode is kNumber, of a run of reserved ones a field, and in a family it goes by the verb.
namespace op {
inline constexpr const char* kReservedName = "Reserved";

#define FIELD(type, name) field::type::Value name = {};
#define STRUCT(first, last, Name, text, kind, own, ...) \
  struct Name {                                         \
    static constexpr std::uint16_t kNumber = first;     \
    static constexpr Kind kKind = Kind::kind;           \
    static constexpr const char* kName = text;          \
    template <class Self, class Visitor>                \
    static void describe(Self& self, Visitor& visit);   \
    own __VA_ARGS__                                     \
  };
#define VERBS(shape)                            \
  static constexpr Shape kShape = Shape::shape; \
  Verb verb = Verb::frame;
#define ROW(first, last, Name, kind, ...) STRUCT(first, last, Name, #Name, kind, , __VA_ARGS__)
#define FAMILY(first, Name, shape, ...) STRUCT(first, first + 4, Name, #Name, family, VERBS(shape), __VA_ARGS__)
#define SAME(first, Name, shape, ...) STRUCT(first, first + 4, Name, #Name, same, VERBS(shape), __VA_ARGS__)
#define RESERVED(first, last, ...) \
  STRUCT(first, last, Reserved##first, kReservedName, reserved, std::uint16_t number = first;, __VA_ARGS__)
#include "engine/pict/opcodes.def"
#undef STRUCT
#undef VERBS

#define FIELD(type, name) visit(field::type(), self.name, #name, self);
#define ROW(first, last, Name, kind, ...)                                             \
  template <class Self, class Visitor>                                                \
  void Name::describe([[maybe_unused]] Self& self, [[maybe_unused]] Visitor& visit) { \
    __VA_ARGS__                                                                       \
  }
#include "engine/pict/opcodes.def"
}  // namespace op

template <class Op>
concept HasVerbs = Op::kKind == Kind::family || Op::kKind == Kind::same;

// Families are in the order of shapes, and their opcodes in that of verbs; the "same" ones are 8 further.
#define FAMILY(first, Name, shape, ...) static_assert(first == 0x30 + 0x10 * static_cast<int>(Shape::shape));
#define SAME(first, Name, shape, ...) static_assert(first == 0x38 + 0x10 * static_cast<int>(Shape::shape));
#include "engine/pict/opcodes.def"
static_assert(static_cast<int>(Verb::frame) == 0 && static_cast<int>(Verb::paint) == 1 &&
              static_cast<int>(Verb::erase) == 2 && static_cast<int>(Verb::invert) == 3 &&
              static_cast<int>(Verb::fill) == 4);

template <class Op>
std::uint16_t numberOf(const Op& op) {
  if constexpr (HasVerbs<Op>) return static_cast<std::uint16_t>(Op::kNumber + static_cast<int>(op.verb));
  if constexpr (Op::kKind == Kind::reserved) return op.number;
  return Op::kNumber;
}

// Reads and writes operands. The reader has failed afterwards if they make no sense. A block says its own size: what it
// is too short for is zero, and what it has beyond is passed over.
template <class Op>
void readOperands(ByteReader& in, Op& op) {
  if constexpr (Op::kKind == Kind::sized) {
    ByteReader block(in.take(in.u16()));
    FieldReader reader{block};
    Op::describe(op, reader);
  } else {
    FieldReader reader{in};
    Op::describe(op, reader);
  }
}
template <class Op>
void writeOperands(ByteWriter& out, const Op& op) {
  FieldWriter writer{out};
  if constexpr (Op::kKind == Kind::sized) {
    ByteWriter block;
    FieldWriter fields{block};
    Op::describe(op, fields);
    out.u16(static_cast<int>(block.size()));
    out.put(block.bytes());
  } else {
    Op::describe(op, writer);
  }
}

struct OpcodeRow {
  std::uint16_t first, last;
  const char* name;
  Kind kind;
  int size;  // of its operands in bytes; below 0 if that varies
  void (*skip)(ByteReader& in, std::uint16_t number);
};

// Every number has a row.
std::size_t rowIndex(std::uint16_t number);
const OpcodeRow& opcodeRow(std::uint16_t number);
// The name, with the verb in front in a family: "FrameRect".
std::string opcodeName(std::uint16_t number);
// The number of a name that isn't reserved.
std::optional<std::uint16_t> opcodeNumber(std::string_view name);
// The name that is most like a word.
std::string likeliestName(std::string_view word);

// Calls the handler with a new struct of that number. It has to take the struct of every row.
template <class Op, class Result, class Handler>
Result callWith(std::uint16_t number, Handler& handler) {
  Op op;
  if constexpr (HasVerbs<Op>) op.verb = static_cast<Verb>(number - Op::kNumber);
  if constexpr (Op::kKind == Kind::reserved) op.number = number;
  return handler(op);
}
template <class Handler>
auto withOpcode(std::uint16_t number, Handler&& handler) {
  using Result = std::invoke_result_t<Handler&, op::NOP&>;
  static constexpr Result (*kCalls[])(std::uint16_t, std::remove_reference_t<Handler>&) = {
#define ROW(first, last, Name, kind, ...) &callWith<op::Name, Result, std::remove_reference_t<Handler>>,
#include "engine/pict/opcodes.def"
  };
  return kCalls[rowIndex(number)](number, handler);
}

}  // namespace qd
