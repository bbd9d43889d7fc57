// What CoreFoundation doesn't tell of a bundle.
#pragma once

#include <string>

#include "contract/system.h"
#include "platform/visibility.h"

// Why CFBundleLoadExecutable last answered no, as the end of a sentence: "it ...". Empty if it never did.
PLATFORM_EXPORT std::string loadErrorOf(CFBundleRef bundle);
