#include "tools/image.h"

#include <cstring>

ImageRows Image::rows() const {
  return {width,
          height,
          3,
          [this](int y, std::span<std::uint8_t> row) {
            std::memcpy(row.data(), rgb.data() + static_cast<std::size_t>(y) * row.size(), row.size());
          },
          {}};
}
