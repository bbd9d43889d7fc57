// Every row with every name missing: nothing crashes, nothing is lost, and the next call with the name works.
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>

#include "platform/frameworks/bundle.h"
#include "platform/memory/memory.h"
#include "tests/fixture.h"

#ifndef __SANITIZE_ADDRESS__
// Allocations fail when a test wants it: those of the plug-in, or those of the functions on the other side.
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
namespace {
bool (*isMeant)(const void* caller) = nullptr;
int allocationsLeft = -1;  // below 0: all succeed
int period = 0;            // above 0: after one that fails, the so manieth fails again

bool isPlugIns(const void* caller) {
  // The dynamic loader knows nothing of a bundle for the Mac, and everything of all other code.
  Dl_info info = {};
  return dladdr(caller, &info) == 0 || std::strstr(info.dli_fname, "MacOS/QuickDrawTVK") != nullptr;
}

bool fails(const void* caller) {
  if (allocationsLeft < 0 || !isMeant(caller)) return false;
  if (allocationsLeft-- > 0) return false;
  allocationsLeft = period - 1;
  return true;
}

// Lets the n-th allocation fail from here on, and with a period of n each n-th.
void failAllocation(int n, bool (*which)(const void*), int again = 0) {
  isMeant = which;
  allocationsLeft = n;
  period = again;
}
}  // namespace
extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
extern "C" __attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
#endif

namespace {

class Sweep : public PluginTest {
 protected:
  // Without the call that locks, what is unlocked all the same must be held by somebody else.
  Value held(Value value) {
    if (!spy::absent.contains("REALLockObject") && !spy::absent.contains("REALLockString")) return value;
    for (int i = 0; i < 9; ++i) {
      if (const auto* object = std::get_if<Object>(&value)) runtime::lock(object->get());
      if (const auto* string = std::get_if<String>(&value)) runtime::lock(string->get());
    }
    return value;
  }

  // Something of each type for a row that takes it.
  Value argument(runtime::Type type, bool isNil) { return held(plainArgument(type, isNil)); }
  Value plainArgument(runtime::Type type, bool isNil) {
    switch (type) {
      case runtime::Type::integer:
        return 9;
      case runtime::Type::color:
        return 0x336699;
      case runtime::Type::boolean:
        return true;
      case runtime::Type::string:
        return isNil ? Value() : host().string("text \xC3\xA4");
      case runtime::Type::memoryBlock:
        return isNil ? Value() : host().block(std::string(300, 'b'));
      case runtime::Type::integerArray:
        return isNil ? Value() : host().integers({1, 2, 30, 4, 5, 60, 7, 8});
      case runtime::Type::picture:
        return isNil ? Value() : host().newPicture(16, 12, 8);
      case runtime::Type::graphics:
        return isNil ? Value() : host().graphicsOf(host().newPicture(16, 12));
      default:
        return {};
    }
  }

  // Runs every row of a class on an object: as a method, and getter and setter of a property.
  void runRows(const Object& object, const std::string& className, bool withNil) {
    const auto found = host().classes().find(className);
    if (found == host().classes().end()) return;
    for (const auto& method : found->second.methods) {
      std::vector<Value> arguments;
      for (const auto& parameter : method.declaration.parameters) {
        const bool isWorld = parameter.name == "GWorldHandle";
        arguments.push_back(isWorld ? Value(withNil ? 0 : host().worldOf(world_)) : argument(parameter.type, withNil));
      }
      attempt([&] { host().call(object, method.declaration.name, arguments); });
      if (method.setter != nullptr) {
        attempt([&] { host().set(object, method.declaration.name, argument(method.declaration.result, withNil)); });
      }
    }
  }
  template <class Action>
  void attempt(Action action) {
    try {
      action();
    } catch (const runtime::Exception&) {
      // one of those that the plug-in promises
    }
  }

