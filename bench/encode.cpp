// Renders a picture as macpict does, and tells how many seconds of that are the PNG's compression and writing.
#include "bench/bench.h"
#include "qdraw/qdraw.h"
#include "tools/files.h"
#include "tools/png.h"

int main(int count, char** words) {
  if (count != 3) bench::fail("encode takes a PICT file and a PNG file.");
  const std::string picture = readPicture(words[1]);
  const auto info = qd::pictureInfo(asBytes(picture));
  if (!info) bench::fail("\"" + std::string(words[1]) + "\" is no picture.");
  qd::System system("/usr/share/fonts/truetype/liberation");
  auto world = qd::GWorld::make(system, info->width(), info->height());
  if (!world) bench::fail("\"" + std::string(words[1]) + "\" is too large.");
  world->play(asBytes(picture));
  const bench::Side encoding("", [&] {
    OutputFile file(words[2]);
    writePNG(file,
             {world->width(), world->height(), 3, [&](int y, std::span<std::uint8_t> row) { world->rgb(y, row); }, {}});
    file.commit();
  });
  std::vector<double> taken;
  for (int round = 0; round < 3; ++round) taken.push_back(bench::seconds(encoding, 1));
  std::printf("%.6f\n", bench::median(taken));
}
