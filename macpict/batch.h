// Work on many files, on several threads, told in the files' order.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/command.h"

// How loud a command is, and on how many threads it works.
struct BatchOptions {
  int threads = 1;
  bool isQuiet = false;
};
// -j and -q.
void addBatch(CLI::App& command, BatchOptions& options);
void addQuiet(CLI::App& command, bool& isQuiet);

// What is said of one piece of work.
struct Report {
  std::vector<std::string> lines;       // of what was done
  std::vector<std::string> complaints;  // in sentences
};

// What became of files of which nothing was made; others are those that hold nothing to make it of.
struct LeftOut {
  std::size_t failed = 0, skipped = 0, others = 0, unread = 0;
};
// ", 1 failed, 2 were there; 3 files hold no picture; 1 can't be read", as far as there are such; `what` is a picture.
std::string inWords(const LeftOut& files, const std::string& what);

// Does pieces of work, up to `threads` at a time. Each is told when it and all before it are done: lines where
// `toErrors` says, unless it is to be quiet, and progress on a terminal that gets nothing else.
void doAll(std::size_t count, const BatchOptions& options, bool toErrors,
           const std::function<Report(std::size_t)>& work);

// The same for one.
void tell(const Report& report, bool isQuiet, bool toErrors);
