// Every row with every name missing: nothing crashes, nothing is lost, and the next call with the name works.
#include <set>

#include "tests/fixture.h"

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
const std::set<std::string> kGiveBack = {"REALLockObject",
                                         "REALLockString",
                                         "REALUnlockObject",
                                         "REALUnlockString",
                                         "PluginDisposeStringData",
                                         "unlockPictureDescription",
                                         "REALBuildPictureFromPicHandle",  // MakePicture gives its handle up for good
                                         "KillPicture",
                                         "DisposeRgn",
                                         "DisposeCTable",
                                         "KillPoly"};
const char* const kHostNames[] = {
#define ENTRY_POINT(wrapper, name, result, arguments) name,
#include "host/entry_points.def"
};
const char* const kOperations[] = {
#define OPERATION(name, result, arguments) #name,
#include "quickdraw/operations.def"
};

}  // namespace

TEST_F(Sweep, OneNameMissing) {
  static_assert(std::size(kHostNames) == 32 && std::size(kOperations) == 68);
  std::vector<std::string> names(std::begin(kHostNames), std::end(kHostNames));
  names.insert(names.end(), std::begin(kOperations), std::end(kOperations));
  for (const double version : {2011.0, 2012.0, 2013.0, 2013.9, 2014.0}) {
    for (const std::string& name : names) {
      SCOPED_TRACE(name + " missing in " + std::to_string(version));
      spy::reset();
      spy::absent = {name};
      start(version);
      runEverything();
      if (kGiveBack.contains(name)) mayLose();
      // After it comes back, the next call works.
      spy::absent.clear();
      host().give(name);
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
    mayLose();  // what gives back is among them
  }
}
