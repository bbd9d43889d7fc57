// run and classes: host code, and what it can call.
#include <algorithm>
#include <cstdio>

#include "hostcode/commands.h"
#include "hostcode/session.h"
#include "platform/language/evaluator.h"
#include "tools/failure.h"
#include "tools/files.h"

Status runHostCode(const RunOptions& options) {
  const bool isStandardInput = options.file == "-";
  const std::string name = isStandardInput ? "standard input" : options.file;
  return workOn(name, [&] {
    const std::string source = isStandardInput ? readStandardInput() : readFile(options.file);
    makeFolder(options.out);
    Session session(options.hostVersion);
    session.requireQuickDraw();
    try {
      language::run(source, session.host(), session.surroundings(options.out));
    } catch (const language::Error& error) {
      std::fflush(stdout);
      throw runtime::Error(error.in(name));
    }
    return kDone;
  });
}

namespace {

using Attributes = std::vector<std::pair<std::string, std::string>>;

std::string wordsOf(const Attributes& attributes) {
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += (text.empty() ? "   [" : ", ") + name + (value.empty() ? "" : " = " + value);
  }
  return text.empty() ? "" : text + "]";
}

void printMethods(const std::vector<runtime::Method>& methods) {
  for (const runtime::Method& method : methods) {
    const bool isProperty = method.setter != nullptr;
    std::printf("  %s%s%s\n", runtime::spelled(method.declaration).c_str(), isProperty ? "   (can be set)" : "",
                wordsOf(method.attributes).c_str());
  }
}

}  // namespace

Status printClasses(const ClassesOptions& options) {
  Session session(options.hostVersion);
  for (const auto& [name, info] : session.host().classes()) {
    std::printf("%s%s\n", name.c_str(), wordsOf(info.attributes).c_str());
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
