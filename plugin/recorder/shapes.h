// Shapes and lines: each a thin step to one operation on the current port, for a recorder that holds a picture.
#pragma once

#include "plugin/recorder/handlers.h"

using Int = std::int32_t;

template <auto& Operation, class... Extra>
void rbShape(REALobjectStruct* object, Int x, Int y, Int w, Int h, Extra... extra) {
  if (HasPicture(object)) quickdraw::CallShape<Operation>(x, y, w, h, extra...);
}

inline constexpr auto* rbFrameRect = &rbShape<quickdraw::MacFrameRect>;
inline constexpr auto* rbPaintRect = &rbShape<quickdraw::PaintRect>;
inline constexpr auto* rbInvertRect = &rbShape<quickdraw::MacInvertRect>;
inline constexpr auto* rbEraseRect = &rbShape<quickdraw::EraseRect>;
inline constexpr auto* rbFrameOval = &rbShape<quickdraw::FrameOval>;
inline constexpr auto* rbPaintOval = &rbShape<quickdraw::PaintOval>;
inline constexpr auto* rbInvertOval = &rbShape<quickdraw::InvertOval>;
inline constexpr auto* rbEraseOval = &rbShape<quickdraw::EraseOval>;
inline constexpr auto* rbFrameRoundRect = &rbShape<quickdraw::FrameRoundRect, Int, Int>;
inline constexpr auto* rbPaintRoundRect = &rbShape<quickdraw::PaintRoundRect, Int, Int>;
inline constexpr auto* rbInvertRoundRect = &rbShape<quickdraw::InvertRoundRect, Int, Int>;
inline constexpr auto* rbEraseRoundRect = &rbShape<quickdraw::EraseRoundRect, Int, Int>;
inline constexpr auto* rbFrameArc = &rbShape<quickdraw::FrameArc, Int, Int>;
inline constexpr auto* rbPaintArc = &rbShape<quickdraw::PaintArc, Int, Int>;
inline constexpr auto* rbInvertArc = &rbShape<quickdraw::InvertArc, Int, Int>;
inline constexpr auto* rbEraseArc = &rbShape<quickdraw::EraseArc, Int, Int>;

template <auto& Operation>
void rbPen(REALobjectStruct* object, Int h, Int v) {
  if (HasPicture(object)) Operation(Low16(h), Low16(v));
}

inline constexpr auto* rbMoveTo = &rbPen<quickdraw::MoveTo>;
inline constexpr auto* rbMove = &rbPen<quickdraw::Move>;
inline constexpr auto* rbLineTo = &rbPen<quickdraw::LineTo>;
inline constexpr auto* rbLine = &rbPen<quickdraw::Line>;

inline void rbDrawLine(REALobjectStruct* object, Int x1, Int y1, Int x2, Int y2) {
  if (!HasPicture(object)) return;
  quickdraw::MoveTo(Low16(x1), Low16(y1));
  quickdraw::LineTo(Low16(x2), Low16(y2));
}
