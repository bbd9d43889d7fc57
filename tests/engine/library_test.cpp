// The engine through its public header, at this machine's width of word.
#include <gtest/gtest.h>
#include <qdraw/qdraw.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

namespace {

using qd::Verb;
using Picture = std::vector<std::uint8_t>;

const char* const kFonts = FONTS;

// Something of everything that a recorder records.
Picture recorded(qd::System& system) {
  Picture bytes;
  qd::VectorSink sink(bytes);
  qd::Recorder recorder(system, qd::PictureParams(80, 60), sink);
  recorder.rect(Verb::paint, qd::MakeRect(2, 2, 20, 10));
  recorder.foreColor({0xFFFF, 0, 0});
  recorder.oval(Verb::paint, qd::MakeRect(30, 2, 20, 20));
  recorder.fillPattern({0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55});
  recorder.roundRect(Verb::fill, qd::MakeRect(52, 2, 20, 20), {8, 8});
  recorder.penSize({2, 2});
  recorder.line({30, 2}, {40, 70});
  const qd::Point triangle[] = {{45, 5}, {45, 25}, {58, 15}, {45, 5}};
  recorder.polygon(Verb::frame, triangle);
  recorder.arc(Verb::paint, qd::MakeRect(30, 40, 16, 16), 45, 270);
  recorder.font(20, 12, 1);
  recorder.text({56, 50}, "text");
  auto bits = qd::GWorld::make(system, 4, 4, 8);
  bits->row(1)[1] = 0xFF;  // black
  recorder.image(*bits, qd::MakeRect(0, 0, 4, 4), qd::MakeRect(4, 20, 4, 4));
  EXPECT_TRUE(recorder.close());
  return bytes;
}

std::vector<std::uint8_t> played(qd::System& system, qd::Bytes picture, int depth) {
  auto world = qd::GWorld::make(system, 80, 60, depth);
  const qd::Playback playback = world->play(picture);
  EXPECT_FALSE(playback.error);
  EXPECT_EQ(playback.undrawn, 0);
  std::vector<std::uint8_t> pixels(80U * 60U * 3U);
  for (int y = 0; y < 60; ++y) world->rgb(y, std::span(pixels).subspan(static_cast<std::size_t>(y) * 240, 240));
  return pixels;
}

using Color = std::array<std::uint8_t, 3>;
Color at(const std::vector<std::uint8_t>& pixels, int x, int y) {
  const auto* p = &pixels[static_cast<std::size_t>(y * 80 + x) * 3];
  return {p[0], p[1], p[2]};
}

}  // namespace

TEST(Library, RecordsListsAndPlaysAtAnyDepth) {
  qd::System system(kFonts);
  const Picture picture = recorded(system);
  const auto info = qd::pictureInfo(picture);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->version, 2);
  EXPECT_EQ(info->frame, (qd::Rect{0, 0, 60, 80}));
  std::string names;
  const qd::ListingEnd end = qd::listOpcodes(picture, [&](const qd::Listing& l) { names += l.name + " "; });
  EXPECT_FALSE(end.error);
  for (const char* name :
       {"PaintRect", "PaintOval", "FillRRect", "Line", "FramePoly", "PaintArc", "DHDVText", "Bits"}) {
    EXPECT_NE(names.find(name), std::string::npos) << name << " in " << names;
  }
  constexpr Color kRed = {255, 0, 0};
  constexpr Color kBlack = {0, 0, 0};
  constexpr Color kWhite = {255, 255, 255};
  for (const int depth : {8, 16, 32}) {
    const auto pixels = played(system, picture, depth);
    EXPECT_EQ(at(pixels, 2, 2), kBlack) << depth;
    EXPECT_EQ(at(pixels, 22, 5), kWhite) << depth;
    EXPECT_EQ(at(pixels, 40, 12), kRed) << depth;
    EXPECT_EQ(at(pixels, 5, 21), kRed) << "an image's black takes the foreground: " << depth;
    EXPECT_NE(at(pixels, 60, 10), at(pixels, 61, 10)) << "a pattern: " << depth;
  }
  const auto twoColors = played(system, picture, 1);
  EXPECT_EQ(at(twoColors, 40, 12), kBlack);
}

