// macpict among a person's files: nothing is lost, whatever they are called and wherever they lie.
#include <fcntl.h>
#include <zlib.h>

#include <algorithm>
#include <map>
#include <vector>

#include "tests/macpict.h"

namespace {

// Two pictures, the text of one, and an image.
struct Files : Macpict {
  Files() {
    write("a.txt", "picture version 2 frame (0, 0, 40, 20)\nFgColor 205\nPaintRect (0, 0, 20, 20)\nOpEndPic\n");
    write("b.txt", "picture version 2 frame (0, 0, 8, 8)\nPaintOval (0, 0, 8, 8)\nOpEndPic\n");
    for (const char* name : {"a", "b"})
      made("assemble " + path(std::string(name) + ".txt") + " " + path(std::string(name) + ".pict"));
    made("render " + path("b.pict") + " " + path("b.png"));
  }
  void made(const std::string& arguments) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.text;
  }
  // Everything below the folder, by name.
  std::map<std::string, std::string> all() const {
    std::map<std::string, std::string> bytes;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const std::string name = fs::relative(entry.path(), folder).string();
      bytes[name] = entry.is_regular_file() && entry.file_size() < 1 << 20 ? readAt(entry.path()) : "";
    }
    return bytes;
  }
  std::set<std::string> namesIn(const std::string& name) const {
    std::set<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder / name)) {
      if (entry.is_regular_file()) found.insert(fs::relative(entry.path(), folder / name).string());
    }
    return found;
  }
  // The words of a command, with % for the folder.
  Outcome in(std::string command) {
    for (std::size_t at = 0; (at = command.find('%', at)) != std::string::npos; at += folder.string().size())
      command.replace(at, 1, folder.string());
    return execute(command);
  }
};

// Whether all of a PNG's chunks have the sums that they should have, which strict readers look at.
bool isPNG(const std::string& png) {
  const auto number = [&png](std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value << 8 | static_cast<unsigned char>(png[i]);
    return value;
  };
  std::size_t at = 8;
  while (at + 12 <= png.size()) {
    const std::size_t size = number(at) + 4U;
    if (at + 8 + size > png.size()) return false;
    if (number(at + 4 + size) != crc32(0, reinterpret_cast<const Bytef*>(&png[at + 4]), static_cast<uInt>(size)))
      return false;
    at += size + 8;
  }
  return at == png.size() && png.starts_with("\x89PNG\r\n\x1A\n") && png.substr(png.size() - 8, 4) == "IEND";
}

}  // namespace

