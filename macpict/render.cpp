// macpict render: plays pictures into pixels.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

#include "macpict/commands.h"
#include "macpict/means.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/output.h"
#include "tools/playing.h"
#include "tools/png.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::vector<std::string> files;
  std::string size;
  double scale = 1;
  bool isInPoints = false;
  PictureKind kind;
  bool keepGoing = false, isStrict = false, isVerbose = false, isSmooth = false;
};

// Nothing if the text is no size.
std::optional<PlaySize> parseSize(const std::string& text) {
  PlaySize size{};
  char rest = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &size.width, &size.height, &rest) != 2) return std::nullopt;
  const auto fits = [](int side) { return side > 0 && side <= kMostSide; };
  if (!fits(size.width) || !fits(size.height)) return std::nullopt;
  return size;
}

// How many times as large a smooth picture is played as it comes out: as often as sides and memory allow.
int smoothness(const PlaySize& size) {
  constexpr std::int64_t kMostPixels = 1 << 28;
  int times = 4;
  while (times > 1 && (std::max(size.width, size.height) * times > kMostSide ||
                       std::int64_t{size.width} * size.height * times * times > kMostPixels))
    --times;
  return times;
}

enum class Rendered { whole, partly, failed };

// Throws what keeps a picture from being rendered. A broken one is told and still written, if it is to be kept going.
Rendered renderOne(const fs::path& in, const fs::path& out, const Options& options) {
  const std::string name = "The picture \"" + in.string() + "\"";
  const std::string picture = readPicture(in);
  const auto asked = parseSize(options.size);
  const PlaySize size = asked ? *asked : playSize(name, asBytes(picture), {options.scale, options.isInPoints});
  const int times = options.isSmooth ? smoothness(size) : 1;
  qd::GWorld world = makeWorld(name, size.width * times, size.height * times, options.kind);
  const qd::Playback playback = world.play(asBytes(picture));
  for (const std::string& remark : playback.remarks) complain(in.string() + ": " + remark);
  const std::string fault = faultOf(playback);
  if (!fault.empty()) {
    if (!options.keepGoing) throw Failure(name + " " + fault + ". --keep-going would write what was drawn.");
    complain(name + " " + fault + ".");
  }
  std::optional<Means> means;
  if (times > 1) means.emplace(world, size.width, size.height);
  writePNG(
      out, size.width, size.height,
      [&](int y, std::span<std::uint8_t> row) { means ? means->row(y, row) : world.rgb(y, row); },
      resolutionOf(asBytes(picture), size));
  std::fprintf(isStandardOutput(out) ? stderr : stdout, "%s: %dx%d, %s\n", out.c_str(), size.width, size.height,
               outcomeOf(playback, options.isVerbose).c_str());
  return !fault.empty() ? Rendered::failed : playback.undrawn > 0 ? Rendered::partly : Rendered::whole;
}

Rendered renderNamed(const std::string& in, const fs::path& out, const Options& options) {
  return workOn(in, [&] { return renderOne(in, out, options); });
}

// Many pictures into a folder. None is passed over in silence, and none takes another's place.
Status renderMany(const Options& options, const fs::path& folder) {
  const std::size_t count = options.files.size() - 1;
  std::map<fs::path, std::string> results;
  for (std::size_t i = 0; i < count; ++i) {
    const auto [at, isNew] =
        results.emplace(folder / fs::path(options.files[i]).stem().concat(".png"), options.files[i]);
    if (!isNew) {
      throw Failure("Both \"" + at->second + "\" and \"" + options.files[i] + "\" would become \"" +
                    at->first.string() + "\"; a folder for each would work.");
    }
  }
  makeFolder(folder);
  const bool showsProgress = isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0;
  std::size_t done = 0;
  std::map<Rendered, std::size_t> sums;
  for (const auto& [out, in] : results) {
    if (showsProgress) std::fprintf(stderr, "\r%zu of %zu", ++done, count);
    try {
      ++sums[renderNamed(in, out, options)];
    } catch (const Failure& error) {
      ++sums[Rendered::failed];
      if (showsProgress) std::fputc('\n', stderr);
      complain(error.what());
    }
  }
  if (showsProgress) std::fputc('\n', stderr);
  std::printf("%zu of %zu pictures rendered whole into %s, %zu partly\n", sums[Rendered::whole], count, folder.c_str(),
              sums[Rendered::partly]);
  return sums[Rendered::failed] == 0 && (!options.isStrict || sums[Rendered::partly] == 0) ? kDone : kFailed;
}

Status render(const Options& options) {
  if (options.files.size() < 2) {
    throw CLI::ValidationError("render takes a PICT file and a PNG file, or PICT files and a folder, not \"" +
                               options.files[0] + "\" alone: macpict render IN.pict OUT.png");
  }
  const fs::path out = options.files.back();
  std::error_code error;
  if (options.files.size() > 2 || fs::is_directory(out, error) || !out.has_filename()) return renderMany(options, out);
  const Rendered rendered = renderNamed(options.files[0], out, options);
  return rendered == Rendered::failed || (options.isStrict && rendered == Rendered::partly) ? kFailed : kDone;
}

}  // namespace

void addRender(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "render", "Play a picture into a PNG file, or many into a folder", render);
  command->add_option("FILES", options.files, "IN.pict OUT.png, or IN.pict... FOLDER")->required()->type_name("");
  command->add_option("--size", options.size, "At this size in pixels")
      ->type_name("WxH")
      ->check([](const std::string& text) {
        return parseSize(text)
                   ? std::string()
                   : "It takes a width and a height of 1 to 32767, not \"" + text + "\"; 640x480 would work";
      });
  command->add_option("--scale", options.scale, "Larger or smaller than it is by this factor")
      ->type_name("F")
      ->check([](const std::string& text) {
        double scale = 0;
        return CLI::detail::lexical_cast(text, scale) && scale > 0 && scale <= 1000
                   ? std::string()
                   : "It takes a factor above 0 and up to 1000, not \"" + text + "\"; 2 or 0.5 would work";
      });
  command->add_flag("--points", options.isInPoints,
                    "As large as it is on the page at 72 dots per inch, not with all of its dots");
  command->add_flag("--smooth", options.isSmooth, "Play it up to 4 times as large, and take the mean of its pixels");
  addPictureKind(*command, options.kind);
  command->add_flag("--keep-going", options.keepGoing, "Write what was drawn till a picture broke");
  addStrict(*command, options.isStrict);
  command->add_flag("--verbose", options.isVerbose, "Count all opcodes, with the comments and reserved ones");
}
