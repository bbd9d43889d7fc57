// A world to draw into, whose pixels a test can look at.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"
#include "platform/quickdraw/transfer.h"

namespace qd {

// A port that drawing goes to, with a picture open on it if a test wants.
class Canvas {
 public:
  explicit Canvas(int depth, int width = 64, int height = 48, int table = 0) {
    const Rect bounds = MakeRect(0, 0, width, height);
    const CTabHandle colors = table != 0 ? GetCTable(static_cast<std::int16_t>(table)) : nullptr;
    EXPECT_EQ(NewGWorld(&world_, static_cast<std::int16_t>(depth), &bounds, colors, nullptr, 0), 0);
    if (colors != nullptr) DisposeCTable(colors);
    select();
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  ~Canvas() { DisposeGWorld(world_); }
  void select() const { SetGWorld(world_, nullptr); }
  BitMapPtr bits() const { return GetPortBitMapForCopyBits(world_); }
  std::string pixels() const {
    const PixMapHandle map = GetGWorldPixMap(world_);
    Rect bounds = {};
    GetPortBounds(world_, &bounds);
    return {GetPixBaseAddr(map), static_cast<std::size_t>(GetPixRowBytes(map) * bounds.bottom)};
  }
  // One character a pixel: '.' white, '#' black, 'o' another colour.
  std::string picture() const {
    Canvas deep(32);
    Rect bounds = {};
    GetPortBounds(world_, &bounds);
    ForeColor(blackColor);
    BackColor(whiteColor);
    CopyBits(bits(), deep.bits(), &bounds, &bounds, srcCopy, nullptr);
    const std::string bytes = deep.pixels();
    std::string text;
    for (int y = 0; y < bounds.bottom; ++y) {
      for (int x = 0; x < bounds.right; ++x) {
        const std::string pixel = bytes.substr(static_cast<std::size_t>(y * 256 + x * 4 + 1), 3);
        text += pixel == "\xFF\xFF\xFF" ? '.' : pixel == std::string(3, '\0') ? '#' : 'o';
      }
      text += '\n';
    }
    select();
    return text;
  }

 private:
  GWorldPtr world_ = nullptr;
};

// Leaves nothing behind.
struct QuickDraw : ::testing::Test {
  ~QuickDraw() override {
    resetCurrentPort();
    EXPECT_EQ(livePorts(), worlds_);
    EXPECT_EQ(memory::audit().handles, handles_);
  }

 private:
  const std::size_t worlds_ = livePorts();
  const std::size_t handles_ = memory::audit().handles;
};

}  // namespace qd
