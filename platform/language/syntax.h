// Host code as a tree: what the parser makes and the evaluator walks.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
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
  std::string in(const std::string& file, int firstLine = 1) const;
  Place place;
};

struct Expression;

struct Literal {
  std::variant<runtime::Nil, std::int32_t, double, bool, std::string> value;
};

struct Name {
  Place place;
  std::string text;  // as it is written
};

struct Arguments {
  Place place;  // of the bracket, if there is one
  std::vector<Expression> values;
};

// A variable, an element of an array, a function or a member: they look the same.
struct Use {
  Name name;
  std::optional<Arguments> arguments;
};

// Each member is one of the value before it.
struct Members {
  std::unique_ptr<Expression> owner;
  std::vector<Use> chain;
};

struct New {
  Name type;
};

struct Not {
  std::unique_ptr<Expression> operand;
};

struct Minus {
  std::unique_ptr<Expression> operand;
};

// Operators of one precedence lean to the left: what they make of the first goes into each of the rest in turn.
struct Operator;
struct Operation;
struct Binary {
  std::unique_ptr<Expression> first;
  std::vector<Operation> rest;
};

struct Expression {
  Place place;  // of its last operator, member or bracket
  std::variant<Literal, Use, Members, New, Not, Minus, Binary> form;
};

std::unique_ptr<Expression> boxed(Expression expression);

struct Operation {
  const Operator* by;
  Place place;
  Expression operand;
};

struct Statement;
using Block = std::vector<Statement>;

struct Dim {
  struct Variable {
    Name name;
    std::optional<Expression> last;  // of an array, the last index
  };
  std::vector<Variable> variables;
  std::string type;
  std::optional<Expression> value;  // made anew for each variable
};

struct Assign {
  Expression target, value;
};

struct Do {
  Expression call;
};

struct If {
  struct Branch {
    Expression condition;
    Block block;
  };
  std::vector<Branch> branches;
  Block otherwise;
};

struct For {
  Name variable;
  Expression first, last, step;
  Block body;
};

struct While {
  Expression condition;
  Block body;
};

struct Exit {};  // from the innermost loop

struct Statement {
  Place place;
  std::variant<Dim, Assign, Do, If, For, While, Exit> form;
};

}  // namespace language
