#include "platform/runtime/declaration.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace runtime {
namespace {

constexpr std::array<std::pair<std::string_view, Type>, 8> kTypes = {{{"integer", Type::integer},
                                                                      {"boolean", Type::boolean},
                                                                      {"string", Type::string},
                                                                      {"color", Type::color},
                                                                      {"picture", Type::picture},
                                                                      {"graphics", Type::graphics},
                                                                      {"memoryblock", Type::memoryBlock},
                                                                      {"integer()", Type::integerArray}}};

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::string word() {
    skipSpace();
    std::string found;
    while (at_ < text_.size() && (std::isalnum(static_cast<unsigned char>(text_[at_])) != 0 || text_[at_] == '_')) {
      found += text_[at_++];
    }
    return found;
  }
  bool take(char c) {
    skipSpace();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool done() {
    skipSpace();
    return at_ == text_.size();
  }
  // "as" and a type.
  std::optional<Type> type() {
    if (!sameName(word(), "as")) return std::nullopt;
    const std::string name = word();
    for (const auto& [known, type] : kTypes) {
      if (sameName(name, known)) return type;
    }
    return std::nullopt;
  }

 private:
  void skipSpace() {
    while (at_ < text_.size() && text_[at_] == ' ') ++at_;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

const char* nameOf(Type type) {
  for (const auto& [name, known] : kTypes) {
    if (known == type) return name.data();
  }
  return "nothing";
}

std::string spelled(const Declaration& declaration) {
  std::string text = declaration.name;
  for (const Declaration::Parameter& parameter : declaration.parameters) {
    const bool isArray = parameter.type == Type::integerArray;
    text += (&parameter == &declaration.parameters.front() ? "(" : ", ") + parameter.name +
            (isArray ? "() as " : " as ") + nameOf(isArray ? Type::integer : parameter.type);
  }
  if (!declaration.parameters.empty()) text += ")";
  return declaration.result == Type::none ? text : text + " as " + nameOf(declaration.result);
}

std::optional<Declaration> parseDeclaration(std::string_view text) {
  Scanner scanner(text);
  Declaration declaration;
  declaration.name = scanner.word();
  if (declaration.name.empty()) return std::nullopt;
  if (scanner.take('(') && !scanner.take(')')) {
    do {
      Declaration::Parameter parameter;
      parameter.name = scanner.word();
      const bool isArray = scanner.take('(') && scanner.take(')');
      const auto type = scanner.type();
      if (parameter.name.empty() || !type || (isArray && *type != Type::integer)) return std::nullopt;
      parameter.type = isArray ? Type::integerArray : *type;
      declaration.parameters.push_back(parameter);
    } while (scanner.take(','));
    if (!scanner.take(')')) return std::nullopt;
  }
  if (!scanner.done()) {
    const auto type = scanner.type();
    if (!type || !scanner.done()) return std::nullopt;
    declaration.result = *type;
  }
  return declaration;
}

}  // namespace runtime