TEST(Library, RefusesWhatItCannotMakeOrRead) {
  qd::System system(kFonts);
  for (const auto& [width, height, depth, table] :
       {std::array{0, 5, 8, 0}, {5, -1, 8, 0}, {5, 5, 3, 0}, {5, 5, 24, 0}, {5, 5, 2, 72}, {5, 5, 8, 99}}) {
    EXPECT_FALSE(qd::GWorld::make(system, width, height, depth, table)) << width << " " << depth << " " << table;
  }
  if (sizeof(void*) == 4) {
    EXPECT_FALSE(qd::GWorld::make(system, 32000, 32000));
  }
  EXPECT_TRUE(qd::GWorld::make(system, 5, 5, 2, 34));
  const Picture nonsense(600, 7);
  EXPECT_FALSE(qd::pictureInFile(nonsense));
  EXPECT_FALSE(qd::pictureInfo(nonsense));
  auto world = qd::GWorld::make(system, 5, 5);
  EXPECT_TRUE(world->play(nonsense).error);
  Picture file(512, 0);
  const Picture picture = recorded(system);
  file.insert(file.end(), picture.begin(), picture.end());
  EXPECT_EQ(qd::pictureInFile(file)->size(), picture.size());
}

// A sink says when it takes no more; what it has is a whole picture then.
TEST(Library, ARecordingEndsWholeWhenItsSinkIsFull) {
  struct Small final : qd::ByteSink {
    Picture bytes;
    bool append(qd::Bytes more, std::size_t spare) override {
      if (bytes.size() + more.size() + spare > 200) return false;
      bytes.insert(bytes.end(), more.begin(), more.end());
      return true;
    }
    void replace(std::size_t at, qd::Bytes with) override {
      std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }
  } sink;
  qd::System system(kFonts);
  qd::Recorder recorder(system, qd::PictureParams(80, 60), sink);
  for (int i = 0; i < 50; ++i) recorder.rect(Verb::paint, qd::MakeRect(i, i, 5, 5));
  EXPECT_TRUE(recorder.isFull());
  EXPECT_FALSE(recorder.close());
  EXPECT_TRUE(qd::listPicture(sink.bytes, [](const std::string&) {}));
  EXPECT_GT(sink.bytes.size(), 180U);
  EXPECT_EQ(sink.bytes[0] << 8 | sink.bytes[1], static_cast<int>(sink.bytes.size()));
}

