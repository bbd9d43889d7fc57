#include "platform/language/evaluator.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <span>

#include "platform/language/library.h"
#include "platform/language/operators.h"
#include "platform/language/parser.h"
#include "platform/language/values.h"
#include "platform/runtime/declaration.h"

namespace language {
namespace {

using runtime::sameName;

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

constexpr std::int32_t kMostElements = 10'000'000;
constexpr const char* kNoMemory = "OutOfMemoryException: there isn't enough memory for this.";

void requireLastIndex(std::int32_t index, Place place) {
  if (index >= -1 && index < kMostElements) return;
  throw Error(place, "An array can't end at " + std::to_string(index) + "; 0 to " + std::to_string(kMostElements - 1) +
                         " would work.");
}

// What the host is asked for, and memory, fail where the program asks.
template <class Ask>
auto asked(Place place, Ask ask) {
  try {
    return ask();
  } catch (const Error&) {
    throw;
  } catch (const runtime::Exception& raised) {
    throw Error(place, raised.className + (raised.message.empty() ? "" : ": " + raised.message));
  } catch (const runtime::Error& error) {
    throw Error(place, error.what());
  } catch (const std::bad_alloc&) {
    throw Error(place, kNoMemory);
  } catch (const std::length_error&) {
    throw Error(place, kNoMemory);
  }
}

class Evaluator {
 public:
  Evaluator(runtime::Host& host, const Surroundings& surroundings) : host_(host), surroundings_(surroundings) {}

  enum class Flow { next, leave };

  Flow run(const Block& block) {
    const auto run = [this](const auto& form) { return this->run(form); };
    for (const Statement& statement : block) {
      if (asked(statement.place, [&] { return std::visit(run, statement.form); }) == Flow::leave) return Flow::leave;
    }
    return Flow::next;
  }

 private:
  struct Variable {
    std::string type;
    bool isArray;
    Value value;
  };

  // ---- statements
  Flow run(const Dim& dim) {
    for (const auto& [name, last] : dim.variables) {
      Variable made{lower(dim.type), last.has_value(), initial(dim.type, name.place)};
      if (last) {
        const std::int32_t index = integerOf(evaluate(*last), last->place);
        requireLastIndex(index, last->place);
        made.value = arrays_.make(made.type, std::vector<Value>(static_cast<std::size_t>(index + 1), made.value));
      }
      variables_[lower(name.text)] = std::move(made);
      if (dim.value) assign(variable(name), evaluate(*dim.value), name.place);
    }
    return Flow::next;
  }

  Flow run(const Assign& assignment) {
    const Value value = evaluate(assignment.value);
    const Place place = assignment.target.place;
    if (const auto* members = std::get_if<Members>(&assignment.target.form)) {
      assignMember(*members, value);
    } else if (const auto* use = std::get_if<Use>(&assignment.target.form)) {
      Variable& to = variable(use->name);
      if (use->arguments) {
        Value& at = element(to, *use);
        at = fitted(value, std::get<std::shared_ptr<Array>>(to.value)->type, place);
      } else {
        assign(to, value, place);
      }
    } else {
      throw Error(place, "Nothing can be assigned to this; a variable would work.");
    }
    return Flow::next;
  }

  Flow run(const Do& statement) {
    evaluate(statement.call);
    return Flow::next;
  }

  Flow run(const If& choice) {
    for (const auto& [condition, block] : choice.branches) {
      if (booleanOf(evaluate(condition), condition.place)) return run(block);
    }
    return run(choice.otherwise);
  }

  Flow run(const For& loop) {
    const Place place = loop.variable.place;
    const double by = realOf(evaluate(loop.step), loop.step.place);
    if (by == 0) throw Error(loop.step.place, "A step of 0 never ends; any other number would work.");
    Variable& counter = variable(loop.variable);
    assign(counter, evaluate(loop.first), place);
    while (true) {
      const double at = realOf(counter.value, place);
      const double last = realOf(evaluate(loop.last), loop.last.place);
      if (by > 0 ? at > last : at < last) break;
      if (run(loop.body) == Flow::leave) break;
      const double next = realOf(counter.value, place) + by;
      const bool isWhole = std::holds_alternative<std::int32_t>(counter.value);
      if (isWhole && (next > INT32_MAX || next < INT32_MIN)) break;
      assign(counter, isWhole ? Value(static_cast<std::int32_t>(next)) : Value(next), place);
    }
    return Flow::next;
  }

