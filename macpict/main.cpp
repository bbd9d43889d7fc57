// macpict: a host application in miniature. Loads the plug-in, runs host code through it, and renders and lists PICTs.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "macpict/corpus.h"
#include "macpict/files.h"
#include "macpict/gallery.h"
#include "macpict/session.h"
#include "platform/quickdraw/lister.h"
#include "platform/quickdraw/picture_player.h"

namespace {

enum Status { kDone = 0, kFailed = 1, kWrongUsage = 2 };

constexpr const char* kHelp =
    "macpict - records, plays and lists QuickDraw pictures (PICT)\n"
    "\n"
    "  macpict demo DIR                 make the gallery: pictures drawn by host code\n"
    "  macpict render IN.pict OUT.png   play a picture into pixels\n"
    "      --size WxH                     at this size\n"
    "      --scale F                      or larger or smaller than it is by this factor\n"
    "      --depth N [--gray]             into a picture of 1, 2, 4, 8, 16, 24 or 32 bits\n"
    "      --keep-going                   write what was drawn till a picture broke\n"
    "  macpict list IN.pict             one line for each opcode of a picture\n"
    "  macpict corpus DIR SHEET.png     render all pictures below a folder, and put them on one sheet\n"
    "  macpict --help, --version\n"
    "\n"
    "Exit status: 0 done, 1 the work failed, 2 wrong usage.\n";

// Wrong usage, as a sentence.
class Usage : public runtime::Error {
  using runtime::Error::Error;
};

struct Size {
  int width, height;
};

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

constexpr int kMostPixels = 32767;

Size parseSize(const std::string& text) {
  const std::size_t x = text.find('x');
  if (x != std::string::npos) {
    const auto width = parseNumber<int>(std::string_view(text).substr(0, x));
    const auto height = parseNumber<int>(std::string_view(text).substr(x + 1));
    if (width && height && *width > 0 && *height > 0 && *width <= kMostPixels && *height <= kMostPixels)
      return {*width, *height};
  }
  throw Usage("--size takes a width and a height of 1 to 32767, not \"" + text + "\"; 640x480 would work.");
}

struct RenderOptions {
  std::vector<std::string> files;
  std::optional<Size> size;
  double scale = 1;
  std::optional<int> depth;
  bool isGray = false;
  bool keepGoing = false;
};

RenderOptions parseRender(const std::vector<std::string>& words) {
  RenderOptions options;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    const auto value = [&]() -> const std::string& {
      if (i + 1 == words.size()) throw Usage(word + " needs a value behind it.");
      return words[++i];
    };
    if (word == "--size") {
      options.size = parseSize(value());
    } else if (word == "--scale") {
      const std::string& text = value();
      const auto scale = parseNumber<double>(text);
      if (!scale || !(*scale > 0) || *scale > 1000)
        throw Usage("--scale takes a factor above 0 and up to 1000, not \"" + text + "\"; 2 or 0.5 would work.");
      options.scale = *scale;
    } else if (word == "--depth") {
      const std::string& text = value();
      constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32};
      const auto depth = parseNumber<int>(text);
      if (!depth || std::find(std::begin(kDepths), std::end(kDepths), *depth) == std::end(kDepths)) {
        throw Usage("--depth takes 1, 2, 4, 8, 16, 24 or 32, not \"" + text + "\".");
      }
      options.depth = *depth;
    } else if (word == "--gray") {
      options.isGray = true;
    } else if (word == "--keep-going") {
      options.keepGoing = true;
    } else if (word.starts_with("--")) {
      throw Usage("render has no option \"" + word + "\"; macpict --help lists them.");
    } else {
      options.files.push_back(word);
    }
  }
  if (options.files.size() != 2) throw Usage("render takes a PICT file and a PNG file: macpict render IN.pict OUT.png");
  return options;
}

// The size of a picture on the page, in pixels at 72 dpi.
Size sizeOnPage(const qd::PictureHeader& header, double scale) {
  const auto at72 = [scale](int units, Fixed resolution) {
    const double pixels = std::round(units * scale * 0x480000 / resolution);
    return static_cast<int>(std::clamp(pixels, 1.0, double{kMostPixels}));
  };
  return {at72(header.source.width(), header.hRes), at72(header.source.height(), header.vRes)};
}

qd::Bytes bytesOf(const std::string& picture) {
  return {reinterpret_cast<const std::uint8_t*>(picture.data()), picture.size()};
}