TEST_F(Files, NoCommandReplacesWhatItReadsOrWhatIsAnothers) {
  write("theirs.png", "a picture of somebody's");
  fs::copy(folder / "a.pict", folder / "named.png");
  fs::create_symlink("a.pict", folder / "link.png");
  fs::create_hard_link(folder / "a.txt", folder / "same.pict");
  fs::create_directories(folder / "sub");
  fs::copy(folder / "a.pict", folder / "sub");
  const auto before = all();
  const std::pair<const char*, const char*> refused[] = {
      {"render %/a.pict %/b.pict", "name of a picture"},
      {"render %/a.pict %/a.pict", "name of a picture"},
      {"render --force %/a.pict %/b.pict", "name of a picture"},
      {"render %/a.pict %/new.PCT", "name of a picture"},
      {"render --force %/a.pict %/named.png", "is a picture"},
      {"render --force %/a.pict %/link.png", "is to be read"},
      {"render --force --format png %/a.pict %/a.pict", "is to be read"},
      {"render %/a.pict %/theirs.png", "--force to replace it"},
      {"render %/a.pict %/b.pict %/theirs.png", "is no folder"},
      {"render %/a.pict %/b.pict %/new.png", "name of one file"},
      {"render %/a.pict %/sub/a.pict %/new", "would both be"},
      {"record --force %/b.png %/b.png", "would get a picture"},
      {"record %/b.png %/b.pict", "--force to replace it"},
      {"record --force %/a.pict %/a.pict", "is to be read"},
      {"assemble --force %/a.txt %/a.txt", "would get a picture"},
      {"assemble --force %/a.txt %/same.pict", "is to be read"},
      {"assemble %/b.txt %/a.pict", "--force to replace it"},
      {"corpus --force %/sub %/sub/a.pict", "name of a picture"},
      {"corpus %/sub %/theirs.png", "--force to replace it"},
      {"extract %/a.pict %/sub", "--force to replace it"},
  };
  for (const auto& [arguments, sentence] : refused) {
    const Outcome outcome = in(MACPICT " " + std::string(arguments));
    EXPECT_EQ(outcome.status, 1) << arguments;
    EXPECT_NE(outcome.text.find(sentence), std::string::npos) << arguments << "\n" << outcome.text;
    EXPECT_EQ(all(), before) << arguments;
  }

  // Ours are made anew without a word, others' where that is forced; or what is there stays, and the rest is made.
  const std::string ours = read("b.png");
  made("render " + path("a.pict") + " " + path("b.png"));
  EXPECT_NE(read("b.png"), ours);
  made("render --force " + path("a.pict") + " " + path("theirs.png"));
  EXPECT_TRUE(isPNG(read("theirs.png")));
  made("render --skip-existing " + path("b.pict") + " " + path("theirs.png"));
  EXPECT_EQ(read("theirs.png"), read("b.png"));
  for (const char* ending : {"ppm", "jpg", "tiff"}) {
    const std::string out = path(std::string("o.") + ending);
    made("render " + path("a.pict") + " " + out);
    made("render " + path("b.pict") + " " + out);
  }
  fs::create_directories(folder / "out");
  write("out/a.png", "kept");
  const Outcome rest = in(MACPICT " render --skip-existing %/a.pict %/b.pict %/out");
  EXPECT_EQ(rest.status, 0);
  EXPECT_NE(rest.text.find("1 of 2 pictures rendered whole"), std::string::npos) << rest.text;
  EXPECT_NE(rest.text.find("1 were there"), std::string::npos) << rest.text;
  EXPECT_EQ(read("out/a.png"), "kept");
  EXPECT_TRUE(isPNG(read("out/b.png")));
}

TEST_F(Files, GoThroughPipes) {
  made("render " + path("a.pict") + " " + path("a.png"));
  made("record " + path("a.png") + " " + path("r.pict"));
  // What the files would be comes out, and nothing else.
  const std::pair<const char*, const char*> pipes[] = {{"render - - < %/a.pict", "a.png"},
                                                       {"render %/a.pict -", "a.png"},
                                                       {"record - - < %/a.png", "r.pict"},
                                                       {"assemble - - < %/a.txt", "a.pict"}};
  for (const auto& [arguments, name] : pipes) {
    EXPECT_EQ(in("(" MACPICT " " + std::string(arguments) + " 2>/dev/null)").text, read(name)) << arguments;
  }
  made("render - " + path("from.png") + " < " + path("a.pict"));
  EXPECT_EQ(read("from.png"), read("a.png"));
  EXPECT_EQ(in(MACPICT " list - < %/a.pict").text, in(MACPICT " list %/a.pict").text);
  EXPECT_EQ(in(MACPICT " render - %/x.png < /dev/null").text.substr(0, 24), "macpict: Standard input ");
  EXPECT_TRUE(in("(" MACPICT " render --format ppm - - < %/a.pict 2>/dev/null)").text.starts_with("P6\n"));

  // Who reads no further ends it without a word.
  write("many.txt", [] {
    std::string text = "picture version 2 frame (0, 0, 8, 8)\n";
    for (int i = 0; i < 20000; ++i) text += "PaintRect (0, 0, 8, 8)\n";
    return text + "OpEndPic\n";
  }());
  made("assemble " + path("many.txt") + " " + path("many.pict"));
  const Outcome cut = in("(" MACPICT " list %/many.pict | head -1)");
  EXPECT_EQ(std::count(cut.text.begin(), cut.text.end(), '\n'), 1) << cut.text;
}

