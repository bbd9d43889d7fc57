// What the bytes of a text mean: MacRoman's characters, or those of the two fonts of signs, which have tables of their
// own.
#pragma once

#include <cstdint>

namespace qd {

enum class Encoding { macRoman, symbol, dingbats };

// A code that no font has a character for.
inline constexpr char32_t kNoCharacter = 0xF8FF;

// The system font's marks of menus, which other fonts don't have: the command key's, a check mark, a diamond, an apple.
inline constexpr unsigned char kFirstMark = 0x11, kLastMark = 0x14;

// Unicode's code of a byte; 0 for what neither is seen nor takes place, such as the end of a line.
char32_t unicodeOf(Encoding encoding, unsigned char byte);

}  // namespace qd
