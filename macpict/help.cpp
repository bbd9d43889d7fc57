// macpict help: what a command takes.
#include <algorithm>
#include <cstdio>

#include "macpict/commands.h"

namespace {

struct Options {
  std::string command;
};

}  // namespace

void addHelp(CLI::App& app, Command& chosen) {
  const auto [help, options] =
      addCommand<Options>(app, chosen, "help", "Tell what a command takes", [&app](const Options& asked) {
        const CLI::App* const command = asked.command.empty() ? &app : app.get_subcommand(asked.command);
        std::fputs(command->help("macpict").c_str(), stdout);
        return kDone;
      });
  help->add_option("COMMAND", options.command, "The command; without one, all of them are told")
      ->type_name("")
      ->check([&app](const std::string& name) {
        const bool isKnown = std::ranges::any_of(
            app.get_subcommands(nullptr), [&name](const CLI::App* command) { return command->get_name() == name; });
        return isKnown ? std::string() : "There is no command \"" + name + "\"; macpict help tells all of them";
      });
}
