// macpict run and macpict classes: host code, and what it can call.
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>

#include "macpict/command.h"
#include "macpict/files.h"
#include "platform/language/evaluator.h"

namespace {

struct Options {
  std::string file, out = ".";
  double hostVersion = kLatestHost;
};

void addHostVersion(CLI::App& command, double& version) {
  command.add_option("--host-version", version, "The version that the host tells, like 2011.04 or 2014")
      ->type_name("V")
      ->check([](const std::string& text) {
        double version = 0;
        return CLI::detail::lexical_cast(text, version) && version >= 1 && version < 10000
                   ? std::string()
                   : "It takes a year and a release, not \"" + text + "\"; 2011.04 or 2014 would work";
      });
}

Status run(const Options& options) {
  const std::string source =
      options.file == "-" ? std::string(std::istreambuf_iterator<char>(std::cin), {}) : readFile(options.file);
  makeFolder(options.out);
  Session session(options.hostVersion);
  try {
    language::run(source, session.host(), session.surroundings(options.out));
  } catch (const language::Error& error) {
    std::fflush(stdout);
    const std::string name = options.file == "-" ? "standard input" : options.file;
    throw runtime::Error(error.in(name));
  }
  return kDone;
}

using Attributes = std::vector<std::pair<std::string, std::string>>;

std::string textOf(const Attributes& attributes) {
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += (text.empty() ? "   [" : ", ") + name + (value.empty() ? "" : " = " + value);
  }
  return text.empty() ? "" : text + "]";
}

void printMethods(const std::vector<runtime::Method>& methods) {
  for (const runtime::Method& method : methods) {
    const bool isProperty = method.setter != nullptr;
    std::printf("  %s%s%s\n", runtime::textOf(method.declaration).c_str(), isProperty ? "   (can be set)" : "",
                textOf(method.attributes).c_str());
  }
}

Status classes(const double& hostVersion) {
  Session session(hostVersion);
  for (const auto& [name, info] : session.host().classes()) {
    std::printf("%s%s\n", name.c_str(), textOf(info.attributes).c_str());
    for (const runtime::Property& property : info.properties) {
      std::printf("  %s as integer%s\n", property.name.c_str(), property.canSet ? "   (can be set)" : "");
    }
    printMethods(info.methods);
    std::puts("");
  }
  std::puts("global methods");
  printMethods(session.host().globalMethods());
  return kDone;
}

}  // namespace

void addRun(CLI::App& app, Command& chosen) {
  const auto [command, options] = addCommand<Options>(app, chosen, "run", "Run host code", run);
  command->add_option("FILE", options.file, "The program; - reads standard input")->required()->type_name("");
  command->add_option("--out", options.out, "Where Save writes and Open reads")->type_name("DIR");
  addHostVersion(*command, options.hostVersion);
}

void addClasses(CLI::App& app, Command& chosen) {
  const auto [command, version] =
      addCommand<double>(app, chosen, "classes", "Print all that the plug-in registers", classes);
  version = kLatestHost;
  addHostVersion(*command, version);
}
