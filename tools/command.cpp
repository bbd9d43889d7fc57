#include "tools/command.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tools/failure.h"
#include "tools/output.h"

namespace {

// What is wrong with the word that should be a command; nothing if it is one, or an option.
std::string wrongCommand(const CLI::App& app, int count, char** arguments) {
  std::string names;
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    if (count > 1 && command->check_name(arguments[1])) return "";
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  if (count > 1 && arguments[1][0] == '-') return "";
  return (count > 1 ? "There is no command \"" + std::string(arguments[1]) + "\"; " : "A command is missing; ") +
         names + " would work.";
}

// The command line's own sentences end without a stop.
std::string sentenceOf(const CLI::ParseError& error, const CLI::App& app) {
  std::string sentence = error.what();
  if (!sentence.ends_with('.')) sentence += '.';
  const auto commands = app.get_subcommands();
  return sentence + (commands.empty() ? " macpict --help" : " macpict help " + commands[0]->get_name()) +
         " tells more.";
}

}  // namespace

void complain(const std::string& sentence) {
  const bool isRed = isatty(STDERR_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
  std::fprintf(stderr, "%smacpict:%s %s\n", isRed ? "\x1B[31m" : "", isRed ? "\x1B[0m" : "", sentence.c_str());
}

void addPictureKind(CLI::App& command, PictureKind& kind) {
  constexpr const char* kDepths = "1|2|4|8|16|24|32";
  command.add_option("--depth", kind.depth, "Bits a pixel")->type_name(kDepths)->check([](const std::string& text) {
    const bool isKnown = text.find('|') == std::string::npos &&
                         ("|" + std::string(kDepths) + "|").find("|" + text + "|") != std::string::npos;
    return isKnown ? std::string() : "It takes " + std::string(kDepths) + ", not \"" + text + "\"";
  });
  command.add_flag("--gray", kind.isGray, "A ramp of greys in place of colours; 8 bits if no depth is given");
}

void addStrict(CLI::App& command, bool& isStrict) {
  command.add_flag("--strict", isStrict, "Fail where anything in a picture can't be drawn");
}

namespace {

Status runChosen(CLI::App& app, Command& chosen, int count, char** arguments) {
  app.footer("Exit status: 0 done, 1 the work failed, 2 wrong usage.");
  app.set_version_flag("--version", app.get_name() + " " MACPICT_VERSION);
  app.require_subcommand(1);
  if (const std::string wrong = wrongCommand(app, count, arguments); !wrong.empty()) {
    complain(wrong);
    return kWrongUsage;
  }
  try {
    app.parse(count, arguments);
    return chosen();
  } catch (const CLI::Success& asked) {  // for help, or for the version
    app.exit(asked);
    return kDone;
  } catch (const CLI::ParseError& error) {
    complain(sentenceOf(error, app));
    return kWrongUsage;
  }
}

// No file gets the number of a standard stream that is closed, and with it what is printed. Using the stream still
// fails.
void keepStandardNumbers() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int runProgram(CLI::App& app, Command& chosen, int count, char** arguments, const std::function<Status()>& atEnd) {
  keepStandardNumbers();
  removeOutputsWhenKilled();
  Status status = kFailed;
  try {
    status = runChosen(app, chosen, count, arguments);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
      throw Failure("What was printed can't be written: standard output is closed or full.");
    if (atEnd) status = std::max(status, atEnd());
  } catch (...) {
    complain(sentenceOfCaught(""));
    status = kFailed;
  }
  return status;
}
