// The class `MacPictTVK`: records a PICT from drawing commands on the current port, and gives the picture away as
// bytes, as a host picture, on the clipboard and as pixels.
#pragma once

#include "contract/handles.h"
#include "contract/records.h"

struct REALobjectStruct;

inline constexpr std::uint32_t kPICTMethodCount = 48;
extern REALmethodDefinition PICTMethods[kPICTMethodCount];

inline constexpr std::uint32_t kPICTPropertyCount = 3;
extern REALproperty PICTProperties[kPICTPropertyCount];

// The class's record stands with the others. The host writes the place of the instance data into it.
extern REALclassDefinition PICTClass;

void PICTConstructor(REALobjectStruct* object);
void PICTDestructor(REALobjectStruct* object);

// What each instance holds. Zeroed by the host: a new recorder is empty.
struct PICTData {
  ::PicHandle PicHandle;       // the recorder's own, or null; host code sees it as an integer and may write it
  std::int32_t Width, Height;  // of the last CreatePicture; for host code alone
  std::uint8_t isOpen;         // 1 while the picture is open for recording
};

inline constexpr std::uint32_t kPICTDataSize = 20;

#if UINTPTR_MAX == UINT32_MAX
static_assert(offsetof(PICTData, Width) == 4 && offsetof(PICTData, Height) == 8 && offsetof(PICTData, isOpen) == 12 &&
              sizeof(PICTData) <= kPICTDataSize);
#endif
