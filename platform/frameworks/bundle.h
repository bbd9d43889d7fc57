// What CoreFoundation doesn't tell of a bundle.
#pragma once

#include <memory>
#include <string>

#include "contract/system.h"
#include "platform/visibility.h"

// Why CFBundleLoadExecutable answered no, as the end of a sentence: "it ...". Empty after it answered yes.
PLATFORM_EXPORT std::string loadErrorOf(CFBundleRef bundle);

struct ReleaseBundle {
  void operator()(void* bundle) const { CFRelease(bundle); }
};
using OwnedBundle = std::unique_ptr<void, ReleaseBundle>;

// A bundle in a folder; an absolute name is taken as it is. Null if none is there.
inline OwnedBundle bundleIn(const FSRef& folder, CFStringRef name) {
  const CFURLRef folderURL = CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &folder);
  const CFURLRef url = CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folderURL, name, 1);
  CFRelease(folderURL);
  OwnedBundle bundle(CFBundleCreate(kCFAllocatorSystemDefault, url));
  CFRelease(url);
  return bundle;
}
