// macpict assemble: a picture from a text, such as macpict list --full prints.
#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace {

struct Options {
  std::string text, picture;
};

Status assemble(const Options& options) {
  const std::string text = readFile(options.text);
  const qd::Assembled assembled = qd::assemblePicture(text);
  if (assembled.error) {
    throw Failure("In \"" + options.text + "\", line " + std::to_string(assembled.error->line) + ", column " +
                  std::to_string(assembled.error->column) + ": " + assembled.error->what + ".");
  }
  writeFile(options.picture, asText(assembled.picture));
  return kDone;
}

}  // namespace

void addAssemble(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "assemble", "Make a picture of a text like that of list --full",
                          workingOn(&Options::text, assemble));
  command->add_option("FILE", options.text, "The text")->required()->type_name("");
  command->add_option("OUT.pict", options.picture, "The picture, with 512 bytes in front if the text has a header")
      ->required()
      ->type_name("");
}
