// What the plug-in links with: a few functions of CoreFoundation, CoreServices and Carbon.
#pragma once

#include "contract/handles.h"

using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFURLRef = const struct __CFURL*;
using CFBundleRef = struct __CFBundle*;
using CFStringRef = const struct __CFString*;
using ScrapRef = struct OpaqueScrapRef*;

// How FSFindFolder is asked for the folder that the system's frameworks lie in.
constexpr std::int16_t kOnAppropriateDisk = -32767;
constexpr OSType kFrameworksFolderType = 0x6672616D;  // 'fram'

struct FSRef {
  std::uint8_t hidden[80];
};

// The class that constant strings point to; of a size that is CoreFoundation's affair.
using CFConstantStringClass = int[];

extern "C" {
#define IMPORT_OBJECT(framework, name, type) extern type name;
#define IMPORT(framework, name, result, arguments) result name arguments;
#define WEAK_IMPORT(framework, name, result, arguments) __attribute__((weak)) result name arguments;
#include "contract/system.def"
}

// A constant CFString in the layout that compilers for 32-bit Mac OS X emit: class, flags (constant, 8-bit characters,
// terminated), characters, their number. CoreFoundation neither counts nor frees it.
struct ConstantString {
  template <std::size_t Size>
  constexpr ConstantString(const char (&text)[Size]) : characters(text), length(Size - 1) {}

  CFStringRef ref() const { return reinterpret_cast<CFStringRef>(this); }

  const void* isa = __CFConstantStringClassReference;
  std::uint32_t flags = 0x7C8;
  const char* characters;
  std::uint32_t length;
};
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ConstantString) == 16 && offsetof(ConstantString, flags) == 4 &&
              offsetof(ConstantString, characters) == 8 && offsetof(ConstantString, length) == 12);
#endif
