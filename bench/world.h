// A world to draw into, for the programs that stand on QuickDraw without a host.
#pragma once

#include <cstdint>

#include "bench/bench.h"
#include "platform/quickdraw/operations.h"
#include "platform/quickdraw/transfer.h"

namespace bench {

class World {
 public:
  World(int width, int height, int depth, int table = 0) : bounds_(MakeRect(0, 0, width, height)) {
    const CTabHandle colors = table != 0 ? GetCTable(static_cast<std::int16_t>(table)) : nullptr;
    if (NewGWorld(&world_, static_cast<std::int16_t>(depth), &bounds_, colors, nullptr, 0) != 0)
      fail("There is no memory for a world.");
    if (colors != nullptr) DisposeCTable(colors);
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

 private:
  Rect bounds_;
  GWorldPtr world_ = nullptr;
};

}  // namespace bench
