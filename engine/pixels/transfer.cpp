#include "engine/pixels/transfer.h"

namespace qd {
namespace {

// One bit deep there is nothing to calculate with: blend to adMin become these.
constexpr int kOneBitModes[] = {srcCopy, srcBic, srcXor, srcOr, srcOr, srcBic, srcXor, srcOr};

int plainMode(int mode, int depth) {
  mode &= ~ditherCopy;
  if (mode >= blend && mode < blend + 16) {
    mode = blend + mode % 8;
    return depth == 1 ? kOneBitModes[mode - blend] : mode;
  }
  if (mode == hilite) return mode;
  if (mode == grayishTextOr) return srcOr;
  return mode >= 0 && mode < 16 ? mode % 8 : srcCopy;
}

std::uint32_t component(int mode, std::uint32_t s, std::uint32_t d, std::uint32_t operand, std::uint32_t most) {
  switch (mode) {
    case blend:
      return static_cast<std::uint32_t>((std::uint64_t{s} * operand + std::uint64_t{d} * (most - operand)) / most);
    case addPin:
      return std::min(s + d, operand);
    case addOver:
      return (s + d) & most;
    case subPin:
      return d > s && d - s > operand ? d - s : operand;
    case adMax:
      return std::max(s, d);
    case subOver:
      return (d - s) & most;
    default:
      return std::min(s, d);
  }
}

}  // namespace

Transfer::Transfer(const PixelMap& map, int mode, const TransferColors& colors)
    : map_(map),
      mode_(plainMode(mode, map.depth)),
      isDirect_(map.isDirect()),
      ones_(map.ones()),
      foreground_(map.pixelOf(colors.foreground)),
      background_(map.pixelOf(colors.background)),
      highlight_(mode_ == hilite ? map.pixelOf(colors.highlight) : 0),
      operand_(colors.operand) {}

Transfer::Masks Transfer::masks(std::uint32_t ink) const {
  if ((mode_ & 4) != 0) ink = ~ink & ones_;
  switch (mode_ & 3) {
    case srcCopy:
      return {0, (ink & foreground_) | (~ink & ones_ & background_)};
    case srcOr:
      return {~ink, ink & foreground_};
    case srcXor:
      return {~0U, ink};
    default:
      return {~ink, ink & background_};
  }
}

std::uint32_t Transfer::apply(std::uint32_t source, std::uint32_t there) const {
  if (!isBoolean()) return arithmetic(source, there);
  const Masks m = masks(ink(source));
  return (there & m.keep) ^ m.flip;
}

std::uint32_t Transfer::arithmetic(std::uint32_t source, std::uint32_t there) const {
  if (mode_ == transparent) return source == background_ ? there : source;
  if (mode_ == hilite) {
    if (ink(source) == 0) return there;
    return there == background_ ? highlight_ : there == highlight_ ? background_ : there;
  }
  if (isDirect_) {
    const int bits = map_.depth == 32 ? 8 : 5;
    const std::uint32_t most = (1U << bits) - 1;
    const auto channel = [&](int index, std::uint32_t operand) {
      const int shift = index * bits;
      return component(mode_, source >> shift & most, there >> shift & most, operand >> (16 - bits), most) << shift;
    };
    return channel(2, operand_.red) | channel(1, operand_.green) | channel(0, operand_.blue);
  }
  const RGBColor s = map_.colorOf(source);
  const RGBColor d = map_.colorOf(there);
  const auto channel = [&](std::uint16_t RGBColor::*c) {
    return static_cast<std::uint16_t>(component(mode_, s.*c, d.*c, operand_.*c, 0xFFFF));
  };
  return map_.pixelOf({channel(&RGBColor::red), channel(&RGBColor::green), channel(&RGBColor::blue)});
}

}  // namespace qd
