// What keeps a program from its work, as one sentence for a person: what was wrong, with which value, what would work.
#pragma once

#include <stdexcept>
#include <string>

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The sentence for what is being caught, which was thrown by work on a file of that name; on nothing that has one if it
// is empty. The library's own words are for programmers.
std::string sentenceOfCaught(const std::string& file);

// Does work on a file. Whatever it throws leaves here as a Failure, and memory that is missing with the file's name.
template <class Work>
auto workOn(const std::string& file, const Work& work) {
  try {
    return work();
  } catch (...) {
    throw Failure(sentenceOfCaught(file));
  }
}
