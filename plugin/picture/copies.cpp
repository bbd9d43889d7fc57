// Copies between pictures that are stored in GWorlds, straight from world to world. The result is always false: it says
// nothing about what was done.
#include "plugin/picture/handlers.h"

namespace {

BitMapPtr BitMapOf(const LockedDescription& description) {
  return quickdraw::GetPortBitMapForCopyBits(description.world());
}

}  // namespace

bool FastDrawPicture10(REALpictureStruct* destination, REALpictureStruct* source, int sLeft, int sTop, int sWidth,
                       int sHeight, int dLeft, int dTop, int dWidth, int dHeight, int mode) {
  const quickdraw::SavedWorld saved;
  if (source == nullptr || destination == nullptr) return false;
  LockedDescription from(source);
  LockedDescription to(destination);
  if (from.isGWorld() && to.isGWorld()) {
    const Rect fromRect = MakeRect(sLeft, sTop, sWidth, sHeight);
    const Rect toRect = MakeRect(dLeft, dTop, dWidth, dHeight);
    quickdraw::BlackOnWhite();
    const BitMapPtr fromBits = BitMapOf(from);
    const BitMapPtr toBits = BitMapOf(to);
    quickdraw::CopyBits(fromBits, toBits, &fromRect, &toRect, Low16(mode), nullptr);
  }
  from.unlock();
  to.unlock();
  return false;
}

bool FastDrawPictureMask10(REALpictureStruct* destination, REALpictureStruct* source, REALpictureStruct* mask,
                           int sLeft, int sTop, int sWidth, int sHeight, int dLeft, int dTop, int dWidth, int dHeight) {
  const quickdraw::SavedWorld saved;
  if (source == nullptr || destination == nullptr || mask == nullptr) return false;
  LockedDescription from(source);
  LockedDescription to(destination);
  LockedDescription through(mask);
  if (from.isGWorld() && to.isGWorld() && through.isGWorld()) {
    const Rect fromRect = MakeRect(sLeft, sTop, sWidth, sHeight);
    const Rect toRect = MakeRect(dLeft, dTop, dWidth, dHeight);
    quickdraw::BlackOnWhite();
    const BitMapPtr fromBits = BitMapOf(from);
    const BitMapPtr maskBits = BitMapOf(through);
    const BitMapPtr toBits = BitMapOf(to);
    quickdraw::CopyMask(fromBits, maskBits, toBits, &fromRect, &fromRect, &toRect);
  }
  from.unlock();
  to.unlock();
  through.unlock();
  return false;
}