TEST_F(Files, NamesSayTheFormat) {
  const std::pair<const char*, std::string> heads[] = {
      {"png", "\x89PNG\r\n\x1A\n"},      {"ppm", "P6\n"},
      {"jpg", "\xFF\xD8\xFF"},           {"JPEG", "\xFF\xD8\xFF"},
      {"tiff", std::string("II*\0", 4)}, {"tif", std::string("II*\0", 4)}};
  for (const auto& [ending, head] : heads) {
    const std::string name = std::string("o.") + ending;
    made("render " + path("a.pict") + " " + path(name));
    EXPECT_TRUE(read(name).starts_with(head)) << name;
  }
  EXPECT_TRUE(isPNG(read("o.png")));
  // The same pixels, by our own readers of them; and a JPEG's a little off.
  EXPECT_EQ(pixels("o.tiff").size(), pixels("o.png").size());
  made("record " + path("o.tif") + " " + path("o.pict"));
  made("render " + path("o.pict") + " " + path("again.ppm"));
  EXPECT_EQ(read("again.ppm"), read("o.ppm"));

  for (const char* name : {"o.svg", "o", "o.png.bak"}) {
    const Outcome unknown = run("render " + path("a.pict") + " " + path(name));
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.text.find(".png, .ppm, .jpg, .tiff"), std::string::npos) << unknown.text;
    EXPECT_FALSE(fs::exists(folder / name));
  }
  made("render --format jpg " + path("a.pict") + " " + path("b.pict") + " " + path("f/"));
  EXPECT_EQ(namesIn("f"), (std::set<std::string>{"a.jpg", "b.jpg"}));
  EXPECT_EQ(run("render --format bmp " + path("a.pict") + " " + path("f/")).status, 2);
}

// Greys and few colours take the bits that they need, and all of it comes back.
TEST_F(Files, PNGsTakeAsManyBitsAsTheirColours) {
  const auto renderOf = [this](const std::string& opcodes) {
    write("c.txt", "picture version 2 frame (0, 0, 19, 3)\n" + opcodes + "OpEndPic\n");
    made("assemble -f " + path("c.txt") + " " + path("c.pict"));
    made("render " + path("c.pict") + " " + path("c.png"));
    made("render " + path("c.pict") + " " + path("c.ppm"));
    const std::string png = read("c.png");
    EXPECT_TRUE(isPNG(png));
    made("record -f " + path("c.png") + " " + path("back.pict"));
    made("render " + path("back.pict") + " " + path("back.ppm"));
    EXPECT_EQ(read("back.ppm"), read("c.ppm")) << opcodes;
    return std::pair(int(png[24]), int(png[25]));  // bits, and 0 for greys, 2 for colours, 3 for a palette
  };
  const auto bars = [](int count, bool isGray, int step) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      char level[8];
      std::snprintf(level, sizeof level, "%02X", static_cast<unsigned>(i * step));
      text += std::string("RGBFgCol #") + level + (isGray ? level : "00") + level + "\nPaintRect (" +
              std::to_string(i % 19) + ", " + std::to_string(i / 19) + ", 19, 3)\n";
    }
    return text;
  };
  EXPECT_EQ(renderOf("PaintRect (3, 0, 5, 2)\n"), std::pair(1, 0));
  EXPECT_EQ(renderOf(bars(3, true, 85)), std::pair(2, 0));
  EXPECT_EQ(renderOf(bars(15, true, 17)), std::pair(4, 0));
  EXPECT_EQ(renderOf(bars(50, true, 5)), std::pair(8, 0));
  EXPECT_EQ(renderOf(bars(2, false, 200)), std::pair(1, 3));
  EXPECT_EQ(renderOf(bars(16, false, 3)), std::pair(4, 3));
  EXPECT_EQ(renderOf(bars(17, false, 3)), std::pair(8, 3));
}

