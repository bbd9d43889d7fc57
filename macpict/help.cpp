// macpict help: what a command takes.
#include <cstdio>

#include "macpict/commands.h"

namespace {

struct Options {
  std::string command;
};

Status help(const CLI::App& app, const std::string& name) {
  // Of the program itself, not of the command that was chosen.
  if (name.empty()) {
    std::fputs(app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal).c_str(), stdout);
    return kDone;
  }
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_name() != name) continue;
    std::fputs(command->help(app.get_name()).c_str(), stdout);
    return kDone;
  }
  complain("There is no command \"" + name + "\"; macpict help tells all of them.");
  return kWrongUsage;
}

}  // namespace

void addHelp(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "help", "Tell what a command takes",
                          [&app](const Options& asked) { return help(app, asked.command); });
  command->add_option("COMMAND", options.command, "The command; without one, all of them are told")->type_name("");
}
