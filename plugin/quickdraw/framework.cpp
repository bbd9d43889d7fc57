// The framework that QuickDraw lies in, loaded when the first operation is needed and kept for good.
#include "plugin/quickdraw/quickdraw.h"

namespace quickdraw {
namespace {

CFBundleRef ApplicationServicesFramework = nullptr;

// Holds one CoreFoundation reference, or none.
template <class Ref>
class Held {
 public:
  explicit Held(Ref ref) : ref_(ref) {}
  ~Held() {
    if (ref_ != nullptr) CFRelease(ref_);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  Ref get() const { return ref_; }
  Ref take() {
    const Ref ref = ref_;
    ref_ = nullptr;
    return ref;
  }
  explicit operator bool() const { return ref_ != nullptr; }

 private:
  Ref ref_;
};

// The loaded bundle of a framework, or null. The reference is the caller's.
CFBundleRef LoadFrameworkBundle(const ConstantString& name) {
  FSRef folder;
  if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder) != 0) return nullptr;

  const Held folderURL(CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &folder));
  if (!folderURL) return nullptr;
  const Held url(CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folderURL.get(), name.ref(), 0));
  if (!url) return nullptr;
  Held bundle(CFBundleCreate(kCFAllocatorSystemDefault, url.get()));
  if (!bundle || CFBundleLoadExecutable(bundle.get()) == 0) return nullptr;
  return bundle.take();
}

constinit const ConstantString kFrameworkName("ApplicationServices.framework");

}  // namespace

void* FindOperation(const ConstantString& name) {
  if (ApplicationServicesFramework == nullptr) ApplicationServicesFramework = LoadFrameworkBundle(kFrameworkName);
  if (ApplicationServicesFramework == nullptr) return nullptr;
  return CFBundleGetFunctionPointerForName(ApplicationServicesFramework, name.ref());
}

}  // namespace quickdraw
