// The eight classic colours, as ForeColor and old pictures number them, in the colours that a colour port gives them.
#pragma once

#include "contract/types.h"

namespace qd {

// A number that is none of the eight is black.
inline RGBColor classicColor(std::int32_t number) {
  switch (number) {
    case whiteColor:
      return {0xFFFF, 0xFFFF, 0xFFFF};
    case 69:
      return {0xFC00, 0xF37D, 0x052F};  // yellow
    case 137:
      return {0xF2D7, 0x0856, 0x84EC};  // magenta
    case 205:
      return {0xDD6B, 0x08C2, 0x06A2};  // red
    case 273:
      return {0x0241, 0xAB54, 0xEAFF};  // cyan
    case 341:
      return {0x0000, 0x64AF, 0x11B0};  // green
    case 409:
      return {0x0000, 0x0000, 0xD400};  // blue
    default:
      return {0, 0, 0};
  }
}

}  // namespace qd
