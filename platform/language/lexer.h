// Host code as words, numbers, strings and symbols.
#pragma once

#include <string_view>
#include <vector>

#include "platform/language/syntax.h"

namespace language {

struct Token {
  enum class Kind { name, literal, symbol, endOfLine, end };
  Kind kind;
  Place place;
  std::string text;  // as it is written
  Literal literal;
};

// Comments are gone, and a line that ends in _ goes on in the next. Throws Error.
std::vector<Token> tokensOf(std::string_view source);

}  // namespace language
