// The examples of the reference: host code in its pages, with what it draws.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "hostcode/session.h"

struct Example {
  std::string page, title, code;
  int line = 0;  // of the page, at which the code begins
  // What came of it.
  std::vector<std::string> printed, saved;
};

// All examples of the pages that come with the program. Throws runtime::Error where there is none.
std::vector<Example> readExamples();

// Runs one, which saves its files in the folder. Throws runtime::Error with the place of a mistake.
void runExample(Session& session, Example& example, const std::filesystem::path& folder);
