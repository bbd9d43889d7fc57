// QuickDraw's and the Memory Manager's references and the system's types, as 32-bit Mac OS X has them.
#pragma once

#include "contract/types.h"

using qd::Fixed;
using qd::OpenCPicParams;
using qd::Point;
using qd::Rect;
using qd::RGBColor;

using qd::blackColor;
using qd::Low16;
using qd::MakeRect;
using qd::PictureParams;
using qd::whiteColor;

using Boolean = unsigned char;
using Style = unsigned char;
using OSErr = std::int16_t;
using OSStatus = std::int32_t;
using OSType = std::uint32_t;
using Ptr = char*;
using Handle = Ptr*;

// References that are only stored and passed on.
using CGrafPtr = struct OpaqueGrafPort*;
using GWorldPtr = CGrafPtr;
using GDHandle = struct GDevice**;
using PixMapHandle = struct PixMap**;
using BitMapPtr = const struct BitMap*;
using PicHandle = struct Picture**;
using PolyHandle = struct Polygon**;
using RgnHandle = struct MacRegion**;
using CTabHandle = struct ColorTable**;
