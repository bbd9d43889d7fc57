// The commands that work on pictures alone.
#pragma once

#include "qdraw/qdraw.h"
#include "tools/command.h"

void addRender(CLI::App& app, Command& chosen);
void addRecord(CLI::App& app, Command& chosen);
void addInfo(CLI::App& app, Command& chosen);
void addList(CLI::App& app, Command& chosen);
void addAssemble(CLI::App& app, Command& chosen);
void addExtract(CLI::App& app, Command& chosen);
void addCorpus(CLI::App& app, Command& chosen);
void addBrowse(CLI::App& app, Command& chosen);
void addCompletion(CLI::App& app, Command& chosen);
void addHelp(CLI::App& app, Command& chosen);

// Puts the program that runs host code in the place of this one. Throws where it isn't installed.
Status startHostcode(char** arguments);

// The fonts that come with the program; each thread has them for itself.
qd::System& fonts();
// White pixels. Throws where there is no memory for them, naming what they are for.
qd::GWorld makeWorld(const std::string& what, const qd::Rect& bounds, PictureKind kind = {});
