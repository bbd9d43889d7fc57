// macpict corpus: all pictures below a folder, small on one sheet.
#include <algorithm>
#include <cstdio>

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
  void place(int index, const Image& picture, int dy) {
    const int left = index % kColumns * kCellWidth + kGap;
    const int top = index / kColumns * kCellHeight + kGap + dy;
    image_.height = (index / kColumns + 1) * kCellHeight;
    image_.rgb.resize(byteCount(image_.width) * static_cast<std::size_t>(image_.height), '\xD0');
    for (int y = 0; y < picture.height; ++y) {
      image_.rgb.replace(static_cast<std::size_t>(top + y) * byteCount(image_.width) + byteCount(left),
                         byteCount(picture.width), picture.rgb, static_cast<std::size_t>(y) * byteCount(picture.width),
                         byteCount(picture.width));
    }
  }
  const Image& image() const { return image_; }

 private:
  Image image_ = {kColumns * kCellWidth, 0, {}};
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
  recorder.text({11, 1}, qd::macRomanOfUtf8(text));
  recorder.close();
  qd::GWorld world = makeWorld("A label", qd::MakeRect(0, 0, kWidth, kLabelHeight));
  world.play(picture);
  return imageOf(world, kWidth, kLabelHeight);
}

struct Sum {
  int pictures = 0, whole = 0, partly = 0, failed = 0, undrawn = 0;
};

// Renders one picture, counts what became of it, and gives it small. What is wrong is thrown, or said.
Image renderOne(qd::Bytes picture, Sum& sum, std::string& report) {
  const auto [width, height] = playSize("it", picture, {.most = kMostShown});
  qd::GWorld world = makeWorld("it", qd::MakeRect(0, 0, width, height));
  const qd::Playback playback = world.play(picture);
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
  if (!mayWrite(sheetPath, inputs, options.output, true)) return kDone;

  std::FILE* const words = isStandardOutput(sheetPath) ? stderr : stdout;
  Sheet sheet;
  Sum sum;
  const auto show = [&](const std::string&, const InputFile& input, const containers::Found& found) {
    const int index = sum.pictures++;
    std::string report;
    try {
      sheet.place(index, renderOne(found.picture, sum, report), kLabelHeight);
    } catch (...) {
      ++sum.failed;
      report = "FAILED: " + sentenceOfCaught("");
    }
    std::fprintf(words, "%-40s %s\n", nameOf(input.place.string(), found).c_str(), report.c_str());
    sheet.place(index, label(nameOf(input.place.stem().string(), found)), 0);
  };
  const bool isRead = eachPicture(inputs, false, show);
  if (sum.pictures == 0) throw Failure("There is no picture below \"" + options.folder + "\".");
  OutputFile file(sheetPath);
  format.write(file, sheet.image().rows());
  file.commit();
  std::fprintf(words,
               "%d pictures rendered whole, %d partly (%d opcodes are not drawn), %d failed; all of them on %s\n",
               sum.whole, sum.partly, sum.undrawn, sum.failed, sheetPath.c_str());
  return sum.failed == 0 && isRead && (!options.isStrict || sum.partly == 0) ? kDone : kFailed;
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
