// What keeps a program from its work, as one sentence for a person: what was wrong, with which value, what would work.
#pragma once

#include <stdexcept>

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
