// macpict record: makes PICTs of image files.
#include <algorithm>
#include <cstdio>

#include "macpict/batch.h"
#include "macpict/commands.h"
#include "macpict/outputs.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::vector<std::string> names;  // the last is where pictures go
  PictureKind kind;
  qd::Transparency transparency;
  OutputOptions output;
  BatchOptions batch;
};

// "#FF8000".
bool parseColor(const std::string& text, qd::RGBColor& color) {
  unsigned red = 0, green = 0, blue = 0;
  char rest = 0;
  if (text.size() != 7 || std::sscanf(text.c_str(), "#%2x%2x%2x%c", &red, &green, &blue, &rest) != 3) return false;
  const auto component = [](unsigned byte) { return static_cast<std::uint16_t>(byte * 257); };
  color = {component(red), component(green), component(blue)};
  return true;
}

qd::GWorld imageOf(const std::string& name, const std::string& file, const Options& options, Report& report) {
  std::string why;
  auto image = qd::GWorld::ofImage(fonts(), asBytes(file), why, options.transparency);
  if (!image) {
    throw Failure(inQuotes(name) + " is " + std::string(containers::kindOf(asBytes(file)).what) +
                  ", and can't be read as an image: " + why + "; a PNG, JPEG, GIF, TIFF or BMP file would work.");
  }
  if (!why.empty()) report.complaints.push_back(inQuotes(name) + ": " + why + ".");
  return std::move(*image);
}

enum class Done { recorded, skipped, noImage, failed };

// Files that were found in a folder may be anything.
Done recordImage(const InputFile& input, const fs::path& out, const Options& options, const Inputs& inputs,
                 Report& report) {
  const std::string& name = input.name;
  const std::string file = readInput(name);
  if (!input.wasNamed && containers::kindOf(asBytes(file)).ending.empty()) return Done::noImage;
  if (!mayWrite(out, inputs, options.output, false)) {
    report.lines.push_back(out.string() + ": is there already, and stays");
    return Done::skipped;
  }
  qd::GWorld world = imageOf(name, file, options, report);
  const int width = world.width();
  const int height = world.height();
  const std::string what = "A PICT of " + inQuotes(name);
  const qd::Rect whole = qd::MakeRect(0, 0, width, height);
  if (options.kind.depth != 0 || options.kind.isGray) {
    qd::GWorld other = makeWorld(what, whole, options.kind);
    other.copy(world, whole, whole);
    world = std::move(other);
  }
  std::vector<std::uint8_t> bytes;
  qd::VectorSink sink(bytes);
  qd::Recorder recorder(fonts(), qd::PictureParams(width, height), sink);
  recorder.image(world, whole, whole);
  if (!recorder.close()) throw Failure(what + " can't be made: there is no memory for it.");
  if (!input.wasNamed) makeFolder(out.parent_path());
  writePicture(out, asText(bytes));
  report.lines.push_back(out.string() + ": " + std::to_string(width) + "x" + std::to_string(height) + ", " +
                         std::to_string(bytes.size()) + " bytes");
  return Done::recorded;
}

Status recordMany(const Options& options, const Inputs& inputs, const fs::path& folder) {
  const std::vector<fs::path> places = inputs.placesIn(folder);
  makeFolder(folder);
  std::vector<Done> done(places.size());
  doAll(places.size(), options.batch, false, [&](std::size_t at) {
    Report report;
    const InputFile& input = inputs.files()[at];
    try {
      done[at] = recordImage(input, places[at].string() + ".pict", options, inputs, report);
    } catch (...) {
      report.complaints.push_back(sentenceOfCaught(input.name));
      done[at] = Done::failed;
    }
    return report;
  });
  for (const std::string& sentence : inputs.unread()) complain(sentence);
  const auto count = [&done](Done what) { return static_cast<std::size_t>(std::ranges::count(done, what)); };
  const LeftOut left = {count(Done::failed), count(Done::skipped), count(Done::noImage), inputs.unread().size()};
  if (!options.batch.isQuiet) {
    const std::string line = std::to_string(count(Done::recorded)) + " of " +
                             counted(done.size() - left.others, "image", "images") + " recorded into " +
                             folder.string() + inWords(left, "image");
    std::printf("%s\n", line.c_str());
  }
  return left.failed == 0 && left.unread == 0 ? kDone : kFailed;
}

Status record(const Options& options) {
  const auto [names, to] =
      placesOf(options.names, "record takes images and where their pictures go", "record IN.png OUT.pict");
  if (options.transparency.isKept && options.kind.bits() != 32)
    throw CLI::ValidationError("--alpha takes pixels of 32 bits");
  const fs::path out = outputAt(to);
  const Inputs inputs(names, out);
  if (isFolderName(out) || inputs.files().size() != 1) return recordMany(options, inputs, out);
  const InputFile& input = inputs.files()[0];
  checkPictureName(out);
  Report report;
  workOn(input.name, [&] { recordImage(input, out, options, inputs, report); });
  tell(report, options.batch.isQuiet, isStandardOutput(out));
  return kDone;
}

}  // namespace

void addRecord(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "record", "Make a PICT file of an image file, or many in a folder", record);
  command->add_option("FILES", options.names, "IN.png OUT.pict, or images into a FOLDER; PNG, JPEG, GIF, TIFF or BMP")
      ->required()
      ->type_name("");
  addPictureKind(*command, options.kind);
  CLI::Option* const alpha =
      command->add_flag("--alpha", options.transparency.isKept, "Keep transparency, as a fourth component of pixels");
  addParsed(*command, "--background", "What shows through where an image is transparent; white otherwise",
            "a colour like #FF8000", "",
            [&options = options](const std::string& text) { return parseColor(text, options.transparency.background); })
      ->type_name("#RRGGBB")
      ->excludes(alpha);
  addReplacing(*command, options.output);
  addBatch(*command, options.batch);
}
