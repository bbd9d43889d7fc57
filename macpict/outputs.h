// Where what is made goes, and what may be replaced by it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "macpict/formats.h"
#include "macpict/inputs.h"
#include "tools/command.h"

struct OutputOptions {
  std::string format;  // of images, whatever their names say
  bool isForced = false, skipsExisting = false;
  bool mayBeFolder = false;  // a name without an ending may be meant for one
};
// --force and --skip-existing.
void addReplacing(CLI::App& command, OutputOptions& options);
// --format.
void addFormat(CLI::App& command, OutputOptions& options);

// What a command works on, and where what it makes goes: the last of the names.
struct NamedPlaces {
  std::vector<std::string> from;
  std::string to;
};
// Throws, as for wrong usage, where there is one name alone: "extract takes files and a folder for what is in them, not
// ... alone: macpict extract FILE OUT/".
NamedPlaces placesOf(const std::vector<std::string>& names, const std::string& takes, const std::string& example);
// Whether a name is a folder's, because there is one or because it ends in a slash.
bool isFolderName(const std::filesystem::path& path);

// Whether a file's name ends as pictures' do.
bool endsLikePicture(const std::filesystem::path& path);

// "-" is standard output, by the name that it has as a file.
std::filesystem::path outputAt(const std::string& name);
// The format of an image that is to be written there. Throws a Failure for an ending that is none of theirs.
const OutputFormat& formatFor(const std::filesystem::path& out, const OutputOptions& options);
// Throws a Failure if a PICT written there would have a name that says something else.
void checkPictureName(const std::filesystem::path& out);

// What keeps from being replaced: inputs always, and pictures by images; what somebody else has made, unless that is
// forced. What is no file is written as it is. False if there is something, and it is to stay.
bool mayWrite(const std::filesystem::path& out, const Inputs& inputs, const OutputOptions& options, bool isImage);
