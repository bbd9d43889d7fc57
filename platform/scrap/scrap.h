// The clipboard: one scrap with flavors, each a run of bytes.
#pragma once

#include "contract/system.h"
#include "platform/visibility.h"

enum : OSStatus { noTypeErr = -102, memFullErr = -108, duplicateScrapFlavorErr = -4989, badScrapRefErr = -4990 };

extern "C" {
// The other half of the Scrap Manager, for those who paste. The size may be asked for first.
PLATFORM_EXPORT OSStatus GetScrapFlavorSize(ScrapRef scrap, OSType flavor, std::int32_t* size);
PLATFORM_EXPORT OSStatus GetScrapFlavorData(ScrapRef scrap, OSType flavor, std::int32_t* size, void* bytes);
}
