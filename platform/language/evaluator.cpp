#include "platform/language/evaluator.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <map>

#include "platform/language/library.h"
#include "platform/language/parser.h"
#include "platform/language/values.h"
#include "platform/runtime/declaration.h"

namespace language {
namespace {

using Kind = Expression::Kind;
using runtime::sameName;

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::int32_t wrapped(std::int64_t number) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(number)); }

constexpr std::int32_t kMostElements = 10'000'000;

class Evaluator {
 public:
  Evaluator(runtime::Host& host, const Surroundings& surroundings) : host_(host), surroundings_(surroundings) {}

  enum class Flow { next, leave };

  Flow run(const Block& block) {
    for (const Statement& statement : block) {
      if (run(statement) == Flow::leave) return Flow::leave;
    }
    return Flow::next;
  }

 private:
  struct Variable {
    std::string type;
    Value value;
  };

  // ---- statements
  Flow run(const Statement& statement) {
    switch (statement.kind) {
      case Statement::Kind::dim:
        dim(statement);
        break;
      case Statement::Kind::assign:
        assign(statement.expressions[0], evaluate(statement.expressions[1]));
        break;
      case Statement::Kind::call:
        evaluate(statement.expressions[0]);
        break;
      case Statement::Kind::condition:
        return choose(statement);
      case Statement::Kind::loopFor:
        loopFor(statement);
        break;
      case Statement::Kind::loopWhile:
        while (booleanOf(evaluate(statement.expressions[0]), statement.expressions[0].place)) {
          if (run(statement.blocks[0]) == Flow::leave) break;
        }
        break;
      case Statement::Kind::leave:
        return Flow::leave;
    }
    return Flow::next;
  }

  void dim(const Statement& statement) {
    Variable variable{lower(statement.type), initial(statement.type, statement.place)};
    if (statement.isArray) {
      const std::int32_t last = integerOf(evaluate(statement.expressions[0]), statement.expressions[0].place);
      if (last < -1 || last >= kMostElements) {
        throw Error(statement.expressions[0].place,
                    "An array can't end at " + std::to_string(last) + "; 0 to 9999999 would work.");
      }
      const std::vector<Value> elements(static_cast<std::size_t>(last + 1), variable.value);
      variable.value = std::make_shared<Array>(Array{variable.type, elements});
    }
    variables_[lower(statement.name)] = std::move(variable);
  }

  Flow choose(const Statement& statement) {
    std::size_t i = 0;
    while (i < statement.expressions.size() &&
           !booleanOf(evaluate(statement.expressions[i]), statement.expressions[i].place)) {
      ++i;
    }
    return i < statement.blocks.size() ? run(statement.blocks[i]) : Flow::next;
  }

  void loopFor(const Statement& loop) {
    const Expression variable{Kind::name, loop.place, loop.name, {}, {}};
    const Value step = evaluate(loop.expressions[2]);
    const double by = realOf(step, loop.expressions[2].place);
    if (by == 0) throw Error(loop.expressions[2].place, "A step of 0 never ends; any other number would work.");
    assign(variable, evaluate(loop.expressions[0]));
    while (true) {
      const double at = realOf(evaluate(variable), loop.place);
      const double last = realOf(evaluate(loop.expressions[1]), loop.expressions[1].place);
      if (by > 0 ? at > last : at < last) return;
      if (run(loop.blocks[0]) == Flow::leave) return;
      const double next = realOf(evaluate(variable), loop.place) + by;
      const bool isWhole = std::holds_alternative<std::int32_t>(evaluate(variable));
      if (isWhole && (next > INT32_MAX || next < INT32_MIN)) return;
      assign(variable, isWhole ? Value(static_cast<std::int32_t>(next)) : Value(next));
    }
  }

  // ---- variables
  Variable& variable(const Expression& name) {
    const auto found = variables_.find(lower(name.text));
    if (found == variables_.end()) {
      throw Error(name.place, "There is no variable \"" + name.text + "\"; Dim " + name.text +
                                  " As Integer, or another type, would make one.");
    }
    return found->second;
  }

