// Work that may find no memory.
#pragma once

#include <new>
#include <stdexcept>

namespace qd {

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

}  // namespace qd
