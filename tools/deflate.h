// Bytes compressed into a zlib stream, as PNG has them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

// By libdeflate, which wants all bytes at once, where the build has it and they aren't many; else by zlib, piece by
// piece.
class Deflater {
 public:
  using Use = std::function<void(std::string_view piece)>;
  // `use` gets the stream's pieces in their order. Throws std::bad_alloc where there is no memory.
  Deflater(std::size_t total, Use use);
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater();

  // The next bytes; the last of them end the stream.
  void put(std::span<const std::uint8_t> bytes);

 private:
  struct Stream;
  void finishAtOnce();

  std::size_t left_;
  Use use_;
  std::vector<std::uint8_t> all_;   // what comes at once
  std::unique_ptr<Stream> stream_;  // or else piece by piece
};
