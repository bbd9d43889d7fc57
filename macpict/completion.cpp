// macpict completion: the commands and their options, as a shell wants them.
#include <cstdio>

#include "macpict/commands.h"

namespace {

std::string wordsOf(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words += " --" + name;
  }
  return words;
}

// Works in bash, and in zsh after bashcompinit.
Status completion(const CLI::App& app) {
  std::string names, cases;
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    names += " " + command->get_name();
    cases += "    " + command->get_name() + ") options=\"" + wordsOf(*command).substr(1) + "\" ;;\n";
  }
  std::printf(
      "_macpict() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} options\n"
      "  case ${COMP_WORDS[1]} in\n"
      "%s"
      "  esac\n"
      "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
      "    COMPREPLY=($(compgen -W \"%s%s\" -- \"$word\"))\n"
      "  elif [[ $word == -* ]]; then\n"
      "    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
      "  else\n"
      "    COMPREPLY=($(compgen -f -- \"$word\"))\n"
      "  fi\n"
      "}\n"
      "complete -o filenames -F _macpict macpict\n",
      cases.c_str(), names.substr(1).c_str(), wordsOf(app).c_str());
  return kDone;
}

}  // namespace

void addCompletion(CLI::App& app, Command& chosen) {
  CLI::App* command = app.add_subcommand("completion", "Print what bash needs to complete the command line");
  command->callback([&chosen, &app] { chosen = [&app] { return completion(app); }; });
}
