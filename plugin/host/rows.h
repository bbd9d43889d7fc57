// Rows of a method table. The host calls a handler by the declaration beside it, so the two are compared when the row
// is compiled: a handler that takes or gives something else than its declaration says is no row.
#pragma once

#include <type_traits>

#include "contract/host.h"
#include "contract/records.h"

namespace host {

// The types of the host's language, and what a handler gets for a value of each.
enum class Type { none, integer, color, boolean, integers, string, memoryBlock, picture, graphics, unknown };

struct NamedType {
  const char* name;
  Type type;
};
inline constexpr NamedType kTypeNames[] = {{"integer", Type::integer},  {"color", Type::color},
                                           {"boolean", Type::boolean},  {"string", Type::string},
                                           {"picture", Type::picture},  {"memoryblock", Type::memoryBlock},
                                           {"graphics", Type::graphics}};

template <class T>
inline constexpr Type kTypeOf = Type::unknown;
template <>
inline constexpr Type kTypeOf<void> = Type::none;
template <>
inline constexpr Type kTypeOf<std::int32_t> = Type::integer;
template <>
inline constexpr Type kTypeOf<std::uint32_t> = Type::color;
template <>
inline constexpr Type kTypeOf<bool> = Type::boolean;
template <>
inline constexpr Type kTypeOf<signed char> = Type::boolean;
template <>
inline constexpr Type kTypeOf<REALarrayInteger*> = Type::integers;
template <>
inline constexpr Type kTypeOf<REALstringStruct*> = Type::string;
template <>
inline constexpr Type kTypeOf<REALmemoryBlockStruct*> = Type::memoryBlock;
template <>
inline constexpr Type kTypeOf<REALpictureStruct*> = Type::picture;
template <>
inline constexpr Type kTypeOf<REALgraphicsStruct*> = Type::graphics;

// Reads a declaration: name, parameters in parentheses if there are any, and the type of a result. A property is
// declared as a method without parameters.
class DeclarationReader {
 public:
  constexpr explicit DeclarationReader(const char* text) : at_(text) {}

  // Takes the word or sign that comes next, if it is this one.
  constexpr bool take(const char* wanted) {
    while (*at_ == ' ') ++at_;
    const char* at = at_;
    for (; *wanted != 0; ++wanted, ++at) {
      if (Lower(*at) != *wanted) return false;
    }
    at_ = at;
    return true;
  }
  constexpr bool takeName() {
    while (*at_ == ' ') ++at_;
    const char* const start = at_;
    while ((Lower(*at_) >= 'a' && Lower(*at_) <= 'z') || (*at_ >= '0' && *at_ <= '9')) ++at_;
    return at_ != start;
  }
  constexpr Type takeType() {
    if (!take("as ")) return Type::none;
    for (const NamedType& named : kTypeNames) {
      if (take(named.name)) return named.type;
    }
    return Type::unknown;
  }
  constexpr Type takeParameter() {
    if (!takeName()) return Type::unknown;
    const bool isArray = take("(") && take(")");
    const Type type = takeType();
    return isArray ? (type == Type::integer ? Type::integers : Type::unknown) : type;
  }
  constexpr bool atEnd() const { return *at_ == 0; }

 private:
  static constexpr char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

