// Decodes an image: all of it, or what shows of it in a small place.
#pragma once

#include "engine/images/decoders.h"
#include "engine/images/shown.h"
#include "fuzz/target.h"

template <class Open>
void decode(const Open& open, const qd::ImageSource& source) {
  for (const bool isWhole : {false, true}) {
    std::string why;
    const auto image = open(source, why);
    if (image == nullptr) return why.empty() ? std::abort() : void();
    const qd::ImageFormat& format = image->format();
    // A viewer shows no more pixels than it has. What takes longer as a whole is none of an image's bytes.
    constexpr std::int64_t kMostWhole = 1 << 20;
    if (isWhole && std::int64_t{format.width} * format.height <= kMostWhole) {
      readWhole(*image, qd::Box(0, 0, 20, 20));
    } else {
      readShown(*image, qd::Box(-4, -7, 60, 70), qd::Box(0, 0, 40, 50));
    }
  }
}