Status render(const std::vector<std::string>& words) {
  const RenderOptions options = parseRender(words);
  const std::string& in = options.files[0];
  const std::string picture = readPicture(in);
  const auto header = qd::pictureHeader(bytesOf(picture));
  if (!header || header->source.empty())
    throw runtime::Error("The picture \"" + in + "\" has an empty frame: there is nothing to render.");
  const Size size = options.size.value_or(sizeOnPage(*header, options.scale));
  constexpr double kMostArea = 100e6;  // four bytes a pixel, several times over, have to fit the process
  if (const double area = double(size.width) * size.height; area > kMostArea) {
    char factor[16];
    std::snprintf(factor, sizeof factor, "%.2g", options.scale * std::sqrt(kMostArea / area) * 0.95);
    throw runtime::Error("The picture \"" + in + "\" would take " + std::to_string(size.width) + "x" +
                         std::to_string(size.height) + " pixels, more than there is memory for; --scale " + factor +
                         " would work.");
  }

  Session session;
  const runtime::Object recorder = session.recorderWith(picture);
  const runtime::Object canvas =
      options.depth || options.isGray
          ? session.picture(size.width, size.height, options.depth.value_or(8), options.isGray)
          : session.picture(size.width, size.height);
  session.play(recorder, canvas, 0, 0, size.width, size.height);
  const qd::Playback& playback = qd::lastPlayback();
  for (const std::string& remark : playback.remarks)
    std::fprintf(stderr, "macpict: %s: %s\n", in.c_str(), remark.c_str());
  if (playback.error) {
    const std::string broken = "The picture \"" + in + "\" is broken " + qd::describe(*playback.error) + ".";
    if (!options.keepGoing) throw runtime::Error(broken + " --keep-going would show what was drawn till then.");
    std::fprintf(stderr, "macpict: %s\n", broken.c_str());
  }
  writePNG(options.files[1], session.imageOf(canvas));
  std::printf("%s: %dx%d, %d opcodes played, %d skipped, %d not drawn\n", options.files[1].c_str(), size.width,
              size.height, playback.played, playback.skipped, playback.undrawn);
  return playback.error ? kFailed : kDone;
}

Status list(const std::vector<std::string>& words) {
  if (words.size() != 1) throw Usage("list takes one PICT file: macpict list IN.pict");
  const std::string picture = readPicture(words[0]);
  std::string last;
  const bool whole = qd::listPicture(bytesOf(picture), [&last](const std::string& line) {
    if (!last.empty()) std::printf("%s\n", last.c_str());
    last = line;
  });
  if (!whole) throw runtime::Error("The picture \"" + words[0] + "\" is broken " + last + ".");
  std::printf("%s\n", last.c_str());
  return kDone;
}

Status demo(const std::vector<std::string>& words) {
  if (words.size() != 1) throw Usage("demo takes a folder: macpict demo DIR");
  Session session;
  writeGallery(session, words[0]);
  return kDone;
}

Status corpus(const std::vector<std::string>& words) {
  if (words.size() != 2) throw Usage("corpus takes a folder and a PNG file: macpict corpus DIR SHEET.png");
  Session session;
  return renderCorpus(session, words[0], words[1]) ? kDone : kFailed;
}

Status run(const std::vector<std::string>& words) {
  if (words.empty())
    throw Usage("macpict needs to know what to do: demo, render, list or corpus; macpict --help tells more.");
  const std::string& command = words[0];
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (command == "--help" || command == "-h") {
    std::fputs(kHelp, stdout);
    return kDone;
  }
  if (command == "--version") {
    std::puts("macpict " MACPICT_VERSION);
    return kDone;
  }
  if (command == "demo") return demo(rest);
  if (command == "render") return render(rest);
  if (command == "list") return list(rest);
  if (command == "corpus") return corpus(rest);
  throw Usage("macpict has no command \"" + command + "\"; demo, render, list and corpus would work.");
}

}  // namespace

int main(int count, char** arguments) {
  Status status = kFailed;
  try {
    status = run({arguments + 1, arguments + count});
  } catch (const Usage& error) {
    std::fprintf(stderr, "macpict: %s\n", error.what());
    status = kWrongUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "macpict: %s\n", error.what());
  }
  for (const std::string& line : runtime::audit()) std::fprintf(stderr, "macpict: left behind: %s\n", line.c_str());
  return status;
}
