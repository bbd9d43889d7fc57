#include "hostcode/examples.h"

#include <algorithm>
#include <sstream>

#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

// An example is a block of code marked as vb, and goes by the heading above it.
void readPage(const fs::path& path, std::vector<Example>& examples) {
  std::istringstream page(readFile(path));
  std::string title;
  int number = 0;
  bool isCode = false;
  for (std::string line; std::getline(page, line);) {
    ++number;
    if (isCode && line != "```") {
      examples.back().code += line + "\n";
    } else if (isCode) {
      isCode = false;
    } else if (line == "```vb") {
      isCode = true;
      examples.push_back({path.filename().string(), title, {}, number + 1, {}, {}});
    } else if (line.starts_with("#")) {
      title = line.substr(std::min(line.size(), line.find_first_not_of("# ")));
      std::erase(title, '`');
    }
  }
}

}  // namespace

std::vector<Example> readExamples() {
  const fs::path folder = installed("reference");
  std::vector<fs::path> pages;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  std::sort(pages.begin(), pages.end());
  std::vector<Example> examples;
  for (const fs::path& page : pages) readPage(page, examples);
  if (examples.empty()) throw runtime::Error("There are no examples in \"" + folder.string() + "\".");
  return examples;
}

void runExample(Session& session, Example& example, const fs::path& folder) {
  language::Surroundings surroundings = session.surroundings(folder);
  surroundings.print = [&example](const std::string& line) { example.printed.push_back(line); };
  surroundings.save = [&example, save = surroundings.save](const runtime::Value& value, const std::string& name) {
    save(value, name);
    example.saved.push_back(name);
  };
  try {
    language::run(example.code, session.host(), surroundings);
  } catch (const language::Error& error) {
    throw runtime::Error(error.in(example.page, example.line));
  }
}
