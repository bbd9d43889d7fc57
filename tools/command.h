// A program's commands: each adds itself, with its options, to the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tools/failure.h"

enum Status { kDone = 0, kFailed = 1, kWrongUsage = 2 };

// What the command line chose, run after it was read.
using Command = std::function<Status()>;

// Adds a command with options of its own, which `run` gets when the command line chose it.
template <class Options, class Run>
std::pair<CLI::App*, Options&> addCommand(CLI::App& app, Command& chosen, const char* name, const char* what,
                                          const Run& run) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(name, what);
  command->callback(
      [&chosen, options, run = std::decay_t<Run>(run)] { chosen = [options, run] { return run(*options); }; });
  return {command, *options};
}

// An option whose text `parse` takes; where it answers false a sentence tells what it takes, and what would work.
template <class Parse>
CLI::Option* addParsed(CLI::App& command, const std::string& name, const std::string& what, const std::string& takes,
                       const std::string& example, const Parse& parse) {
  return command.add_option_function<std::string>(
      name,
      [name, takes, example, parse](const std::string& text) {
        if (parse(text)) return;
        throw CLI::ValidationError(name + " takes " + takes + ", not \"" + text + "\"" +
                                   (example.empty() ? "" : "; " + example));
      },
      what);
}

// How a picture is made whose kind is for a person to say.
struct PictureKind {
  int depth = 0;  // 0: 32 bits
  bool isGray = false;

  int bits() const { return depth == 24 ? 32 : depth != 0 ? depth : isGray ? 8 : 32; }
};
void addPictureKind(CLI::App& command, PictureKind& kind);

// --strict: what isn't drawn counts as a failure, too.
void addStrict(CLI::App& command, bool& isStrict);

// Says a sentence on standard error; in red where that is a terminal and NO_COLOR isn't set.
void complain(const std::string& sentence);

// Reads the command line and runs what it chose. What goes wrong ends in a sentence and a status; `atEnd` may have
// something to say after the work, and make its status worse.
int runProgram(CLI::App& app, Command& chosen, int count, char** arguments, const std::function<Status()>& atEnd = {});
