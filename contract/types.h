// QuickDraw's plain values, as its headers for 32-bit Mac OS X lay them out (Imaging With QuickDraw; Inside Macintosh
// I). They are the same at any width of word.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qd {

using Fixed = std::int32_t;  // 16.16

struct Rect {
  std::int16_t top, left, bottom, right;
  bool operator==(const Rect&) const = default;
};
static_assert(sizeof(Rect) == 8 && offsetof(Rect, left) == 2 && offsetof(Rect, bottom) == 4);

struct Point {
  std::int16_t v, h;
  bool operator==(const Point&) const = default;
};
static_assert(sizeof(Point) == 4 && offsetof(Point, h) == 2);

struct RGBColor {
  std::uint16_t red, green, blue;
  bool operator==(const RGBColor&) const = default;
};
static_assert(sizeof(RGBColor) == 6 && offsetof(RGBColor, green) == 2);

// What OpenCPicture reads. Version -2 says that the resolutions and the source rectangle count.
struct OpenCPicParams {
  Rect srcRect;
  Fixed hRes, vRes;
  std::int16_t version;
  std::int16_t reserved1;
  std::int32_t reserved2;
};
static_assert(sizeof(OpenCPicParams) == 24 && offsetof(OpenCPicParams, hRes) == 8 &&
              offsetof(OpenCPicParams, version) == 16 && offsetof(OpenCPicParams, reserved2) == 20);

// Two of the eight classic colours, as ForeColor and BackColor number them.
enum : std::int32_t { whiteColor = 30, blackColor = 33 };

// Every integer that goes to QuickDraw keeps its low 16 bits, sign and all; nothing clamps.
constexpr std::int16_t Low16(std::int32_t value) {
  return static_cast<std::int16_t>(static_cast<std::uint32_t>(value));
}

// The host gives an origin and an extent; the far edges are summed in 32 bits, where they may wrap.
constexpr Rect MakeRect(std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height) {
  const auto sum = [](std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
  };
  return {Low16(top), Low16(left), Low16(sum(top, height)), Low16(sum(left, width))};
}

// A picture recorded at 72 dpi in a frame of the given size whose corner is the origin.
constexpr OpenCPicParams PictureParams(std::int32_t width, std::int32_t height) {
  return {MakeRect(0, 0, width, height), 0x480000, 0x480000, -2, 0, 0};
}

}  // namespace qd
