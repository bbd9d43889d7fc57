#include "platform/quickdraw/port.h"

#include "platform/quickdraw/picture_writer.h"

namespace qd {

Port::Port(OwnedPixels pixels) : mapMaster(&pixels_.map), pixels_(std::move(pixels)) {}

Port::~Port() = default;

}  // namespace qd
