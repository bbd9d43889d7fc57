#include "platform/language/values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace language {

Arrays::~Arrays() {
  for (std::size_t left = alive_.size(); left > 0 && !alive_.empty(); --left) {
    alive_.splice(alive_.end(), alive_, alive_.begin());
    const std::vector<Value> elements = std::move(alive_.back().elements);
  }
}

std::shared_ptr<Array> Arrays::make(std::string type, std::vector<Value> elements) {
  alive_.push_front({std::move(type), std::move(elements)});
  return {&alive_.front(), [this, array = alive_.begin()](Array*) { destroy(array); }};
}

// What dies with an array's elements waits in the list for its turn.
void Arrays::destroy(std::list<Array>::iterator array) {
  dying_.splice(dying_.end(), alive_, array);
  if (dying_.size() > 1) return;
  while (!dying_.empty()) {
    dying_.front().elements.clear();
    dying_.pop_front();
  }
}

std::string classOf(const runtime::Object& object) {
  if (const auto* instance = runtime::as<runtime::Instance>(object.get())) return instance->info->name;
  if (runtime::as<runtime::PictureObject>(object.get()) != nullptr) return "Picture";
  return runtime::as<runtime::Graphics>(object.get()) != nullptr ? "Graphics" : "MemoryBlock";
}

std::string kindOf(const Value& value) {
  if (const auto* object = std::get_if<runtime::Object>(&value)) return "a " + classOf(*object);
  static constexpr std::array<const char*, 7> kKinds = {"nil",      "an integer", "a real number", "a boolean",
                                                        "a string", "an object",  "an array"};
  return kKinds[value.index()];
}

double realOf(const Value& value, Place place) {
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
  if (const auto* real = std::get_if<double>(&value)) return *real;
  throw Error(place, "This is " + kindOf(value) + "; a number would work.");
}

std::int32_t integerOf(const Value& value, Place place) {
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
  const double real = realOf(value, place);
  return std::isnan(real) ? 0 : static_cast<std::int32_t>(std::clamp<double>(real, INT32_MIN, INT32_MAX));
}

bool booleanOf(const Value& value, Place place) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  throw Error(place, "This is " + kindOf(value) + "; true, false or a comparison would work.");
}

std::string_view bytesOf(const Value& value) {
  const auto* string = std::get_if<runtime::String>(&value);
  return string != nullptr ? runtime::bytesOf(string->get()) : std::string_view();
}

std::string printed(const Value& value, Place place) {
  if (std::holds_alternative<runtime::String>(value)) return std::string(bytesOf(value));
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return std::to_string(*integer);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "True" : "False";
  if (std::holds_alternative<runtime::Nil>(value)) return "";
  const auto* real = std::get_if<double>(&value);
  if (real == nullptr) throw Error(place, "This is " + kindOf(value) + "; a string or a number would work.");
  char text[32];
  std::snprintf(text, sizeof text, "%.7g", *real);
  return text;
}

Value fromHost(runtime::Value value) {
  return std::visit([](auto& held) -> Value { return std::move(held); }, value);
}

runtime::Value toHost(const Value& value, const runtime::Host& host, Place place) {
  if (const auto* array = std::get_if<std::shared_ptr<Array>>(&value)) {
    std::vector<std::int32_t> integers;
    for (const Value& element : (*array)->elements) integers.push_back(integerOf(element, place));
    return host.integers(std::move(integers));
  }
  if (std::holds_alternative<double>(value)) return integerOf(value, place);
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* string = std::get_if<runtime::String>(&value)) return *string;
  if (const auto* object = std::get_if<runtime::Object>(&value)) return *object;
  return runtime::Nil();
}

}  // namespace language
