// The command-line program, as a person meets it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "tests/page.h"
#include "tools/output.h"

namespace {

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

  // Each picture of the page is there for a browser, the index leads to all examples, and a telephone is wide enough.
  const std::string page = read("gallery/index.html");
  EXPECT_EQ(told(folder / "gallery/index.html", 390, R"(
      say([...document.images].filter(image => image.naturalWidth > 0).length + " images");
      say(document.querySelectorAll("section").length + " examples");
      say([...document.querySelectorAll("nav a")].filter(link => document.querySelector(link.hash + " h3")).length);
      say(innerWidth + " " + isNarrow());
  )"),
            std::to_string(occurrences(page, "<img ")) + " images\n" + std::to_string(occurrences(page, "<section ")) +
                " examples\n" + std::to_string(occurrences(page, "<section ")) + "\n390 true");
}

namespace {

// The dots per metre of a PNG, taken out of it; empty if it tells none.
std::string takeResolution(std::string& png) {
  constexpr std::size_t kChunk = 21;
  const auto at = png.find("pHYs");
  if (at == std::string::npos) return "";
  std::string numbers = png.substr(at + 4, 8);
  png.erase(at - 4, kChunk);
  return numbers;
}

}  // namespace

TEST_F(Macpict, RendersRecordsAndLists) {
  const Outcome drawn = execute("printf '%s' '" + std::string(kDrawing) + "' | " MACPICT " run - --out " + path("."));
  ASSERT_EQ(drawn.status, 0) << drawn.text;
  const std::string pict = read("a.pict");
  EXPECT_EQ(pict.substr(0, 512), std::string(512, '\0'));
  write("bare.pict", pict.substr(512));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("again.png")).status, 0);
  EXPECT_EQ(pixels("again.png"), pixels("a.png"));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("twice.png") + " --scale 2").status, 0);
  EXPECT_EQ(pixels("twice.png"), pixels("b.png"));
  EXPECT_EQ(run("render " + path("bare.pict") + " " + path("deep.png") + " --depth 4 --gray --size 30x40").status, 0);

  // Many go into a folder; one that fails is told and counted, and two of one name are refused.
  write("foreign.pict", std::string(700, 'x'));
  const Outcome many =
      run("render " + path("a.pict") + " " + path("foreign.pict") + " " + path("bare.pict") + " " + path("many/"));
  EXPECT_EQ(many.status, 1);
  EXPECT_NE(many.text.find("foreign.pict\" is "), std::string::npos) << many.text;
  EXPECT_NE(many.text.find("2 of 3 pictures rendered whole into " + path("many/") + ", 0 partly"), std::string::npos)
      << many.text;
  EXPECT_EQ(pixels("many/bare.png"), pixels("a.png"));
  const Outcome both = run("render " + path("a.pict") + " " + path("./a.pict") + " " + path("many"));
  EXPECT_EQ(both.status, 1);
  EXPECT_NE(both.text.find("would both be"), std::string::npos) << both.text;

  // An image goes to a PICT and back, and at a depth comes out in that depth's colours.
  EXPECT_EQ(run("record " + path("a.png") + " " + path("r.pict")).status, 0);
  EXPECT_EQ(run("render " + path("r.pict") + " " + path("r.png")).status, 0);
  EXPECT_EQ(pixels("r.png"), pixels("a.png"));
  EXPECT_EQ(run("record " + path("a.png") + " " + path("g.pict") + " --depth 2 --gray").status, 0);
  EXPECT_NE(run("list " + path("g.pict")).text.find("depth 2, 40x20"), std::string::npos);
  EXPECT_NE(run("record " + path("a.pict") + " " + path("x.pict")).text.find("is a PICT file, and can"),
            std::string::npos);

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

  // Pixels that are means of what falls into them: a quarter of this one is black.
  write("quarter.txt", "picture version 2 frame (0, 0, 2, 2)\nPaintRect (0, 0, 1, 1)\nOpEndPic\n");
  ASSERT_EQ(run("assemble " + path("quarter.txt") + " " + path("quarter.pict")).status, 0);
  for (const auto& [option, pixel] : {std::pair("--smooth", "00BFBFBF"), {"", "00000000"}}) {
    ASSERT_EQ(run("render --scale 0.5 " + path("quarter.pict") + " " + path("mean.png ") + option).status, 0);
    ASSERT_EQ(run("record --force " + path("mean.png") + " " + path("mean.pict")).status, 0);
    EXPECT_NE(run("list --full " + path("mean.pict")).text.find(pixel), std::string::npos) << option;
  }

  // All dots that there are, with their number to an inch; or as large as on the page.
  write("dots.txt",
        "picture version 2 frame (0, 0, 40, 20)\nHeaderOp { version -2 reserved 0 hRes 144 vRes 288 source (0, 0, 80, "
        "80) "
        "reserved2 0 }\nPaintRect (0, 0, 9, 9)\nOpEndPic\n");
  ASSERT_EQ(run("assemble " + path("dots.txt") + " " + path("dots.pict")).status, 0);
  const std::pair<const char*, std::string> sizes[] = {
      {"", std::string("\0\0\x16\x25\0\0\x2C\x4B", 8)},
      {" --points", std::string("\0\0\x0B\x13\0\0\x0B\x13", 8)},
      {" --size 80x20 --stretch", std::string("\0\0\x16\x25\0\0\x0B\x13", 8)}};
  for (const auto& [option, resolution] : sizes) {
    const Outcome rendered = run("render " + path("dots.pict") + " " + path("dots.png") + option);
    EXPECT_NE(rendered.text.find(*option == 0       ? "80x80"
                                 : option[3] == 'p' ? "40x20"
                                                    : "80x20"),
              std::string::npos)
        << rendered.text;
    std::string png = read("dots.png");
    EXPECT_EQ(takeResolution(png), resolution) << option;
  }
}