  // What a variable of a type holds before anything is assigned.
  Value initial(const std::string& type, Place place) const {
    for (const char* known : {"integer", "int32", "color"}) {
      if (sameName(type, known)) return 0;
    }
    for (const char* known : {"double", "single"}) {
      if (sameName(type, known)) return 0.0;
    }
    if (sameName(type, "boolean")) return false;
    if (sameName(type, "string")) return host_.string("");
    for (const char* known : {"variant", "picture", "graphics", "memoryblock"}) {
      if (sameName(type, known)) return {};
    }
    std::string classes;
    for (const auto& [name, info] : host_.classes()) {
      if (info.dataSize == 0) continue;
      if (sameName(type, name)) return {};
      classes += ", " + name;
    }
    throw Error(place, "There is no type \"" + type +
                           "\"; Integer, Double, Boolean, String, Color, Variant, Picture, Graphics, MemoryBlock" +
                           classes + " would work.");
  }

  // A value as a variable of a type takes it.
  Value fitted(const Value& value, const std::string& type, Place place) const {
    if (type == "variant") return value;
    const Value model = initial(type, place);
    if (std::holds_alternative<std::int32_t>(model)) return integerOf(value, place);
    if (std::holds_alternative<double>(model)) return realOf(value, place);
    if (std::holds_alternative<bool>(model)) return booleanOf(value, place);
    const auto* object = std::get_if<runtime::Object>(&value);
    const bool fits =
        std::holds_alternative<runtime::Nil>(value) ||
        (std::holds_alternative<runtime::String>(model) && std::holds_alternative<runtime::String>(value)) ||
        (std::holds_alternative<runtime::Nil>(model) && object != nullptr && sameName(classOf(*object), type));
    if (!fits) throw Error(place, "This is " + kindOf(value) + "; a value of the type " + type + " would work.");
    return value;
  }

  // Two variables share an array; one of another type is copied, element by element.
  std::shared_ptr<Array> fittedArray(const Value& value, const std::string& type, Place place) const {
    const auto* from = std::get_if<std::shared_ptr<Array>>(&value);
    if (from == nullptr) throw Error(place, "This is " + kindOf(value) + "; an array would work.");
    if ((*from)->type == type) return *from;
    Array array{type, {}};
    for (const Value& element : (*from)->elements) array.elements.push_back(fitted(element, type, place));
    return std::make_shared<Array>(std::move(array));
  }

