// macpict: a tool for PICT files. It renders, makes and lists them with the engine alone; host code is another
// program's, which it starts.
#include "hostcode/options.h"
#include "macpict/commands.h"

// Before the commands are read nothing but memory can be missing.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int count, char** arguments) {
  CLI::App app("Records, plays and lists QuickDraw pictures (PICT), and runs host code that draws them.", "macpict");
  Command chosen;
  addRender(app, chosen);
  addRecord(app, chosen);
  addInfo(app, chosen);
  addList(app, chosen);
  addAssemble(app, chosen);
  addExtract(app, chosen);
  const auto forward = [arguments](const auto&) { return startHostcode(arguments); };
  addRun(app, chosen, forward);
  addClasses(app, chosen, forward);
  addGallery(app, chosen, forward);
  addCorpus(app, chosen);
  addBrowse(app, chosen);
  addCompletion(app, chosen);
  addHelp(app, chosen);
  return runProgram(app, chosen, count, arguments);
}
