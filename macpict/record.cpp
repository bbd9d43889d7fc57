// macpict record: makes a PICT of an image file.
#include <cstdio>

#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/output.h"

namespace {

struct Options {
  std::string in, out;
  PictureKind kind;
};

qd::GWorld readImage(const std::string& path) {
  const std::string file = readFile(path);
  std::string why;
  auto image = qd::GWorld::ofImage(fonts(), asBytes(file), why);
  if (!image) {
    throw Failure("\"" + path + "\" is no image that can be read: " + why +
                  "; a PNG, JPEG, GIF, TIFF or BMP file would work.");
  }
  if (!why.empty()) complain("\"" + path + "\": " + why);
  return std::move(*image);
}

Status record(const Options& options) {
  qd::GWorld world = readImage(options.in);
  const int width = world.width();
  const int height = world.height();
  const std::string what = "A PICT of \"" + options.in + "\"";
  const qd::Rect whole = qd::MakeRect(0, 0, width, height);
  if (options.kind.depth != 0 || options.kind.isGray) {
    qd::GWorld other = makeWorld(what, width, height, options.kind);
    other.copy(world, whole, whole);
    world = std::move(other);
  }
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  qd::Recorder recorder(fonts(), qd::PictureParams(width, height), sink);
  recorder.image(world, whole, whole);
  if (!recorder.close()) throw Failure(what + " can't be made: there is no memory for it.");
  writePicture(options.out, asText(bytes));
  std::fprintf(isStandardOutput(options.out) ? stderr : stdout, "%s: %dx%d, %zu bytes\n", options.out.c_str(), width,
               height, bytes.size());
  return kDone;
}

}  // namespace

void addRecord(CLI::App& app, Command& chosen) {
  const auto [command, options] = addCommand<Options>(
      app, chosen, "record", "Make a PICT file of a PNG, JPEG, GIF, TIFF or BMP file", workingOn(&Options::in, record));
  command->add_option("IN.png", options.in, "The image")->required()->type_name("");
  command->add_option("OUT.pict", options.out, "The picture to write")->required()->type_name("");
  addPictureKind(*command, options.kind);
}
