// The command-line program, as a person meets it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

namespace {

struct Macpict : ::testing::Test {
  Macpict() { fs::create_directories(folder); }
  ~Macpict() override { fs::remove_all(folder); }

  // What the program prints on both streams, and its status.
  struct Outcome {
    int status;
    std::string text;
  };
  Outcome run(const std::string& arguments) {
    FILE* pipe = popen((std::string(MACPICT) + " " + arguments + " 2>&1").c_str(), "r");
    std::string text;
    char part[4096];
    while (const std::size_t count = std::fread(part, 1, sizeof part, pipe)) text.append(part, count);
    return {WEXITSTATUS(pclose(pipe)), text};
  }
  std::string path(const std::string& name) const { return (folder / name).string(); }
  void write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }
  std::string read(const std::string& name) {
    std::ifstream in(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  const fs::path folder = fs::temp_directory_path() / ("macpict-test-" + std::to_string(getpid()));
};

}  // namespace

TEST_F(Macpict, MakesItsGalleryAndRendersItAgain) {
  const Outcome demo = run("demo " + path("gallery"));
  EXPECT_EQ(demo.status, 0) << demo.text;
  EXPECT_EQ(demo.text.find("left behind"), std::string::npos) << demo.text;
  const std::string pict = read("gallery/demo.pict");
  EXPECT_EQ(pict.substr(0, 512), std::string(512, '\0'));
  EXPECT_EQ(run("render " + path("gallery/demo.pict") + " " + path("again.png")).status, 0);
  EXPECT_EQ(read("again.png"), read("gallery/demo.png"));
  write("bare.pict", pict.substr(512));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("twice.png") + " --scale 2").status, 0);
  EXPECT_EQ(read("twice.png"), read("gallery/demo-double.png"));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("deep.png") + " --depth 4 --gray --size 30x40").status, 0);

  const Outcome list = run("list " + path("bare.pict"));
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.text.substr(0, list.text.find('\n')),
            "version 2, frame (0, 0, 384, 580), source (0, 0, 384, 580), 72x72 dpi");
  EXPECT_NE(list.text.find("PaintArc"), std::string::npos);
}

TEST_F(Macpict, SaysInOneSentenceWhatWasWrong) {
  write("empty.pict", "");
  write("foreign.pict", std::string(700, 'x'));
  const std::string head("\0\0\0\0\0\0\0\x09\0\x09\0\x11\x02\xFF", 14);
  write("broken.pict", head + std::string("\0\x31\0\0\0\0\0\x05\0\x05\0\x30\0", 13));
  const std::pair<std::string, int> cases[] = {{"render " + path("none.pict") + " " + path("o.png"), 1},
                                               {"render " + path("empty.pict") + " " + path("o.png"), 1},
                                               {"render " + path("foreign.pict") + " " + path("o.png"), 1},
                                               {"render " + path("broken.pict") + " " + path("o.png"), 1},
                                               {"list " + path("broken.pict"), 1},
                                               {"list " + path(""), 1},
                                               {"demo " + path("empty.pict"), 1},
                                               {"", 2},
                                               {"draw", 2},
                                               {"render one.pict", 2},
                                               {"render a b --size 5", 2},
                                               {"render a b --depth 5", 2},
                                               {"render a b --scale zero", 2},
                                               {"render a b --what", 2},
                                               {"list", 2}};
  for (const auto& [arguments, status] : cases) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, status) << arguments << "\n" << outcome.text;
    const std::string lastLine = outcome.text.substr(outcome.text.rfind("macpict: "));
    EXPECT_EQ(lastLine.back(), '\n') << lastLine;
    EXPECT_NE(lastLine.find_last_of(".mtg"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder / "o.png")) << arguments;
    EXPECT_FALSE(fs::exists(folder / "o.png.part")) << arguments;
  }
  const Outcome kept = run("render " + path("broken.pict") + " " + path("o.png") + " --keep-going");
  EXPECT_EQ(kept.status, 1);
  EXPECT_NE(kept.text.find("at offset 24, in opcode 0030 FrameRect"), std::string::npos) << kept.text;
  EXPECT_TRUE(fs::exists(folder / "o.png"));
  const Outcome unwritable = run("render " + path("broken.pict") + " " + path("no/such/o.png") + " --keep-going");
  EXPECT_NE(unwritable.text.find("can't be written"), std::string::npos) << unwritable.text;
  EXPECT_EQ(run("--version").text.substr(0, 8), "macpict ");
  EXPECT_EQ(run("--help").status, 0);
}
