// Polygons from a host array of coordinates, h and v by turns. They act on the current port, with a picture or without.
#pragma once

#include "plugin/recorder/handlers.h"

// One element. Hosts up to 2013.9 may show the array's own storage; every other array is read through the host.
inline std::int32_t ElementOf(REALarrayInteger* points, std::int32_t index) {
  if (points == nullptr) return 0;
  if (rbversion_rbversion <= 2013.9 && points->storage != nullptr) return points->storage[index];
  return host::REALGetArrayInt(points, index);
}

// Each segment is a move and a line of its own, and nothing closes the outline. An unpaired last element is left out.
template <auto& Operation>
void rbPoly(REALobjectStruct*, REALarrayInteger* points) {
  const auto upperBound = host::REALGetArrayUBound.find();
  const std::int32_t last = upperBound != nullptr ? upperBound(points) : -1;
  if (last < 4) return;
  const PolyHandle polygon = quickdraw::OpenPoly();
  if (polygon == nullptr) return;
  for (std::int32_t i = 0; i < last - 2; i += 2) {
    const std::int32_t fromH = ElementOf(points, i);
    const std::int32_t fromV = ElementOf(points, i + 1);
    const std::int32_t toH = ElementOf(points, i + 2);
    const std::int32_t toV = ElementOf(points, i + 3);
    quickdraw::MoveTo(Low16(fromH), Low16(fromV));
    quickdraw::LineTo(Low16(toH), Low16(toV));
  }
  quickdraw::ClosePoly();
  Operation(polygon);
  quickdraw::KillPoly(polygon);
}

inline constexpr auto* rbFramePoly = &rbPoly<quickdraw::FramePoly>;
inline constexpr auto* rbPaintPoly = &rbPoly<quickdraw::PaintPoly>;
inline constexpr auto* rbInvertPoly = &rbPoly<quickdraw::InvertPoly>;
inline constexpr auto* rbErasePoly = &rbPoly<quickdraw::ErasePoly>;
