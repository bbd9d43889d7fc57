#include "engine/pict/reader.h"

#include "engine/pict/bits.h"

namespace qd {
namespace {

constexpr std::size_t kFileHeader = 512;
constexpr std::size_t kFrameEnd = 10;
constexpr std::size_t kHeaderBytes = 24;

// Goes past operands by the letters of the table; the reader fails if they don't fit.
void skip(ByteReader& in, const char* operands, std::uint16_t opcode) {
  for (const char* letter = operands; *letter != 0 && in.good(); ++letter) {
    switch (*letter) {
      case 'b':
      case 'u':
        in.take(1);
        break;
      case 's':
      case 'w':
        in.take(2);
        break;
      case 'l':
      case 'F':
      case 'p':
        in.take(4);
        break;
      case 'c':
        in.take(6);
        break;
      case 'r':
      case '8':
        in.take(8);
        break;
      case 'T':
        in.take(in.u8());
        break;
      case 'n':
        in.take(in.u16());
        break;
      case 'N':
        in.take(in.u32());
        break;
      case 'H':
        in.take(std::size_t{2} * (opcode >> 8));
        break;
      case 'g': {
        const std::size_t size = in.u16();
        if (size < 10) in.fail();
        in.take(size - 2);
        break;
      }
      case 'X':
        if (!skipPixelPattern(in)) in.fail();
        break;
      case 'B':
        if (!skipBits(in, opcode)) in.fail();
        break;
      default:
        in.fail();
    }
  }
}

// The version of the picture whose head this is, past frame and no-ops; 0 if it is none.
int readVersion(ByteReader& in) {
  in.take(kFrameEnd);
  std::uint8_t byte = in.u8();
  while (in.good() && byte == op::NOP) byte = in.u8();
  if (byte != op::VersionOp) return 0;
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
  if (file.size() > kFileHeader && isPicture(file.subspan(kFileHeader))) return file.subspan(kFileHeader);
  if (isPicture(file)) return file;
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
  if (header_.version != 2 || in_.left() < 2 + kHeaderBytes) return;
  ByteReader peek = in_;
  if (peek.u16() != op::HeaderOp) return;
  const std::int16_t form = peek.s16();
  if (form == -2) {
    peek.u16();
    const Fixed hRes = peek.s32();
    const Fixed vRes = peek.s32();
    const Box source(peek.rect());
    if (hRes > 0 && vRes > 0) {
      header_.hRes = hRes;
      header_.vRes = vRes;
    }
    if (!source.empty()) header_.source = source;
  }
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
  if (in_.left() < (isWide ? 2U : 1U)) return fail(opcode.offset, 0, "it ends without an end opcode");
  opcode.number = isWide ? in_.u16() : in_.u8();
  if (opcode.number == op::OpEndPic) {
    opcode.operands = ByteReader();
    opcode.length = 0;
    ended_ = true;
    return false;
  }
  const std::size_t begin = in_.at();
  skip(in_, opcodeRow(opcode.number).operands, opcode.number);
  if (!in_.good())
    return fail(opcode.offset, opcode.number, "its operands are broken or go past the end of the picture");
  opcode.length = in_.at() - begin;
  opcode.operands = ByteReader(picture_.subspan(begin, opcode.length));
  return true;
}

}  // namespace qd
