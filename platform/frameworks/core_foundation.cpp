// The few calls of CoreFoundation and CoreServices by which a program reaches a framework, on top of the dynamic
// loader.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/frameworks/executable.h"
#include "platform/guarded.h"

// What is declared there is what this library shows.
#pragma GCC visibility push(default)
#include "contract/system.h"
#include "platform/frameworks/bundle.h"
#pragma GCC visibility pop

namespace fs = std::filesystem;

const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;
int __CFConstantStringClassReference[12] = {};

namespace {

constexpr OSErr kNoErr = 0;
constexpr OSErr kNoMemory = -108;      // memFullErr
constexpr OSErr kNoSuchFolder = -120;  // fnfErr's sister for folders: dirNFErr
// What CFRelease counts. Constant strings are not among these objects.
struct Object {
  virtual ~Object() = default;
  int references = 1;
};

struct URL : Object {
  explicit URL(fs::path of) : path(std::move(of)) {}
  fs::path path;
};

struct Bundle : Object {
  explicit Bundle(fs::path of) : path(std::move(of)) {}

  // A bundle keeps its executable under Contents, a framework beside its Resources.
  fs::path executablePath() const {
    const fs::path name = path.stem();
    const fs::path deep = path / "Contents" / "MacOS" / name;
    std::error_code error;
    return fs::exists(deep, error) ? deep : path / name;
  }

  fs::path path;
  std::unique_ptr<Executable> executable;
  std::string loadError;
};

URL* urlOf(CFURLRef ref) { return reinterpret_cast<URL*>(const_cast<__CFURL*>(ref)); }
Bundle* bundleOf(CFBundleRef ref) { return reinterpret_cast<Bundle*>(ref); }
CFURLRef newURL(fs::path path) { return reinterpret_cast<CFURLRef>(new URL(std::move(path))); }

std::string charactersOf(CFStringRef ref) {
  const auto* string = reinterpret_cast<const ConstantString*>(ref);
  const bool isConstant =
      string != nullptr && string->isa == __CFConstantStringClassReference && string->flags == 0x7C8;
  return isConstant ? std::string(string->characters, string->length) : std::string();
}

// The folders that an FSRef was given for; the reference holds an index, since a path has no place in it.
std::vector<fs::path>& knownFolders() {
  static std::vector<fs::path> folders;
  return folders;
}

// The frameworks lie beside the one that holds this code, unless the environment names another folder.
fs::path frameworksFolder() {
  if (const char* named = std::getenv("MACPICT_FRAMEWORKS")) return named;
  Dl_info self = {};
  if (dladdr(reinterpret_cast<void*>(&frameworksFolder), &self) == 0) return {};
  std::error_code error;
  return fs::absolute(self.dli_fname, error).parent_path().parent_path();
}

}  // namespace

OSErr FSFindFolder(std::int16_t volume, OSType folder, Boolean, FSRef* found) {
  if (volume != kOnAppropriateDisk || folder != kFrameworksFolderType) return kNoSuchFolder;
  return guarded<kNoMemory>([found] {
    const fs::path path = frameworksFolder();
    std::error_code error;
    if (!fs::is_directory(path, error)) return kNoSuchFolder;
    const auto index = static_cast<std::uint32_t>(knownFolders().size());
    knownFolders().push_back(path);
    *found = {};
    std::memcpy(found->hidden, &index, sizeof index);
    return kNoErr;
  });
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* folder) {
  return guarded([folder] {
    std::uint32_t index = 0;
    std::memcpy(&index, folder->hidden, sizeof index);
    return index < knownFolders().size() ? newURL(knownFolders()[index]) : nullptr;
  });
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component, Boolean) {
  return guarded([=] {
    const std::string name = charactersOf(component);
    return url != nullptr && !name.empty() ? newURL(urlOf(url)->path / name) : nullptr;
  });
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
  return guarded([url]() -> CFBundleRef {
    std::error_code error;
    if (url == nullptr || !fs::is_directory(urlOf(url)->path, error)) return nullptr;
    return reinterpret_cast<CFBundleRef>(new Bundle(urlOf(url)->path));
  });
}

Boolean CFBundleLoadExecutable(CFBundleRef ref) {
  Bundle* const bundle = bundleOf(ref);
  if (bundle == nullptr) return 0;
  if (bundle->executable != nullptr) return 1;
  bundle->loadError.clear();
  return guarded([bundle]() -> Boolean {
    auto loaded = loadExecutable(bundle->executablePath());
    if (const auto* refusal = std::get_if<Refusal>(&loaded)) {
      bundle->loadError = refusal->why;
      return 0;
    }
    bundle->executable = std::move(std::get<std::unique_ptr<Executable>>(loaded));
    return 1;
  });
}

std::string loadErrorOf(CFBundleRef ref) {
  const Bundle* const bundle = bundleOf(ref);
  if (bundle == nullptr || bundle->executable != nullptr) return "";
  return !bundle->loadError.empty() ? bundle->loadError : "there is no memory for it";
}

void* CFBundleGetFunctionPointerForName(CFBundleRef ref, CFStringRef name) {
  const Bundle* bundle = bundleOf(ref);
  if (bundle == nullptr || bundle->executable == nullptr) return nullptr;
  return guarded([=] { return bundle->executable->find(charactersOf(name)); });
}

void CFRelease(CFTypeRef ref) {
  auto* object = static_cast<Object*>(const_cast<void*>(ref));
  if (object != nullptr && --object->references == 0) delete object;
}
