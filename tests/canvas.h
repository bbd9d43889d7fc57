// A world to draw into, whose pixels a test can look at.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "engine/pixels/transfer.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/world.h"

namespace qd {

// A port that drawing goes to, with a picture open on it if a test wants.
class Canvas : public World {
 public:
  explicit Canvas(int depth, int width = 64, int height = 48, int table = 0) : World(width, height, depth, table) {}
  // One character a pixel: '.' white, '#' black, 'o' another colour.
  std::string picture() const {
    Canvas deep(32);
    ForeColor(blackColor);
    BackColor(whiteColor);
    CopyBits(bits(), deep.bits(), &bounds(), &bounds(), srcCopy, nullptr);
    const std::string bytes = deep.pixels();
    std::string text;
    for (int y = 0; y < bounds().bottom; ++y) {
      for (int x = 0; x < bounds().right; ++x) {
        const std::string pixel = bytes.substr(static_cast<std::size_t>(y * 256 + x * 4 + 1), 3);
        text += pixel == "\xFF\xFF\xFF" ? '.' : pixel == std::string(3, '\0') ? '#' : 'o';
      }
      text += '\n';
    }
    select();
    return text;
  }
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
