#include "platform/language/syntax.h"

#include <utility>

namespace language {

std::string Error::in(const std::string& file, int firstLine) const {
  return file + ":" + std::to_string(firstLine + place.line - 1) + ":" + std::to_string(place.column) + ": " + what();
}

std::unique_ptr<Expression> boxed(Expression expression) { return std::make_unique<Expression>(std::move(expression)); }

}  // namespace language