TEST_F(Files, FoldersAreWalkedByWhatIsInThem) {
  fs::create_directories(folder / "in/deep/er");
  fs::create_directories(folder / "in/out");
  fs::copy(folder / "a.pict", folder / "in/one.pict");
  fs::copy(folder / "b.pict", folder / "in/one.pct");
  fs::copy(folder / "a.pict", folder / "in/deep/er/picture without an ending");
  fs::copy(folder / "a.pict", folder / "in/out/old.pict");
  fs::create_directory_symlink("..", folder / "in/deep/round");
  write("in/deep/notes.txt", "no picture");
  write("in/broken.pict", read("a.pict").substr(0, read("a.pict").size() - 2) + std::string("\0\x30\0", 3));
  ASSERT_EQ(execute("truncate -s 5G " + path("in/deep/large")).status, 0);
  const Outcome walked = in(MACPICT " render -j 3 %/in %/in/out");
  EXPECT_EQ(walked.status, 1);
  EXPECT_EQ(namesIn("in/out"), (std::set<std::string>{"deep/er/picture without an ending.png", "old.pict",
                                                      "one.pct.png", "one.pict.png"}));
  EXPECT_EQ(read("in/out/one.pct.png"), read("b.png"));
  const std::string last = walked.text.substr(walked.text.rfind('\n', walked.text.size() - 2) + 1);
  EXPECT_EQ(last, "3 of 4 pictures rendered whole into " + path("in/out") +
                      ", 0 partly, 1 failed; 1 file holds no picture; 1 can't be read\n");
  // Told in one order, on however many threads.
  const auto lines = [this](const std::string& options) {
    return in("(" MACPICT " render " + options + " %/in %/in/out 2>&1)").text;
  };
  EXPECT_EQ(lines("-j 4"), lines("-j 1"));
  EXPECT_EQ(occurrences(lines("-q"), "rendered"), 0U);
  // What is there is asked for by name, images as well.
  const Outcome recorded = in(MACPICT " record -j 2 %/in %/recorded");
  EXPECT_EQ(recorded.status, 1);  // for the large one
  EXPECT_NE(recorded.text.find("3 of 4 images recorded into " + path("recorded") + ", 1 failed; 6 files hold no image"),
            std::string::npos)
      << recorded.text;
}

// Among many files, of which one gives nothing yet.
TEST_F(Files, AnInterruptLeavesWhatIsWhole) {
  const Outcome ended = in("mkfifo %/waits; " MACPICT
                           " render -q -j 3 %/a.pict %/waits %/b.pict %/out/ & "
                           "for i in $(seq 2000); do [ -e %/out/a.png ] && [ -e %/out/b.png ] && break; sleep 0.01; "
                           "done; kill -TERM $!; wait $!; echo $?");
  EXPECT_EQ(ended.text.substr(0, 4), "143\n") << ended.text;
  EXPECT_EQ(namesIn("out"), (std::set<std::string>{"a.png", "b.png"}));
  made("render " + path("a.pict") + " " + path("whole.png"));
  EXPECT_EQ(read("out/a.png"), read("whole.png"));
}

TEST_F(Files, SizesAreWhatIsAskedFor) {
  const std::pair<const char*, const char*> sizes[] = {{"--size 80x", "80x40"},
                                                       {"--size x10", "20x10"},
                                                       {"--size 80x80", "80x40"},
                                                       {"--size 100x20", "40x20"},
                                                       {"--size 80x80 --stretch", "80x80"},
                                                       {"--scale 50%", "20x10"},
                                                       {"--scale 0.25", "10x5"},
                                                       {"--scale 0.001", "1x1"},
                                                       {"", "40x20"}};
  for (const auto& [options, size] : sizes) {
    const Outcome outcome = run("render " + path("a.pict") + " " + path("s.png ") + options);
    EXPECT_NE(outcome.text.find("s.png: " + std::string(size) + ","), std::string::npos) << options << outcome.text;
  }
  for (const char* options : {"--size 0x5", "--size x", "--size 5", "--size 5x5x5", "--size 40000x", "--scale -1",
                              "--scale 5%%", "--size 5x --scale 2", "--stretch", "--memory lots"})
    EXPECT_EQ(run("render " + path("a.pict") + " " + path("t.png") + " " + options).status, 2) << options;
  const Outcome large = in(MACPICT " render --scale 1000 %/a.pict %/t.png");
  EXPECT_NE(large.text.find("would be 40000x20000 pixels, and QuickDraw counts 32767 a side"), std::string::npos)
      << large.text;
  EXPECT_FALSE(fs::exists(folder / "t.png"));

  // In strips it is the same picture, means of it too.
  write("p.txt",
        "picture version 2 frame (0, 0, 30, 40)\nPnPat AA5500F00F33CC11\nPaintOval (2, 3, 29, 39)\nPnPat "
        "FFFFFFFFFFFFFFFF\nLine (0, 0) (29, 39)\nOpEndPic\n");
  made("assemble " + path("p.txt") + " " + path("p.pict"));
  for (const char* options : {"--scale 7", "--scale 0.7 --smooth", "--depth 4 --size 99x"}) {
    made("render " + path("p.pict") + " " + path("at-once.ppm ") + options);
    made("render " + path("p.pict") + " " + path("strips.ppm ") + options + " --memory 900");
    EXPECT_EQ(read("strips.ppm"), read("at-once.ppm")) << options;
  }
}

