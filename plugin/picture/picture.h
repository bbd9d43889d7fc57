// The methods that the plug-in adds to the host class `Picture`, and the two global methods that make new pictures.
#pragma once

#include "contract/records.h"

inline constexpr std::uint32_t kPictureMethodCount = 6;
extern REALmethodDefinition pictureMethods[kPictureMethodCount];

inline constexpr std::uint32_t kGlobalMethodCount = 2;
extern REALmethodDefinition globalMethodsTVK[kGlobalMethodCount];
