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
  Outcome run(const std::string& arguments) { return execute(MACPICT " " + arguments); }
  static Outcome execute(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::string text;
    char part[4096];
    while (const std::size_t count = std::fread(part, 1, sizeof part, pipe)) text.append(part, count);
    return {WEXITSTATUS(pclose(pipe)), text};
  }
  std::string path(const std::string& name) const { return (folder / name).string(); }
  void write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }
  std::string read(const std::string& name) const { return readAt(folder / name); }
  static std::string readAt(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  static std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }

  const fs::path folder = fs::temp_directory_path() / ("macpict-test-" + std::to_string(getpid()));
};

constexpr const char* kDrawing = R"(Dim r As New MacPictTVK
r.CreatePicture(40, 20)
r.ForeColor = &cCC3311
r.PaintOval(2, 3, 20, 10)
r.ClosePicture
Save r.PicHandleData, "a.pict"
Save r.PicHandleData, "a.png"
Dim p As Picture = NewPicture(80, 40)
r.Drawpicture(p.Graphics, 0, 0, 80, 40)
Save p, "b.png"
)";

}  // namespace

// The examples of the reference are run, and their pictures are those that the pages show.
TEST_F(Macpict, MakesTheGalleryThatTheReferenceShows) {
  const Outcome gallery = run("gallery " + path("gallery"));
  ASSERT_EQ(gallery.status, 0) << gallery.text;
  EXPECT_EQ(gallery.text.find("left behind"), std::string::npos) << gallery.text;
  std::size_t count = 0;
  for (const auto& shown : fs::directory_iterator(REFERENCE "/pictures")) {
    const std::string name = shown.path().filename().string();
    EXPECT_EQ(read("gallery/" + name), readAt(shown.path())) << name << " is stale; script/reference makes it anew";
    ++count;
  }
  EXPECT_GT(count, 20U);

  // Each picture of the page is there for a browser.
  std::string page = read("gallery/index.html");
  page.replace(page.rfind("</html>"), 7,
               "<script>onload = () => { const all = [...document.images]; document.title = "
               "`${all.filter(i => i.naturalWidth > 0).length} of ${all.length} seen`; }</script></html>");
  write("page.html", page);
  const Outcome browser = execute("chromium --headless --no-sandbox --disable-gpu --user-data-dir=" + path("profile") +
                                  " --dump-dom file://" + path("page.html"));
  const std::string images = std::to_string(occurrences(page, "<img "));
  EXPECT_NE(browser.text.find("<title>" + images + " of " + images + " seen"), std::string::npos)
      << browser.text.substr(0, 2000);
}

