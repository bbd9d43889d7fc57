#include "plugin/recorder/recorder.h"

#include "plugin/host/rows.h"
#include "plugin/recorder/handlers.h"
#include "plugin/recorder/pen.h"
#include "plugin/recorder/polygons.h"
#include "plugin/recorder/shapes.h"

namespace {
using Receiver = REALobjectStruct*;
}

// clang-format off
REALmethodDefinition PICTMethods[] = {
    REAL_PROPERTY(GetPicHandleDataM, SetPicHandleDataM, "PicHandleDataMemory as MemoryBlock"),
    REAL_PROPERTY(GetPicHandleDataS, SetPicHandleDataS, "PicHandleData as string"),
    REAL_METHOD(rbMacDrawText, "DrawText(s as string)"),
    REAL_METHOD(rbMacDrawTextXY, "DrawString(s as string, x as integer, y as integer)"),
    REAL_METHOD(rbTextWidth, "StringWidth(s as string) as integer"),
    REAL_METHOD(ReturnPichandlePicture, "MakePicture as picture"),
    REAL_METHOD(rbCopyPicture, "CopyPicture as integer"),
    REAL_METHOD(rbDrawpicture, "Drawpicture(g as graphics,x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbDrawpictureG, "DrawpictureIntoGWorld(GWorldHandle as integer,x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(CreatePicture, "CreatePicture(width as integer, height as integer)"),
    REAL_METHOD(rbMoveTo, "MoveTo(h as integer, v as integer)"),
    REAL_METHOD(rbMove, "Move(dh as integer, dv as integer)"),
    REAL_METHOD(rbLineTo, "LineTo(h as integer, v as integer)"),
    REAL_METHOD(rbLine, "Line(dh as integer, dv as integer)"),
    REAL_METHOD(rbDrawLine, "Drawline(x1 as integer, y1 as integer, x2 as integer, y2 as integer)"),
    REAL_METHOD(rbFramePoly, "FramePoly(points() as integer)"),
    REAL_METHOD(rbPaintPoly, "PaintPoly(points() as integer)"),
    REAL_METHOD(rbInvertPoly, "InvertPoly(points() as integer)"),
    REAL_METHOD(rbErasePoly, "ErasePoly(points() as integer)"),
    REAL_METHOD(rbFrameRect, "FrameRect(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbPaintRect, "PaintRect(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbInvertRect, "InvertRect(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbEraseRect, "EraseRect(x as integer, y as integer, w as integer, h as integer)"),
    REAL_PROPERTY(rbGetFColor, rbSetFColor, "ForeColor as color"),
    REAL_PROPERTY(rbGetBColor, rbSetBColor, "BackColor as color"),
    REAL_METHOD(rbFrameOval, "FrameOval(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbPaintOval, "PaintOval(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbInvertOval, "InvertOval(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbEraseOval, "EraseOval(x as integer, y as integer, w as integer, h as integer)"),
    REAL_METHOD(rbFrameRoundRect, "FrameRoundRect(x as integer, y as integer, w as integer, h as integer, ow as integer, oh as integer)"),
    REAL_METHOD(rbPaintRoundRect, "PaintRoundRect(x as integer, y as integer, w as integer, h as integer, ow as integer, oh as integer)"),
    REAL_METHOD(rbInvertRoundRect, "InvertRoundRect(x as integer, y as integer, w as integer, h as integer, ow as integer, oh as integer)"),
    REAL_METHOD(rbEraseRoundRect, "EraseRoundRect(x as integer, y as integer, w as integer, h as integer, ow as integer, oh as integer)"),
    REAL_METHOD(rbFrameArc, "FrameArc(x as integer, y as integer, w as integer, h as integer, startangle as integer, endangle as integer)"),
    REAL_METHOD(rbPaintArc, "PaintArc(x as integer, y as integer, w as integer, h as integer, startangle as integer, endangle as integer)"),
    REAL_METHOD(rbInvertArc, "InvertArc(x as integer, y as integer, w as integer, h as integer, startangle as integer, endangle as integer)"),
    REAL_METHOD(rbEraseArc, "EraseArc(x as integer, y as integer, w as integer, h as integer, startangle as integer, endangle as integer)"),
    REAL_PROPERTY(rbGetTextSize, rbSetTextSize, "TextSize as integer"),
    REAL_PROPERTY(rbGetTextFace, rbSetTextFace, "TextFace as integer"),
    REAL_PROPERTY(rbGetTextMode, rbSetTextMode, "TextMode as integer"),
    REAL_PROPERTY(rbGetPenWidth, rbSetPenWidth, "PenWidth as integer"),
    REAL_PROPERTY(rbGetPenHeight, rbSetPenHeight, "PenHeight as integer"),
    REAL_METHOD(PICTDestructor, "Close"),
    REAL_METHOD(rbClosePicture, "ClosePicture"),
    REAL_METHOD(rbShowPen, "ShowPen"),
    REAL_METHOD(rbHidePen, "HidePen"),
    REAL_METHOD(rbPenNormal, "PenNormal"),
    REAL_METHOD(rbPenSize, "PenSize(width as integer, height as integer)"),
};
// clang-format on

// Fields that the host itself reads and writes; the size can't be set.
constinit REALproperty PICTProperties[] = {
    {0, "PicHandle", "Integer", 0, kREALstandardAccess, kREALstandardAccess, offsetof(PICTData, PicHandle), {}},
    {0, "Width", "Integer", 0, kREALstandardAccess, 0, offsetof(PICTData, Width), {}},
    {0, "Height", "Integer", 0, kREALstandardAccess, 0, offsetof(PICTData, Height), {}},
};
