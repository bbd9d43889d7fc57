#include "platform/language/operators.h"

#include <cmath>
#include <compare>
#include <functional>

#include "platform/runtime/declaration.h"

namespace language {
namespace {

using runtime::Host;

double realOf(const Placed& number) { return language::realOf(number.value, number.place); }

template <class Kind>
bool areBoth(const Placed& left, const Placed& right) {
  return std::holds_alternative<Kind>(left.value) && std::holds_alternative<Kind>(right.value);
}

template <class Bits>
Value logic(const Host&, const Placed& left, const Placed& right, Place) {
  if (areBoth<std::int32_t>(left, right)) {
    return Bits()(std::get<std::int32_t>(left.value), std::get<std::int32_t>(right.value));
  }
  const bool first = booleanOf(left.value, left.place);
  return static_cast<bool>(Bits()(first, booleanOf(right.value, right.place)));
}

// Nil is an empty string too: that is how a plug-in's string without bytes arrives.
template <bool isWanted>
Value same(const Host&, const Placed& left, const Placed& right, Place place) {
  const auto isText = [](const Value& v) {
    return std::holds_alternative<runtime::String>(v) || std::holds_alternative<runtime::Nil>(v);
  };
  const auto isNumber = [](const Value& v) {
    return std::holds_alternative<std::int32_t>(v) || std::holds_alternative<double>(v);
  };
  const Value& a = left.value;
  const Value& b = right.value;
  bool areSame = false;
  if (isNumber(a) && isNumber(b)) {
    areSame = realOf(left) == realOf(right);
  } else if (isText(a) && isText(b)) {
    areSame = bytesOf(a) == bytesOf(b);
  } else if (areBoth<runtime::Object>(left, right)) {
    areSame = std::get<runtime::Object>(a).get() == std::get<runtime::Object>(b).get();
  } else if (areBoth<std::shared_ptr<Array>>(left, right)) {
    areSame = std::get<std::shared_ptr<Array>>(a) == std::get<std::shared_ptr<Array>>(b);
  } else if (areBoth<bool>(left, right)) {
    areSame = std::get<bool>(a) == std::get<bool>(b);
  } else if (!std::holds_alternative<runtime::Nil>(a) && !std::holds_alternative<runtime::Nil>(b)) {
    throw Error(place, kindOf(a) + " and " + kindOf(b) + " can't be compared; two of a kind would work.");
  }
  return areSame == isWanted;
}

template <bool holds(std::partial_ordering) noexcept>
Value ordered(const Host&, const Placed& left, const Placed& right, Place) {
  if (areBoth<runtime::String>(left, right)) return holds(bytesOf(left.value) <=> bytesOf(right.value));
  const double first = realOf(left);
  return holds(first <=> realOf(right));
}

template <class Compute>
Value arithmetic(const Host&, const Placed& left, const Placed& right, Place) {
  if (areBoth<std::int32_t>(left, right)) {
    const std::int64_t first = std::get<std::int32_t>(left.value);
    return wrapped(Compute()(first, std::get<std::int32_t>(right.value)));
  }
  const double first = realOf(left);
  return Compute()(first, realOf(right));
}

Value plus(const Host& host, const Placed& left, const Placed& right, Place place) {
  if (!areBoth<runtime::String>(left, right)) return arithmetic<std::plus<>>(host, left, right, place);
  const std::string_view first = bytesOf(left.value);
  const std::string_view second = bytesOf(right.value);
  runtime::requireStringOf(first.size() + second.size());
  std::string both;
  both.reserve(first.size() + second.size());
  return required(host.string(both.append(first).append(second)));
}

template <auto function>
Value real(const Host&, const Placed& left, const Placed& right, Place) {
  const double first = realOf(left);
  return function(first, realOf(right));
}

template <class Divide>
Value whole(const Host&, const Placed& left, const Placed& right, Place) {
  const std::int64_t dividend = integerOf(left.value, left.place);
  const std::int64_t divisor = integerOf(right.value, right.place);
  if (divisor == 0) throw Error(right.place, "Nothing can be divided by 0; any other number would work.");
  return wrapped(Divide()(dividend, divisor));
}

constexpr Operator kOperators[] = {
    {"or", kAlternative, logic<std::bit_or<>>, true},
    {"xor", kAlternative, logic<std::bit_xor<>>},
    {"and", kConjunction, logic<std::bit_and<>>, false},
    {"=", kComparison, same<true>},
    {"is", kComparison, same<true>},
    {"<>", kComparison, same<false>},
    {"<", kComparison, ordered<std::is_lt>},
    {">", kComparison, ordered<std::is_gt>},
    {"<=", kComparison, ordered<std::is_lteq>},
    {">=", kComparison, ordered<std::is_gteq>},
    {"+", kSum, plus},
    {"-", kSum, arithmetic<std::minus<>>},
    {"*", kProduct, arithmetic<std::multiplies<>>},
    {"/", kProduct, real<std::divides<double>{}>},
    {"\\", kProduct, whole<std::divides<>>},
    {"mod", kProduct, whole<std::modulus<>>},
    {"^", kPower, real<static_cast<double (*)(double, double)>(std::pow)>},
};

}  // namespace

const Operator* findOperator(std::string_view text) {
  for (const Operator& known : kOperators) {
    if (runtime::sameName(known.text, text)) return &known;
  }
  return nullptr;
}

}  // namespace language
