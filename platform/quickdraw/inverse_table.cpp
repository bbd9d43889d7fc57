#include "platform/quickdraw/inverse_table.h"

#include <algorithm>

namespace qd {

InverseTable::InverseTable(std::span<const RGBColor> colors)
    : colors_(colors), coarse_(std::size_t{1} << 3 * kCoarseBits), cells_(std::size_t{1} << 3 * kFineBits), lists_(1) {
  for (std::size_t i = 0; i < colors.size(); ++i) {
    const auto earlier = colors.first(i);
    if (std::find(earlier.begin(), earlier.end(), colors[i]) == earlier.end())
      all_.push_back(static_cast<std::uint32_t>(i));
  }
}

// An entry can be nearest in a cell only if its least distance to it isn't above some entry's greatest.
InverseTable::Entries InverseTable::choose(const Entries& from, const RGBColor& inCell, int bits) const {
  struct Distances {
    std::int64_t least = 0, most = 0;
  };
  const int side = 0x10000 >> bits;
  const auto distances = [&](std::uint32_t entry) {
    Distances sum;
    for (const auto component : {&RGBColor::red, &RGBColor::green, &RGBColor::blue}) {
      const int low = inCell.*component & -side;
      const std::int64_t below = low - colors_[entry].*component;
      const std::int64_t above = colors_[entry].*component - (low + side - 1);
      const std::int64_t outside = std::max({below, above, std::int64_t{0}});
      const std::int64_t across = std::max(std::abs(below), std::abs(above));
      sum.least += outside * outside;
      sum.most += across * across;
    }
    return sum;
  };
  std::int64_t bound = INT64_MAX;
  for (const std::uint32_t entry : from) bound = std::min(bound, distances(entry).most);
  Entries chosen;
  std::copy_if(from.begin(), from.end(), std::back_inserter(chosen),
               [&](std::uint32_t entry) { return distances(entry).least <= bound; });
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

  const auto squared = [](int a, int b) {
    const auto difference = static_cast<std::uint32_t>(std::abs(a - b));
    return std::uint64_t{difference * difference};
  };
  const std::uint32_t* const list = lists_.data() + (cell >> 1);
  std::uint64_t least = UINT64_MAX;
  std::uint32_t nearest = 0;
  for (const std::uint32_t entry : std::span(list + 1, *list)) {
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

}  // namespace qd
