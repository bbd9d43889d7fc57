// Makes the pictures that are played: a photograph of sorts, many shapes, and one pixel.
#include <cmath>
#include <cstring>

#include "bench/bench.h"
#include "bench/commands.h"
#include "engine/pixels/transfer.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/world.h"

namespace {

// Waves of colour with grain on them: neighbours are alike, but rarely the same.
void expose(const qd::World& world) {
  bench::Random random;
  for (int y = 0; y < world.bounds().bottom; ++y) {
    std::uint8_t* pixel = world.row(y);
    for (int x = 0; x < world.bounds().right; ++x, pixel += 4) {
      const std::uint32_t grain = random(8);
      for (int channel = 0; channel < 3; ++channel) {
        const double wave = std::sin((x + 311 * channel) / 211.0) * std::cos((y - 97 * channel) / 173.0);
        pixel[channel + 1] = static_cast<std::uint8_t>(124 + 120 * wave + grain);
      }
    }
  }
}

template <class Draw>
void write(const std::string& path, int width, int height, Draw draw) {
  const qd::World world(width, height, 32);
  const OpenCPicParams params = PictureParams(width, height);
  const PicHandle picture = OpenCPicture(&params);
  draw(world);
  ClosePicture();
  const auto handle = reinterpret_cast<Handle>(picture);
  const auto size = static_cast<std::size_t>(GetHandleSize(handle));
  const std::string head(512, '\0');
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr || std::fwrite(head.data(), 1, head.size(), file) != head.size() ||
      std::fwrite(*handle, 1, size, file) != size || std::fclose(file) != 0)
    bench::fail("\"" + path + "\" can't be written.");
  KillPicture(picture);
}

}  // namespace

int main(int count, char** words) {
  if (count != 2) bench::fail("pictures takes a folder.");
  const std::string folder = words[1];
  write(folder + "/photograph.pict", 4096, 4096, [](const qd::World& world) {
    expose(world);
    ForeColor(blackColor);
    BackColor(whiteColor);
    CopyBits(world.bits(), world.bits(), &world.bounds(), &world.bounds(), qd::srcCopy, nullptr);
  });
  write(folder + "/shapes.pict", bench::kWidth, bench::kHeight, [](const qd::World&) {
    for (const bench::Command& c : bench::commands(100000)) draw(c);
  });
  write(folder + "/dot.pict", 1, 1, [](const qd::World& world) { PaintRect(&world.bounds()); });
}
