// New pictures of a chosen depth, in a colour and a gray form that differ in their colour tables alone.
#include "plugin/host/rows.h"
#include "plugin/picture/handlers.h"
#include "plugin/picture/picture.h"

namespace {

struct Depth {
  std::int16_t depth;
  std::int16_t colorTable, grayTable;  // ids for GetCTable; 0 for a depth without a table
};

constexpr Depth kDepths[] = {
    {1, 33, 33}, {2, 66, 34}, {4, 68, 36}, {8, 72, 40}, {16, 0, 0}, {24, 0, 0}, {32, 0, 0},
};

// The world is never made current, and its pixels are as it comes. It belongs to the picture.
REALpictureStruct* NewPicture(std::int32_t width, std::int32_t height, std::int32_t depth,
                              std::int16_t Depth::*tableId) {
  const quickdraw::SavedWorld saved;
  const Rect bounds = MakeRect(0, 0, width, height);
  for (const Depth& row : kDepths) {
    if (row.depth != depth) continue;
    const bool hasTable = row.*tableId != 0;
    const CTabHandle colors = hasTable ? quickdraw::GetCTable(row.*tableId) : nullptr;
    GWorldPtr world = nullptr;
    const OSErr error = quickdraw::NewGWorld(&world, row.depth, &bounds, colors, nullptr, 0);
    if (hasTable) quickdraw::DisposeCTable(colors);
    if (error == 0 && world != nullptr) return host::REALBuildPictureFromGWorld(world, 1);
    break;
  }
  return nullptr;
}

REALpictureStruct* NewColorPicture(std::int32_t width, std::int32_t height, std::int32_t depth, signed char) {
  return NewPicture(width, height, depth, &Depth::colorTable);
}

REALpictureStruct* NewGrayPicture(std::int32_t width, std::int32_t height, std::int32_t depth, signed char) {
  return NewPicture(width, height, depth, &Depth::grayTable);
}

using Receiver = void;  // nobody's methods

}  // namespace

// clang-format off
REALmethodDefinition globalMethodsTVK[] = {
    REAL_DEPRECATED_METHOD(NewColorPicture, "NewColorPictureTVK(width as integer, height as integer, depth as integer, temp as boolean) as Picture"),
    REAL_DEPRECATED_METHOD(NewGrayPicture, "NewGrayPictureTVK(width as integer, height as integer, depth as integer, temp as boolean) as Picture"),
};
// clang-format on
