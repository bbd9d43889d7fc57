// Renders every picture below a folder, and puts all of them small and named on one sheet.
#pragma once

#include <filesystem>

#include "macpict/session.h"

// Prints a line for each picture and a sum. True if every one was rendered whole.
bool renderCorpus(Session& session, const std::filesystem::path& folder, const std::filesystem::path& sheet);
