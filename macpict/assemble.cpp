// macpict assemble: a picture from a text, such as macpict list --full prints.
#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace {

struct Options {
  std::string text, picture;
};

Status assembleOne(const Options& options) {
  const std::string text = readFile(options.text);
  const qd::Assembled assembled = qd::assemblePicture(text);
  if (assembled.error) {
    throw Failure("In \"" + options.text + "\", line " + std::to_string(assembled.error->line) + ", column " +
                  std::to_string(assembled.error->column) + ": " + assembled.error->what + ".");
  }
  const auto& picture = assembled.picture;
  writeFile(options.picture, {reinterpret_cast<const char*>(picture.data()), picture.size()});
  return kDone;
}

Status assemble(const Options& options) {
  return workOn(options.text, [&] { return assembleOne(options); });
}

}  // namespace

void addAssemble(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "assemble", "Make a picture of a text like that of list --full", assemble);
  command->add_option("FILE", options.text, "The text")->required()->type_name("");
  command->add_option("OUT.pict", options.picture, "The picture, with 512 bytes in front if the text has a header")
      ->required()
      ->type_name("");
}
