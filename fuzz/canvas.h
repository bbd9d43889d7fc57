// Ports to draw into, which several targets share. The first byte of an input says which; a picture follows.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "engine/port/command.h"

constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};

inline qd::Resources& resources() {
  static qd::Resources all(FONTS);
  return all;
}

// A white port.
class Canvas {
 public:
  Canvas(int width, int height, int depth) : port_(pixels(width, height, depth), resources()) {}

  qd::Port& port() { return port_; }
  const qd::PixelMap& map() const { return port_.map(); }
  // All rows as bytes.
  std::string bytes() const {
    return {reinterpret_cast<const char*>(map().row(0)), rowBytes() * static_cast<std::size_t>(map().bounds.height())};
  }

 private:
  static qd::OwnedPixels pixels(int width, int height, int depth) {
    const auto table = depth <= 8 ? resources().tables.standard(depth) : nullptr;
    return std::move(*qd::whitePixels(qd::Box(0, 0, height, width), depth, table));
  }
  std::size_t rowBytes() const { return static_cast<std::size_t>(map().rowBytes); }

  qd::Port port_;
};
