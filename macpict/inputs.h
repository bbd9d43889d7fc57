// The files that a person named, by themselves or by the folder that they lie in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "containers/containers.h"
#include "tools/command.h"

inline constexpr const char* kStandard = "-";  // standard input or output, in the place of a file's name

struct InputFile {
  std::string name;             // as it is told; "-" is standard input
  std::filesystem::path place;  // where what is made of it belongs, in the tree of the folder that was named
  bool wasNamed;                // and not found in a folder, where other things may lie, too
};

class Inputs {
 public:
  // Folders are walked, without the one in which things are made; what can't be read in them is told at the end. Throws
  // a Failure for a name that nothing has.
  explicit Inputs(const std::vector<std::string>& names, const std::filesystem::path& made = {});

  const std::vector<InputFile>& files() const { return files_; }
  // Folders that couldn't be read, each with the reason.
  const std::vector<std::string>& unread() const { return unread_; }
  // Where what is made of each goes, without an ending. Throws a Failure if two would go to one place.
  std::vector<std::filesystem::path> placesIn(const std::filesystem::path& folder) const;
  // Whether a file is one of them, by whatever name.
  bool have(const std::filesystem::path& file) const;

 private:
  void walk(const std::filesystem::path& folder, const std::filesystem::path& place, const std::filesystem::path& made);
  void add(InputFile file);

  std::vector<InputFile> files_;
  std::vector<std::string> unread_;
  std::set<std::pair<std::uint64_t, std::uint64_t>> known_;  // devices, and numbers on them
};

// All bytes of an input.
std::string readInput(const std::string& name);
// Why nothing is done with a file that holds no picture, in a sentence.
std::string noPictureIn(const std::string& name, const containers::Contents& contents, bool isSearched);

// --search.
void addSearch(CLI::App& command, bool& isSearching);

// How an input is looked into.
struct Looking {
  bool isSearching = false;
  bool isForOne = false;  // several pictures are a fault
};
// What came of it; a fault is something that was said to be wrong.
struct Seen {
  bool isRead = false;
  std::size_t pictures = 0, faults = 0;
};
using Fail = std::function<void(const std::string& sentence)>;
using UsePicture = std::function<void(const std::string& name, const InputFile& input, const containers::Found& found)>;
// Calls `use` with each picture in an input that goes by that name, and with the picture's own name; `fail` with a
// sentence for all that is wrong, what `use` throws among it.
Seen lookInto(const InputFile& input, const std::string& name, const Looking& looking, const Fail& fail,
              const UsePicture& use);
// The same for all inputs, by their own names; what is wrong is said. True if nothing was.
bool eachPicture(const Inputs& inputs, bool isSearching, const UsePicture& use);

// "1 file", "2 files".
std::string counted(std::size_t count, const char* one, const char* many);
// What a picture in an input is called: "icons.rsrc#128", "slides.pptx/ppt/media/image1.pict".
std::string nameOf(const std::string& input, const containers::Found& found);
// An input's name in a sentence: in quotes, or "Standard input".
std::string inQuotes(const std::string& name);
