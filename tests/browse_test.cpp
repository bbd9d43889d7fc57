// The page on which to look at a folder of pictures, in a browser.
#include "tests/containers/files.h"
#include "tests/page.h"

namespace {

// Five pictures whose names and titles try to be more than texts.
struct Browse : Macpict {
  Browse() {
    fs::create_directories(folder / "in/deep");
    make("in/<img src=x onerror=document.body.remove()>", "(0, 0, 40, 20)\nPaintRect (0, 0, 20, 20)\n");
    make("in/line\xE2\x80\xA8 _ \"end\"",
         "(0, 0, 90, 10)\nFontName 900 \"Some </script> Font\"\nTxFont 900\nTxFont 3\n" +
             std::string("LongText (3, 8) \"x\"\nPaintRect (0, 0, 9, 9)\n"));
    std::string many;
    for (int i = 0; i < 400; ++i) many += "PaintRect (0, 0, " + std::to_string(i) + ", 8)\n";
    make("in/deep/many", "(0, 0, 5000, 8)\n" + many);
    make("fork", "(0, 0, 30, 30)\nPaintOval (0, 0, 30, 30)\n");
    write("in/icons.rsrc",
          files::fork({{128, "</script><script>document.title = 'broken'</script>", read("fork.pict")}}));
    const std::string cut = read("fork.pict");
    write("in/cut.pict", cut.substr(0, cut.size() - 2) + std::string("\0\x30\0", 3));
    write("in/notes.txt", "no picture");
  }
  void make(const std::string& name, const std::string& text) {
    write("text", "picture version 2 frame " + text + "OpEndPic\n");
    EXPECT_EQ(run("assemble " + path("text") + " '" + path(name + ".pict") + "'").status, 0) << name;
  }
  Outcome browse(const std::string& options = "") { return run("browse " + options + path("in") + " " + path("out/")); }
};

}  // namespace

TEST_F(Browse, ShowsWhatIsInAFolder) {
  const Outcome made =
      execute("MACPICT_FONTS=" + path("in") + " " MACPICT " browse -j 3 " + path("in") + " " + path("out"));
  EXPECT_EQ(made.status, 1);
  EXPECT_NE(made.text.find("5 pictures on " + path("out/index.html") + ": 3 whole, 1 partly, 1 failed\n"),
            std::string::npos)
      << made.text;
  EXPECT_EQ(
      told(folder / "out/index.html", 1280, R"(
      say(document.title);
      say(textOf("#sum") + " " + textOf("#count"));
      say(namesShown());
      say(document.querySelectorAll("img").length + " images, " + document.scripts.length + " scripts");
      say((await Promise.all([...document.images].map(image => pixelsIn(image.src)))).join(" "));
      choose("sort", "size");
      say(namesShown());
      choose("outcome", "failed");
      say(textOf("#count") + ": " + textOf(".outcome"));
      choose("outcome", "");
      choose("sort", "name");
      choose("filter", "<\/SCRIPT> FONT");
      say(textOf("#count") + ": " + textOf(".outcome"));
      document.activeElement.blur();
      press("/");
      say(document.activeElement.id);
      press("Escape");
      say(textOf("#count"));
      press("ArrowDown");
      press("ArrowRight");
      document.activeElement.click();
      say(textOf("#open-name"));
      press("ArrowRight");
      say(textOf("#open-name") + ": " + textOf("#listed") + " " + document.querySelectorAll("tbody tr").length);
      say(await pixelsIn(document.querySelector("figure a").href));
      say(facts());
      press("ArrowRight");
      say(textOf("#open-name"));
      press("ArrowRight");
      say(facts());
      dialog.close();
      dialog.dispatchEvent(new Event("close"));  // the browser's own waits for a frame that it may never draw
      say(textOf(":focus .name"));
  )"),
      "Pictures in in\n"
      "5 pictures: 3 whole, 1 partly, 1 failed. Showing 5 of 5\n"
      "_img src=x onerror=document.body.remove()_.pict, cut.pict, deep/many.pict, icons.rsrc#128, line\u2028 _ "
      "\"end\".pict\n"
      "5 images, 3 scripts\n"
      "40x20 30x30 320x1 30x30 90x10\n"
      "deep/many.pict, cut.pict, icons.rsrc#128, line\u2028 _ \"end\".pict, _img src=x "
      "onerror=document.body.remove()_.pict\n"
      "Showing 1 of 5: it is broken at offset 24, in opcode 0030 FrameRect: its operands are broken or go past the "
      "end of the picture\n"
      "Showing 1 of 5: partly: 1 opcode is not drawn\n"
      "filter\n"
      "Showing 5 of 5\n"
      "cut.pict\n"
      "deep/many.pict: The first 300 of 401; macpict list prints all of them. 300\n"
      "4096x7\n"
      "Outcome whole Size 5000 \u00D7 8 pixels Shown as 4096 \u00D7 7 pixels Resolution 72 dpi Frame (0, 0) to "
      "(5000, 8) Version 2 Bytes 4,016\n"
      "icons.rsrc#128 _/script__script_document.title = 'broken'_/script_\n"
      "Outcome partly: 1 opcode is not drawn Remarks text is not drawn, since the font file \"" +
          path("in/LiberationSans-Regular.ttf") +
          "\" can't be used: it can't be read Size 90 \u00D7 10 pixels Resolution 72 dpi Frame (0, 0) to (90, 10) "
          "Version 2 Bytes 68 Fonts Some _/script_ Font (900), Geneva (3)\n"
          "line\u2028 _ \"end\".pict");
}

// On a telephone nothing is wider than it, be it named however.
TEST_F(Browse, FitsATelephone) {
  make("in/" + std::string(200, 'w'), "(0, 0, 900, 900)\nPaintRect (0, 0, 20, 20)\n");
  browse();
  EXPECT_EQ(told(folder / "out/index.html", 390, R"(
      say(innerWidth + " " + isNarrow());
      for (const picture of pictures) {
        open(picture);
        say(isNarrow());
      }
  )"),
            "390 true\ntrue\ntrue\ntrue\ntrue\ntrue\ntrue");
}

TEST_F(Browse, ReplacesOnlyWhatIsItsOwn) {
  browse();
  const std::string page = read("out/index.html");
  fs::remove_all(folder / "out");
  fs::create_directories(folder / "out/images");
  write("out/index.html", "<title>somebody's</title>");
  const auto refused = [this](const std::string& arguments, const std::string& sentence) {
    const Outcome outcome = run("browse " + arguments);
    EXPECT_EQ(outcome.status, 1) << arguments;
    EXPECT_NE(outcome.text.find(sentence), std::string::npos) << arguments << "\n" << outcome.text;
  };
  refused(path("in") + " " + path("out"), "--force to replace it");
  EXPECT_TRUE(fs::is_empty(folder / "out/images"));
  refused(path("in/deep") + " " + path("in/") + " " + path("in"), "another folder for it would work");
  refused(path("in") + " " + path("page.html"), "name of one file");
  refused(path("out") + " " + path("new"), "No picture is found in out");
  EXPECT_FALSE(fs::exists(folder / "new/index.html"));

  // Its own page and images are made anew without a word, however many work on it.
  browse("--force ");
  write("out/images/2-1.png", "somebody's");
  const Outcome again = browse("-j 3 ");
  EXPECT_EQ(read("out/images/2-1.png"), "somebody's");
  EXPECT_NE(again.text.find("2-1.png\" is there already"), std::string::npos) << again.text;
  EXPECT_NE(read("out/index.html"), page);
  browse("--force -j 3 ");
  EXPECT_EQ(read("out/index.html"), page);
}
