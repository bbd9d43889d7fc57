// What host code computes with.
#pragma once

#include <list>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/language/syntax.h"

namespace language {

struct Array;
using Value =
    std::variant<runtime::Nil, std::int32_t, double, bool, runtime::String, runtime::Object, std::shared_ptr<Array>>;
struct Array {
  std::string type;
  std::vector<Value> elements;
};

// All arrays of a program. However deep they hold each other, they go one by one; circles of them go with the program.
class Arrays {
 public:
  Arrays() = default;
  ~Arrays();
  Arrays(const Arrays&) = delete;
  Arrays& operator=(const Arrays&) = delete;

  std::shared_ptr<Array> make(std::string type, std::vector<Value> elements);

 private:
  void destroy(std::list<Array>::iterator array);

  std::list<Array> alive_, dying_;
};

// "an integer", "a Picture", as a sentence needs it.
std::string kindOf(const Value& value);
// The class of an object of the host's or of a plug-in's.
std::string classOf(const runtime::Object& object);

// These throw Error for what is of another kind; a real number loses its fraction where an integer is wanted.
std::int32_t integerOf(const Value& value, Place place);
double realOf(const Value& value, Place place);
bool booleanOf(const Value& value, Place place);
std::string printed(const Value& value, Place place);  // a string as it is, anything else as Print shows it
std::string_view bytesOf(const Value& value);          // of a string, while it lives; none of anything else

// Integers have 32 bits, and go round.
constexpr std::int32_t wrapped(std::int64_t number) { return static_cast<std::int32_t>(number); }

// What the host has made; it gives nothing where there is no memory.
template <class Reference>
Value required(Reference reference) {
  if (!reference) throw std::bad_alloc();
  return reference;
}

Value fromHost(runtime::Value value);
// Integers in an array become an array of the host's.
runtime::Value toHost(const Value& value, const runtime::Host& host, Place place);

}  // namespace language
