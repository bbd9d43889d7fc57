// The finished picture as pixels and on the clipboard. The recorder keeps it.
#include "plugin/recorder/handlers.h"

namespace {

constexpr OSType kFlavorTypePicture = 0x50494354;  // 'PICT'
constexpr OSStatus kNoPicture = -1;
constexpr OSStatus kNoScrapManager = -2802;  // cfragNoSymbolErr, as the Code Fragment Manager says it

// Plays the picture with the target selected, and gives the caller's port back. A nil target leaves a recording open.
template <class Target, class Select>
void Play(REALobjectStruct* object, Target* target, const Rect& area, Select select) {
  PICTData& data = DataOf(object);
  if (data.PicHandle == nullptr || target == nullptr) return;
  EndRecording(data);  // while the caller's port is still current
  const quickdraw::SavedWorld saved;
  select(target);
  quickdraw::DrawPicture(data.PicHandle, &area);
}

}  // namespace

void rbDrawpicture(REALobjectStruct* object, REALgraphicsStruct* graphics, std::int32_t x, std::int32_t y,
                   std::int32_t w, std::int32_t h) {
  Play(object, graphics, MakeRect(x, y, w, h), [](REALgraphicsStruct* target) { host::REALSelectGraphics(target); });
}

void rbDrawpictureG(REALobjectStruct* object, std::int32_t world, std::int32_t x, std::int32_t y, std::int32_t w,
                    std::int32_t h) {
  Play(object, reinterpret_cast<GWorldPtr>(world), MakeRect(x, y, w, h),
       [](GWorldPtr target) { quickdraw::SetGWorld(target, nullptr); });
}

std::int32_t rbCopyPicture(REALobjectStruct* object) {
  PICTData& data = DataOf(object);
  if (data.PicHandle == nullptr) return kNoPicture;
  EndRecording(data);
  // The Scrap Manager is linked weakly. Without it the clipboard keeps what it holds.
  if (ClearCurrentScrap == nullptr || GetCurrentScrap == nullptr || PutScrapFlavor == nullptr) return kNoScrapManager;

  if (const OSStatus status = ClearCurrentScrap(); status != 0) return status;
  ScrapRef scrap = nullptr;
  if (const OSStatus status = GetCurrentScrap(&scrap); status != 0) return status;
  const auto handle = reinterpret_cast<Handle>(data.PicHandle);
  HLock(handle);
  const std::int32_t size = GetHandleSize(handle);
  const OSStatus status = PutScrapFlavor(scrap, kFlavorTypePicture, 0, size, *handle);
  HUnlock(handle);
  return status;
}
