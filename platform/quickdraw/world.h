// A world to draw into, for programs that stand on QuickDraw without a host.
#pragma once

#include <cstdint>
#include <new>
#include <string>

#include "platform/quickdraw/operations.h"

namespace qd {

// The current world from its making on, till another is selected or it ends.
class World {
 public:
  // Of the colours of a table that GetCTable knows, or of the standard ones. Throws bad_alloc where there is no memory.
  World(int width, int height, int depth, int table = 0) : bounds_(MakeRect(0, 0, width, height)) {
    const CTabHandle colors = table != 0 ? GetCTable(static_cast<std::int16_t>(table)) : nullptr;
    const OSErr error = NewGWorld(&world_, static_cast<std::int16_t>(depth), &bounds_, colors, nullptr, 0);
    if (colors != nullptr) DisposeCTable(colors);
    if (error != 0) throw std::bad_alloc();
    select();
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() { DisposeGWorld(world_); }

  void select() const { SetGWorld(world_, nullptr); }
  const Rect& bounds() const { return bounds_; }
  BitMapPtr bits() const { return GetPortBitMapForCopyBits(world_); }
  std::size_t rowBytes() const { return static_cast<std::size_t>(GetPixRowBytes(GetGWorldPixMap(world_))); }
  std::uint8_t* row(int y) const {
    return reinterpret_cast<std::uint8_t*>(GetPixBaseAddr(GetGWorldPixMap(world_))) +
           rowBytes() * static_cast<std::size_t>(y);
  }
  // All rows as bytes.
  std::string pixels() const {
    return {reinterpret_cast<const char*>(row(0)), rowBytes() * static_cast<std::size_t>(bounds_.bottom)};
  }

 private:
  Rect bounds_;
  GWorldPtr world_ = nullptr;
};

}  // namespace qd
