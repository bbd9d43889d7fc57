#include "engine/pict/reader.h"

#include "engine/pict/opcodes.h"

namespace qd {
namespace {

constexpr std::size_t kFrameEnd = 10;

// The version of the picture whose head this is, past frame and no-ops; 0 if it is none.
int readVersion(ByteReader& in) {
  in.take(kFrameEnd);
  std::uint8_t byte = in.u8();
  while (in.good() && byte == op::NOP::kNumber) byte = in.u8();
  if (byte != op::VersionOp::kNumber) return 0;
  const int version = in.u8();
  if (version == 1) return 1;
  return version == 2 && in.u8() == 0xFF ? 2 : 0;
}

}  // namespace

std::optional<Bytes> pictureInFile(Bytes file) {
  const auto isPicture = [](Bytes bytes) {
    ByteReader in(bytes);
    return readVersion(in) != 0;
  };
  // Two headers come from programs that put one in front of a whole file.
  for (const std::size_t front : {kFileHeader, std::size_t{0}, 2 * kFileHeader}) {
    if (file.size() > front && isPicture(file.subspan(front))) return file.subspan(front);
  }
  return std::nullopt;
}

PictureReader::PictureReader(Bytes picture) : picture_(picture), in_(picture) { readHeader(); }

void PictureReader::readHeader() {
  ByteReader frame(picture_);
  frame.u16();
  header_.frame = frame.rect();
  header_.source = Box(header_.frame);
  header_.version = readVersion(in_);
  if (header_.version == 0) {
    fail(0, 0, "it doesn't begin as a picture does");
    return;
  }
  // The header opcode comes next in version 2, if at all.
  ByteReader peek = in_;
  if (header_.version != 2 || peek.u16() != op::HeaderOp::kNumber) return;
  op::HeaderOp header;
  readOperands(peek, header);
  const Head& head = header.head;
  if (!peek.good() || head.version != -2) return;
  if (head.hRes > 0 && head.vRes > 0) {
    header_.hRes = head.hRes;
    header_.vRes = head.vRes;
  }
  if (!Box(head.source).empty()) header_.source = Box(head.source);
}

bool PictureReader::fail(std::size_t offset, std::uint16_t opcode, std::string what) {
  error_ = PictureError{offset, opcode, std::move(what)};
  in_.fail();
  return false;
}

bool PictureReader::next(Opcode& opcode) {
  if (ended_ || error_) return false;
  const bool isWide = header_.version == 2;
  if (isWide && in_.at() % 2 != 0) in_.take(1);
  opcode.offset = in_.at();
  if (in_.left() < (isWide ? 2U : 1U)) {
    isEndMissing_ = true;
    return fail(opcode.offset, 0, "it ends without an end opcode");
  }
  opcode.number = isWide ? in_.u16() : in_.u8();
  if (opcode.number == op::OpEndPic::kNumber) {
    opcode.operands = ByteReader();
    opcode.length = 0;
    ended_ = true;
    return false;
  }
  const std::size_t begin = in_.at();
  const OpcodeRow& row = opcodeRow(opcode.number);
  if (row.size >= 0) {
    in_.take(static_cast<std::size_t>(row.size));
  } else {
    row.skip(in_, opcode.number);
  }
  if (!in_.good())
    return fail(opcode.offset, opcode.number, "its operands are broken or go past the end of the picture");
  opcode.length = in_.at() - begin;
  opcode.operands = ByteReader(picture_.subspan(begin, opcode.length));
  return true;
}

}  // namespace qd
