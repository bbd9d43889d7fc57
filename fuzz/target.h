// What the fuzzing targets share: worlds to draw into, and pictures in handles.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "engine/pict/player.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/world.h"

using qd::World;

constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};

inline void playBytes(std::span<const std::uint8_t> bytes, const Rect& target) {
  const Handle handle = NewHandle(static_cast<std::int32_t>(bytes.size()));
  if (!bytes.empty()) std::memcpy(*handle, bytes.data(), bytes.size());
  DrawPicture(reinterpret_cast<PicHandle>(handle), &target);
  DisposeHandle(handle);
}
