// What a library of the platform shows to others; everything else in it is hidden.
#pragma once

#define PLATFORM_EXPORT __attribute__((visibility("default")))
