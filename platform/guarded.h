// Functions that answer rather than throw when there is no memory.
#pragma once

#include <new>
#include <stdexcept>
#include <type_traits>

// What an action answers; without the memory for it, what another one answers. A length that no container can have is
// more memory than there ever is.
template <class Action, class Otherwise>
auto withinMemory(Action action, Otherwise otherwise) {
  try {
    return action();
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  return otherwise();
}

// For what a plug-in calls, through which nothing may be thrown: guarded([] { ... }) answers null, 0 or false without
// memory, and guarded<memFullErr>([] { ... }) that. Any other exception is a fault of ours, and ends the program.
template <auto... fallback, class Action>
auto guarded(Action action) noexcept {
  using Result = std::invoke_result_t<Action>;
  return withinMemory(action, [] { return Result(fallback...); });
}
