// Files, read whole and written whole or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "qdraw/qdraw.h"

qd::Bytes asBytes(std::string_view text);
std::string_view asText(qd::Bytes bytes);

// What is read is held in memory, and sizes are numbers of 32 bits in much that reads it.
constexpr std::uint64_t kMostBytes = sizeof(void*) == 8 ? 0xFFFFFFFF : 1 << 30;

// All of them throw a Failure, also for a file that is too large, or of which no end is in sight.
std::string readFile(const std::filesystem::path& path, std::uint64_t most = kMostBytes);
std::string readStandardInput();
void writeFile(const std::filesystem::path& path, std::string_view bytes);

// Makes a folder, and those above it, unless it is there.
void makeFolder(const std::filesystem::path& folder);

// Takes off what lies around the picture in the bytes of a PICT file, like its 512 bytes in front. False if there is no
// picture in them.
bool cutToPicture(std::string& file);
// The picture in a PICT file.
std::string readPicture(const std::filesystem::path& path);
// Writes a PICT file: 512 zero bytes and the picture.
void writePicture(const std::filesystem::path& path, std::string_view picture);
