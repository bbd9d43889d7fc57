// Runs host code: the host language's everyday part, with the classes and methods that plug-ins registered.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/language/syntax.h"

namespace language {

// What a program reaches outside itself. Each may throw runtime::Error with a sentence.
struct Surroundings {
  std::function<void(const std::string& line)> print;
  std::function<std::string(const std::string& name)> open;
  std::function<void(const runtime::Value& pictureOrBytes, const std::string& name)> save;
};

// Throws Error where the program makes no sense or an exception is raised; what it printed and saved till then stays.
void run(std::string_view source, runtime::Host& host, const Surroundings& surroundings);

}  // namespace language