  void runEverything() {
    world_ = host().newPicture(20, 20);
    for (const bool withNil : {false, true}) {
      if (host().classes().contains("MacPictTVK")) {
        for (int state = 0; state < 3; ++state) {
          const Object recorder = host().make("MacPictTVK");
          if (state > 0) host().call(recorder, "CreatePicture", {30, 20});
          if (state > 1) host().call(recorder, "ClosePicture");
          runRows(recorder, "MacPictTVK", withNil);
        }
      }
      runRows(host().newPicture(16, 12), "Picture", withNil);
      runRows(host().strangePicture(16, 12), "Picture", withNil);
      runRows(host().graphicsOf(host().newPicture(16, 12)), "graphics", withNil);
      for (const char* factory : {"NewColorPictureTVK", "NewGrayPictureTVK"}) {
        if (!host().globalMethods().empty()) host().call(factory, {9, 9, 8, withNil});
      }
      // A PICT, as far as one can be had.
      if (host().classes().contains("MacPictTVK")) {
        const Object recorder = host().make("MacPictTVK");
        host().call(recorder, "CreatePicture", {30, 20});
        const Value pict = host().call(recorder, "MakePicture");
        if (!isNil(pict)) runRows(std::get<Object>(held(pict)), "Picture", withNil);
      }
    }
    runOnNil("Picture");
    runOnNil("graphics");
    host().takeRaised();
    world_ = {};
  }
  // The object itself may be nil; all other words are 0 too.
  void runOnNil(const std::string& className) {
    const auto found = host().classes().find(className);
    if (found == host().classes().end()) return;
    for (const auto& method : found->second.methods) {
      for (const REALhandler handler : {method.handler, method.setter}) {
        if (handler != nullptr)
          reinterpret_cast<void (*)(int, int, int, int, int, int, int, int, int, int, int)>(handler)(0, 0, 0, 0, 0, 0,
                                                                                                     0, 0, 0, 0, 0);
      }
    }
  }

  Object world_;
};

// What locks or gives something back: without it, things stay.
const std::set<std::string> kAllKinds = {"handles alive", "objects alive", "strings alive", "worlds alive"};
const std::map<std::string, std::set<std::string>> kGiveBack = {
    {"REALLockObject", kAllKinds},
    {"REALLockString", kAllKinds},
    {"REALUnlockObject", {"objects alive"}},
    {"REALUnlockString", {"strings alive"}},
    {"REALBuildPictureFromPicHandle", {"handles alive"}},  // what was meant for the host is nobody's
    {"REALBuildPictureFromGWorld", {"worlds alive"}},
    {"KillPicture", {"handles alive"}},
    {"DisposeRgn", {"handles alive"}},
    {"KillPoly", {"handles alive"}},
    {"DisposeCTable", {"handles alive"}}};
const char* const kHostNames[] = {
#define ENTRY_POINT(wrapper, name, result, arguments) name,
#include "contract/entry_points.def"
};
const char* const kOperations[] = {
#define OPERATION(name, result, arguments) #name,
#include "contract/operations.def"
};

}  // namespace

TEST_F(Sweep, OneNameMissing) {
  std::vector<std::string> names(std::begin(kHostNames), std::end(kHostNames));
  names.insert(names.end(), std::begin(kOperations), std::end(kOperations));
  for (const double version : {2011.0, 2012.0, 2013.0, 2013.9, 2014.0}) {
    for (const std::string& name : names) {
      SCOPED_TRACE(name + " missing in " + std::to_string(version));
      spy::reset();
      spy::absent = {name};
      start(version);
      runEverything();
      if (const auto lost = kGiveBack.find(name); lost != kGiveBack.end()) loses(lost->second);
      // After it comes back, the next call works.
      spy::absent.clear();
      host().restore(name);
      if (!host().classes().contains("MacPictTVK")) continue;
      const Object recorder = host().make("MacPictTVK");
      qd::resetCurrentPort();
      host().call(recorder, "CreatePicture", {10, 10});
      host().call(recorder, "DrawText", {host().string("on")});
      EXPECT_FALSE(isNil(host().get(recorder, "PicHandleData")));
    }
  }
}

TEST_F(Sweep, AWholeSideMissing) {
  for (const bool isHost : {true, false}) {
    spy::reset();
    start(2014.0);
    for (const char* name : kOperations) {
      if (!isHost) spy::absent.insert(name);
    }
    for (const char* name : kHostNames) {
      if (isHost) spy::absent.insert(name);
    }
    runEverything();
    loses(isHost ? kAllKinds : std::set<std::string>{"handles alive"});
  }
}

