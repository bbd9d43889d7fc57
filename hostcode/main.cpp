// hostcode: a host application in miniature. Loads the plug-in and runs host code through it; macpict starts it.
#include "hostcode/commands.h"
#include "platform/quickdraw/operations.h"
#include "platform/runtime/host.h"

// Before the commands are read nothing but memory can be missing.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int count, char** arguments) {
  CLI::App app("Runs host code with the plug-in loaded.", "macpict");
  Command chosen;
  addRun(app, chosen, runHostCode);
  addClasses(app, chosen, printClasses);
  addGallery(app, chosen, makeGallery);
  return runProgram(app, chosen, count, arguments, [] {
    for (const std::string& line : runtime::audit()) complain("left behind: " + line);
    for (const std::string& remark : qd::takeRemarks()) complain("a picture that was played: " + remark + ".");
    const qd::Fonts::Lost lost = qd::lostTexts();
    for (const std::string& fault : lost.faults) complain(fault + ".");
    return lost.texts == 0 ? kDone : kFailed;
  });
}