TEST_F(Macpict, ExtractsPicturesAndTheirImages) {
  const auto number = [](std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
  };
  const auto image = [&](const std::string& codec, const std::string& data) {
    const std::string description = number(86) + codec + std::string(24, '\0') + std::string("\0\x28\0\x14", 4) +
                                    std::string(8, '\0') + number(data.size()) + std::string(34, '\0') +
                                    std::string("\0\x20\xFF\xFF", 4);
    std::string operands = std::string(68, '\0') + description + data;
    operands += std::string(operands.size() % 2, '\0');
    return "\x82" + std::string(1, '\0') + number(operands.size()) + operands;
  };
  const std::string png = readAt(REFERENCE "/pictures/lines.png");
  const std::string picture = std::string("\0\0\0\0\0\0\0\x14\0\x28\0\x11\x02\xFF\x0C\0", 16) + std::string(24, '\0') +
                              image("png ", png) + image("cvid", "data") + image("tga ", "data") +
                              std::string("\0\xFF", 2);
  const std::string header(512, '\0');
  // A file that carries a resource fork, with the picture as number 128.
  const std::string map = std::string(24, '\0') + std::string("\0\x1C\0\x32\0\0PICT\0\0\0\x0A\0\x80\0\0\0\0\0\0", 22) +
                          number(0) + std::string("\4Name");
  const std::string fork = number(256) + number(260 + picture.size()) + number(4 + picture.size()) +
                           number(map.size()) + std::string(240, '\0') + number(picture.size()) + picture + map;
  write("._icon.rsrc", number(0x00051607) + number(0x20000) + std::string(16, '\0') + std::string("\0\1", 2) +
                           number(2) + number(38) + number(fork.size()) + fork);
  write("any",
        "\x7F"
        "ELF" +
            fork.substr(256));
  const std::string carried = path("._icon.rsrc ") + path("out");

  const Outcome all = run("extract --images " + carried);
  EXPECT_EQ(all.status, 0) << all.text;
  EXPECT_NE(all.text.find("out/icon#128.pict: 40x20, Name\n"), std::string::npos) << all.text;
  EXPECT_NE(all.text.find("image 2 is of codec \"cvid\", depth 32, 40x20, 4 bytes, which makes no file"),
            std::string::npos)
      << all.text;
  EXPECT_NE(all.text.find("1 picture and 2 images of 1 file written"), std::string::npos) << all.text;
  EXPECT_TRUE(read("out/icon#128.pict") == header + picture);
  EXPECT_TRUE(read("out/icon#128-1.png") == png);
  EXPECT_EQ(read("out/icon#128-3.tga"), "data");

  // What is there stays, and what isn't known says what would help.
  write("out/icon#128.pict", "mine");
  const Outcome again = run("extract " + carried);
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.text.find("icon#128.pict\" is there already; another name would work, or --force to replace it.\n"),
            std::string::npos)
      << again.text;
  EXPECT_EQ(read("out/icon#128.pict"), "mine");
  EXPECT_EQ(run("extract --force " + carried).status, 0);
  EXPECT_TRUE(read("out/icon#128.pict") == header + picture);
  const Outcome unknown = run("extract " + path("any ") + REFERENCE "/pictures/lines.png " + path("out"));
  EXPECT_EQ(unknown.status, 1);
  EXPECT_NE(unknown.text.find("any\" is a program, and no picture is found in it; --search would"), std::string::npos)
      << unknown.text;
  EXPECT_NE(unknown.text.find("is a PNG file, and no picture is found in it; macpict record makes"), std::string::npos)
      << unknown.text;
  EXPECT_EQ(run("extract --search " + path("any ") + path("out")).status, 0);
  EXPECT_TRUE(read("out/any@8.pict") == header + picture);
  EXPECT_EQ(run("extract " + path("any")).status, 2);
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
  for (const char* command : {"render", "record", "list", "assemble", "extract", "run", "classes", "gallery", "corpus",
                              "completion", "help"}) {
    EXPECT_NE(manual.find(std::string(".B macpict ") + command), std::string::npos) << command;
    EXPECT_NE(completion.find(std::string("      ") + command + ") list="), std::string::npos) << command;
    const std::string help = run(std::string("help ") + command).text;
    EXPECT_EQ(help, run(command + std::string(" --help")).text);
    // Each option stands in the manual.
    for (std::size_t at = 0; (at = help.find(" --", at)) != std::string::npos; ++at) {
      const std::string option = help.substr(at + 3, help.find_first_of(" ,\n", at + 3) - at - 3);
      std::string written = "\\-\\-" + option;
      for (std::size_t dash = 4; (dash = written.find('-', dash)) != std::string::npos; dash += 2)
        written.insert(dash, "\\");
      EXPECT_TRUE(option == "help" || manual.find(written) != std::string::npos) << option;
    }
  }
}

