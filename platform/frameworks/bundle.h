// What CoreFoundation doesn't tell of a bundle.
#pragma once

#include <string>

#include "contract/system.h"
#include "platform/visibility.h"

// Why CFBundleLoadExecutable answered no, as the end of a sentence: "it ...". Empty after it answered yes.
PLATFORM_EXPORT std::string loadErrorOf(CFBundleRef bundle);
