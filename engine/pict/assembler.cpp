#include "engine/pict/assembler.h"

#include "engine/pict/opcodes.h"
#include "engine/pict/reader.h"

namespace qd {
namespace {

// Gives a field's example, with its name if there are several.
struct FieldExample {
  std::string text;

  template <class Type, class Value, class Self>
  void operator()(Type, const Value&, const char* name, const Self& self) {
    text += std::string(" ") + name + " ";
    if constexpr (requires { Type::example(self); }) {
      text += Type::example(self);
    } else {
      text += Type::kExample;
    }
  }
};

// An opcode's name, and the number after it if it is reserved.
std::uint16_t takeNumber(TextReader& in) {
  const std::string_view name = in.peek();
  if (in.take(op::kReservedName)) {
    const auto number = static_cast<std::uint16_t>(in.integer(0, 0xFFFF));
    if (in.good() && opcodeRow(number).kind != Kind::reserved) {
      in.failBefore("that number isn't reserved; " + opcodeName(number) + " would work");
    }
    return number;
  }
  const auto number = opcodeNumber(name);
  if (!number) in.fail("is no opcode; " + likeliestName(name) + " would work");
  in.takeWord();
  return number.value_or(0);
}

class Assembler {
 public:
  explicit Assembler(std::string_view text) : in_(text) {}

  Assembled assemble() {
    while (!in_.atEnd()) {
      if (!in_.atLineEnd()) line();
      if (!in_.atLineEnd()) in_.fail("is too much; a new line would work");
      in_.takeLineEnd();
    }
    if (!in_.good()) return {{}, in_.error()};
    std::vector<std::uint8_t> bytes = out_.take();
    if (hasHead_ && head_.size < 0) {
      const std::size_t size = bytes.size();
      bytes[0] = static_cast<std::uint8_t>(size >> 8);
      bytes[1] = static_cast<std::uint8_t>(size);
    }
    bytes.insert(bytes.begin(), header_.begin(), header_.end());
    return {std::move(bytes), std::nullopt};
  }

 private:
  void line() {
    if (in_.peek().starts_with('@')) in_.takeWord();
    if (in_.take("bytes")) return out_.put(in_.bytes());
    if (in_.peek() == "header") return fileHeader();
    if (in_.peek() == "picture") return head();
    if (!hasHead_) return in_.fail("comes before the picture's head; \"picture frame (0, 0, 40, 32)\" would work");
    const bool isWide = head_.version == 2;
    if (isWide) out_.align();
    const std::uint16_t number = takeNumber(in_);
    if (!isWide && number > 0xFF)
      in_.failBefore("an opcode of version 1 is a byte; \"version 2\" in the head would work");
    if (isWide) out_.u16(number);
    if (!isWide) out_.u8(number);
    assembleOperands(number, in_, out_);
  }

  void fileHeader() {
    if (hasHead_ || out_.size() > 0) return in_.fail("comes late; as the first line it would work");
    in_.takeWord();
    if (!in_.take("hex")) return header_.resize(header_.size() + kFileHeader);
    const Bytes bytes = in_.bytes();
    if (bytes.size() != kFileHeader) in_.failBefore(format("a file's header has %zu bytes", kFileHeader));
    header_.insert(header_.end(), bytes.begin(), bytes.end());
  }

  void head() {
    if (hasHead_ || out_.size() > 0) return in_.fail("comes late; as the first line it would work");
    in_.takeWord();
    hasHead_ = true;
    if (in_.take("hex")) return headOfBytes(in_.bytes());
    FieldParser parser{in_, true};
    HeadLine::describe(head_, parser);
    if (!in_.atLineEnd()) return in_.fail("is too much, or out of its turn; of " + parser.names + " would work");
    if (head_.version != 1 && head_.version != 2) return in_.failBefore("there is no such version; 1 or 2 would work");
    const bool isWide = head_.version == 2;
    out_.u16(head_.size);
    out_.rect(head_.frame);
    if (isWide) out_.u8(0);
    out_.u8(op::VersionOp::kNumber);
    out_.u8(head_.version);
    if (isWide) out_.u8(0xFF);
  }
  // A head of an unusual form.
  void headOfBytes(Bytes bytes) {
    head_.version = static_cast<std::uint8_t>(PictureReader(bytes).header().version);
    head_.size = 0;
    if (head_.version == 0) in_.failBefore("that is no head of a picture");
    out_.put(bytes);
  }

  TextReader in_;
  std::vector<std::uint8_t> header_;  // or two of them
  ByteWriter out_;                    // the picture
  HeadLine head_;
  bool hasHead_ = false;
};

}  // namespace

Assembled assemblePicture(std::string_view text) { return Assembler(text).assemble(); }

void assembleOperands(std::uint16_t number, TextReader& in, ByteWriter& out) {
  if (in.take("hex")) return out.put(in.bytes());
  withOpcode(number, [&](auto& op) {
    FieldParser parser{in, false};
    op.describe(op, parser);
    if (in.good()) writeOperands(out, op);
  });
}

std::string exampleOf(std::uint16_t number) {
  return withOpcode(number, [number](auto& op) {
    FieldExample example{opcodeName(number)};
    if (op.kKind == Kind::reserved) example.text += format(" 0x%04X", number);
    op.describe(op, example);
    return example.text;
  });
}

}  // namespace qd
