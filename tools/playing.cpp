#include "tools/playing.h"

#include <algorithm>
#include <cmath>

#include "tools/failure.h"

PlaySize playSize(const std::string& name, qd::Bytes picture, const SizeChoice& choice) {
  const auto info = qd::pictureInfo(picture);
  if (!info) throw Failure(name + " is no PICT.");
  if (info->width() <= 0 || info->height() <= 0) throw Failure(name + " has an empty frame: there is nothing to play.");
  const auto side = [&choice](int units, qd::Fixed resolution) {
    return units * choice.scale * (choice.isInPoints ? double{0x480000} / resolution : 1);
  };
  const double width = side(info->width(), info->hRes);
  const double height = side(info->height(), info->vRes);
  const double fit = std::min({1.0, choice.most / width, choice.most / height});
  const auto pixels = [fit](double length) { return std::max(1, static_cast<int>(std::round(length * fit))); };
  return {pixels(width), pixels(height)};
}

Resolution resolutionOf(qd::Bytes picture, const PlaySize& size) {
  const auto info = qd::pictureInfo(picture);
  if (!info || info->width() <= 0 || info->height() <= 0) return {};
  return {info->hRes / 65536.0 * size.width / info->width(), info->vRes / 65536.0 * size.height / info->height()};
}

std::string faultOf(const qd::Playback& playback) {
  if (playback.error) return "is broken " + qd::describe(*playback.error);
  if (playback.drawn == 0 && playback.undrawn > 0) return "has nothing in it that can be drawn";
  return "";
}

Outcome outcomeOf(const qd::Playback& playback) {
  return !faultOf(playback).empty() ? Outcome::failed : playback.undrawn > 0 ? Outcome::partly : Outcome::whole;
}

std::string outcomeOf(const qd::Playback& playback, bool isCounted) {
  const auto opcodes = [](int count) { return std::to_string(count) + (count == 1 ? " opcode" : " opcodes"); };
  std::string text = "whole";
  if (playback.undrawn > 0)
    text = "partly: " + opcodes(playback.undrawn) + (playback.undrawn == 1 ? " is" : " are") + " not drawn";
  if (isCounted)
    text += "; " + opcodes(playback.played) + " played, " + std::to_string(playback.skipped) + " passed over";
  return text;
}
