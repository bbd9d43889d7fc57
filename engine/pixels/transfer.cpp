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

// What two components become, of which `Most` is the largest. A sum or a product of them fits a Word.
template <int Mode, class Word, Word Most>
constexpr Word component(Word s, Word d, Word operand) {
  const auto word = [](auto value) { return static_cast<Word>(value); };
  switch (Mode) {
    case blend:
      return word(word(s * operand + d * (Most - operand)) / Most);
    case addPin:
      return std::min(word(s + d), operand);
    case addOver:
      return word((s + d) & Most);
    case subPin:
      return word(std::max(d, word(s + operand)) - s);
    case adMax:
      return std::max(s, d);
    case subOver:
      return word((d - s) & Most);
    default:
      return std::min(s, d);
  }
}

// Calls `use` with the mode as a constant: each has a loop of its own.
template <class Use>
void withArithmetic(int mode, const Use& use) {
  switch (mode) {
    case blend:
      return use.template operator()<blend>();
    case addPin:
      return use.template operator()<addPin>();
    case addOver:
      return use.template operator()<addOver>();
    case subPin:
      return use.template operator()<subPin>();
    case adMax:
      return use.template operator()<adMax>();
    case subOver:
      return use.template operator()<subOver>();
    default:
      return use.template operator()<adMin>();
  }
}

template <class Change>
void eachPixel(std::span<const std::uint32_t> source, std::span<std::uint32_t> there, const Change& change) {
  for (std::size_t i = 0; i < there.size(); ++i) there[i] = change(source[i], there[i]);
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

void Transfer::apply(std::span<const std::uint32_t> source, std::span<std::uint32_t> there) const {
  if (isBoolean()) {
    // Bit by bit it is what all ink does or what none does.
    const Masks set = masks(ones_), clear = masks(0);
    const std::uint32_t paper = isDirect_ ? ones_ : 0;  // the bits that have no ink
    return eachPixel(source, there, [=](std::uint32_t s, std::uint32_t d) {
      const std::uint32_t ink = s ^ paper;
      const auto chosen = [ink](std::uint32_t with, std::uint32_t without) {
        return without ^ ((with ^ without) & ink);
      };
      return (d & chosen(set.keep, clear.keep)) ^ chosen(set.flip, clear.flip);
    });
  }
  if (mode_ == transparent) {
    return eachPixel(source, there,
                     [background = background_](std::uint32_t s, std::uint32_t d) { return s == background ? d : s; });
  }
  if (mode_ == hilite) {
    return eachPixel(source, there, [this](std::uint32_t s, std::uint32_t d) {
      if (ink(s) == 0) return d;
      return d == background_ ? highlight_ : d == highlight_ ? background_ : d;
    });
  }
  withArithmetic(mode_, [&]<int Mode>() { arithmetic<Mode>(source, there); });
}

namespace {

// Pixels of 32 bits byte by byte, of which the compiler does several at once.
template <int Mode>
void changeBytes(std::span<const std::uint32_t> source, std::span<std::uint32_t> there, std::uint32_t operand) {
  constexpr std::size_t kAtOnce = 64;
  std::array<std::uint32_t, kAtOnce> operands;
  operands.fill(operand);
  const auto* const o = reinterpret_cast<const std::uint8_t*>(operands.data());
  for (std::size_t at = 0; at < there.size(); at += kAtOnce) {
    const std::span<std::uint32_t> some = there.subspan(at, std::min(kAtOnce, there.size() - at));
    const auto* const s = reinterpret_cast<const std::uint8_t*>(source.data() + at);
    auto* const d = reinterpret_cast<std::uint8_t*>(some.data());
    const std::size_t count = some.size_bytes();
    for (std::size_t i = 0; i < count; ++i)
      d[i] = static_cast<std::uint8_t>(component<Mode, std::uint16_t, 255>(s[i], d[i], o[i]));
    for (std::uint32_t& pixel : some) pixel &= onesOf(32);
  }
}

}  // namespace

template <int Mode>
void Transfer::arithmetic(std::span<const std::uint32_t> source, std::span<std::uint32_t> there) const {
  if (map_.depth == 32) return changeBytes<Mode>(source, there, map_.pixelOf(operand_));
  if (map_.depth == 16) {
    return eachPixel(source, there, [operand = map_.pixelOf(operand_)](std::uint32_t s, std::uint32_t d) {
      const auto channel = [=](int shift) {
        const auto of = [shift](std::uint32_t pixel) { return pixel >> shift & 31; };
        return component<Mode, std::uint32_t, 31>(of(s), of(d), of(operand)) << shift;
      };
      return channel(10) | channel(5) | channel(0);
    });
  }
  // Neighbours are often alike.
  std::uint32_t lastSource = ~0U, lastThere = ~0U, last = 0;
  eachPixel(source, there, [&](std::uint32_t s, std::uint32_t d) {
    if (s == lastSource && d == lastThere) return last;
    const RGBColor from = map_.colorOf(s), to = map_.colorOf(d);
    const auto channel = [&](std::uint16_t RGBColor::*c) {
      return static_cast<std::uint16_t>(component<Mode, std::uint32_t, 0xFFFF>(from.*c, to.*c, operand_.*c));
    };
    lastSource = s;
    lastThere = d;
    return last = map_.pixelOf({channel(&RGBColor::red), channel(&RGBColor::green), channel(&RGBColor::blue)});
  });
}

}  // namespace qd