TEST_F(Sweep, EachAnswerOfTheHostsAndOfQuickDrawsIsNothing) {
  const std::pair<const char*, std::function<void()>> answers[] = {
      {"no string", [] { spy::host::REALBuildString::instead = [](const void*, std::int32_t) { return nullptr; }; }},
      {"no conversion",
       [] { spy::host::REALConvertString::instead = [](REALstringStruct*, std::uint32_t) { return nullptr; }; }},
      {"no string data",
       [] {
         spy::host::PluginGetStringData::instead = [](REALstringStruct*, std::uint32_t, REALstringData*) {
           return '\0';
         };
       }},
      {"no bytes", [] { spy::host::StringGetCString::instead = [](REALstringStruct*) { return nullptr; }; }},
      {"no block", [] { spy::host::REALNewMemoryBlock::instead = [](std::int32_t) { return nullptr; }; }},
      {"a block without an address",
       [] { spy::host::REALMemoryBlockGetPtr::instead = [](REALmemoryBlockStruct*) { return nullptr; }; }},
      {"a block of negative size",
       [] { spy::host::REALMemoryBlockGetSize::instead = [](REALmemoryBlockStruct*) { return -5; }; }},
      {"no exception object", [] { spy::host::REALnewInstance::instead = [](const char*) { return nullptr; }; }},
      {"no handle", [] { spy::system::NewHandle::instead = [](std::int32_t) { return nullptr; }; }},
      {"no picture", [] { spy::qd::OpenCPicture::instead = [](const OpenCPicParams*) { return nullptr; }; }},
      {"no world",
       [] {
         spy::qd::NewGWorld::instead = [](GWorldPtr*, std::int16_t, const Rect*, CTabHandle, GDHandle,
                                          std::uint32_t) -> OSErr { return -108; };
       }},
      {"no table", [] { spy::qd::GetCTable::instead = [](std::int16_t) { return nullptr; }; }},
      {"no region", [] { spy::qd::NewRgn::instead = [] { return nullptr; }; }},
      {"no polygon", [] { spy::qd::OpenPoly::instead = [] { return nullptr; }; }},
      {"no pixels", [] { spy::qd::GetGWorldPixMap::instead = [](GWorldPtr) { return nullptr; }; }},
      {"no lock", [] { spy::qd::LockPixels::instead = [](PixMapHandle) { return '\0'; }; }},
      {"no bitmap", [] { spy::qd::GetPortBitMapForCopyBits::instead = [](CGrafPtr) { return nullptr; }; }},
  };
  for (const auto& [what, answer] : answers) {
    for (const double version : {2011.0, 2012.5, 2014.0}) {
      SCOPED_TRACE(std::string(what) + " in " + std::to_string(version));
      spy::reset();
      if (version < 2012.9) spy::absent = {"PluginGetStringData", "PluginDisposeStringData"};
      start(version);
      answer();
      runEverything();
    }
  }
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(Sweep, EachAllocationFails) {
  // A host whose data isn't terminated makes the plug-in copy it.
  const auto unterminated = [](REALstringStruct*, std::uint32_t encoding, REALstringData* out) {
    static const char text[] = {'o', 'p', 'e', 'n', '!'};
    *out = {text, 4, encoding, {}};
    return static_cast<unsigned char>(1);
  };
  for (const double version : {2011.0, 2012.0, 2014.0}) {
    int n = 0;
    for (bool reached = true; reached; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n) + " in " + std::to_string(version));
      spy::reset();
      if (version == 2012.0) spy::absent = {"PluginGetStringData", "PluginDisposeStringData"};
      if (version == 2014.0) {
        spy::host::PluginGetStringData::instead = unterminated;
        spy::host::PluginDisposeStringData::instead = [](REALstringData*) {};
      }
      failAllocation(n, &isPlugIns);
      start(version);
      runEverything();
      reached = allocationsLeft < 0;
      allocationsLeft = -1;
      const bool isFirstHost = version == 2011.0 && n < 7;
      if (!isFirstHost) {
        EXPECT_TRUE(host().classes().contains("MacPictTVK"));
      }
    }
    EXPECT_GT(n, 1) << "no allocation was reached";
  }
}

bool isInside(const void*) { return spy::inside != nullptr; }

