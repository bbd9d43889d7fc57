// macpict render: plays pictures into images.
#include <cstdio>

#include "containers/containers.h"
#include "macpict/batch.h"
#include "macpict/commands.h"
#include "macpict/outputs.h"
#include "macpict/played.h"
#include "macpict/sizes.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::vector<std::string> names;  // the last is where images go
  SizeOptions size;
  Look look;
  OutputOptions output = {.format = {}, .mayBeFolder = true};
  BatchOptions batch;
  bool keepGoing = false, isStrict = false, isVerbose = false, isSearching = false;
};

// What became of pictures, and of files that were looked at for them.
struct Sums : LeftOut {
  std::size_t whole = 0, partly = 0;

  std::size_t& of(Outcome outcome) {
    return outcome == Outcome::whole ? whole : outcome == Outcome::partly ? partly : failed;
  }
  std::size_t pictures() const { return whole + partly + failed + skipped; }
  Sums& operator+=(const Sums& more) {
    whole += more.whole;
    partly += more.partly;
    failed += more.failed;
    skipped += more.skipped;
    others += more.others;
    unread += more.unread;
    return *this;
  }
  bool isWell(const Options& options) const { return failed == 0 && unread == 0 && (!options.isStrict || partly == 0); }
};

// One file's part of the work.
struct Done {
  Report report;
  Sums sums;
};

class Rendering {
 public:
  Rendering(const Options& options, const Inputs& inputs) : options_(options), inputs_(inputs) {}

  // Throws what keeps a picture from being rendered. A broken one is told and still written, if it is to be kept going.
  void renderPicture(const std::string& name, qd::Bytes picture, const fs::path& out, Done& done) const {
    const OutputFormat& format = formatFor(out, options_.output);
    if (!mayWrite(out, inputs_, options_.output, true)) {
      done.report.lines.push_back(out.string() + ": is there already, and stays");
      ++done.sums.skipped;
      return;
    }
    const std::string what = "The picture " + inQuotes(name);
    const PlaySize size = wantedSize(what, picture, options_.size);
    PlayedPicture played(what, picture, size, options_.look);
    const qd::Playback& playback = played.playback();
    for (const std::string& remark : playback.remarks) done.report.complaints.push_back(name + ": " + remark);
    const std::string fault = faultOf(playback);
    if (!fault.empty()) {
      if (!options_.keepGoing) throw Failure(what + " " + fault + ". --keep-going would write what was drawn.");
      done.report.complaints.push_back(what + " " + fault + ".");
    }
    ImageRows rows = played.rows();
    if (options_.look.hasOpacity) {
      if (!format.hasAlpha)
        throw Failure("\"" + out.string() + "\" can't keep opacity; a PNG or TIFF file would work.");
      if (played.lacksOpacity())
        done.report.complaints.push_back(what + " isn't one image with opacity, and is written without.");
    }
    OutputFile file(out);
    format.write(file, rows);
    file.commit();
    done.report.lines.push_back(out.string() + ": " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                                ", " + outcomeOf(playback, options_.isVerbose));
    ++done.sums.of(outcomeOf(playback));
  }

  // All pictures in a file, or the only one. `outOf` says where one goes.
  template <class OutOf>
  Done renderFile(const InputFile& input, bool isForOne, const OutOf& outOf) const {
    Done done;
    const Seen seen = lookInto(
        input, input.name, {options_.isSearching, isForOne},
        [&done](const std::string& sentence) { done.report.complaints.push_back(sentence); },
        [&](const std::string& name, const InputFile&, const containers::Found& found) {
          renderPicture(name, found.picture, outOf(found), done);
        });
    if (!seen.isRead) {
      ++done.sums.unread;
    } else if (seen.pictures > 0) {
      done.sums.failed += seen.faults;
    } else if (input.wasNamed) {
      ++done.sums.failed;
    } else {
      done.report.complaints.clear();  // what may be damaged in it is no picture
      ++done.sums.others;
    }
    return done;
  }

 private:
  const Options& options_;
  const Inputs& inputs_;
};

