#include "engine/shapes/coverage.h"

#include <algorithm>

namespace qd {

Coverage::Coverage(const Box& box) : box_(box) {
  if (!box.empty()) counts_.resize(offsetOf(box.bottom));
}

void Coverage::run(int y, int left, int right) {
  left = std::max(left, box_.left);
  right = std::min(right, box_.right);
  if (y < box_.top || y >= box_.bottom || left >= right) return;
  int* const counts = counts_.data() + offsetOf(y) - box_.left;
  for (int x = left; x < right; ++x) ++counts[x];
}

std::vector<Region> Coverage::layers() const {
  struct Run {
    int left, right;
  };
  std::vector<RegionBuilder> builders;
  std::vector<Run> runs;
  std::vector<Run> deeper;
  for (int y = box_.top; y < box_.bottom && !counts_.empty(); ++y) {
    const int* const counts = row(y) - box_.left;
    runs = {{box_.left, box_.right}};
    // Each layer lies within the one before, so that it is looked for there alone.
    for (std::size_t layer = 0; !runs.empty(); ++layer) {
      const auto isDeeper = [layer](int count) { return count > static_cast<int>(layer); };
      deeper.clear();
      for (const Run& run : runs) {
        const int* const end = counts + run.right;
        for (const int* from = counts + run.left;;) {
          from = std::find_if(from, end, isDeeper);
          if (from == end) break;
          const int* const to = std::find_if_not(from, end, isDeeper);
          deeper.push_back({static_cast<int>(from - counts), static_cast<int>(to - counts)});
          from = to;
        }
      }
      if (!deeper.empty() && layer == builders.size()) builders.emplace_back();
      for (const Run& run : deeper) builders[layer].run(y, run.left, run.right);
      std::swap(runs, deeper);
    }
  }
  std::vector<Region> layers;
  layers.reserve(builders.size());
  for (RegionBuilder& builder : builders) layers.push_back(builder.take());
  return layers;
}

}  // namespace qd