// Opacity is kept from a PNG to a picture and back, or laid on a colour.
TEST_F(Files, TransparencyIsKeptOrLaidOnAColour) {
  // A pixel of half a blue.
  write("t.txt",
        "picture version 2 frame (0, 0, 1, 1)\nDirectBitsRect 255 { rowBytes pixMap 4 bounds (0, 0, 1, 1) packType 1 "
        "pixelType 16 pixelSize 32 cmpCount 4 cmpSize 8 } (0, 0, 1, 1) (0, 0, 1, 1) 0 { 800000FF }\nOpEndPic\n");
  made("assemble " + path("t.txt") + " " + path("t.pict"));
  made("render --alpha " + path("t.pict") + " " + path("t.png"));
  made("render --alpha " + path("t.pict") + " " + path("t.tiff"));
  made("render " + path("t.pict") + " " + path("opaque.png"));
  const auto expect = [this](const std::string& recording, const std::string& pixel) {
    made("record -f " + recording + " " + path("back.pict"));
    const std::string list = run("list --full " + path("back.pict")).text;
    EXPECT_NE(list.find(" " + pixel + "\n"), std::string::npos) << recording << "\n" << list;
  };
  for (const char* image : {"t.png", "t.tiff"}) {
    expect("--alpha " + path(image), "800000FF");
    expect(path(image), "007F7FFF");
    expect("--background '#00FF00' " + path(image), "00007F80");
  }
  expect("--alpha " + path("opaque.png"), "000000FF");
  // Where the library can't be loaded, our own decoder reads the same.
  write("libtiff.so.6", "");
  EXPECT_EQ(in("LD_LIBRARY_PATH=% " MACPICT " record --alpha %/t.tiff %/own.pict").status, 0);
  EXPECT_NE(run("list --full " + path("own.pict")).text.find(" 800000FF\n"), std::string::npos);
  // More than an image, or one without, has none to keep.
  const Outcome none = in(MACPICT " render --alpha %/a.pict %/none.png");
  EXPECT_EQ(none.status, 0);
  EXPECT_NE(none.text.find("isn't one image with opacity"), std::string::npos) << none.text;
  EXPECT_EQ(run("render --alpha " + path("t.pict") + " " + path("t.jpg")).status, 1);
  EXPECT_EQ(run("record --background red " + path("t.png") + " " + path("x.pict")).status, 2);
}

// Blanks in names survive, and options have their values.
TEST_F(Files, AreCompleted) {
  fs::create_directories(folder / "two words");
  write("two words/a picture.pict", "");
  const auto completed = [this](const std::string& words) {
    return execute("cd " + folder.string() + "; bash -c 'source <(" MACPICT " completion); COMP_WORDS=(macpict " +
                   words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _macpict; printf \"%s|\" \"${COMPREPLY[@]}\"'")
        .text;
  };
  EXPECT_EQ(completed("render two"), "two words|");
  EXPECT_EQ(completed("render \"two words/a\""), "two words/a picture.pict|");
  EXPECT_EQ(completed("render --format \"\""), "png|ppm|jpg|tiff|");
  EXPECT_EQ(completed("record --depth 1"), "1|16|");
  EXPECT_EQ(completed("run --out \"\""), "two words|");
  EXPECT_EQ(completed("render --ske"), "|");
  EXPECT_EQ(completed("render --skip"), "--skip-existing|");
  EXPECT_EQ(completed("help co"), "corpus|completion|");
}