Status renderOne(const Options& options, const Inputs& inputs, const fs::path& out) {
  formatFor(out, options.output);
  const Done done = Rendering(options, inputs).renderFile(inputs.files()[0], true, [&out](const auto&) { return out; });
  tell(done.report, options.batch.isQuiet, isStandardOutput(out));
  return done.sums.isWell(options) ? kDone : kFailed;
}

Status renderMany(const Options& options, const Inputs& inputs, const fs::path& folder) {
  const std::vector<fs::path> bases = inputs.placesIn(folder);
  const std::string ending(formatNamed(options.output.format.empty() ? "png" : options.output.format)->ending);
  makeFolder(folder);
  const Rendering rendering(options, inputs);
  std::vector<Sums> sums(bases.size());
  doAll(bases.size(), options.batch, false, [&](std::size_t at) {
    containers::FileNames names;
    const auto outOf = [&](const containers::Found& found) {
      const fs::path& base = bases[at];
      makeFolder(base.parent_path());
      return found.place.empty() ? fs::path(base.string() + ending)
                                 : base.parent_path() / (names.of(base.filename().string(), found) + ending);
    };
    Done done = rendering.renderFile(inputs.files()[at], false, outOf);
    sums[at] = done.sums;
    return std::move(done.report);
  });
  Sums sum;
  for (const Sums& more : sums) sum += more;
  for (const std::string& sentence : inputs.unread()) complain(sentence);
  sum.unread += inputs.unread().size();
  if (!options.batch.isQuiet) {
    const std::string line = std::to_string(sum.whole) + " of " + counted(sum.pictures(), "picture", "pictures") +
                             " rendered whole into " + folder.string() + ", " + std::to_string(sum.partly) + " partly" +
                             inWords(sum, "picture");
    std::printf("%s\n", line.c_str());
  }
  return sum.isWell(options) ? kDone : kFailed;
}

Status render(const Options& options) {
  const auto [names, to] = placesOf(options.names, "render takes pictures and where they go", "render IN.pict OUT.png");
  if (options.look.hasOpacity && options.look.kind.bits() != 32)
    throw CLI::ValidationError("--alpha takes pixels of 32 bits");
  const fs::path out = outputAt(to);
  const bool isFolder = isFolderName(out);
  std::error_code error;
  const bool isOne = names.size() == 1 && (names[0] == kStandard || !fs::is_directory(names[0], error));
  if (isOne && !isFolder) return renderOne(options, Inputs(names), out);
  if (fs::exists(out, error) && !isFolder) {
    throw Failure("\"" + out.string() + "\" is no folder, and there is more than one picture; " +
                  "a folder for their images would work: macpict render " + names[0] + " ... FOLDER/");
  }
  if (!isFolder && (formatOf(out) != nullptr || endsLikePicture(out) || out == "/dev/stdout")) {
    throw Failure("\"" + out.string() +
                  "\" is the name of one file, and there may be more pictures; a folder would work.");
  }
  return renderMany(options, Inputs(names, out), out);
}

}  // namespace

void addRender(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "render", "Play a picture into an image file, or many into a folder", render);
  command->add_option("FILES", options.names, "IN.pict OUT.png, or FILES and FOLDERS into a FOLDER; - is a pipe")
      ->required()
      ->type_name("");
  addSizes(*command, options.size);
  addFormat(*command, options.output);
  CLI::Option* const smooth = command->add_flag("--smooth", options.look.isSmooth,
                                                "Play it up to 4 times as large, and take the mean of its pixels");
  command->add_flag("--alpha", options.look.hasOpacity, "Keep the opacity of a picture that is one image with some")
      ->excludes(smooth);
  addPictureKind(*command, options.look.kind);
  command->add_option("--memory", options.look.memory, "Play in strips, with no more than so much memory for pixels")
      ->type_name("BYTES")
      ->transform(CLI::AsSizeValue(false).description(""));
  addReplacing(*command, options.output);
  addBatch(*command, options.batch);
  addSearch(*command, options.isSearching);
  command->add_flag("--keep-going", options.keepGoing, "Write what was drawn till a picture broke");
  addStrict(*command, options.isStrict);
  command->add_flag("-v,--verbose", options.isVerbose, "Count all opcodes, with the comments and reserved ones");
}
