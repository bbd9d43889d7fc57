// Host code as a tree: what the parser makes and the evaluator walks.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "platform/runtime/host.h"

namespace language {

struct Place {
  int line = 1, column = 1;
};

// A mistake in host code, as a sentence, and where it stands.
class Error : public runtime::Error {
 public:
  Error(Place place, const std::string& sentence) : runtime::Error(sentence), place(place) {}
  // The sentence with the place in front, in a file of that name whose program begins at a line.
  std::string in(const std::string& file, int firstLine = 1) const {
    return file + ":" + std::to_string(firstLine + place.line - 1) + ":" + std::to_string(place.column) + ": " + what();
  }
  Place place;
};

using Literal = std::variant<runtime::Nil, std::int32_t, double, bool, std::string>;

struct Expression {
  enum class Kind {
    literal,
    name,       // text
    member,     // text of parts[0]
    call,       // parts[0], a name or a member, with the rest as arguments; an index looks the same
    construct,  // New text
    unary,      // text is the operator, in small letters
    binary,
  };
  Kind kind;
  Place place;
  std::string text;
  Literal literal;
  std::vector<Expression> parts;
};

struct Statement {
  enum class Kind {
    dim,        // name as type; for an array isArray, and expressions[0] the last index
    assign,     // expressions[0] becomes expressions[1]
    call,       // expressions[0]
    condition,  // blocks[i] if expressions[i]; a block more is the Else
    loopFor,    // name from expressions[0] to expressions[1] by expressions[2]
    loopWhile,  // blocks[0] while expressions[0]
    leave,      // the innermost loop
  };
  Kind kind;
  Place place;
  std::string name, type;
  bool isArray = false;
  std::vector<Expression> expressions;
  std::vector<std::vector<Statement>> blocks;
};

using Block = std::vector<Statement>;

}  // namespace language
