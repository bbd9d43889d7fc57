#include "macpict/played.h"

#include <algorithm>

#include "macpict/commands.h"

namespace {

// How many times as large a smooth picture is played as it comes out: as often as sides and memory allow.
int smoothness(const PlaySize& size) {
  constexpr std::int64_t kMostPixels = 1 << 28;
  int times = 4;
  while (times > 1 && (std::max(size.width, size.height) * times > kMostSide ||
                       std::int64_t{size.width} * size.height * times * times > kMostPixels))
    --times;
  return times;
}

}  // namespace

PlayedPicture::PlayedPicture(std::string what, qd::Bytes picture, const PlaySize& size, const Look& look)
    : what_(std::move(what)),
      picture_(picture),
      size_(size),
      look_(look),
      times_(look.isSmooth ? smoothness(size) : 1),
      played_{size.width * times_, size.height * times_},
      stripHeight_(played_.height),
      colors_(static_cast<std::size_t>(size.width) * 3),
      alphas_(colors_.size()) {
  if (look.memory > 0) {
    const double row = double(played_.width) * look.kind.bits() / 8;
    stripHeight_ = std::clamp(static_cast<int>(std::min(look.memory / row, 32767.0)), 1, played_.height);
  }
  if (times_ > 1) {
    means_.emplace(Means::Size{played_.width, played_.height}, Means::Size{size.width, size.height},
                   [this](int y, std::span<std::uint8_t> triplets) { readPlayed(y, triplets); });
  }
  playback_ = play(stripAt(0));
}

qd::Rect PlayedPicture::stripAt(int y) const {
  const int top = y / stripHeight_ * stripHeight_;
  return qd::MakeRect(0, top, played_.width, std::min(stripHeight_, played_.height - top));
}

qd::Playback PlayedPicture::play(const qd::Rect& strip) {
  world_.reset();
  opacity_.reset();
  strip_ = strip;
  world_ = makeWorld(what_, strip, look_.kind);
  const qd::Rect all = qd::MakeRect(0, 0, played_.width, played_.height);
  qd::Playback playback = world_->play(picture_, all);
  if (look_.hasOpacity) {
    opacity_ = makeWorld(what_, strip, {.isGray = true});
    if (!opacity_->playOpacity(picture_, all)) opacity_.reset();
  }
  return playback;
}

void PlayedPicture::readPlayed(int y, std::span<std::uint8_t> triplets) {
  if (y < strip_.top || y >= strip_.bottom) play(stripAt(y));
  world_->rgb(y, triplets);
}

void PlayedPicture::readRow(int y, std::span<std::uint8_t> row) {
  if (means_) return means_->row(y, row);
  if (!opacity_) return readPlayed(y, row);
  readPlayed(y, colors_);
  opacity_->rgb(y, alphas_);
  for (std::size_t x = 0; x < static_cast<std::size_t>(size_.width); ++x) {
    std::copy_n(&colors_[3 * x], 3, &row[4 * x]);
    row[4 * x + 3] = alphas_[3 * x];
  }
}

ImageRows PlayedPicture::rows() {
  return {size_.width, size_.height, opacity_ ? 4 : 3, [this](int y, std::span<std::uint8_t> row) { readRow(y, row); },
          resolutionOf(picture_, size_)};
}
