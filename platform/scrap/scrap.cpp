#include "platform/scrap/scrap.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "platform/guarded.h"

extern "C" {
PLATFORM_EXPORT OSStatus ClearCurrentScrap();
PLATFORM_EXPORT OSStatus GetCurrentScrap(ScrapRef* scrap);
PLATFORM_EXPORT OSStatus PutScrapFlavor(ScrapRef scrap, OSType flavor, std::uint32_t flags, std::int32_t size,
                                        const void* bytes);
}

namespace {

struct Clipboard {
  std::uintptr_t generation = 1;  // a reference from before the last clearing is no longer good
  std::map<OSType, std::vector<char>> flavors;
};

Clipboard& clipboard() {
  static Clipboard current;
  return current;
}

bool isCurrent(ScrapRef scrap) { return reinterpret_cast<std::uintptr_t>(scrap) == clipboard().generation; }

}  // namespace

OSStatus ClearCurrentScrap() {
  ++clipboard().generation;
  clipboard().flavors.clear();
  return 0;
}

OSStatus GetCurrentScrap(ScrapRef* scrap) {
  *scrap = reinterpret_cast<ScrapRef>(clipboard().generation);
  return 0;
}

OSStatus PutScrapFlavor(ScrapRef scrap, OSType flavor, std::uint32_t, std::int32_t size, const void* bytes) {
  if (!isCurrent(scrap) || size < 0) return badScrapRefErr;
  return guarded<memFullErr>([=]() -> OSStatus {
    const auto* begin = static_cast<const char*>(bytes);
    const bool isNew = clipboard().flavors.try_emplace(flavor, begin, begin + (begin != nullptr ? size : 0)).second;
    return isNew ? 0 : duplicateScrapFlavorErr;
  });
}

OSStatus GetScrapFlavorSize(ScrapRef scrap, OSType flavor, std::int32_t* size) {
  if (!isCurrent(scrap)) return badScrapRefErr;
  const auto found = clipboard().flavors.find(flavor);
  if (found == clipboard().flavors.end()) return noTypeErr;
  *size = static_cast<std::int32_t>(found->second.size());
  return 0;
}

OSStatus GetScrapFlavorData(ScrapRef scrap, OSType flavor, std::int32_t* size, void* bytes) {
  const std::int32_t room = *size;
  if (const OSStatus status = GetScrapFlavorSize(scrap, flavor, size); status != 0) return status;
  const std::int32_t count = std::clamp(room, 0, *size);
  if (count > 0) std::memcpy(bytes, clipboard().flavors.find(flavor)->second.data(), static_cast<std::size_t>(count));
  return 0;
}
