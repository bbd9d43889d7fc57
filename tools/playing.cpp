#include "tools/playing.h"

#include <algorithm>
#include <cmath>

#include "tools/failure.h"

PlaySize playSize(const std::string& name, qd::Bytes picture, double scale, int most) {
  const auto info = qd::pictureInfo(picture);
  if (!info) throw Failure(name + " is no PICT.");
  if (info->width() <= 0 || info->height() <= 0) throw Failure(name + " has an empty frame: there is nothing to play.");
  const auto at72 = [scale](int units, qd::Fixed resolution) { return units * scale * 0x480000 / resolution; };
  const double width = at72(info->width(), info->hRes);
  const double height = at72(info->height(), info->vRes);
  const double fit = std::min({1.0, most / width, most / height});
  const auto pixels = [fit](double side) { return std::max(1, static_cast<int>(std::round(side * fit))); };
  return {pixels(width), pixels(height)};
}

std::string faultOf(const qd::Playback& playback) {
  if (playback.error) return "is broken " + qd::describe(*playback.error);
  if (playback.drawn == 0 && playback.undrawn > 0) return "has nothing in it that can be drawn";
  return "";
}
