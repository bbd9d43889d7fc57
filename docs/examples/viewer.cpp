// A PICT in, a PPM out: viewer FONTS IN.pict >OUT.ppm. Built against the installed library:
//
//   c++ viewer.cpp $(pkg-config --cflags --libs qdraw) -o viewer
#include <qdraw/qdraw.h>

#include <cstdio>
#include <fstream>
#include <iterator>

int main(int count, char** arguments) {
  if (count != 3) return std::fputs("usage: viewer FONTS IN.pict >OUT.ppm\n", stderr), 2;
  std::ifstream in(arguments[2], std::ios::binary);
  const std::vector<std::uint8_t> file(std::istreambuf_iterator<char>(in), {});
  const auto picture = qd::pictureInFile(file);
  if (!picture) return std::fprintf(stderr, "viewer: %s is no PICT.\n", arguments[2]), 1;

  qd::System system(arguments[1]);
  const qd::PictureInfo info = *qd::pictureInfo(*picture);
  auto world = qd::GWorld::make(system, info.width(), info.height());
  if (!world) return std::fprintf(stderr, "viewer: %s has an empty frame.\n", arguments[2]), 1;
  const qd::Playback playback = world->play(*picture);
  if (playback.error) std::fprintf(stderr, "viewer: broken %s.\n", qd::describe(*playback.error).c_str());

  std::printf("P6 %d %d 255\n", world->width(), world->height());
  std::vector<std::uint8_t> row(static_cast<std::size_t>(world->width()) * 3);
  for (int y = 0; y < world->height(); ++y) {
    world->rgb(y, row);
    std::fwrite(row.data(), 1, row.size(), stdout);
  }
  return playback.error ? 1 : 0;
}
