// The program's commands: each adds itself, with its options, to the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "macpict/session.h"

enum Status { kDone = 0, kFailed = 1, kWrongUsage = 2 };

// What the command line chose, run after it was read.
using Command = std::function<Status()>;

// Adds a command with options of its own, which `run` gets when the command line chose it.
template <class Options>
std::pair<CLI::App*, Options&> addCommand(CLI::App& app, Command& chosen, const char* name, const char* what,
                                          Status (*run)(const Options&)) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(name, what);
  command->callback([&chosen, options, run] { chosen = [options, run] { return run(*options); }; });
  return {command, *options};
}

void addRender(CLI::App& app, Command& chosen);
void addRecord(CLI::App& app, Command& chosen);
void addList(CLI::App& app, Command& chosen);
void addRun(CLI::App& app, Command& chosen);
void addClasses(CLI::App& app, Command& chosen);
void addGallery(CLI::App& app, Command& chosen);
void addCorpus(CLI::App& app, Command& chosen);
void addCompletion(CLI::App& app, Command& chosen);

void addPictureKind(CLI::App& command, PictureKind& kind);

// Says a sentence on standard error; in red where that is a terminal and NO_COLOR isn't set.
void complain(const std::string& sentence);
