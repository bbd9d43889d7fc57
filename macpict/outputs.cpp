#include "macpict/outputs.h"

#include <algorithm>
#include <array>
#include <fstream>

#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

void addReplacing(CLI::App& command, OutputOptions& options) {
  CLI::Option* const force = command.add_flag("-f,--force", options.isForced, "Replace what is there");
  command.add_flag("--skip-existing", options.skipsExisting, "Leave what is there, and make what is missing")
      ->excludes(force);
}

void addFormat(CLI::App& command, OutputOptions& options) {
  command.add_option("--format", options.format, "The format of images, whatever the names of files say")
      ->type_name(formatNames())
      ->check([](const std::string& text) {
        return formatNamed(text) != nullptr ? std::string() : "It takes " + formatNames() + ", not \"" + text + "\"";
      });
}

NamedPlaces placesOf(const std::vector<std::string>& names, const std::string& takes, const std::string& example) {
  if (names.size() < 2) throw CLI::ValidationError(takes + ", not \"" + names[0] + "\" alone: macpict " + example);
  return {{names.begin(), names.end() - 1}, names.back()};
}

bool isFolderName(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error) || !path.has_filename();
}

bool endsLikePicture(const fs::path& path) {
  constexpr std::array kEndings = {".pict", ".pct", ".pic"};
  return std::ranges::find(kEndings, endingOf(path)) != kEndings.end();
}

fs::path outputAt(const std::string& name) { return name == kStandard ? "/dev/stdout" : name; }

namespace {

// A device, a pipe or standard output, of which no name tells what comes.
bool isNoFile(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return path == "/dev/stdout" || (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status));
}

// Of a file that is there; nothing of one that can't be read.
std::string headOf(const fs::path& path) {
  std::string head(kTellingBytes, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(file.gcount()));
  return head;
}

}  // namespace

const OutputFormat& formatFor(const fs::path& out, const OutputOptions& options) {
  if (!options.format.empty()) return *formatNamed(options.format);
  if (isNoFile(out)) return *formatNamed("png");
  if (const OutputFormat* const format = formatOf(out)) return *format;
  if (endsLikePicture(out)) {
    throw Failure("\"" + out.string() +
                  "\" is the name of a picture, and would get an image; a folder, or a name that ends in " +
                  formatEndings() + ", would work.");
  }
  throw Failure("The name \"" + out.string() + "\" tells no format of images; one that ends in " + formatEndings() +
                " would work, or --format" + (options.mayBeFolder ? ", or a folder, \"" + out.string() + "/\"." : "."));
}

void checkPictureName(const fs::path& out) {
  if (isNoFile(out) || endsLikePicture(out)) return;
  throw Failure("\"" + out.string() + "\" would get a picture; a name that ends in .pict, .pct or .pic would work.");
}

bool mayWrite(const fs::path& out, const Inputs& inputs, const OutputOptions& options, bool isImage) {
  std::error_code error;
  if (!fs::exists(out, error) || isNoFile(out)) return true;
  const std::string name = "\"" + out.string() + "\"";
  if (inputs.have(out)) throw Failure(name + " is to be read, and would be replaced; another name would work.");
  if (fs::is_directory(out, error)) throw Failure(name + " is a folder, not a file.");
  if (options.skipsExisting) return false;
  const std::string head = isImage ? headOf(out) : "";
  if (hasOurMark(head)) return true;
  if (qd::pictureInFile(asBytes(head)))
    throw Failure(name + " is a picture, and would be replaced by an image; another name would work.");
  if (options.isForced) return true;
  throw Failure(name + " is there already; another name would work, or --force to replace it.");
}
