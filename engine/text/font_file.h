// The files of a font: reading them, and a look through a TrueType file before outlines are read from it. What reads
// them believes every offset, count and length that it finds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace qd {

// What is wrong with a font file, as the end of a sentence: "its table of glyphs is cut short". Null for a sound one:
// all that drawing its characters reads lies within its tables, and each outline ends.
const char* faultOfFont(std::span<const std::uint8_t> file);

// False if there is no file of that name, or one that no font is as large as.
bool readFont(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes);

// What is wrong with a file, as a clause: "the font file X can't be used: it is damaged".
std::string sentenceOfFault(const std::filesystem::path& path, const char* fault);

}  // namespace qd
