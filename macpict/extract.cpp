// macpict extract: the pictures in files of other kinds, as PICT files, and the images in pictures.
#include <cstdio>
#include <map>

#include "containers/containers.h"
#include "macpict/batch.h"
#include "macpict/commands.h"
#include "macpict/outputs.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::vector<std::string> names;  // the last is the folder
  OutputOptions output;
  bool isWithImages = false, isSearching = false, isQuiet = false;
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
  Extraction(const Options& options, const Inputs& inputs, fs::path folder)
      : options_(options), inputs_(inputs), folder_(std::move(folder)) {}

  void extract(const InputFile& input, const containers::Found& found) {
    const fs::path place = folder_ / input.place;
    const fs::path folder = place.parent_path();
    makeFolder(folder);
    const std::string to = (folder / names_[folder].of(place.filename().string(), found)).string();
    const auto info = qd::pictureInfo(found.picture);
    std::string about = std::to_string(info->width()) + "x" + std::to_string(info->height());
    if (!found.title.empty()) about += ", " + found.title;
    write(to + ".pict", about, pictures_, [&found](const fs::path& out) { writePicture(out, asText(found.picture)); });
    if (options_.isWithImages) extractImages(to, found.picture);
  }

  Status end(bool isWell) const {
    const std::string images = options_.isWithImages ? " and " + counted(images_, "image", "images") : "";
    if (!options_.isQuiet)
      std::printf("%s%s of %s written into %s\n", counted(pictures_, "picture", "pictures").c_str(), images.c_str(),
                  counted(inputs_.files().size(), "file", "files").c_str(), folder_.c_str());
    return isWell && !hasFailed_ ? kDone : kFailed;
  }

 private:
  template <class Write>
  void write(const fs::path& path, const std::string& about, std::size_t& count, const Write& put) {
    try {
      if (!mayWrite(path, inputs_, options_.output, false)) return;
      put(path);
      ++count;
      if (!options_.isQuiet) std::printf("%s: %s\n", path.c_str(), about.c_str());
    } catch (const Failure& failure) {
      complain(failure.what());
      hasFailed_ = true;
    }
  }

  // They are numbered as they lie in their picture.
  void extractImages(const std::string& to, qd::Bytes picture) {
    int number = 0;
    for (const qd::PictureImage& image : qd::imagesIn(picture)) {
      const std::string_view ending = endingOf(image);
      const std::string path = to + "-" + std::to_string(++number);
      if (ending.empty()) {
        if (!options_.isQuiet)
          std::printf("%s: its image %d is of %s, which makes no file by itself; macpict render draws it\n", to.c_str(),
                      number, describe(image).c_str());
        continue;
      }
      write(path + "." + std::string(ending), std::to_string(image.width) + "x" + std::to_string(image.height), images_,
            [&image](const fs::path& out) { writeFile(out, asText(image.bytes)); });
    }
  }

  const Options& options_;
  const Inputs& inputs_;
  fs::path folder_;
  std::map<fs::path, containers::FileNames> names_;  // of each folder
  std::size_t pictures_ = 0, images_ = 0;
  bool hasFailed_ = false;
};

Status extract(const Options& options) {
  const auto [names, to] =
      placesOf(options.names, "extract takes files and a folder for what is in them", "extract FILE OUT/");
  const Inputs inputs(names, to);
  makeFolder(to);
  Extraction extraction(options, inputs, to);
  const bool isWell = eachPicture(inputs, options.isSearching,
                                  [&extraction](const std::string&, const InputFile& input,
                                                const containers::Found& found) { extraction.extract(input, found); });
  return extraction.end(isWell);
}

}  // namespace

void addExtract(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "extract", "Write the pictures that lie in files of other kinds", extract);
  command->add_option("FILES", options.names, "FILES and FOLDERS into a FOLDER; - is standard input")
      ->required()
      ->type_name("");
  command->add_flag("--images", options.isWithImages, "Write the JPEG, PNG and other image files in the pictures, too");
  addSearch(*command, options.isSearching);
  addReplacing(*command, options.output);
  addQuiet(*command, options.isQuiet);
}
