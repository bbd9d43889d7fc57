// Draws text with any bytes as the font, in several sizes and styles.
#include <unistd.h>

#include <fstream>

#include "fuzz/target.h"

namespace {

// A folder of fonts with one file in it, for as long as the process lives.
class Folder {
 public:
  Folder() : path_(std::filesystem::temp_directory_path() / ("qdraw-fuzz-fonts-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(path_);
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path& with(qd::Bytes font) const {
    std::ofstream(path_ / "LiberationSans-Regular.ttf", std::ios::binary)
        .write(reinterpret_cast<const char*>(font.data()), static_cast<std::streamsize>(font.size()));
    return path_;
  }

 private:
  std::filesystem::path path_;
};

// Each line of the text measured once more with all of its styles.
std::vector<std::uint8_t> texts(qd::System& system) {
  std::vector<std::uint8_t> picture;
  qd::VectorSink sink(picture);
  qd::Recorder recorder(system, qd::PictureParams(120, 90), sink);
  std::int16_t line = 0;
  for (const std::int16_t size : {9, 12, 31, 64}) {
    constexpr std::uint8_t kPlain = 0, kOutlinedAndUnderlined = 4 | 8;
    for (const std::uint8_t style : {kPlain, kOutlinedAndUnderlined}) {
      recorder.font(3, size, style);
      line = static_cast<std::int16_t>(line + 11);
      recorder.text({line, 2}, "Ae\x80\x8A.");
    }
  }
  if (!recorder.close()) std::abort();
  return picture;
}

}  // namespace

void feed(qd::Bytes input) {
  static const Folder folder;
  static qd::System whole(FONTS);
  static const std::vector<std::uint8_t> picture = texts(whole);
  qd::System system(folder.with(input));
  auto world = qd::GWorld::make(system, 120, 90, 8);
  const qd::Playback playback = world->play(picture);
  // Either it is refused, and all of its texts, or none is.
  if (playback.error || (playback.undrawn != 0 && (playback.drawn != 0 || playback.remarks.empty()))) std::abort();
}
