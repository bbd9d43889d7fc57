#include "engine/port/port.h"

#include "engine/pict/writer.h"

namespace qd {

Port::Port(OwnedPixels pixels, Resources& resources) : resources_(resources), pixels_(std::move(pixels)) {}

Port::~Port() = default;

const Region& Port::visible() {
  if (visibleFor_ != state.clip) {
    visibleFor_ = state.clip;
    visible_ = intersect(state.clip, Region(map().bounds));
  }
  return visible_;
}

}  // namespace qd
