// Renders a picture as macpict does, and tells how many seconds of that are the PNG's compression and writing.
#include "bench/bench.h"
#include "engine/pict/lister.h"
#include "tools/files.h"
#include "hostcode/session.h"

int main(int count, char** words) {
  if (count != 3) bench::fail("encode takes a PICT file and a PNG file.");
  const std::string picture = readPicture(words[1]);
  const auto header = qd::pictureHeader({reinterpret_cast<const std::uint8_t*>(picture.data()), picture.size()});
  if (!header) bench::fail("\"" + std::string(words[1]) + "\" is no picture.");
  Session session;
  const int width = header->source.width();
  const int height = header->source.height();
  const runtime::Object canvas = session.picture(width, height);
  session.play(session.recorderWith(picture), canvas, 0, 0, width, height);
  const Image image = session.imageOf(canvas);
  const bench::Side encoding("", [&] { writePNG(words[2], image); });
  std::vector<double> taken;
  for (int round = 0; round < 3; ++round) taken.push_back(bench::seconds(encoding, 1));
  std::printf("%.6f\n", bench::median(taken));
}