  Flow run(const While& loop) {
    while (booleanOf(evaluate(loop.condition), loop.condition.place) && run(loop.body) == Flow::next) {
    }
    return Flow::next;
  }

  static Flow run(const Exit&) { return Flow::leave; }

  // ---- variables
  Variable* find(const Name& name) {
    const auto found = variables_.find(lower(name.text));
    return found != variables_.end() ? &found->second : nullptr;
  }

  Variable& variable(const Name& name) {
    if (Variable* found = find(name)) return *found;
    throw Error(name.place, "There is no variable \"" + name.text + "\"; Dim " + name.text +
                                " As Integer, or another type, would make one.");
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
    if (sameName(type, "string")) return required(host_.string(""));
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
  std::shared_ptr<Array> fittedArray(const Value& value, const std::string& type, Place place) {
    const auto* from = std::get_if<std::shared_ptr<Array>>(&value);
    if (from == nullptr) throw Error(place, "This is " + kindOf(value) + "; an array would work.");
    if ((*from)->type == type) return *from;
    std::vector<Value> elements;
    for (const Value& element : (*from)->elements) elements.push_back(fitted(element, type, place));
    return arrays_.make(type, std::move(elements));
  }

  Value& element(const Variable& variable, const Use& use) {
    const auto& [name, arguments] = use;
    const auto* array = std::get_if<std::shared_ptr<Array>>(&variable.value);
    if (array == nullptr) throw Error(name.place, "\"" + name.text + "\" is no array; only an array has an index.");
    if (arguments->values.size() != 1) throw Error(arguments->place, "An array takes one index.");
    const Place place = arguments->values[0].place;
    const std::int32_t index = integerOf(evaluate(arguments->values[0]), place);
    std::vector<Value>& elements = (*array)->elements;
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
      throw Error(place, "OutOfBoundsException: \"" + name.text + "\" has no element " + std::to_string(index) +
                             "; it has " + std::to_string(elements.size()) + ".");
    }
    return elements[static_cast<std::size_t>(index)];
  }

  void assign(Variable& to, const Value& value, Place place) {
    to.value = to.isArray ? Value(fittedArray(value, to.type, place)) : fitted(value, to.type, place);
  }

  void assignMember(const Members& target, const Value& value) {
    const Name& name = target.chain.back().name;
    const auto [owner, place] = follow(target, target.chain.size() - 1);
    const runtime::Object object = objectOf(owner, place);
    std::vector<Value> arguments = argumentsOf(target.chain.back());
    if (const Member* own = findMember(object, name.text)) {
      if (own->set == nullptr) throw Error(name.place, "\"" + std::string(own->name) + "\" can't be set.");
      Call call = callOf(own->name, own->count, own->count, name.place, std::move(arguments));
      call.arguments.push_back(value);
      return own->set(call, object);
    }
    if (!arguments.empty()) throw Error(name.place, "\"" + name.text + "\" takes no index.");
    asked(name.place, [&] { host_.set(object, name.text, toHost(value, host_, name.place)); });
  }

  // ---- expressions
  Value evaluate(const Expression& expression) {
    return std::visit([this](const auto& form) { return evaluate(form); }, expression.form);
  }

  Value evaluate(const Literal& literal) const {
    const auto valueOf = [this]<class T>(const T& value) -> Value {
      if constexpr (std::is_same_v<T, std::string>) return required(host_.string(value));
      if constexpr (!std::is_same_v<T, std::string>) return value;
    };
    return std::visit(valueOf, literal.value);
  }

  Value evaluate(const Use& use) {
    if (const Variable* variable = find(use.name)) return use.arguments ? element(*variable, use) : variable->value;
    return callFunction(use.name, argumentsOf(use));
  }

  Value evaluate(const Members& members) { return follow(members, members.chain.size()).value; }

