// macpict record: makes a PICT of a PNG or JPEG file.
#include <stb/stb_image.h>

#include <cstdio>
#include <memory>

#include "macpict/command.h"
#include "macpict/files.h"

namespace {

struct Options {
  std::string in, out;
  PictureKind kind;
};

Image readImage(const std::string& path) {
  const std::string file = readFile(path);
  int width = 0, height = 0, components = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
      stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(file.data()), static_cast<int>(file.size()), &width,
                            &height, &components, 3),
      stbi_image_free);
  if (pixels == nullptr) {
    throw runtime::Error("\"" + path + "\" is no image that can be read (" + stbi_failure_reason() +
                         "); a PNG or JPEG file would work.");
  }
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
  return {width, height, std::string(reinterpret_cast<const char*>(pixels.get()), size)};
}

Status record(const Options& options) {
  const Image image = readImage(options.in);
  Session session;
  const runtime::Object picture = session.pictureOf(image, options.kind);
  const std::string pict = session.exported(picture);
  if (pict.empty()) {
    throw runtime::Error("A PICT of " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                         " pixels can't be made of \"" + options.in + "\": there is no memory for it.");
  }
  writePicture(options.out, pict);
  std::printf("%s: %dx%d, %zu bytes\n", options.out.c_str(), image.width, image.height, pict.size());
  return kDone;
}

}  // namespace

void addRecord(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "record", "Make a PICT file of a PNG or JPEG file", record);
  command->add_option("IN.png", options.in, "The image")->required()->type_name("");
  command->add_option("OUT.pict", options.out, "The picture to write")->required()->type_name("");
  addPictureKind(*command, options.kind);
}
