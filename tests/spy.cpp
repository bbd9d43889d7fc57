#include "tests/spy.h"

#include <dlfcn.h>

#include "platform/runtime/host.h"
#include "platform/visibility.h"

namespace spy {
namespace {

std::string lines;
std::map<const void*, int> numbers;

}  // namespace

std::set<std::string> absent;
bool muted = false;
const char* inside = nullptr;

std::string trace() { return lines; }
void clear() { lines.clear(); }
void tell(const std::string& line) { lines += line + "\n"; }

std::string reference(const void* pointer) {
  if (pointer == nullptr) return "null";
  const int next = static_cast<int>(numbers.size()) + 1;
  return "#" + std::to_string(numbers.try_emplace(pointer, next).first->second);
}

void reset() {
  lines.clear();
  numbers.clear();
  absent.clear();
#define ENTRY_POINT(wrapper, name, result, arguments) host::wrapper::instead = nullptr;
#include "contract/entry_points.def"
#define OPERATION(name, result, arguments) qd::name::instead = nullptr;
#include "contract/operations.def"
#define IMPORT(framework, name, result, arguments) system::name::instead = nullptr;
#include "contract/system.def"
}

void* resolve(const char* name) {
  void* const real = runtime::Host::resolve(name);
  if (real == nullptr || absent.contains(name)) return nullptr;
  const std::string wanted = name;
#define ENTRY_POINT(wrapper, known, result, arguments)                           \
  if (wanted == known) {                                                         \
    host::wrapper::real = reinterpret_cast<decltype(host::wrapper::real)>(real); \
    return reinterpret_cast<void*>(&host::wrapper::call);                        \
  }
#include "contract/entry_points.def"
  return nullptr;
}

namespace {

void* operationFor(const std::string& wanted, void* real) {
  if (real == nullptr || absent.contains(wanted)) return nullptr;
#define OPERATION(name, result, arguments)                             \
  if (wanted == #name) {                                               \
    qd::name::real = reinterpret_cast<decltype(qd::name::real)>(real); \
    return reinterpret_cast<void*>(&qd::name::call);                   \
  }
#include "contract/operations.def"
  return real;
}

}  // namespace
}  // namespace spy

// The system's functions, in front of the real ones. Only those of the Memory and Scrap Managers tell of their calls.
#define FORWARD(name)                     \
  if (spy::system::name::real == nullptr) \
    spy::system::name::real = reinterpret_cast<decltype(spy::system::name::real)>(dlsym(RTLD_NEXT, #name));

extern "C" {
PLATFORM_EXPORT void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
  FORWARD(CFBundleGetFunctionPointerForName)
  const auto* text = reinterpret_cast<const ConstantString*>(name);
  return spy::operationFor({text->characters, text->length},
                           spy::system::CFBundleGetFunctionPointerForName::real(bundle, name));
}
PLATFORM_EXPORT std::int32_t GetHandleSize(Handle handle) {
  FORWARD(GetHandleSize)
  return spy::system::GetHandleSize::call(handle);
}
PLATFORM_EXPORT void HLock(Handle handle) {
  FORWARD(HLock)
  spy::system::HLock::call(handle);
}
PLATFORM_EXPORT void HUnlock(Handle handle) {
  FORWARD(HUnlock)
  spy::system::HUnlock::call(handle);
}
PLATFORM_EXPORT Handle NewHandle(std::int32_t size) {
  FORWARD(NewHandle)
  return spy::system::NewHandle::call(size);
}
PLATFORM_EXPORT OSStatus ClearCurrentScrap() {
  FORWARD(ClearCurrentScrap)
  return spy::system::ClearCurrentScrap::call();
}
PLATFORM_EXPORT OSStatus GetCurrentScrap(ScrapRef* scrap) {
  FORWARD(GetCurrentScrap)
  return spy::system::GetCurrentScrap::call(scrap);
}
PLATFORM_EXPORT OSStatus PutScrapFlavor(ScrapRef scrap, OSType flavor, std::uint32_t flags, std::int32_t size,
                                        const void* bytes) {
  FORWARD(PutScrapFlavor)
  return spy::system::PutScrapFlavor::call(scrap, flavor, flags, size, bytes);
}
PLATFORM_EXPORT OSErr FSFindFolder(std::int16_t volume, OSType folder, Boolean create, FSRef* found) {
  FORWARD(FSFindFolder)
  auto& instead = spy::system::FSFindFolder::instead;
  return instead ? instead(volume, folder, create, found)
                 : spy::system::FSFindFolder::real(volume, folder, create, found);
}
}