TEST_F(Sweep, EveryNthAllocationOfTheOtherSideFails) {
  for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 13, 17, 23, 31, 43, 61, 89, 131}) {
    for (const double version : {2011.0, 2014.0}) {
      SCOPED_TRACE("each of " + std::to_string(n) + " in " + std::to_string(version));
      Host& h = start(version);
      failAllocation(n - 1, &isInside, n);
      runEverything();
      allocationsLeft = -1;
      const Object recorder = this->recorder();
      h.call(recorder, "PaintOval", {1, 2, 30, 20});
      EXPECT_GT(bytes(h.get(recorder, "PicHandleData")).size(), 60U);
    }
    // A plug-in isn't loaded without what it registers.
    Host& h = start();
    failAllocation(n - 1, &isInside, n);
    EXPECT_THROW(h.load(bundle(), &spy::resolve), std::bad_alloc);
    allocationsLeft = -1;
  }
}

TEST_F(Sweep, AValueWithoutMemoryIsTheHostsException) {
  const Object picture = host().newPicture(9, 9);
  const std::function<void()> values[] = {[&] { host().string("text"); },      [&] { host().block("bytes"); },
                                          [&] { host().integers({}); },        [&] { host().newPicture(9, 9); },
                                          [&] { host().graphicsOf(picture); }, [&] { host().make("MacPictTVK"); }};
  for (const auto& make : values) {
    int failures = 0;
    for (bool succeeds = false; !succeeds; ++failures) {
      failAllocation(failures, &isInside);
      try {
        const spy::Inside here("host code");
        make();
        succeeds = true;
      } catch (const runtime::Exception& raised) {
        EXPECT_EQ(raised.className, "OutOfMemoryException");
      }
      allocationsLeft = -1;
    }
    EXPECT_GT(failures, 1);
  }
}

TEST_F(Sweep, TheSystemAnswersWithoutMemory) {
  static constinit const ConstantString kName("ApplicationServices.framework");
  static constinit const ConstantString kFunction("GetPort");
  int n = 0;
  for (bool isDone = false; !isDone; ++n) {
    failAllocation(n, &isInside);
    const spy::Inside here("the system");
    FSRef root = {};
    const OSErr error = FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &root);
    const CFURLRef folder = error == 0 ? CFURLCreateFromFSRef(nullptr, &root) : nullptr;
    const CFURLRef url = CFURLCreateCopyAppendingPathComponent(nullptr, folder, kName.ref(), 1);
    const CFBundleRef framework = CFBundleCreate(nullptr, url);
    const bool isLoaded = CFBundleLoadExecutable(framework) != 0;
    void* const function = CFBundleGetFunctionPointerForName(framework, kFunction.ref());
    ScrapRef scrap = nullptr;
    ClearCurrentScrap();
    GetCurrentScrap(&scrap);
    const OSStatus put = PutScrapFlavor(scrap, 0x54455854, 0, 5, "bytes");
    const Handle handle = NewHandle(10);
    const bool isUntouched = allocationsLeft >= 0;
    allocationsLeft = -1;
    isDone = error == 0 && isLoaded && function != nullptr && put == 0 && handle != nullptr;
    EXPECT_EQ(isDone, isUntouched) << "allocation " << n << " fails in silence";
    EXPECT_TRUE(error == 0 || error == -108) << error;
    EXPECT_TRUE(put == 0 || put == -108) << put;
    EXPECT_EQ(loadErrorOf(framework).empty(), framework == nullptr || isLoaded);
    for (const void* made :
         {static_cast<const void*>(folder), static_cast<const void*>(url), static_cast<const void*>(framework)}) {
      CFRelease(made);
    }
    DisposeHandle(handle);
  }
  EXPECT_GT(n, 8);
}
#endif

