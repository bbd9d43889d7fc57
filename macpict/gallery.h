// The gallery: what each family of methods draws, made by host code.
#pragma once

#include <filesystem>

#include "macpict/session.h"

// Writes the pictures and PICT files into the folder, and says on standard output what it did.
void writeGallery(Session& session, const std::filesystem::path& folder);
