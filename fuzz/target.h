// What the fuzzing targets share: worlds to draw into, and pictures in handles.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"
#include "platform/quickdraw/picture_player.h"

constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};

// A current world, till the end of its scope.
class World {
 public:
  World(int width, int height, int depth) {
    const Rect bounds = MakeRect(0, 0, width, height);
    if (NewGWorld(&world_, static_cast<std::int16_t>(depth), &bounds, nullptr, nullptr, 0) != 0) std::abort();
    SetGWorld(world_, nullptr);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() { DisposeGWorld(world_); }

  BitMapPtr bits() const { return GetPortBitMapForCopyBits(world_); }
  std::string pixels() const {
    const PixMapHandle map = GetGWorldPixMap(world_);
    Rect bounds = {};
    GetPortBounds(world_, &bounds);
    return {GetPixBaseAddr(map),
            static_cast<std::size_t>(GetPixRowBytes(map)) * static_cast<std::size_t>(bounds.bottom)};
  }

 private:
  GWorldPtr world_ = nullptr;
};

inline void playBytes(std::span<const std::uint8_t> bytes, const Rect& target) {
  const Handle handle = NewHandle(static_cast<std::int32_t>(bytes.size()));
  if (!bytes.empty()) std::memcpy(*handle, bytes.data(), bytes.size());
  DrawPicture(reinterpret_cast<PicHandle>(handle), &target);
  DisposeHandle(handle);
}
