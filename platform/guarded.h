// Functions that answer rather than throw when there is no memory.
#pragma once

#include <type_traits>

#include "engine/memory.h"

// For what a plug-in calls, through which nothing may be thrown: guarded([] { ... }) answers null, 0 or false without
// memory, and guarded<memFullErr>([] { ... }) that. Any other exception is a fault of ours, and ends the program.
template <auto... fallback, class Action>
auto guarded(Action action) noexcept {
  using Result = std::invoke_result_t<Action>;
  return qd::withinMemory(action, [] { return Result(fallback...); });
}
