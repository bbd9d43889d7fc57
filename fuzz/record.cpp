// What is played, recorded again and played from the recording comes out the same.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int depth = kDepths[data[0] % 6];
  const std::span<const std::uint8_t> picture(data + 1, size - 1);
  const Rect target = MakeRect(0, 0, 40, 32);

  std::string direct;
  {
    const World world(40, 32, depth);
    playBytes(picture, target);
    direct = world.pixels();
  }
  const World recording(40, 32, depth);
  const OpenCPicParams params = PictureParams(40, 32);
  const PicHandle again = OpenCPicture(&params);
  playBytes(picture, target);
  ClosePicture();
  {
    const World world(40, 32, depth);
    DrawPicture(again, &target);
    if (qd::lastPlayback().error || world.pixels() != direct) std::abort();
  }
  KillPicture(again);
  return 0;
}
