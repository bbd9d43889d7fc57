// Walks a file before a decoder that believes it: what that decoder's arrays and loops rely on is so.
#pragma once

#include "engine/images/image.h"

namespace qd {

// False, and in words why, for what shouldn't be decoded.
bool checkJpeg(Bytes data, std::string& why);
bool checkPng(Bytes data, std::string& why);

}  // namespace qd