TEST_F(Macpict, PutsAFileInItsPlaceWholeOrNotAtAll) {
  ASSERT_EQ(run("record " REFERENCE "/pictures/lines.png " + path("a.pict")).status, 0);
  const std::string render = MACPICT " render --force " + path("a.pict") + " ";
  ASSERT_EQ(execute("umask 027; " + render + path("new.png")).status, 0);
  EXPECT_EQ(modeOf("new.png"), 0640U);
  const std::string png = read("new.png");

  // What is replaced keeps its mode, a link its place, and what lies beside them its bytes.
  write("old.png", "old");
  write("old.png.part", "mine");
  ASSERT_EQ(chmod(path("old.png").c_str(), 0604), 0);
  fs::create_symlink("old.png", folder / "link.png");
  fs::create_symlink("made.png", folder / "ahead.png");
  EXPECT_EQ(execute("umask 077; " + render + path("link.png")).status, 0);
  EXPECT_EQ(execute(render + path("ahead.png")).status, 0);
  EXPECT_EQ(fs::read_symlink(folder / "link.png"), "old.png");
  EXPECT_EQ(read("old.png"), png);
  EXPECT_EQ(modeOf("old.png"), 0604U);
  EXPECT_EQ(read("old.png.part"), "mine");
  EXPECT_EQ(fs::read_symlink(folder / "ahead.png"), "made.png");
  EXPECT_EQ(read("made.png"), png);

  write("old.png", "old");
  const std::set<std::string> before = names();
  const Outcome limited = execute("ulimit -f 0; " + render + path("old.png"));
  EXPECT_EQ(limited.status, 1);
  EXPECT_EQ(limited.text, "macpict: \"" + path("old.png") + "\" can't be written: File too large.\n");
  EXPECT_EQ(read("old.png"), "old");
  EXPECT_EQ(names(), before);

  // What is no file is written as it is; standard output gets nothing else.
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(execute("cat " + path("fifo") + " > " + path("came.png") + " & " + render + path("fifo") + "; wait").status,
            0);
  EXPECT_EQ(read("came.png"), png);
  EXPECT_TRUE(fs::is_fifo(folder / "fifo"));
  EXPECT_EQ(execute("(" + render + "/dev/stdout > " + path("came.png") + ")").status, 0);
  EXPECT_EQ(read("came.png"), png);
  EXPECT_NE(execute(render + "/dev/full").text.find("No space left"), std::string::npos);
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const std::string other = ptsname(terminal);
  const int held = open(other.c_str(), O_RDWR | O_NOCTTY);
  termios raw = {};
  tcgetattr(held, &raw);
  cfmakeraw(&raw);
  tcsetattr(held, TCSANOW, &raw);
  EXPECT_EQ(execute(render + other + " --size 8x8").status, 0);
  char head[4] = {};
  EXPECT_EQ(::read(terminal, head, sizeof head), 4);
  EXPECT_EQ(std::string(head, 4), "\x89PNG");
  EXPECT_TRUE(fs::is_character_file(other));
  close(held);
  close(terminal);
}

