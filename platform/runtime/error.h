// What ends a program of host code, or keeps a plug-in from being loaded.
#pragma once

#include <stdexcept>

namespace runtime {

// A mistake in host code or in what is loaded: one sentence for a person.
class Error : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace runtime
