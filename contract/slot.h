// A slot holds a function that is found by name when it is first used.
#pragma once

#include <type_traits>

template <auto Find, class Signature, int Missing = 0>
class Slot;

// `Find` takes the slot's name and answers with an address or null. A null is not remembered, so the next use asks
// again. A call without a function is skipped and reads as `Missing`.
template <class Name, void* (*Find)(const Name&), class Result, class... Arguments, int Missing>
class Slot<Find, Result(Arguments...), Missing> {
 public:
  using Function = Result (*)(Arguments...);

  constexpr explicit Slot(Name name) : name_(name) {}

  Function find() {
    if (function_ == nullptr) function_ = reinterpret_cast<Function>(Find(name_));
    return function_;
  }

  Result operator()(Arguments... arguments) {
    if (const Function function = find()) return function(arguments...);
    if constexpr (std::is_pointer_v<Result>) {
      return nullptr;
    } else if constexpr (!std::is_void_v<Result>) {
      return static_cast<Result>(Missing);
    }
  }

 private:
  Name name_;
  Function function_ = nullptr;
};
