// A port to draw into, white at first.
#pragma once

#include "bench/bench.h"
#include "engine/port/command.h"

namespace bench {

class World {
 public:
  // Of the colours of a table that GetCTable knows, or of the standard ones.
  World(int width, int height, int depth, int table = 0) : port_(pixels(width, height, depth, table), resources()) {}

  qd::Port& port() { return port_; }
  const qd::PixelMap& map() const { return port_.map(); }
  std::size_t rowBytes() const { return static_cast<std::size_t>(map().rowBytes); }
  std::uint8_t* row(int y) const { return map().row(y); }

 private:
  // No text is drawn here.
  static qd::Resources& resources() {
    static qd::Resources all("");
    return all;
  }
  static qd::OwnedPixels pixels(int width, int height, int depth, int table) {
    qd::ColorTables& tables = resources().tables;
    const auto colors = depth > 8 ? nullptr : table != 0 ? tables.byId(table) : tables.standard(depth);
    auto white = qd::whitePixels(qd::Box(0, 0, height, width), depth, colors);
    if (!white) fail("There is no memory for the pixels.");
    return std::move(*white);
  }

  qd::Port port_;
};

}  // namespace bench
