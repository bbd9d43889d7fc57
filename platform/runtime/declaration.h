// Declarations of methods and properties in the host's language: "Name(x as integer, points() as integer) as string".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace runtime {

enum class Type { none, integer, boolean, string, color, picture, graphics, memoryBlock, integerArray };

struct Declaration {
  std::string name;
  struct Parameter {
    std::string name;
    Type type;
  };
  std::vector<Parameter> parameters;
  Type result = Type::none;
};

// Nothing if the text is no declaration, or names a type that the host doesn't know.
std::optional<Declaration> parseDeclaration(std::string_view text);

// The declaration as host code has it.
std::string spelled(const Declaration& declaration);
const char* nameOf(Type type);
bool sameName(std::string_view a, std::string_view b);  // the language doesn't tell cases apart

}  // namespace runtime
