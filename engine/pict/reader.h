// Walks a PICT from opcode to opcode. Each opcode's operands are cut out before anybody looks into them.
#pragma once

#include <optional>
#include <string>

#include "engine/pict/bytes.h"

namespace qd {

struct PictureHeader {
  int version = 0;  // 1 or 2
  Rect frame = {};  // at 72 dpi
  Box source;       // the space of the picture's coordinates
  Fixed hRes = 0x480000, vRes = 0x480000;
};

struct Opcode {
  std::size_t offset = 0;
  std::uint16_t number = 0;
  ByteReader operands;
  std::size_t length = 0;
};

class PictureReader {
 public:
  // The bytes of a picture handle, without a file's header.
  explicit PictureReader(Bytes picture);

  const PictureHeader& header() const { return header_; }
  // The next opcode; false at the end opcode, or at an error.
  bool next(Opcode& opcode);
  // True after the end opcode.
  bool ended() const { return ended_; }
  const std::optional<PictureError>& error() const { return error_; }
  // The error is that, and all opcodes were whole.
  bool isEndMissing() const { return isEndMissing_; }
  std::size_t at() const { return in_.at(); }
  // Bytes after the last opcode read.
  std::size_t left() const { return in_.left(); }

 private:
  void readHeader();
  bool fail(std::size_t offset, std::uint16_t opcode, std::string what);

  Bytes picture_;
  ByteReader in_;
  PictureHeader header_;
  bool ended_ = false, isEndMissing_ = false;
  std::optional<PictureError> error_;
};

}  // namespace qd