// Each with a system of its own; run under the thread sanitizer too.
TEST(Library, TwoThreadsPlayTwoPictures) {
  qd::System system(kFonts);
  const Picture picture = recorded(system);
  const auto expected = played(system, picture, 8);
  std::array<std::vector<std::uint8_t>, 2> results;
  std::array<std::thread, 2> threads;
  for (std::size_t i = 0; i < 2; ++i) {
    threads[i] = std::thread([&results, i] {
      qd::System own(kFonts);
      for (int round = 0; round < 20; ++round) results[i] = played(own, recorded(own), 8);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(results[0], expected);
  EXPECT_EQ(results[1], expected);
}

TEST(Library, TakesTwoHeadersAndAMissingEnd) {
  qd::System system(kFonts);
  const Picture whole = recorded(system);
  Picture file(1024, 0);
  file.insert(file.end(), whole.begin(), whole.end());
  const auto inside = qd::pictureInFile(file);
  ASSERT_TRUE(inside);
  EXPECT_TRUE(std::equal(whole.begin(), whole.end(), inside->begin(), inside->end()));

  // All opcodes are there, or half of the last is.
  const auto playback = [&](std::size_t less) {
    return qd::GWorld::make(system, 80, 60)->play(qd::Bytes(whole).first(whole.size() - less));
  };
  EXPECT_FALSE(playback(2).error);
  EXPECT_EQ(playback(2).remarks.size(), 1U);
  EXPECT_EQ(playback(2).drawn, playback(0).drawn);
  EXPECT_TRUE(playback(0).remarks.empty());
  EXPECT_TRUE(playback(4).error);
}

// A TrueType file, to be damaged.
class FontBytes {
 public:
  FontBytes() {
    std::ifstream in(std::string(kFonts) + "/LiberationSans-Regular.ttf", std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  unsigned get(std::size_t at, int width) const {
    unsigned value = 0;
    for (int i = 0; i < width; ++i) value = value << 8 | static_cast<std::uint8_t>(bytes.at(at++));
    return value;
  }
  void set(std::size_t at, unsigned value, int width) {
    for (int i = width; i-- > 0; value >>= 8) bytes.at(at + static_cast<std::size_t>(i)) = static_cast<char>(value);
  }
  // The row of a table in the directory, and where the table begins.
  std::size_t row(const char* name) const { return bytes.find(name, 12); }
  std::size_t table(const char* name) const { return get(row(name) + 8, 4); }
  // Where an outline begins; the places are told in words of 32 bits.
  std::size_t outline(std::size_t number) const { return table("glyf") + get(table("loca") + 4 * number, 4); }
  // The first that is made of others.
  std::size_t made() const {
    std::size_t number = 0;
    while (outline(number) == outline(number + 1) || get(outline(number), 2) <= 0x7FFF) ++number;
    return number;
  }

  std::string bytes;
};

TEST(Library, TakesNoDamagedFont) {
  const auto folder = std::filesystem::temp_directory_path() / ("qdraw-fonts-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::pair<const char*, std::function<void(FontBytes&)>> damages[] = {
      {"nothing at all", [](FontBytes& f) { f.bytes.clear(); }},
      {"half a file", [](FontBytes& f) { f.bytes.resize(f.bytes.size() / 2); }},
      {"many tables", [](FontBytes& f) { f.set(4, 0xFFFF, 2); }},
      {"a table far away", [](FontBytes& f) { f.set(f.row("glyf") + 8, 0x7FFFFFFF, 4); }},
      {"a short table", [](FontBytes& f) { f.set(f.row("loca") + 12, 8, 4); }},
      {"no outlines", [](FontBytes& f) { f.set(f.row("glyf"), 0x43464620, 4); }},
      {"pixels without end", [](FontBytes& f) { f.set(f.table("head") + 18, 0, 2); }},
      {"places of another form", [](FontBytes& f) { f.set(f.table("head") + 50, 2, 2); }},
      {"many widths", [](FontBytes& f) { f.set(f.table("hhea") + 34, 0xFFFF, 2); }},
      {"characters elsewhere", [](FontBytes& f) { f.set(f.table("cmap") + 8, 0x7FFFFFFF, 4); }},
      {"characters of another kind",
       [](FontBytes& f) { f.set(f.table("cmap") + f.get(f.table("cmap") + 8, 4), 2, 2); }},
      {"a search that leaves its table",
       [](FontBytes& f) { f.set(f.table("cmap") + f.get(f.table("cmap") + 8, 4) + 12, 0xFFFE, 2); }},
      {"an outline far away", [](FontBytes& f) { f.set(f.table("loca") + 4, 0xFFFF, 2); }},
      {"more points than bytes", [](FontBytes& f) { f.set(f.outline(0) + 10, 0xFFFE, 2); }},
      {"many instructions",
       [](FontBytes& f) {
         const std::size_t at = f.outline(0);
         f.set(at + 10 + 2 * f.get(at, 2), 0xFFFF, 2);
       }},
      {"an outline made of itself",
       [](FontBytes& f) { f.set(f.outline(f.made()) + 12, static_cast<unsigned>(f.made()), 2); }},
      {"parts that meet at points",
       [](FontBytes& f) {
         const std::size_t flags = f.outline(f.made()) + 10;
         f.set(flags, f.get(flags, 2) & ~2U, 2);
       }},
  };
  const auto play = [&folder](const FontBytes& font) {
    std::ofstream(folder / "LiberationSans-Regular.ttf", std::ios::binary) << font.bytes;
    qd::System system(folder);
    Picture picture;
    qd::VectorSink sink(picture);
    qd::Recorder recorder(system, qd::PictureParams(80, 60), sink);
    recorder.font(21, 30);
    recorder.text({20, 2}, "text");
    recorder.text({40, 2}, "\x8A\xDE");
    recorder.close();
    return qd::GWorld::make(system, 80, 60)->play(picture);
  };
  EXPECT_EQ(play(FontBytes()).drawn, 2);
  for (const auto& [what, damage] : damages) {
    FontBytes font;
    damage(font);
    const qd::Playback playback = play(font);
    EXPECT_EQ(playback.drawn, 0) << what;
    EXPECT_EQ(playback.undrawn, 2) << what;
    EXPECT_EQ(playback.remarks.size(), 1U) << what;
  }
  std::filesystem::remove_all(folder);
}

namespace {

using FileBytes = std::vector<std::uint8_t>;

FileBytes joined(std::initializer_list<FileBytes> parts) {
  FileBytes all;
  for (const FileBytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Red, green and blue in a stored block. The chunks have no checksums, as some writers left them.
FileBytes png(int width, int height, bool isInterlaced, const FileBytes& rows) {
  const auto chunk = [](const FileBytes& data, const char* name) {
    const std::string letters(name);
    return joined(
        {{0, 0, 0, static_cast<std::uint8_t>(data.size())}, {letters.begin(), letters.end()}, data, {0, 0, 0, 0}});
  };
  const auto low = [](int value) { return static_cast<std::uint8_t>(value); };
  const std::uint8_t size = low(static_cast<int>(rows.size()));
  return joined(
      {{0x89, 'P', 'N', 'G', 13, 10, 26, 10},
       chunk({0, 0, low(width >> 8), low(width), 0, 0, low(height >> 8), low(height), 8, 2, 0, 0, isInterlaced},
             "IHDR"),
       chunk(joined({{0x78, 1, 1, size, 0, static_cast<std::uint8_t>(~size), 0xFF}, rows, {0, 0, 0, 0}}), "IDAT"),
       chunk({}, "IEND")});
}

// A block of grey: its mean differs by nothing from grey, and there is no more to it. Each table has one code, of a
// bit.
FileBytes jpeg(FileBytes counts, FileBytes symbols) {
  counts.resize(16);
  const auto table = [&](std::uint8_t which) {
    const std::size_t length = 19 + symbols.size();
    return joined({{0xFF, 0xC4, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length), which},
                   counts,
                   symbols});
  };
  return joined({{0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0},
                 FileBytes(64, 1),
                 {0xFF, 0xC0, 0, 11, 8, 0, 8, 0, 8, 1, 1, 0x11, 0},
                 table(0),
                 table(0x10),
                 {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0, 0x3F, 0xFF, 0xD9}});
}

}  // namespace

// By the system's libraries and, at 32 bits, by the small decoder after its check.
TEST(Library, DecodesImagesAndRefusesWhatTheyCannotBe) {
  qd::System system(FONTS);
  const auto decoded = [&system](const FileBytes& file) {
    std::string why;
    auto world = qd::GWorld::ofImage(system, file, why);
    if (!world) return why;
    std::vector<std::uint8_t> first(static_cast<std::size_t>(world->width()) * 3);
    world->rgb(0, first);
    return std::to_string(world->width()) + "x" + std::to_string(world->height()) + " of " + std::to_string(first[0]) +
           "," + std::to_string(first[1]) + "," + std::to_string(first[2]);
  };
  EXPECT_EQ(decoded(jpeg({1}, {0})), "8x8 of 128,128,128");
  // More codes than there are, which a decoder wrote past its table, and codes that no bits are left for.
  EXPECT_EQ(decoded(jpeg({255, 255}, FileBytes(510))), "its data make no sense");
  EXPECT_EQ(decoded(jpeg({3}, {0, 1, 2})).find("8x8"), std::string::npos);
  EXPECT_EQ(decoded(FileBytes(40)), "its format is none that is known");
  EXPECT_EQ(decoded(png(2, 1, false, {0, 9, 8, 7, 6, 5, 4})), "2x1 of 9,8,7");
  // Interlaced rows must all be in memory before the first is known.
  EXPECT_NE(decoded(png(30000, 30000, true, {0, 9, 8, 7})).find("too many to be decoded at once"), std::string::npos);
}

// White with something in the bits that make no colour is white to a transparent copy too.
TEST(Library, BitsThatMakeNoColourDoNotCount) {
  qd::System system(kFonts);
  for (const auto& [depth, pixel] : {std::pair(16, "FFFF0000"), {32, "80FFFFFF"}}) {
    const qd::Assembled made = qd::assemblePicture(
        "picture frame (0, 0, 1, 1)\nPaintRect (0, 0, 1, 1)\nDirectBitsRect 0 { rowBytes pixMap 4 bounds (0, 0, 1, 1) "
        "packType 1 pixelSize " +
        std::to_string(depth) + " cmpCount 3 } (0, 0, 1, 1) (0, 0, 1, 1) 36 { " + pixel + " }\nOpEndPic\n");
    ASSERT_FALSE(made.error) << made.error->what;
    auto world = qd::GWorld::make(system, 1, 1, depth);
    EXPECT_EQ(world->play(made.picture).drawn, 2);
    std::array<std::uint8_t, 3> seen = {};
    world->rgb(0, seen);
    EXPECT_EQ(seen, (std::array<std::uint8_t, 3>{0, 0, 0})) << depth;
  }
}

TEST(Library, AnEmptyClipIsRecordedEvenAsTheFirstThing) {
  qd::System system(kFonts);
  std::vector<std::uint8_t> picture;
  qd::VectorSink sink(picture);
  qd::Recorder recorder(system, qd::PictureParams(1, 1), sink);
  recorder.clip(qd::MakeRect(0, 0, 0, 0));
  recorder.rect(qd::Verb::paint, qd::MakeRect(0, 0, 1, 1));
  ASSERT_TRUE(recorder.close());
  auto world = qd::GWorld::make(system, 1, 1);
  world->play(picture);
  std::array<std::uint8_t, 3> seen = {};
  world->rgb(0, seen);
  EXPECT_EQ(seen, (std::array<std::uint8_t, 3>{255, 255, 255}));
}
