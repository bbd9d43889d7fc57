// macpict extract: the pictures in files of other kinds, as PICT files, and the images in pictures.
#include <cstdio>

#include "containers/containers.h"
#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/output.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::vector<std::string> files;
  bool isWithImages = false, isSearching = false, isReplacing = false;
};

// The ending of the file that an image is; empty if it makes none by itself.
std::string_view endingOf(const qd::PictureImage& image) {
  // These formats have nothing at their beginning to know them by.
  if (image.codec == "tga ") return "tga";
  if (image.codec == "PNTG") return "pntg";
  return containers::kindOf(image.bytes).ending;
}

class Extraction {
 public:
  explicit Extraction(const Options& options) : options_(options), folder_(options.files.back()) {}

  void extract(const std::string& name) {
    const std::string file = readFile(name);
    const containers::Contents contents = containers::picturesIn(asBytes(file), options_.isSearching);
    for (const std::string& note : contents.notes) fail(name + ": " + note);
    if (contents.pictures.empty()) throw Failure(noneIn(name, contents.kind));
    for (const containers::Found& found : contents.pictures) {
      const std::string to = (folder_ / names_.of(name, found)).string();
      const auto info = qd::pictureInfo(found.picture);
      const bool isWritten = write(to + ".pict", info->width(), info->height(), found.title,
                                   [&found](const fs::path& path) { writePicture(path, asText(found.picture)); });
      if (isWritten) ++pictures_;
      if (options_.isWithImages) extractImages(to, found.picture);
    }
  }

  // A sentence for a person, and a failure in the end.
  void fail(const std::string& sentence) {
    complain(sentence);
    hasFailed_ = true;
  }

  Status end() const {
    const auto counted = [](std::size_t count, const char* what) {
      return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
    };
    const std::string images = options_.isWithImages ? " and " + counted(images_, "image") : "";
    if (pictures_ + images_ > 0)
      std::printf("%s%s of %s written into %s\n", counted(pictures_, "picture").c_str(), images.c_str(),
                  counted(options_.files.size() - 1, "file").c_str(), folder_.c_str());
    return hasFailed_ ? kFailed : kDone;
  }

 private:
  std::string noneIn(const std::string& name, const containers::Kind& kind) const {
    std::string help(kind.help);
    if (help.empty()) {
      help = options_.isSearching ? "one with PICTs in it would work" : "--search would look for them anywhere in it";
    }
    return "\"" + name + "\" is " + std::string(kind.what) + ", and no picture is found in it; " + help + ".";
  }

  template <class Write>
  bool write(const fs::path& path, int width, int height, const std::string& title, const Write& put) {
    std::error_code error;
    if (!options_.isReplacing && fs::exists(fs::symlink_status(path, error))) {
      fail("\"" + path.string() + "\" is there already; --force would replace it.");
      return false;
    }
    put(path);
    std::printf("%s: %dx%d%s%s\n", path.c_str(), width, height, title.empty() ? "" : ", ", title.c_str());
    return true;
  }

  // They are numbered as they lie in their picture.
  void extractImages(const std::string& to, qd::Bytes picture) {
    int number = 0;
    for (const qd::PictureImage& image : qd::imagesIn(picture)) {
      const std::string_view ending = endingOf(image);
      const std::string path = to + "-" + std::to_string(++number);
      if (ending.empty()) {
        std::printf("%s: its image %d is of %s, which makes no file by itself; macpict render draws it\n", to.c_str(),
                    number, describe(image).c_str());
        continue;
      }
      const bool isWritten = write(path + "." + std::string(ending), image.width, image.height, "",
                                   [&image](const fs::path& out) { writeFile(out, asText(image.bytes)); });
      if (isWritten) ++images_;
    }
  }

  const Options& options_;
  fs::path folder_;
  containers::FileNames names_;
  std::size_t pictures_ = 0, images_ = 0;
  bool hasFailed_ = false;
};

Status extract(const Options& options) {
  if (options.files.size() < 2) {
    throw CLI::ValidationError("extract takes files and a folder for what is in them, not \"" + options.files[0] +
                               "\" alone: macpict extract FILE OUT/");
  }
  makeFolder(options.files.back());
  Extraction extraction(options);
  for (std::size_t i = 0; i + 1 < options.files.size(); ++i) {
    const std::string& name = options.files[i];
    try {
      workOn(name, [&] { extraction.extract(name); });
    } catch (const Failure& failure) {
      extraction.fail(failure.what());
    }
  }
  return extraction.end();
}

}  // namespace

void addExtract(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "extract", "Write the pictures that lie in files of other kinds", extract);
  command->add_option("FILES", options.files, "FILE... FOLDER")->required()->type_name("");
  command->add_flag("--images", options.isWithImages, "Write the JPEG, PNG and other image files in the pictures, too");
  command->add_flag("--search", options.isSearching, "Look for pictures anywhere in files that aren't known");
  command->add_flag("--force", options.isReplacing, "Replace files that are there");
}
