// The methods that the plug-in adds to the host class `graphics`.
#pragma once

#include "contract/records.h"

inline constexpr std::uint32_t kGraphicsMethodCount = 10;
extern REALmethodDefinition graphicsMethods[kGraphicsMethodCount];
