// Text as pixels: how wide it is, and which pixels its characters take in the font, the size and the styles of a port.
#pragma once

#include <string_view>

#include "engine/port/port.h"
#include "engine/text/fonts.h"

namespace qd {

// How far the pen moves. Characters are as wide as at the size itself; a ratio scales the line as a whole.
int textWidth(Fonts& fonts, const TextState& style, std::string_view bytes);

// The runs of all characters together; no pixel comes twice. Only what the clip shows of them is drawn. Answers how
// many pixels it looked at.
std::size_t scanText(Fonts& fonts, const TextState& style, Point at, std::string_view bytes, const Box& clip,
                     RunSink& sink);

// From ascent to descent, as wide as the text.
Box textBox(Fonts& fonts, const TextState& style, Point at, std::string_view bytes);

}  // namespace qd