TEST_F(Macpict, RendersRecordsAndLists) {
  const Outcome drawn = execute("printf '%s' '" + std::string(kDrawing) + "' | " MACPICT " run - --out " + path("."));
  ASSERT_EQ(drawn.status, 0) << drawn.text;
  const std::string pict = read("a.pict");
  EXPECT_EQ(pict.substr(0, 512), std::string(512, '\0'));
  write("bare.pict", pict.substr(512));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("again.png")).status, 0);
  EXPECT_EQ(read("again.png"), read("a.png"));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("twice.png") + " --scale 2").status, 0);
  EXPECT_EQ(read("twice.png"), read("b.png"));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("deep.png") + " --depth 4 --gray --size 30x40").status, 0);

  // Many go into a folder; one that fails is told and counted, and two of one name are refused.
  write("foreign.pict", std::string(700, 'x'));
  const Outcome many =
      run("render " + path("a.pict") + " " + path("foreign.pict") + " " + path("bare.pict") + " " + path("many/"));
  EXPECT_EQ(many.status, 1);
  EXPECT_NE(many.text.find("foreign.pict\" is no PICT file"), std::string::npos) << many.text;
  EXPECT_NE(many.text.find("2 of 3 pictures rendered whole"), std::string::npos) << many.text;
  EXPECT_EQ(read("many/bare.png"), read("a.png"));
  const Outcome both = run("render " + path("a.pict") + " " + path("./a.pict") + " " + path("many"));
  EXPECT_EQ(both.status, 1);
  EXPECT_NE(both.text.find("would become"), std::string::npos) << both.text;

  // An image goes to a PICT and back, and at a depth comes out in that depth's colours.
  EXPECT_EQ(run("record " + path("a.png") + " " + path("r.pict")).status, 0);
  EXPECT_EQ(run("render " + path("r.pict") + " " + path("r.png")).status, 0);
  EXPECT_EQ(read("r.png"), read("a.png"));
  EXPECT_EQ(run("record " + path("a.png") + " " + path("g.pict") + " --depth 2 --gray").status, 0);
  EXPECT_NE(run("list " + path("g.pict")).text.find("depth 2, 40x20"), std::string::npos);
  EXPECT_NE(run("record " + path("a.pict") + " " + path("x.pict")).text.find("is no image"), std::string::npos);

  const Outcome list = run("list " + path("bare.pict"));
  EXPECT_EQ(list.text.substr(0, list.text.find('\n')),
            "version 2, frame (0, 0, 40, 20), source (0, 0, 40, 20), 72x72 dpi");
  EXPECT_NE(list.text.find("PaintOval (2, 3, 22, 13)"), std::string::npos) << list.text;
  const Outcome json = run("list --json " + path("bare.pict"));
  EXPECT_NE(json.text.find("\"name\": \"PaintOval\",\n      \"operands\": [\n        \"(2, 3, 22, 13)\""),
            std::string::npos)
      << json.text;
  write("cut.pict", pict.substr(0, pict.size() - 2));
  const Outcome cut = run("list --json " + path("cut.pict"));
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(cut.text.find("\"error\": null"), std::string::npos) << cut.text;
}

TEST_F(Macpict, TellsWhatCanBeCalled) {
  const Outcome classes = run("classes");
  EXPECT_NE(
      classes.text.find("\n  InvertRectTVK(left as integer, top as integer, width as integer, height as integer)   "
                        "[Deprecated]\n"),
      std::string::npos);
  EXPECT_NE(classes.text.find("\n  ForeColor as color   (can be set)\n"), std::string::npos);
  // Records of older hosts have no room for attributes.
  EXPECT_EQ(run("classes --host-version 2011").text.find("Deprecated"), std::string::npos);
  // The man page and the completion know every command.
  const std::string manual = readAt(REFERENCE "/../macpict.1.in");
  const std::string completion = run("completion").text;
  for (const char* command : {"render", "record", "list", "run", "classes", "gallery", "corpus", "completion"}) {
    EXPECT_NE(manual.find(std::string(".B macpict ") + command), std::string::npos) << command;
    EXPECT_NE(completion.find(std::string("    ") + command + ") options="), std::string::npos) << command;
  }
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
                                               {"gallery " + path("empty.pict"), 1},
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

#ifndef __SANITIZE_ADDRESS__
TEST_F(Macpict, SaysThatThereIsNotEnoughMemory) {
  write("drawing.txt", kDrawing);
  ASSERT_EQ(run("run --out " + folder.string() + " " + path("drawing.txt")).status, 0);
  const Outcome large =
      execute("ulimit -v 500000; " MACPICT " render --size 20000x20000 " + path("a.pict") + " " + path("o.png"));
  EXPECT_EQ(large.status, 1);
  EXPECT_EQ(large.text,
            "macpict: The picture \"" + path("a.pict") +
                "\" would take 20000x20000 pixels in 1600 MB, and there are 512 MB; a smaller --scale would "
                "work.\n");
  EXPECT_FALSE(fs::exists(path("o.png")));
  // Pixels that nobody touches take addresses alone, till there are none left.
  write("fill.txt",
        "Dim i As Integer\nDim all(99) As Picture\nFor i = 0 To 99\nall(i) = NewPicture(32000, 32000, 1)\nNext\n");
  const Outcome filled = run("run " + path("fill.txt"));
  EXPECT_EQ(filled.status, 1);
  EXPECT_NE(filled.text.find(
                "OutOfMemoryException: There is not enough memory for a picture of 32000x32000 pixels at depth 1."),
            std::string::npos)
      << filled.text;
}
#endif
