// Colours, the pen and the text attributes. All of them live in the current port; the recorder stores none.
#pragma once

#include "plugin/recorder/handlers.h"

// Host colours are 0x00RRGGBB, QuickDraw's have 16 bits a channel: times 257 one way, divided by 257 the other.
template <auto& Operation>
std::uint32_t rbGetColor(REALobjectStruct* object) {
  if (!HasPicture(object)) return 0;
  RGBColor color = {};
  Operation(&color);
  return static_cast<std::uint32_t>(color.red / 257) << 16 | static_cast<std::uint32_t>(color.green / 257) << 8 |
         static_cast<std::uint32_t>(color.blue / 257);
}

template <auto& Operation>
void rbSetColor(REALobjectStruct* object, std::uint32_t color) {
  if (!HasPicture(object)) return;
  const auto channel = [color](int shift) { return static_cast<std::uint16_t>((color >> shift & 0xFF) * 257); };
  const RGBColor rgb = {channel(16), channel(8), channel(0)};
  Operation(&rgb);
}

inline constexpr auto* rbGetFColor = &rbGetColor<quickdraw::GetForeColor>;
inline constexpr auto* rbSetFColor = &rbSetColor<quickdraw::RGBForeColor>;
inline constexpr auto* rbGetBColor = &rbGetColor<quickdraw::GetBackColor>;
inline constexpr auto* rbSetBColor = &rbSetColor<quickdraw::RGBBackColor>;

inline CGrafPtr CurrentPort() {
  CGrafPtr port = nullptr;
  quickdraw::GetPort(&port);
  return port;
}

template <auto Dimension>
std::int32_t rbGetPen(REALobjectStruct* object) {
  if (!HasPicture(object)) return -1;
  Point size = {};
  quickdraw::GetPortPenSize(CurrentPort(), &size);
  return size.*Dimension;
}

// The other dimension is kept, so nothing is written where it could not be read.
template <auto Dimension>
void rbSetPen(REALobjectStruct* object, std::int32_t value) {
  if (!HasPicture(object)) return;
  const CGrafPtr port = CurrentPort();
  const auto read = quickdraw::GetPortPenSize.find();
  if (read == nullptr) return;
  Point size = {};
  read(port, &size);
  size.*Dimension = Low16(value);
  quickdraw::SetPortPenSize(port, size);
}

inline constexpr auto* rbGetPenWidth = &rbGetPen<&Point::h>;
inline constexpr auto* rbSetPenWidth = &rbSetPen<&Point::h>;
inline constexpr auto* rbGetPenHeight = &rbGetPen<&Point::v>;
inline constexpr auto* rbSetPenHeight = &rbSetPen<&Point::v>;

// These act with a picture or without.
inline void rbShowPen(REALobjectStruct*) { quickdraw::ShowPen(); }
inline void rbHidePen(REALobjectStruct*) { quickdraw::HidePen(); }
inline void rbPenNormal(REALobjectStruct*) { quickdraw::PenNormal(); }
inline void rbPenSize(REALobjectStruct*, std::int32_t width, std::int32_t height) {
  quickdraw::PenSize(Low16(width), Low16(height));
}

// The getters ask the port, the setters name none.
template <auto& Operation>
std::int32_t rbGetTextAttribute(REALobjectStruct* object) {
  return HasPicture(object) ? Operation(CurrentPort()) : -1;
}

template <auto& Operation>
void rbSetTextAttribute(REALobjectStruct* object, std::int32_t value) {
  if (HasPicture(object)) Operation(Low16(value));
}

inline constexpr auto* rbGetTextSize = &rbGetTextAttribute<quickdraw::GetPortTextSize>;
inline constexpr auto* rbSetTextSize = &rbSetTextAttribute<quickdraw::TextSize>;
inline constexpr auto* rbGetTextFace = &rbGetTextAttribute<quickdraw::GetPortTextFace>;
inline constexpr auto* rbSetTextFace = &rbSetTextAttribute<quickdraw::TextFace>;
inline constexpr auto* rbGetTextMode = &rbGetTextAttribute<quickdraw::GetPortTextMode>;
inline constexpr auto* rbSetTextMode = &rbSetTextAttribute<quickdraw::TextMode>;
