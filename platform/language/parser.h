// Host code as statements.
#pragma once

#include <string_view>

#include "platform/language/syntax.h"

namespace language {

// Throws Error at the first thing that is out of place.
Block parse(std::string_view source);

}  // namespace language
