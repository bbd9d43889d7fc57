// Which of a table's colours is the nearest. As in the Color Manager's inverse tables (Inside Macintosh V) the cube of
// all colours is cut into cells; but a cell keeps all entries that are nearest to some colour in it, so that the answer
// is always the exact one.
#pragma once

#include <span>
#include <vector>

#include "engine/geometry/geometry.h"

namespace qd {

class InverseTable {
 public:
  // The colours live as long as the table does.
  explicit InverseTable(std::span<const RGBColor> colors);

  // The entry with the least sum of squared differences; of equals the first.
  std::uint32_t nearest(const RGBColor& color) {
    const std::uint32_t cell = cells_[cellOf<kFineBits>(color)];
    return (cell & 1) != 0 ? cell >> 1 : search(color);
  }

 private:
  // Cells are filled when they are asked for: the coarse ones from the table, the fine ones from a coarse one.
  static constexpr int kCoarseBits = 4;  // of each component
  static constexpr int kFineBits = 6;
  using Entries = std::vector<std::uint32_t>;

  template <int Bits>
  static std::size_t cellOf(const RGBColor& color) {
    constexpr int kShift = 16 - Bits;
    return std::size_t{color.red} >> kShift << 2 * Bits | std::size_t{color.green} >> kShift << Bits |
           std::size_t{color.blue} >> kShift;
  }
  std::uint32_t nearestOf(std::span<const std::uint32_t> entries, const RGBColor& color) const;
  Entries choose(const Entries& from, const RGBColor& inCell, int bits) const;
  std::uint32_t search(const RGBColor& color);

  std::span<const RGBColor> colors_;
  Entries all_;  // without those that are like an earlier one
  std::vector<Entries> coarse_;
  // 0: not asked for yet; odd: twice the only entry and one; even: where in the lists the number of entries stands, and
  // then they, times two.
  std::vector<std::uint32_t> cells_;
  Entries lists_;
};

}  // namespace qd
