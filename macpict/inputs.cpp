#include "macpict/inputs.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

// Where a Mac's own disks are read, a file's resource fork lies at this path beneath it.
const fs::path kFork = "..namedfork/rsrc";

// The file of a fork that is named itself.
fs::path fileOf(const fs::path& path) {
  const fs::path folder = path.parent_path();
  return folder.filename() / path.filename() == kFork ? folder.parent_path() : path;
}

// What is in an input: of a file in which no picture is found, in its resource fork, if there is one.
containers::Contents contentsOf(const std::string& name, bool isSearching) {
  const std::string file = readInput(name);
  containers::Contents contents = containers::picturesIn(asBytes(file), isSearching);
  const fs::path fork = fs::path(name) / kFork;
  std::error_code error;
  if (!contents.pictures.empty() || name == kStandard || !fs::is_regular_file(fork, error)) return contents;
  const std::string bytes = readFile(fork);
  containers::Contents inFork = containers::picturesIn(asBytes(bytes), isSearching);
  return inFork.pictures.empty() ? std::move(contents) : std::move(inFork);
}

}  // namespace

Inputs::Inputs(const std::vector<std::string>& names, const fs::path& made) {
  for (const std::string& name : names) {
    std::error_code error;
    if (name != kStandard && fs::is_directory(name, error)) {
      walk(name, {}, made);
    } else {
      add({name, name == kStandard ? fs::path("standard-input") : fileOf(name).filename(), true});
    }
  }
}

// In the order of names, so that two runs tell the same.
void Inputs::walk(const fs::path& folder, const fs::path& place, const fs::path& made) {
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) entries.push_back(*at);
  if (error) unread_.push_back("The folder \"" + folder.string() + "\" can't be read: " + error.message() + ".");
  std::ranges::sort(entries, {}, [](const fs::directory_entry& entry) { return entry.path(); });
  for (const fs::directory_entry& entry : entries) {
    const fs::path name = entry.path().filename();
    // A link to a folder could lead back to where it is.
    if (entry.is_directory(error) && !entry.is_symlink(error)) {
      if (made.empty() || !fs::equivalent(entry.path(), made, error)) walk(entry.path(), place / name, made);
    } else if (entry.is_regular_file(error)) {
      add({entry.path().string(), place / name, false});
    }
  }
}

void Inputs::add(InputFile file) {
  struct stat status = {};
  if (file.name != kStandard && stat(file.name.c_str(), &status) == 0) known_.emplace(status.st_dev, status.st_ino);
  files_.push_back(std::move(file));
}

bool Inputs::have(const fs::path& file) const {
  struct stat status = {};
  return stat(file.c_str(), &status) == 0 && known_.contains({status.st_dev, status.st_ino});
}

std::vector<fs::path> Inputs::placesIn(const fs::path& folder) const {
  const auto whole = [&folder](const InputFile& input) { return folder / input.place; };
  const auto withoutEnding = [&whole](const InputFile& input) { return whole(input).replace_extension(); };
  std::map<fs::path, int> uses;
  for (const InputFile& input : files_) ++uses[withoutEnding(input)];
  std::map<fs::path, std::string> taken;
  std::vector<fs::path> places;
  for (const InputFile& input : files_) {
    // Two that differ in their endings alone keep them.
    const fs::path& place = places.emplace_back(uses[withoutEnding(input)] > 1 ? whole(input) : withoutEnding(input));
    const auto [other, isNew] = taken.emplace(place, input.name);
    if (!isNew) {
      throw Failure("What is made of " + inQuotes(other->second) + " and of " + inQuotes(input.name) +
                    " would both be \"" + place.string() + "\"; a folder for each would work.");
    }
  }
  return places;
}

std::string readInput(const std::string& name) { return name == kStandard ? readStandardInput() : readFile(name); }

std::string noPictureIn(const std::string& name, const containers::Contents& contents, bool isSearched) {
  std::string help(contents.kind.help);
  if (help.empty())
    help = isSearched ? "one with PICTs in it would work" : "--search would look for them anywhere in it";
  return inQuotes(name) + " is " + std::string(contents.kind.what) + ", and no picture is found in it; " + help + ".";
}

void addSearch(CLI::App& command, bool& isSearching) {
  command.add_flag("--search", isSearching, "Look for pictures anywhere in files that aren't known");
}

Seen lookInto(const InputFile& input, const std::string& name, const Looking& looking, const Fail& fail,
              const UsePicture& use) {
  Seen seen;
  const auto failed = [&](const std::string& sentence) {
    ++seen.faults;
    fail(sentence);
  };
  const auto attempt = [&failed](const std::string& of, const auto& work) {
    try {
      work();
    } catch (...) {
      failed(sentenceOfCaught(of));
    }
  };
  attempt(name, [&] {
    const containers::Contents contents = contentsOf(input.name, looking.isSearching);
    seen.isRead = true;
    seen.pictures = contents.pictures.size();
    for (const std::string& note : contents.notes) failed(inQuotes(name) + ": " + note);
    if (seen.pictures == 0 && input.wasNamed) failed(noPictureIn(name, contents, looking.isSearching));
    if (looking.isForOne && seen.pictures > 1) {
      return failed(inQuotes(name) + " holds " + std::to_string(seen.pictures) +
                    " pictures; a folder for them would work.");
    }
    for (const containers::Found& found : contents.pictures) {
      const std::string called = nameOf(name, found);
      attempt(called, [&] { use(called, input, found); });
    }
  });
  return seen;
}

bool eachPicture(const Inputs& inputs, bool isSearching, const UsePicture& use) {
  bool isWell = inputs.unread().empty();
  for (const std::string& sentence : inputs.unread()) complain(sentence);
  for (const InputFile& input : inputs.files())
    isWell = lookInto(input, input.name, {.isSearching = isSearching}, complain, use).faults == 0 && isWell;
  return isWell;
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string nameOf(const std::string& input, const containers::Found& found) {
  const bool isPath = !found.place.empty() && found.place[0] != '#' && found.place[0] != '@';
  return input + (isPath ? "/" : "") + found.place;
}

std::string inQuotes(const std::string& name) { return name == kStandard ? "Standard input" : "\"" + name + "\""; }