TEST_F(Sweep, ExtremeNumbersInEveryRowOnEveryDepth) {
  const std::int32_t values[] = {0,      1,     -1,    32766,     32767,         32768,     -32767,       -32768,
                                 -32769, 65535, 65536, INT32_MAX, INT32_MAX - 1, INT32_MIN, INT32_MIN + 1};
  start();
  for (const int depth : {1, 2, 4, 8, 16, 32}) {
    SCOPED_TRACE(depth);
    const Object canvas = host().newPicture(24, 18, depth);
    const Object graphics = host().graphicsOf(canvas);
    const Object other = host().newPicture(20, 30, depth == 8 ? 32 : 8);
    const Object recorder = this->recorder(30, 20);
    host().call(recorder, "PaintOval", {2, 2, 20, 15});
    host().call(recorder, "DrawString", {host().string("x"), 3, 9});
    host().call(recorder, "ClosePicture");
    const Value picture = host().get(recorder, "PicHandleData");

    const auto runExtremes = [&](const Object& object, const std::vector<runtime::Method>& methods) {
      for (const auto& method : methods) {
        const auto& parameters = method.declaration.parameters;
        if (method.declaration.name == "Close" || method.declaration.name == "MakePicture") continue;
        const bool takesWorld = !parameters.empty() && parameters[0].name == "GWorldHandle";
        for (const std::int32_t value : values) {
          // Each number alone, then all of them.
          for (std::size_t which = 0; which <= parameters.size(); ++which) {
            std::vector<Value> arguments;
            for (std::size_t i = 0; i < parameters.size(); ++i) {
              if (parameters[i].type == runtime::Type::integer) {
                const bool isExtreme = (i == which || which == parameters.size()) && !(takesWorld && i == 0);
                arguments.push_back(takesWorld && i == 0 ? Value(host().worldOf(canvas))
                                                         : Value(isExtreme ? value : 9));
              } else if (parameters[i].type == runtime::Type::picture) {
                arguments.push_back(other);
              } else if (parameters[i].type == runtime::Type::graphics) {
                arguments.push_back(graphics);
              } else if (parameters[i].type == runtime::Type::integerArray) {
                arguments.push_back(host().integers({value, 1, 2, value, value, value, 3, 4}));
              } else {
                arguments.push_back(argument(parameters[i].type, false));
              }
            }
            host().call(graphics, "DrawArcTVK", {0, 0, 0, 0, 0, 0});  // commands go to the canvas
            attempt([&] { host().call(object, method.declaration.name, arguments); });
          }
          const auto type = method.declaration.result;
          if (method.setter != nullptr && (type == runtime::Type::integer || type == runtime::Type::color)) {
            attempt([&] { host().set(object, method.declaration.name, value); });
          }
        }
        if (method.declaration.name == "CreatePicture") host().set(object, "PicHandleData", picture);
      }
    };
    runExtremes(recorder, host().classes().at("MacPictTVK").methods);
    runExtremes(canvas, host().classes().at("Picture").methods);
    runExtremes(graphics, host().classes().at("graphics").methods);
    host().call(recorder, "Close");
  }
  for (const std::int32_t value : values) {
    for (const int depth : {1, 8, 32}) {
      attempt([&] { host().call("NewGrayPictureTVK", {value, 9, depth, false}); });
      attempt([&] { host().call("NewColorPictureTVK", {9, value, value == 9 ? depth : value, false}); });
    }
  }
}

TEST_F(Sweep, ManyAndLong) {
#ifdef __SANITIZE_ADDRESS__
  constexpr int kCommands = 100000;
#else
  constexpr int kCommands = 1000000;
#endif
  // Commands of a fixed length: the picture grows by them and by nothing else.
  spy::muted = true;
  {
    const Object recorder = this->recorder(1000, 1000);
    for (int i = 0; i < kCommands; ++i) host().call(recorder, "PaintRect", {i % 900, i % 700, 5, 5});
    host().call(recorder, "ClosePicture");
    const std::string picture = bytes(host().get(recorder, "PicHandleData"));
    EXPECT_EQ(picture.size(), 40U + 12U + 10U * kCommands + 2U);
    host().call(recorder, "DrawpictureIntoGWorld", {host().worldOf(host().newPicture(50, 50, 8)), 0, 0, 50, 50});
    EXPECT_EQ(qd::lastPlayback().played, kCommands + 2);
  }
  for (int i = 0; i < 10000; ++i) {
    const Object recorder = this->recorder();
    host().call(recorder, "PaintOval", {0, 0, 9, 9});
  }
  // The largest frame, and a text of which every byte counts.
  const Object large = this->recorder(32767, 32767);
  host().call(large, "PaintRect", {0, 0, 32767, 32767});
  host().call(large, "DrawString", {host().string(std::string(40000, 'w')), 0, 100});
  host().call(large, "ClosePicture");
  EXPECT_GT(bytes(host().get(large, "PicHandleData")).size(), 32767U);
  host().call(large, "DrawpictureIntoGWorld", {host().worldOf(host().newPicture(60, 60)), 0, 0, 60, 60});
  EXPECT_FALSE(qd::lastPlayback().error);
  spy::muted = false;
}