TEST_F(Macpict, LeavesNothingHalfWhereItEnds) {
  const fs::path out = folder / "o.png";
  for (const int signal : {SIGHUP, SIGINT, SIGPIPE, SIGTERM}) {
    write("o.png", "old");
    const pid_t child = fork();
    if (child == 0) {
      removeOutputsWhenKilled();
      OutputFile first(out);
      OutputFile second(folder / "new.png");
      first.write("half");
      raise(signal);
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_EQ(read("o.png"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"o.png"}) << signal;
  }
  // The last of two writers wins, and nobody gets a part of each; who gives up leaves nothing.
  {
    OutputFile first(out);
    OutputFile second(out);
    const OutputFile third(out);
    second.write("the second's");
    first.write("the first's");
    second.commit();
    EXPECT_EQ(read("o.png"), "the second's");
    first.commit();
  }
  EXPECT_EQ(read("o.png"), "the first's");
  EXPECT_EQ(names(), std::set<std::string>{"o.png"});
}

TEST_F(Macpict, TellsWhatIsNotDrawn) {
  const std::string head("\0\0\0\0\0\0\0\x09\0\x09\0\x11\x02\xFF", 14);
  const std::string text("\0\x28\0\x05\0\x01\x01x", 8), rect("\0\x31\0\0\0\0\0\x05\0\x05", 10), end("\0\xFF", 2);
  fs::create_directories(folder / "both");
  write("text.pict", head + text + end);
  write("both/both.pict", head + rect + text + end);
  write("still.pict", head + end);
  const std::string fontless = "MACPICT_FONTS=" + path("both") + " " MACPICT " ";
  const std::string both = path("both/both.pict") + " " + path("b.png");

  const Outcome blank = execute(fontless + "render " + path("text.pict") + " " + path("o.png"));
  EXPECT_EQ(blank.status, 1);
  EXPECT_NE(blank.text.find("the font file \"" + path("both/LiberationSans-Bold.ttf")), std::string::npos);
  EXPECT_NE(blank.text.find(path("text.pict") + "\" has nothing in it that can be drawn"), std::string::npos)
      << blank.text;
  EXPECT_FALSE(fs::exists(folder / "o.png"));
  EXPECT_EQ(execute(fontless + "render --keep-going " + path("text.pict") + " " + path("o.png")).status, 1);
  EXPECT_TRUE(fs::exists(folder / "o.png"));
  EXPECT_EQ(run("render --strict " + path("still.pict") + " " + path("s.png")).status, 0);

  const Outcome part = execute(fontless + "render " + both);
  EXPECT_EQ(part.status, 0);
  EXPECT_EQ(occurrences(part.text, "text is not drawn"), 1U) << part.text;
  EXPECT_NE(part.text.find("9x9, partly: 1 opcode is not drawn"), std::string::npos) << part.text;
  EXPECT_EQ(execute(fontless + "render --strict " + both).status, 1);
  EXPECT_EQ(run("render --strict " + both).status, 0);
  const std::string corpus = "corpus " + path("both") + " " + path("sheet.png");
  EXPECT_EQ(execute(fontless + corpus).status, 0);
  EXPECT_EQ(execute(fontless + corpus + " --strict").status, 1);

  // Host code is told of its fonts at its end, and of a QuickDraw that isn't there before.
  write("draw.txt",
        "Dim r As New MacPictTVK\nr.CreatePicture(9, 9)\nr.DrawString(\"x\", 1, 5)\nr.ClosePicture\n"
        "Dim p As Picture = NewPicture(9, 9)\nr.Drawpicture(p.Graphics, 0, 0, 9, 9)\n");
  const std::string host = "run --out " + folder.string() + " " + path("draw.txt");
  const Outcome unwritten = execute(fontless + host);
  EXPECT_EQ(unwritten.status, 1);
  EXPECT_EQ(occurrences(unwritten.text, "is not drawn"), 1U) << unwritten.text;
  const Outcome undrawn = execute("MACPICT_FRAMEWORKS=" + path("both") + " " MACPICT " " + host);
  EXPECT_EQ(undrawn.status, 1);
  EXPECT_NE(undrawn.text.find("nothing would be drawn"), std::string::npos) << undrawn.text;
}

TEST_F(Macpict, SaysInOneSentenceWhatWasWrong) {
  write("empty.pict", "");
  write("foreign.pict", std::string(700, 'x'));
  const std::string head("\0\0\0\0\0\0\0\x09\0\x09\0\x11\x02\xFF", 14);
  write("broken.pict", head + std::string("\0\x31\0\0\0\0\0\x05\0\x05\0\x30\0", 13));
  ASSERT_EQ(execute("truncate -s 5G " + path("large") + "; truncate -s 1000M " + path("half")).status, 0);
  const std::pair<std::string, int> cases[] = {{"render " + path("large") + " " + path("o.png"), 1},
                                               {"record " + path("large") + " " + path("o.png"), 1},
                                               {"run " + path("large"), 1},
                                               {"render /dev/zero " + path("o.png"), 1},
                                               {"render " + path(".") + " " + path("o.png"), 1},
                                               {"render " + path("none.pict") + " " + path("o.png"), 1},
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
  }
  const Outcome kept = run("render " + path("broken.pict") + " " + path("o.png") + " --keep-going");
  EXPECT_EQ(kept.status, 1);
  EXPECT_NE(kept.text.find("at offset 24, in opcode 0030 FrameRect"), std::string::npos) << kept.text;
  EXPECT_TRUE(fs::exists(folder / "o.png"));
  const Outcome unwritable = run("render " + path("broken.pict") + " " + path("no/such/o.png") + " --keep-going");
  EXPECT_NE(unwritable.text.find("can't be written"), std::string::npos) << unwritable.text;
  EXPECT_NE(run("list " + path("large")).text.find("5368709120 bytes, and 4294967295 are"), std::string::npos);
#ifndef __SANITIZE_ADDRESS__
  const Outcome tight = execute("ulimit -v 300000; " MACPICT " list " + path("half"));
  EXPECT_EQ(tight.text,
            "macpict: \"" + path("half") + "\" takes more memory than there is; something smaller would work.\n");
#endif
  EXPECT_EQ(run("--version").text.substr(0, 8), "macpict ");
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_EQ(run("help").text, run("--help").text);
  EXPECT_EQ(run("help me").text, "macpict: There is no command \"me\"; macpict help tells all of them.\n");
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(Macpict, SaysThatThereIsNotEnoughMemory) {
  write("drawing.txt", kDrawing);
  ASSERT_EQ(run("run --out " + folder.string() + " " + path("drawing.txt")).status, 0);
  const Outcome large = execute("ulimit -v 500000; " MACPICT " render --stretch --size 20000x20000 " + path("a.pict") +
                                " " + path("o.png"));
  EXPECT_EQ(large.status, 1);
  EXPECT_EQ(large.text, "macpict: The picture \"" + path("a.pict") +
                            "\" would take 20000x20000 pixels in 1600 MB, and there are 512 MB; a smaller --scale, or "
                            "--memory, would work.\n");
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
