// Text as pixels.
#pragma once

#include <string_view>

#include "engine/port/port.h"
#include "engine/text/fonts.h"

namespace qd {

// How far the pen moves. Each character's width is a whole number of pixels.
int textWidth(Fonts& fonts, const TextState& style, std::string_view bytes);

// The runs of all characters together, with the line below them if the face has one; no pixel comes twice. Characters
// that can't reach the clip are left out.
void scanText(Fonts& fonts, const TextState& style, Point at, std::string_view bytes, const Box& clip, RunSink& sink);

// From ascent to descent, as wide as the text.
Box textBox(Fonts& fonts, const TextState& style, Point at, std::string_view bytes);

}  // namespace qd
