// macpict completion: the commands, their options and these options' values, as a shell wants them.
#include <algorithm>
#include <cstdio>

#include "macpict/commands.h"

namespace {

// An option's type is "N", "DIR", or what it can be: "png|ppm".
std::string casesOfValues(const CLI::App& command) {
  std::string cases;
  for (const CLI::Option* option : command.get_options()) {
    std::string values = option->get_type_name();
    if (option->get_items_expected() == 0 || !option->nonpositional()) continue;
    const bool isFolder = values == "DIR";
    std::ranges::replace(values, '|', ' ');
    std::string names;
    for (const std::string& name : option->get_lnames()) names += (names.empty() ? "--" : "|--") + name;
    for (const std::string& name : option->get_snames()) names += "|-" + name;
    cases += "      " + command.get_name() + "," + names + ") " +
             (isFolder                                ? "kind=-d"
              : values.find(' ') != std::string::npos ? "kind=-W list=\"" + values + "\""
                                                      : "kind=-W") +
             " ;;\n";
  }
  return cases;
}

std::string optionsOf(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words += (words.empty() ? "--" : " --") + name;
  }
  return words;
}

// Works in bash, and in zsh after bashcompinit. Words are taken line by line, so that blanks in names survive.
Status completion(const CLI::App& app) {
  std::string names, options, values;
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    names += (names.empty() ? "" : " ") + command->get_name();
    options += "      " + command->get_name() + ") list=\"" + optionsOf(*command) + "\" ;;\n";
    values += casesOfValues(*command);
  }
  std::printf(
      "_macpict() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}\n"
      "  local kind=-f list=\n"
      "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
      "    kind=-W list=\"%s %s\"\n"
      "  elif [ \"$command\" = help ]; then\n"
      "    kind=-W list=\"%s\"\n"
      "  elif [[ $word == -* ]]; then\n"
      "    kind=-W\n"
      "    case $command in\n"
      "%s"
      "    esac\n"
      "  else\n"
      "    case $command,$previous in\n"
      "%s"
      "    esac\n"
      "  fi\n"
      "  local IFS=$'\\n'\n"
      "  if [ $kind = -W ]; then\n"
      "    compopt +o filenames 2>/dev/null\n"
      "    COMPREPLY=($(compgen -W \"${list// /$'\\n'}\" -- \"$word\"))\n"
      "  else\n"
      "    COMPREPLY=($(compgen $kind -- \"$word\"))\n"
      "  fi\n"
      "}\n"
      "complete -o filenames -F _macpict macpict\n",
      names.c_str(), optionsOf(app).c_str(), names.c_str(), options.c_str(), values.c_str());
  return kDone;
}

}  // namespace

void addCompletion(CLI::App& app, Command& chosen) {
  CLI::App* command = app.add_subcommand("completion", "Print what bash needs to complete the command line");
  command->callback([&chosen, &app] { chosen = [&app] { return completion(app); }; });
}
