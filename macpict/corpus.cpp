// macpict corpus: all pictures below a folder, small on one sheet.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "macpict/commands.h"
#include "macpict/means.h"
#include "macpict/outputs.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/output.h"
#include "tools/playing.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCellWidth = 180, kCellHeight = 160, kLabelHeight = 16, kColumns = 6, kGap = 4;

// Of so many pixels.
constexpr std::size_t byteCount(int pixels) { return static_cast<std::size_t>(pixels) * 3; }

class Sheet {
 public:
  explicit Sheet(std::size_t count) {
    const int rows = static_cast<int>((count + kColumns - 1) / kColumns);
    image_ = {kColumns * kCellWidth, rows * kCellHeight, {}};
    image_.rgb.assign(byteCount(image_.width) * static_cast<std::size_t>(image_.height), '\xD0');
  }
  void place(std::size_t index, const Image& picture, int dy) {
    const int left = static_cast<int>(index) % kColumns * kCellWidth + kGap;
    const int top = static_cast<int>(index) / kColumns * kCellHeight + kGap + dy;
    for (int y = 0; y < picture.height; ++y) {
      image_.rgb.replace(static_cast<std::size_t>(top + y) * byteCount(image_.width) + byteCount(left),
                         byteCount(picture.width), picture.rgb, static_cast<std::size_t>(y) * byteCount(picture.width),
                         byteCount(picture.width));
    }
  }
  const Image& image() const { return image_; }

 private:
  Image image_;
};

// No larger than the world.
Image imageOf(const qd::GWorld& world, int width, int height) {
  Image image{width, height, {}};
  const std::size_t rowBytes = byteCount(width);
  image.rgb.resize(rowBytes * static_cast<std::size_t>(height));
  Means means({world.width(), world.height()}, {width, height},
              [&world](int y, std::span<std::uint8_t> triplets) { world.rgb(y, triplets); });
  for (int y = 0; y < height; ++y)
    means.row(y,
              {reinterpret_cast<std::uint8_t*>(image.rgb.data()) + static_cast<std::size_t>(y) * rowBytes, rowBytes});
  return image;
}

Image label(const std::string& text) {
  constexpr int kWidth = kCellWidth - 2 * kGap;
  constexpr int kGeneva = 3;
  std::vector<std::uint8_t> picture;
  qd::VectorSink sink(picture);
  qd::Recorder recorder(fonts(), qd::PictureParams(kWidth, kLabelHeight), sink);
  recorder.font(kGeneva, 10);
  recorder.text({11, 1}, text);
  recorder.close();
  qd::GWorld world = makeWorld("A label", qd::MakeRect(0, 0, kWidth, kLabelHeight));
  world.play(picture);
  return imageOf(world, kWidth, kLabelHeight);
}

struct Sum {
  int whole = 0, partly = 0, failed = 0, undrawn = 0;
};

// Renders one picture, counts what became of it, and gives it small. What is wrong is thrown, or said.
Image renderOne(const std::string& bytes, Sum& sum, std::string& report) {
  const auto [width, height] = playSize("it", asBytes(bytes), {.most = kMostShown});
  qd::GWorld world = makeWorld("it", qd::MakeRect(0, 0, width, height));
  const qd::Playback playback = world.play(asBytes(bytes));
  sum.undrawn += playback.undrawn;
  report = std::to_string(width) + "x" + std::to_string(height) + ", " + outcomeOf(playback, false);
  for (const std::string& remark : playback.remarks) report += "; " + remark;
  if (const std::string fault = faultOf(playback); !fault.empty()) throw Failure("it " + fault + ": " + report);
  ++(playback.undrawn == 0 ? sum.whole : sum.partly);
  constexpr int kRoomHeight = kCellHeight - kLabelHeight - 2 * kGap;
  const double scale = std::min({1.0, double(kCellWidth - 2 * kGap) / width, double(kRoomHeight) / height});
  return imageOf(world, std::max(1, static_cast<int>(width * scale)), std::max(1, static_cast<int>(height * scale)));
}

struct Options {
  std::string folder, sheet;
  OutputOptions output;
  bool isStrict = false;
};

Status renderCorpus(const Options& options) {
  const fs::path sheetPath = outputAt(options.sheet);
  const OutputFormat& format = formatFor(sheetPath, options.output);
  const Inputs inputs({options.folder});
  std::vector<InputFile> files;
  std::ranges::copy_if(inputs.files(), std::back_inserter(files),
                       [](const InputFile& file) { return endsLikePicture(file.name); });
  for (const std::string& sentence : inputs.unread()) complain(sentence);
  if (files.empty()) throw Failure("There is no picture (.pict, .pct, .pic) below \"" + options.folder + "\".");
  if (!mayWrite(sheetPath, inputs, options.output, true)) return kDone;

  std::FILE* const words = isStandardOutput(sheetPath) ? stderr : stdout;
  Sheet sheet(files.size());
  Sum sum;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string name = files[i].place.string();
    std::string report;
    try {
      sheet.place(i, workOn(files[i].name, [&] { return renderOne(readPicture(files[i].name), sum, report); }),
                  kLabelHeight);
    } catch (const Failure& failure) {
      ++sum.failed;
      report = std::string("FAILED: ") + failure.what();
    }
    std::fprintf(words, "%-40s %s\n", name.c_str(), report.c_str());
    sheet.place(i, label(files[i].place.stem().string()), 0);
  }
  OutputFile file(sheetPath);
  format.write(file, sheet.image().rows());
  file.commit();
  std::fprintf(words,
               "%d pictures rendered whole, %d partly (%d opcodes are not drawn), %d failed; all of them on %s\n",
               sum.whole, sum.partly, sum.undrawn, sum.failed, sheetPath.c_str());
  return sum.failed == 0 && inputs.unread().empty() && (!options.isStrict || sum.partly == 0) ? kDone : kFailed;
}

}  // namespace

void addCorpus(CLI::App& app, Command& chosen) {
  const auto [command, options] = addCommand<Options>(
      app, chosen, "corpus", "Render all pictures below a folder, and put them on one sheet", renderCorpus);
  command->add_option("DIR", options.folder, "The folder")->required()->type_name("");
  command->add_option("SHEET.png", options.sheet, "The sheet to write")->required()->type_name("");
  addReplacing(*command, options.output);
  addStrict(*command, options.isStrict);
}
