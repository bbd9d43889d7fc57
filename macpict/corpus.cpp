// macpict corpus: all pictures below a folder, small on one sheet.
#include <algorithm>
#include <cstdio>

#include "engine/pict/lister.h"
#include "macpict/command.h"
#include "macpict/files.h"
#include "platform/quickdraw/operations.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCellWidth = 180, kCellHeight = 160, kLabelHeight = 16, kColumns = 6, kGap = 4;
constexpr std::int64_t kMostPixels = 4096 * 4096;  // larger pictures are rendered smaller

// Shrinks by taking the mean of what falls into a pixel.
Image shrunk(const Image& image, int width, int height) {
  Image small{width, height, std::string(static_cast<std::size_t>(width * height * 3), '\0')};
  const auto edge = [](int at, int from, int to) { return static_cast<int>(std::int64_t{at} * from / to); };
  for (int y = 0; y < height; ++y) {
    const int top = edge(y, image.height, height);
    const int bottom = std::max(top + 1, edge(y + 1, image.height, height));
    for (int x = 0; x < width; ++x) {
      const int left = edge(x, image.width, width);
      const int right = std::max(left + 1, edge(x + 1, image.width, width));
      for (int c = 0; c < 3; ++c) {
        std::int64_t sum = 0;
        for (int v = top; v < bottom; ++v) {
          for (int h = left; h < right; ++h) {
            sum += static_cast<unsigned char>(
                image.rgb[(static_cast<std::size_t>(v) * static_cast<std::size_t>(image.width) +
                           static_cast<std::size_t>(h)) *
                              3 +
                          static_cast<std::size_t>(c)]);
          }
        }
        small.rgb[static_cast<std::size_t>((y * width + x) * 3 + c)] =
            static_cast<char>(sum / ((bottom - top) * (right - left)));
      }
    }
  }
  return small;
}

class Sheet {
 public:
  explicit Sheet(std::size_t count) {
    const int rows = static_cast<int>((count + kColumns - 1) / kColumns);
    image_ = {kColumns * kCellWidth, rows * kCellHeight, {}};
    image_.rgb.assign(static_cast<std::size_t>(image_.width * image_.height * 3), '\xD0');
  }
  void place(std::size_t index, const Image& picture, int dy) {
    const int left = static_cast<int>(index) % kColumns * kCellWidth + kGap;
    const int top = static_cast<int>(index) / kColumns * kCellHeight + kGap + dy;
    for (int y = 0; y < picture.height; ++y) {
      image_.rgb.replace(static_cast<std::size_t>(((top + y) * image_.width + left) * 3),
                         static_cast<std::size_t>(picture.width * 3), picture.rgb,
                         static_cast<std::size_t>(y * picture.width * 3), static_cast<std::size_t>(picture.width * 3));
    }
  }
  const Image& image() const { return image_; }

 private:
  Image image_;
};

Image label(Session& session, const std::string& text) {
  constexpr int kWidth = kCellWidth - 2 * kGap;
  const runtime::Object recorder = session.record(kWidth, kLabelHeight);
  session.host().set(recorder, "TextSize", 10);
  session.host().call(recorder, "DrawString", {session.host().string(text), 1, 11});
  const runtime::Object picture = session.picture(kWidth, kLabelHeight);
  session.play(recorder, picture, 0, 0, kWidth, kLabelHeight);
  return session.imageOf(picture);
}

struct Sum {
  int whole = 0, failed = 0, played = 0, skipped = 0, undrawn = 0;
};

// Renders one picture, counts what became of it, and gives it small. What is wrong is thrown, or said.
Image renderOne(Session& session, const std::string& bytes, Sum& sum, std::string& report) {
  const auto header = qd::pictureHeader(qd::bytesOf(bytes));
  if (!header || header->source.empty()) throw runtime::Error("its frame is empty");
  int width = header->source.width();
  int height = header->source.height();
  while (std::int64_t{width} * height > kMostPixels) {
    width = std::max(1, width / 2);
    height = std::max(1, height / 2);
  }
  const runtime::Object canvas = session.picture(width, height);
  session.play(session.recorderWith(bytes), canvas, 0, 0, width, height);
  const qd::Playback& playback = qd::lastPlayback();
  sum.played += playback.played;
  sum.skipped += playback.skipped;
  sum.undrawn += playback.undrawn;
  report = std::to_string(width) + "x" + std::to_string(height) + ", " + std::to_string(playback.played) + " played, " +
           std::to_string(playback.skipped) + " skipped, " + std::to_string(playback.undrawn) + " not drawn";
  for (const std::string& remark : playback.remarks) report += "; " + remark;
  if (playback.error) throw runtime::Error("it is broken " + qd::describe(*playback.error));
  constexpr int kRoomHeight = kCellHeight - kLabelHeight - 2 * kGap;
  const double scale = std::min({1.0, double(kCellWidth - 2 * kGap) / width, double(kRoomHeight) / height});
  return shrunk(session.imageOf(canvas), std::max(1, static_cast<int>(width * scale)),
                std::max(1, static_cast<int>(height * scale)));
}

struct Options {
  std::string folder, sheet;
};

Status renderCorpus(const Options& options) {
  const fs::path folder = options.folder;
  const fs::path sheetPath = options.sheet;
  Session session;
  std::error_code error;
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
    std::string ending = entry.path().extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    if (entry.is_regular_file() && (ending == ".pict" || ending == ".pct" || ending == ".pic"))
      files.push_back(entry.path());
  }
  if (error) throw runtime::Error("\"" + folder.string() + "\" can't be read: " + error.message() + ".");
  if (files.empty()) throw runtime::Error("There is no picture (.pict, .pct, .pic) below \"" + folder.string() + "\".");
  std::sort(files.begin(), files.end());

  Sheet sheet(files.size());
  Sum sum;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string name = fs::relative(files[i], folder).string();
    std::string report;
    try {
      sheet.place(i, renderOne(session, readPicture(files[i]), sum, report), kLabelHeight);
      ++sum.whole;
    } catch (const runtime::Error& failure) {
      ++sum.failed;
      report = std::string("FAILED: ") + failure.what();
    }
    std::printf("%-40s %s\n", name.c_str(), report.c_str());
    sheet.place(i, label(session, files[i].stem().string()), 0);
  }
  writePNG(sheetPath, sheet.image());
  std::printf("%d pictures rendered whole, %d failed; %d opcodes played, %d skipped, %d not drawn; all of them on %s\n",
              sum.whole, sum.failed, sum.played, sum.skipped, sum.undrawn, sheetPath.c_str());
  return sum.failed == 0 ? kDone : kFailed;
}

}  // namespace

void addCorpus(CLI::App& app, Command& chosen) {
  const auto [command, options] = addCommand<Options>(
      app, chosen, "corpus", "Render all pictures below a folder, and put them on one sheet", renderCorpus);
  command->add_option("DIR", options.folder, "The folder")->required()->type_name("");
  command->add_option("SHEET.png", options.sheet, "The sheet to write")->required()->type_name("");
}
