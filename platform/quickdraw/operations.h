// QuickDraw's operations, and what other parts of the platform need of QuickDraw besides.
#pragma once

#include "contract/handles.h"
#include "engine/geometry/region.h"
#include "engine/pict/player.h"
#include "platform/visibility.h"

extern "C" {
#define OPERATION(name, result, arguments) PLATFORM_EXPORT result name arguments;
#include "contract/operations.def"

// QuickDraw's too, though not among the operations that the plug-in uses.
PLATFORM_EXPORT void DisposeGWorld(GWorldPtr world);
PLATFORM_EXPORT std::int16_t GetPixDepth(PixMapHandle pixels);
PLATFORM_EXPORT Rect* GetPortBounds(CGrafPtr port, Rect* bounds);
}

// A region handle's content. Setting answers false if the handle can't take it.
bool setRegion(RgnHandle handle, const qd::Region& region);
qd::Region regionOf(RgnHandle handle);

namespace qd {

// How the last DrawPicture went.
PLATFORM_EXPORT const Playback& lastPlayback();
// What a person should know of the pictures that were played since this was last asked, once each.
PLATFORM_EXPORT std::vector<std::string> takeRemarks();
// Texts that were not drawn since this was last asked, and the fonts that are to blame.
PLATFORM_EXPORT Fonts::Lost lostTexts();
// Worlds that nobody has disposed of.
PLATFORM_EXPORT std::size_t livePorts();
// The screen is current again, without a picture or a state.
PLATFORM_EXPORT void resetCurrentPort();

}  // namespace qd
