#include "engine/pixels/inverse_table.h"

#include <algorithm>
#include <iterator>

namespace qd {

InverseTable::InverseTable(std::span<const RGBColor> colors)
    : colors_(colors), coarse_(std::size_t{1} << 3 * kCoarseBits), cells_(std::size_t{1} << 3 * kFineBits), lists_(1) {
  for (std::size_t i = 0; i < colors.size(); ++i) {
    const auto earlier = colors.first(i);
    if (std::find(earlier.begin(), earlier.end(), colors[i]) == earlier.end())
      all_.push_back(static_cast<std::uint32_t>(i));
  }
}

std::uint32_t InverseTable::nearestOf(std::span<const std::uint32_t> entries, const RGBColor& color) const {
  const auto squared = [](int a, int b) {
    const auto difference = static_cast<std::uint32_t>(std::abs(a - b));
    return std::uint64_t{difference * difference};
  };
  std::uint64_t least = UINT64_MAX;
  std::uint32_t nearest = 0;
  for (const std::uint32_t entry : entries) {
    const RGBColor& c = colors_[entry];
    const std::uint64_t distance =
        squared(c.red, color.red) + squared(c.green, color.green) + squared(c.blue, color.blue);
    if (distance < least) {
      least = distance;
      nearest = entry;
    }
  }
  return nearest;
}

// Leaves out what is farther than the entry in the middle from every colour of the cell. The difference of two squared
// distances is linear in each component: it is greatest at one of the cell's ends.
InverseTable::Entries InverseTable::choose(const Entries& from, const RGBColor& inCell, int bits) const {
  constexpr std::uint16_t RGBColor::*kComponents[] = {&RGBColor::red, &RGBColor::green, &RGBColor::blue};
  const int side = 0x10000 >> bits;
  RGBColor low = inCell;
  RGBColor middle = inCell;
  for (const auto component : kComponents) {
    low.*component = static_cast<std::uint16_t>(inCell.*component & -side);
    middle.*component = static_cast<std::uint16_t>(low.*component + side / 2);
  }
  const std::uint32_t best = nearestOf(from, middle);
  const auto isFarther = [&](std::uint32_t entry) {
    std::int64_t greatest = 0;
    for (const auto component : kComponents) {
      const std::int64_t b = colors_[best].*component;
      const std::int64_t e = colors_[entry].*component;
      const auto difference = [b, e](std::int64_t at) { return (b - at) * (b - at) - (e - at) * (e - at); };
      greatest += std::max(difference(low.*component), difference(low.*component + side - 1));
    }
    return greatest < 0;
  };
  Entries chosen;
  std::copy_if(from.begin(), from.end(), std::back_inserter(chosen),
               [&](std::uint32_t entry) { return !isFarther(entry); });
  return chosen;
}

std::uint32_t InverseTable::search(const RGBColor& color) {
  if (all_.empty()) return 0;
  std::uint32_t& cell = cells_[cellOf<kFineBits>(color)];
  if (cell == 0) {
    Entries& coarse = coarse_[cellOf<kCoarseBits>(color)];
    if (coarse.empty()) coarse = choose(all_, color, kCoarseBits);
    const Entries fine = choose(coarse, color, kFineBits);
    if (fine.size() == 1) {
      cell = fine[0] << 1 | 1;
    } else {
      cell = static_cast<std::uint32_t>(lists_.size()) << 1;
      lists_.push_back(static_cast<std::uint32_t>(fine.size()));
      lists_.insert(lists_.end(), fine.begin(), fine.end());
    }
  }
  if ((cell & 1) != 0) return cell >> 1;

  const std::uint32_t* const list = lists_.data() + (cell >> 1);
  return nearestOf({list + 1, *list}, color);
}

}  // namespace qd
