// QuickDraw as the plug-in calls it: every operation is a slot, filled from the system framework on first use.
#pragma once

#include "contract/handles.h"
#include "contract/slot.h"
#include "contract/system.h"

namespace quickdraw {

// The address of an operation of the framework, or null. Loads the framework if it isn't there yet.
void* FindOperation(const ConstantString& name);

#define OPERATION_OR(name, result, arguments, missing) \
  inline constinit Slot<FindOperation, result arguments, missing> name{#name};
#define OPERATION(name, result, arguments) OPERATION_OR(name, result, arguments, 0)
#include "contract/operations.def"

// Calls a shape operation on the rectangle that the host's origin and extent give; what follows it is narrowed alike.
template <auto& Operation, class... Extra>
void CallShape(std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height, Extra... extra) {
  const Rect area = MakeRect(left, top, width, height);
  Operation(&area, Low16(extra)...);
}

// Saves the current port and device, and gives them back at the end of its scope. Where GetGWorld is missing there is
// no saved pair, and so nothing to give back.
class SavedWorld {
 public:
  SavedWorld() {
    if (const auto get = GetGWorld.find()) {
      get(&port_, &device_);
      saved_ = true;
    }
  }
  ~SavedWorld() {
    if (saved_) SetGWorld(port_, device_);
  }
  SavedWorld(const SavedWorld&) = delete;
  SavedWorld& operator=(const SavedWorld&) = delete;

 private:
  CGrafPtr port_ = nullptr;
  GDHandle device_ = nullptr;
  bool saved_ = false;
};

// Black on white for the current port: what every recording and every copy starts from.
inline void BlackOnWhite() {
  ForeColor(blackColor);
  BackColor(whiteColor);
}

}  // namespace quickdraw