  Value& element(const Expression& call) {
    const Expression& name = call.parts[0];
    const auto* array = std::get_if<std::shared_ptr<Array>>(&variable(name).value);
    if (array == nullptr) throw Error(name.place, "\"" + name.text + "\" is no array; only an array has an index.");
    if (call.parts.size() != 2) throw Error(call.place, "An array takes one index.");
    const std::int32_t index = integerOf(evaluate(call.parts[1]), call.parts[1].place);
    std::vector<Value>& elements = (*array)->elements;
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
      throw Error(call.parts[1].place, "OutOfBoundsException: \"" + name.text + "\" has no element " +
                                           std::to_string(index) + "; it has " + std::to_string(elements.size()) + ".");
    }
    return elements[static_cast<std::size_t>(index)];
  }

  void assign(const Expression& target, const Value& value) {
    const bool isCall = target.kind == Kind::call;
    const Expression& what = isCall ? target.parts[0] : target;
    if (what.kind == Kind::member) return assignMember(what, isCall ? arguments(target) : std::vector<Value>(), value);
    if (what.kind != Kind::name) throw Error(target.place, "Nothing can be assigned to this; a variable would work.");
    Variable& to = variable(what);
    if (isCall) {
      element(target) = fitted(value, std::get<std::shared_ptr<Array>>(to.value)->type, target.place);
    } else if (std::holds_alternative<std::shared_ptr<Array>>(to.value)) {
      to.value = fittedArray(value, to.type, target.place);
    } else {
      to.value = fitted(value, to.type, target.place);
    }
  }

  void assignMember(const Expression& member, std::vector<Value> arguments, const Value& value) {
    const runtime::Object object = objectOf(evaluate(member.parts[0]), member.parts[0].place);
    if (const Member* own = findMember(object, member.text)) {
      if (own->set == nullptr) throw Error(member.place, "\"" + std::string(own->name) + "\" can't be set.");
      checkCount(own->name, arguments.size(), own->count, own->count, member.place);
      arguments.push_back(value);
      Call call{host_, surroundings_, member.place, std::move(arguments)};
      return own->set(call, object);
    }
    if (!arguments.empty()) throw Error(member.place, "\"" + member.text + "\" takes no index.");
    asked(member.place, [&] {
      host_.set(object, member.text, toHost(value, host_, member.place));
      return Value();
    });
  }

  // ---- expressions
  Value evaluate(const Expression& expression) {
    switch (expression.kind) {
      case Kind::literal:
        return std::visit(
            [this](const auto& value) -> Value {
              if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
                return host_.string(value);
              } else {
                return value;
              }
            },
            expression.literal);
      case Kind::name:
        if (isVariable(expression)) return variable(expression).value;
        return callFunction(expression, {});
      case Kind::member:
        return callMember(expression, {});
      case Kind::call:
        if (expression.parts[0].kind == Kind::member) return callMember(expression.parts[0], arguments(expression));
        if (isVariable(expression.parts[0])) return element(expression);
        return callFunction(expression.parts[0], arguments(expression));
      case Kind::construct:
        return asked(expression.place, [&] { return Value(host_.make(expression.text)); });
      case Kind::unary:
        return unary(expression);
      case Kind::binary:
        return binary(expression);
    }
    return {};
  }

  bool isVariable(const Expression& name) const { return variables_.contains(lower(name.text)); }

  std::vector<Value> arguments(const Expression& call) {
    std::vector<Value> values;
    for (std::size_t i = 1; i < call.parts.size(); ++i) values.push_back(evaluate(call.parts[i]));
    return values;
  }

  // What the host is asked for fails where the program asks.
  template <class Ask>
  static Value asked(Place place, Ask ask) {
    try {
      return ask();
    } catch (const Error&) {
      throw;
    } catch (const runtime::Exception& raised) {
      throw Error(place, raised.className + (raised.message.empty() ? "" : ": " + raised.message));
    } catch (const runtime::Error& error) {
      throw Error(place, error.what());
    }
  }

  static void checkCount(const std::string& name, std::size_t count, std::size_t least, std::size_t most, Place place) {
    if (count >= least && count <= most) return;
    throw Error(place, name + " takes " + std::to_string(least) + (least == 1 ? " argument" : " arguments") +
                           (most > least ? " or more" : "") + ", not " + std::to_string(count) + ".");
  }

  std::vector<runtime::Value> forHost(const std::vector<Value>& values, Place place) const {
    std::vector<runtime::Value> words;
    words.reserve(values.size());
    for (const Value& value : values) words.push_back(toHost(value, host_, place));
    return words;
  }

  Value callFunction(const Expression& name, std::vector<Value> arguments) {
    if (const Function* own = findFunction(name.text)) {
      checkCount(own->name, arguments.size(), own->least, own->most, name.place);
      Call call{host_, surroundings_, name.place, std::move(arguments)};
      return asked(name.place, [&] { return own->call(call); });
    }
    const auto& methods = host_.globalMethods();
    if (std::none_of(methods.begin(), methods.end(),
                     [&](const runtime::Method& method) { return sameName(method.declaration.name, name.text); })) {
      throw Error(name.place, "There is no variable and no function \"" + name.text + "\"; Dim " + name.text +
                                  " As Integer, or another type, would make a variable.");
    }
    return asked(name.place, [&] { return fromHost(host_.call(name.text, forHost(arguments, name.place))); });
  }

  static runtime::Object objectOf(const Value& value, Place place) {
    if (const auto* object = std::get_if<runtime::Object>(&value)) return *object;
    if (std::holds_alternative<runtime::Nil>(value)) throw Error(place, "NilObjectException: this is nil.");
    throw Error(place, "This is " + kindOf(value) + ", which has no members; an object would work.");
  }

  Value callMember(const Expression& member, std::vector<Value> arguments) {
    const Value owner = evaluate(member.parts[0]);
    if (const auto* array = std::get_if<std::shared_ptr<Array>>(&owner)) {
      if (!sameName(member.text, "append"))
        throw Error(member.place, "An array has no \"" + member.text + "\"; Append would work.");
      checkCount("Append", arguments.size(), 1, 1, member.place);
      (*array)->elements.push_back(fitted(arguments[0], (*array)->type, member.place));
      return {};
    }
    const runtime::Object object = objectOf(owner, member.parts[0].place);
    if (const Member* own = findMember(object, member.text)) {
      checkCount(own->name, arguments.size(), own->count, own->count, member.place);
      Call call{host_, surroundings_, member.place, std::move(arguments)};
      return asked(member.place, [&] { return own->call(call, object); });
    }
    return asked(member.place, [&] {
      if (arguments.empty()) return fromHost(host_.get(object, member.text));
      return fromHost(host_.call(object, member.text, forHost(arguments, member.place)));
    });
  }

  Value unary(const Expression& expression) {
    const Value value = evaluate(expression.parts[0]);
    if (expression.text == "not") return !booleanOf(value, expression.parts[0].place);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return wrapped(-std::int64_t{*integer});
    return -realOf(value, expression.parts[0].place);
  }

  Value binary(const Expression& expression) {
    const std::string& op = expression.text;
    const Expression& first = expression.parts[0];
    const Expression& second = expression.parts[1];
    const Value left = evaluate(first);
    if (op == "and" && std::holds_alternative<bool>(left) && !std::get<bool>(left)) return false;
    if (op == "or" && std::holds_alternative<bool>(left) && std::get<bool>(left)) return true;
    const Value right = evaluate(second);
    if (op == "and" || op == "or" || op == "xor") return logic(op, left, right, first.place, second.place);
    if (op == "=" || op == "is") return same(left, right, expression.place);
    if (op == "<>") return !same(left, right, expression.place);
    const bool areStrings =
        std::holds_alternative<runtime::String>(left) && std::holds_alternative<runtime::String>(right);
    if (op == "+" && areStrings) return host_.string(textOf(left, first.place) + textOf(right, second.place));
    if (op == "<" || op == ">" || op == "<=" || op == ">=") {
      const double order = areStrings ? textOf(left, first.place).compare(textOf(right, second.place))
                                      : realOf(left, first.place) - realOf(right, second.place);
      return op[0] == '<' ? order < 0 || (op.size() == 2 && order == 0) : order > 0 || (op.size() == 2 && order == 0);
    }
    return arithmetic(op, left, right, expression);
  }

  static Value logic(const std::string& op, const Value& left, const Value& right, Place first, Place second) {
    if (std::holds_alternative<std::int32_t>(left) && std::holds_alternative<std::int32_t>(right)) {
      const std::int32_t a = std::get<std::int32_t>(left);
      const std::int32_t b = std::get<std::int32_t>(right);
      return op == "and" ? a & b : op == "or" ? a | b : a ^ b;
    }
    const bool a = booleanOf(left, first);
    const bool b = booleanOf(right, second);
    return op == "and" ? a && b : op == "or" ? a || b : a != b;
  }

  // Nil is an empty string too: that is how a plug-in's string without bytes arrives.
  static bool same(const Value& left, const Value& right, Place place) {
    const auto isText = [](const Value& v) { return std::holds_alternative<runtime::String>(v); };
    const auto isNumber = [](const Value& v) {
      return std::holds_alternative<std::int32_t>(v) || std::holds_alternative<double>(v);
    };
    const auto isNil = [](const Value& v) { return std::holds_alternative<runtime::Nil>(v); };
    if (isNumber(left) && isNumber(right)) return realOf(left, place) == realOf(right, place);
    if ((isText(left) || isNil(left)) && (isText(right) || isNil(right)))
      return textOf(left, place) == textOf(right, place);
    if (isNil(left) || isNil(right)) return false;
    if (left.index() != right.index()) {
      throw Error(place, kindOf(left) + " and " + kindOf(right) + " can't be compared; two of a kind would work.");
    }
    if (const auto* object = std::get_if<runtime::Object>(&left))
      return object->get() == std::get<runtime::Object>(right).get();
    return left.index() == Value(true).index() ? std::get<bool>(left) == std::get<bool>(right) : false;
  }

  static Value arithmetic(const std::string& op, const Value& left, const Value& right, const Expression& expression) {
    const Place first = expression.parts[0].place;
    const Place second = expression.parts[1].place;
    const auto* a = std::get_if<std::int32_t>(&left);
    const auto* b = std::get_if<std::int32_t>(&right);
    if (op == "\\" || op == "mod") {
      const std::int64_t dividend = integerOf(left, first);
      const std::int64_t divisor = integerOf(right, second);
      if (divisor == 0) throw Error(second, "Nothing can be divided by 0; any other number would work.");
      return wrapped(op == "mod" ? dividend % divisor : dividend / divisor);
    }
    if (a != nullptr && b != nullptr && op != "/" && op != "^") {
      const std::int64_t x = *a;
      const std::int64_t y = *b;
      return wrapped(op == "+" ? x + y : op == "-" ? x - y : x * y);
    }
    const double x = realOf(left, first);
    const double y = realOf(right, second);
    return op == "+" ? x + y : op == "-" ? x - y : op == "*" ? x * y : op == "/" ? x / y : std::pow(x, y);
  }

  runtime::Host& host_;
  const Surroundings& surroundings_;
  std::map<std::string, Variable> variables_;
};

}  // namespace

void run(std::string_view source, runtime::Host& host, const Surroundings& surroundings) {
  const Block program = parse(source);
  Evaluator(host, surroundings).run(program);
}

}  // namespace language