  Value evaluate(const New& creation) {
    return asked(creation.type.place, [&] { return required(host_.make(creation.type.text)); });
  }

  Value evaluate(const Not& negation) { return !booleanOf(evaluate(*negation.operand), negation.operand->place); }

  Value evaluate(const Minus& minus) {
    const Value value = evaluate(*minus.operand);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return wrapped(-std::int64_t{*integer});
    return -realOf(value, minus.operand->place);
  }

  Value evaluate(const Binary& binary) {
    Placed left{evaluate(*binary.first), binary.first->place};
    for (const auto& [by, place, operand] : binary.rest) {
      const auto* flag = std::get_if<bool>(&left.value);
      if (flag == nullptr || by->decided != *flag) {
        const Placed right{evaluate(operand), operand.place};
        left.value = asked(place, [&, &by = by, &place = place] { return by->combine(host_, left, right, place); });
      }
      left.place = place;
    }
    return left.value;
  }

  // The first members of a chain.
  Placed follow(const Members& members, std::size_t count) {
    Placed at{evaluate(*members.owner), members.owner->place};
    for (const Use& use : std::span(members.chain).first(count)) {
      at = {callMember(at, use.name, argumentsOf(use)), use.arguments ? use.arguments->place : use.name.place};
    }
    return at;
  }

  std::vector<Value> argumentsOf(const Use& use) {
    std::vector<Value> values;
    if (!use.arguments) return values;
    for (const Expression& value : use.arguments->values) values.push_back(evaluate(value));
    return values;
  }

  // A call of the language's own, with as many arguments as it takes.
  Call callOf(const char* name, std::size_t least, std::size_t most, Place place, std::vector<Value> arguments) {
    if (const std::size_t count = arguments.size(); count < least || count > most) {
      const std::string range = most == least || most == kAny ? "" : " to " + std::to_string(most);
      throw Error(place, name + (" takes " + std::to_string(least)) + range +
                             (least == 1 ? " argument" : " arguments") + (most == kAny ? " or more" : "") + ", not " +
                             std::to_string(count) + ".");
    }
    return {host_, surroundings_, arrays_, place, std::move(arguments)};
  }

  std::vector<runtime::Value> forHost(const std::vector<Value>& values, Place place) const {
    std::vector<runtime::Value> words;
    words.reserve(values.size());
    for (const Value& value : values) words.push_back(toHost(value, host_, place));
    return words;
  }

  Value callFunction(const Name& name, std::vector<Value> arguments) {
    if (const Function* own = findFunction(name.text)) {
      Call call = callOf(own->name, own->least, own->most, name.place, std::move(arguments));
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

  Value callMember(const Placed& owner, const Name& name, std::vector<Value> arguments) {
    if (const auto* array = std::get_if<std::shared_ptr<Array>>(&owner.value)) {
      if (!sameName(name.text, "append"))
        throw Error(name.place, "An array has no \"" + name.text + "\"; Append would work.");
      const Call call = callOf("Append", 1, 1, name.place, std::move(arguments));
      requireLastIndex(static_cast<std::int32_t>((*array)->elements.size()), name.place);
      (*array)->elements.push_back(fitted(call.arguments[0], (*array)->type, name.place));
      return {};
    }
    const runtime::Object object = objectOf(owner.value, owner.place);
    if (const Member* own = findMember(object, name.text)) {
      Call call = callOf(own->name, own->count, own->count, name.place, std::move(arguments));
      return asked(name.place, [&] { return own->call(call, object); });
    }
    return asked(name.place, [&] {
      if (arguments.empty()) return fromHost(host_.get(object, name.text));
      return fromHost(host_.call(object, name.text, forHost(arguments, name.place)));
    });
  }

  runtime::Host& host_;
  const Surroundings& surroundings_;
  Arrays arrays_;
  std::map<std::string, Variable> variables_;
};

}  // namespace

void run(std::string_view source, runtime::Host& host, const Surroundings& surroundings) {
  asked(Place(), [&] {
    const Block program = parse(source);
    Evaluator(host, surroundings).run(program);
  });
}

}  // namespace language
