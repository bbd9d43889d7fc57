// The operators between two values.
#pragma once

#include <optional>
#include <string_view>

#include "platform/language/values.h"

namespace language {

// From the loosest to the tightest.
enum Precedence { kAlternative, kConjunction, kComparison, kSum, kProduct, kPower };

// A value, and where it stands.
struct Placed {
  Value value;
  Place place;
};

struct Operator {
  const char* text;
  Precedence precedence;
  Value (*combine)(const runtime::Host& host, const Placed& left, const Placed& right, Place place);
  std::optional<bool> decided = {};  // by this on the left, which is then what comes of it
};

// Null for what is no operator.
const Operator* findOperator(std::string_view text);

}  // namespace language
