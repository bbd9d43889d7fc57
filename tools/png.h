// PNG files.
#pragma once

#include <filesystem>

#include "tools/image.h"
#include "tools/output.h"

// Writes greys and up to 256 colours as such, in as few bits as they take. Throws a Failure.
void writePNG(OutputFile& file, const ImageRows& image);
void writePNG(const std::filesystem::path& path, const Image& image);
