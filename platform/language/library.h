// The functions and members that the host's language has of its own.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/language/evaluator.h"
#include "platform/language/values.h"

namespace language {

struct Call {
  runtime::Host& host;
  const Surroundings& surroundings;
  Arrays& arrays;
  Place place;
  std::vector<Value> arguments;  // of a setter, the new value is the last

  std::int32_t integer(std::size_t i) const { return integerOf(arguments.at(i), place); }
};

constexpr std::size_t kAny = SIZE_MAX;  // arguments: as many as there are

struct Function {
  const char* name;
  std::size_t least, most;
  Value (*call)(Call& call);
};

struct Member {
  const char* owner;
  const char* name;
  std::size_t count;  // of arguments
  Value (*call)(Call& call, const runtime::Object& object);
  void (*set)(Call& call, const runtime::Object& object);  // null where it can't be set
};

// Null for a name that isn't the language's own.
const Function* findFunction(std::string_view name);
const Member* findMember(const runtime::Object& object, std::string_view name);

}  // namespace language
