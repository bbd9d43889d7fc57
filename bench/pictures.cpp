// Makes the pictures that are played: a photograph of sorts, many shapes, one pixel, and an oval in a large frame.
#include <cmath>
#include <cstring>

#include "bench/bench.h"
#include "bench/commands.h"

namespace {

// Waves of colour with grain on them: neighbours are alike, but rarely the same.
void expose(qd::GWorld& world) {
  bench::Random random;
  for (int y = 0; y < world.height(); ++y) {
    std::uint8_t* pixel = world.row(y).data();
    for (int x = 0; x < world.width(); ++x, pixel += 4) {
      const std::uint32_t grain = random(8);
      for (int channel = 0; channel < 3; ++channel) {
        const double wave = std::sin((x + 311 * channel) / 211.0) * std::cos((y - 97 * channel) / 173.0);
        pixel[channel + 1] = static_cast<std::uint8_t>(124 + 120 * wave + grain);
      }
    }
  }
}

template <class Draw>
void write(const std::string& path, int width, int height, const Draw& draw) {
  const std::vector<std::uint8_t> picture = bench::recorded(width, height, draw);
  const std::string head(qd::kFileHeader, '\0');
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr || std::fwrite(head.data(), 1, head.size(), file) != head.size() ||
      std::fwrite(picture.data(), 1, picture.size(), file) != picture.size() || std::fclose(file) != 0)
    bench::fail("\"" + path + "\" can't be written.");
}

}  // namespace

int main(int count, char** words) {
  if (count != 2) bench::fail("pictures takes a folder.");
  const std::string folder = words[1];
  write(folder + "/photograph.pict", 4096, 4096, [](qd::Recorder& recorder) {
    auto world = qd::GWorld::make(bench::system(), 4096, 4096);
    if (!world) bench::fail("There is no memory for the photograph.");
    expose(*world);
    const qd::Rect all = qd::MakeRect(0, 0, 4096, 4096);
    recorder.image(*world, all, all);
  });
  write(folder + "/shapes.pict", bench::kWidth, bench::kHeight, [](qd::Recorder& recorder) {
    for (const bench::Command& c : bench::commands(100000)) draw(recorder, c);
  });
  write(folder + "/dot.pict", 1, 1,
        [](qd::Recorder& recorder) { recorder.rect(qd::Verb::paint, qd::MakeRect(0, 0, 1, 1)); });
  write(folder + "/large.pict", 20000, 20000,
        [](qd::Recorder& recorder) { recorder.oval(qd::Verb::paint, qd::MakeRect(0, 0, 20000, 20000)); });
}
