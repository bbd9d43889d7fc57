// Where the bytes of a picture go as they are recorded: memory, a handle, a file.
#pragma once

#include "engine/pict/bytes.h"

namespace qd {

class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // Appends all of the bytes, or does nothing and answers false. After it has succeeded, as many as `spare` more bytes
  // can be appended without fail.
  virtual bool append(Bytes bytes, std::size_t spare) = 0;
  // Puts bytes in the place of some that were appended.
  virtual void replace(std::size_t at, Bytes bytes) = 0;
};

}  // namespace qd
