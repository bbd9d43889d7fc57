// A library of the system that is loaded when something asks for it: what it takes along would double the time in which
// a program starts. A class that inherits has a LOADED row for each function, in the order in which they are looked
// for.
#pragma once

#include <dlfcn.h>

namespace qd {

class LoadedLibrary {
 public:
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  // Null where the library isn't installed, or lacks a function.
  template <class Library>
  static const Library* get() {
    static const Library library;
    return library.isWhole_ ? &library : nullptr;
  }

 protected:
  explicit LoadedLibrary(const char* name)
      : library_(dlopen(name, RTLD_NOW | RTLD_LOCAL)), isWhole_(library_ != nullptr) {}

  void* find(const char* name) {
    void* const function = isWhole_ ? dlsym(library_, name) : nullptr;
    isWhole_ = function != nullptr;
    return function;
  }

 private:
  void* library_;
  bool isWhole_;
};

#define LOADED(name) decltype(&::name) name = reinterpret_cast<decltype(&::name)>(find(#name))

}  // namespace qd
