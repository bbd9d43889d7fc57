// macpict record: makes a PICT of a PNG or JPEG file.
#include <stb/stb_image.h>

#include <cstdio>
#include <memory>

#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/output.h"
#include "tools/png.h"

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
    throw Failure("\"" + path + "\" is no image that can be read (" + stbi_failure_reason() +
                  "); a PNG or JPEG file would work.");
  }
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
  return {width, height, std::string(reinterpret_cast<const char*>(pixels.get()), size)};
}

Status recordOne(const Options& options) {
  const Image image = readImage(options.in);
  const std::string what = "A PICT of \"" + options.in + "\"";
  qd::GWorld world = makeWorld(what, image.width, image.height);
  const auto rowBytes = static_cast<std::size_t>(image.width) * 3;
  for (int y = 0; y < image.height; ++y) {
    world.setRGB(y, asBytes(image.rgb).subspan(static_cast<std::size_t>(y) * rowBytes, rowBytes));
  }
  const qd::Rect whole = qd::MakeRect(0, 0, image.width, image.height);
  if (options.kind.depth != 0 || options.kind.isGray) {
    qd::GWorld other = makeWorld(what, image.width, image.height, options.kind);
    other.copy(world, whole, whole);
    world = std::move(other);
  }
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  qd::Recorder recorder(fonts(), qd::PictureParams(image.width, image.height), sink);
  recorder.image(world, whole, whole);
  if (!recorder.close()) throw Failure(what + " can't be made: there is no memory for it.");
  writePicture(options.out, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  std::fprintf(isStandardOutput(options.out) ? stderr : stdout, "%s: %dx%d, %zu bytes\n", options.out.c_str(),
               image.width, image.height, bytes.size());
  return kDone;
}

Status record(const Options& options) {
  return workOn(options.in, [&] { return recordOne(options); });
}

}  // namespace

void addRecord(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "record", "Make a PICT file of a PNG or JPEG file", record);
  command->add_option("IN.png", options.in, "The image")->required()->type_name("");
  command->add_option("OUT.pict", options.out, "The picture to write")->required()->type_name("");
  addPictureKind(*command, options.kind);
}
