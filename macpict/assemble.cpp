// macpict assemble: a picture from a text, such as macpict list --full prints.
#include "macpict/commands.h"
#include "macpict/outputs.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::string text, picture;
  OutputOptions output;
};

Status assemble(const Options& options) {
  const fs::path out = outputAt(options.picture);
  checkPictureName(out);
  if (!mayWrite(out, Inputs({options.text}), options.output, false)) return kDone;
  const std::string text = readInput(options.text);
  const qd::Assembled assembled = qd::assemblePicture(text);
  if (assembled.error) {
    throw Failure("In " + inQuotes(options.text) + ", line " + std::to_string(assembled.error->line) + ", column " +
                  std::to_string(assembled.error->column) + ": " + assembled.error->what + ".");
  }
  writeFile(out, asText(assembled.picture));
  return kDone;
}

}  // namespace

void addAssemble(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "assemble", "Make a picture of a text like that of list --full",
                          [](const Options& asked) { return workOn(asked.text, [&] { return assemble(asked); }); });
  command->add_option("FILE", options.text, "The text")->required()->type_name("");
  command->add_option("OUT.pict", options.picture, "The picture, with 512 bytes in front if the text has a header")
      ->required()
      ->type_name("");
  addReplacing(*command, options.output);
}