  const char* at_;
};

// A handler's signature without the object that its method is called on, or whole with void for a global method. No
// type where the handler is another class's.
template <class Receiver, class Handler>
struct WithoutReceiver;
template <class Receiver, class Result, class... Arguments>
struct WithoutReceiver<Receiver, Result(Receiver, Arguments...)> {
  using type = Result(Arguments...);
};
template <class Result, class... Arguments>
struct WithoutReceiver<void, Result(Arguments...)> {
  using type = Result(Arguments...);
};

enum class Fit { fits, noDeclaration, otherArguments, otherResult };

template <class Result, class... Arguments>
constexpr Fit CheckMethod(const char* declaration, std::type_identity<Result(Arguments...)>) {
  constexpr std::size_t count = sizeof...(Arguments);
  constexpr Type types[count + 1] = {kTypeOf<Arguments>..., Type::none};
  DeclarationReader reader(declaration);
  if (!reader.takeName()) return Fit::noDeclaration;
  std::size_t taken = 0;
  if (reader.take("(")) {
    do {
      const Type type = reader.takeParameter();
      if (type == Type::unknown || type == Type::none) return Fit::noDeclaration;
      if (taken == count || types[taken++] != type) return Fit::otherArguments;
    } while (reader.take(","));
    if (!reader.take(")")) return Fit::noDeclaration;
  }
  if (taken != count) return Fit::otherArguments;
  const Type result = reader.takeType();
  if (result == Type::unknown || !reader.atEnd()) return Fit::noDeclaration;
  return kTypeOf<Result> == result ? Fit::fits : Fit::otherResult;
}

// A setter takes what the getter gives.
template <class Value>
constexpr bool IsSetter(std::type_identity<Value()>, std::type_identity<void(Value)>) {
  return true;
}
template <class Getter, class Setter>
constexpr bool IsSetter(Getter, Setter) {
  return false;
}

// No constant expression can call these, so that the compiler's message about a wrong row names what is wrong.
void TheDeclarationCannotBeRead();
void TheHandlerTakesOtherArguments();
void TheHandlerGivesAnotherResult();
void TheSetterTakesAnotherValue();

template <class Receiver, class Handler>
using Declared = std::type_identity<typename WithoutReceiver<Receiver, Handler>::type>;

template <class Receiver, class Handler>
consteval const char* Declare(const char* declaration) {
  const Fit fit = CheckMethod(declaration, Declared<Receiver, Handler>());
  if (fit == Fit::noDeclaration) TheDeclarationCannotBeRead();
  if (fit == Fit::otherArguments) TheHandlerTakesOtherArguments();
  if (fit == Fit::otherResult) TheHandlerGivesAnotherResult();
  return declaration;
}

template <class Receiver, class Getter, class Setter>
consteval const char* DeclareProperty(const char* declaration) {
  if (!IsSetter(Declared<Receiver, Getter>(), Declared<Receiver, Setter>())) TheSetterTakesAnotherValue();
  return Declare<Receiver, Getter>(declaration);
}

}  // namespace host

// The rows themselves; a property's row has a getter in place of the method and, if it can be set, a setter. A file
// with a table says first whom its methods are called on: `using Receiver = REALpictureStruct*`. Macros, because a
// handler's address takes a cast that no constant expression may hold; the compiler emits the rows as data.
#define REAL_SIGNATURE(function) std::remove_pointer_t<std::decay_t<decltype(function)>>
#define REAL_ROW(handler, declaration, attributeCount, attributes)                                                    \
  {                                                                                                                   \
    REAL_HANDLER(handler), nullptr, host::Declare<Receiver, REAL_SIGNATURE(handler)>(declaration), 0, attributeCount, \
        attributes                                                                                                    \
  }
#define REAL_PROPERTY_ROW(getter, setter, declaration, attributeCount, attributes)                       \
  {                                                                                                      \
    REAL_HANDLER(getter), REAL_HANDLER(setter),                                                          \
        host::DeclareProperty<Receiver, REAL_SIGNATURE(getter), REAL_SIGNATURE(setter)>(declaration), 0, \
        attributeCount, attributes                                                                       \
  }
#define REAL_METHOD(handler, declaration) REAL_ROW(handler, declaration, 0, nullptr)
#define REAL_DEPRECATED_METHOD(handler, declaration) REAL_ROW(handler, declaration, 1, DeprecatedAttributes)
#define REAL_PROPERTY(getter, setter, declaration) REAL_PROPERTY_ROW(getter, setter, declaration, 0, nullptr)
#define REAL_DEPRECATED_PROPERTY(getter, setter, declaration) \
  REAL_PROPERTY_ROW(getter, setter, declaration, 1, DeprecatedAttributes)
