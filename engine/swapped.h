// The bytes of a word the other way round: pictures are big-endian. std::byteswap comes with C++23 only; what stands in
// for it, GCC and Clang have.
#pragma once

#include <cstdint>

namespace qd {

inline std::uint16_t swapped(std::uint16_t word) { return __builtin_bswap16(word); }
inline std::uint32_t swapped(std::uint32_t word) { return __builtin_bswap32(word); }

}  // namespace qd
