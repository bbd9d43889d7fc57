// Host code as words, numbers, strings and symbols.
#pragma once

#include <string>
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

// What is written there in quotes, as a sentence has it: the beginning of what is long, and no character that would
// do something to a terminal.
std::string inQuotes(std::string_view text);

// Comments are gone, and a line that ends in _ goes on in the next. Throws Error.
std::vector<Token> tokensOf(std::string_view source);

}  // namespace language
