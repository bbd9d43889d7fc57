#include "plugin/graphics/graphics.h"

#include "plugin/host/host.h"
#include "plugin/host/rows.h"
#include "plugin/quickdraw/quickdraw.h"

namespace {

// Draws one shape through the object's port, and leaves that port selected. A nil object is the host's to deal with.
template <auto& Operation, class... Extra>
void ShapeM(REALgraphicsStruct* graphics, std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height,
            Extra... extra) {
  host::REALSelectGraphics(graphics);
  quickdraw::CallShape<Operation>(left, top, width, height, extra...);
}

using Int = std::int32_t;
constexpr auto* DrawArcM = &ShapeM<quickdraw::FrameArc, Int, Int>;
constexpr auto* FillArcM = &ShapeM<quickdraw::PaintArc, Int, Int>;
constexpr auto* ClearArcM = &ShapeM<quickdraw::EraseArc, Int, Int>;
constexpr auto* InvertArcM = &ShapeM<quickdraw::InvertArc, Int, Int>;
constexpr auto* InvertOvalM = &ShapeM<quickdraw::InvertOval>;
constexpr auto* ClearOvalM = &ShapeM<quickdraw::EraseOval>;
constexpr auto* InvertRoundRectM = &ShapeM<quickdraw::InvertRoundRect, Int, Int>;
constexpr auto* ClearRoundRectM = &ShapeM<quickdraw::EraseRoundRect, Int, Int>;

// Scrolls without telling anybody what was uncovered; the object's port stays selected.
void dm_ScrollGraphics(REALgraphicsStruct* graphics, Int left, Int top, Int width, Int height, Int dx, Int dy) {
  if (graphics == nullptr) return;
  const auto newRegion = quickdraw::NewRgn.find();
  const RgnHandle update = newRegion != nullptr ? newRegion() : nullptr;
  const Rect area = MakeRect(left, top, width, height);
  host::REALSelectGraphics(graphics);
  // ScrollRect takes null for "no update region". Where NewRgn is missing there is nothing to dispose of.
  quickdraw::ScrollRect(&area, Low16(dx), Low16(dy), update);
  if (newRegion != nullptr) quickdraw::DisposeRgn(update);
}

// The one method of the class that leaves the current port as it found it.
void InvertGraphics(REALgraphicsStruct* graphics, Int left, Int top, Int width, Int height) {
  if (graphics == nullptr) return;
  const quickdraw::SavedWorld saved;
  const Rect area = MakeRect(left, top, width, height);
  host::REALSelectGraphics(graphics);
  quickdraw::MacInvertRect(&area);
}

using Receiver = REALgraphicsStruct*;

}  // namespace

// clang-format off
REALmethodDefinition graphicsMethods[] = {
    REAL_METHOD(DrawArcM, "DrawArcTVK(left as integer,top as integer,width as integer,height as integer,start as integer,arc as integer)"),
    REAL_METHOD(FillArcM, "FillArcTVK(left as integer,top as integer,width as integer,height as integer,start as integer,arc as integer)"),
    REAL_DEPRECATED_METHOD(ClearArcM, "ClearArcTVK(left as integer,top as integer,width as integer,height as integer,start as integer,arc as integer)"),
    REAL_DEPRECATED_METHOD(InvertArcM, "InvertArcTVK(left as integer,top as integer,width as integer,height as integer,start as integer,arc as integer)"),
    REAL_DEPRECATED_METHOD(dm_ScrollGraphics, "ScrollTVK(left as integer, top as integer, width as integer, height as integer, dx as integer, dy as integer)"),
    REAL_DEPRECATED_METHOD(InvertGraphics, "InvertRectTVK(left as integer,top as integer,width as integer,height as integer)"),
    REAL_DEPRECATED_METHOD(InvertOvalM, "InvertOvalTVK(left as integer,top as integer,width as integer,height as integer)"),
    REAL_DEPRECATED_METHOD(ClearOvalM, "ClearOvalTVK(left as integer,top as integer,width as integer,height as integer)"),
    REAL_DEPRECATED_METHOD(InvertRoundRectM, "InvertRoundRectTVK(left as integer,top as integer,width as integer,height as integer, arcwidth as integer, archeight as integer)"),
    REAL_DEPRECATED_METHOD(ClearRoundRectM, "ClearRoundRectTVK(left as integer,top as integer,width as integer,height as integer, arcwidth as integer, archeight as integer)"),
};
// clang-format on
