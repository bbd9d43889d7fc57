// What each operation writes into a PICT, as readable text in recordings.txt. After a wanted change of the format run
// the tests with MACPICT_ACCEPT=1, and read the difference before it is committed.
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>

#include "engine/pict/lister.h"
#include "tests/fixture.h"

namespace {

struct Recordings : PluginTest {
  // The opcodes after the head and the first clip.
  std::string record(const std::function<void(const Object&)>& draw) {
    const Object recorder = this->recorder(100, 80);
    draw(recorder);
    host().call(recorder, "ClosePicture");
    const std::string picture = bytes(host().get(recorder, "PicHandleData"));
    std::string text;
    const auto add = [&text](const std::string& line) {
      text += "    " + line.substr(line.find_first_not_of(' ')) + "\n";
    };
    EXPECT_TRUE(qd::listPicture({reinterpret_cast<const std::uint8_t*>(picture.data()), picture.size()}, add));
    qd::resetCurrentPort();
    return text;
  }
};

}  // namespace

TEST_F(Recordings, AreAsTheyWere) {
  using Call = std::pair<std::string, std::vector<Value>>;
  const Object points = host().integers({10, 10, 50, 20, 30, 60});
  const Object picture = host().newPicture(6, 2, 8);
  const auto text = [&](const char* utf8) { return host().string(utf8); };
  const std::vector<std::pair<const char*, std::vector<Call>>> scenes = {
      {"nothing", {}},
      {"rectangles",
       {{"FrameRect", {1, 2, 30, 40}},
        {"PaintRect", {1, 2, 30, 40}},
        {"EraseRect", {5, 5, 9, 9}},
        {"InvertRect", {5, 5, 9, 9}}}},
      {"ovals",
       {{"FrameOval", {1, 2, 30, 40}},
        {"PaintOval", {1, 2, 30, 40}},
        {"EraseOval", {5, 5, 9, 9}},
        {"InvertOval", {-5, 5, 9, 9}}}},
      {"round rectangles",
       {{"FrameRoundRect", {1, 2, 30, 40, 8, 6}},
        {"PaintRoundRect", {1, 2, 30, 40, 8, 6}},
        {"EraseRoundRect", {1, 2, 30, 40, 9, 9}},
        {"InvertRoundRect", {1, 2, 3, 4, 9, 9}}}},
      {"arcs",
       {{"FrameArc", {1, 2, 30, 40, 45, 90}},
        {"PaintArc", {1, 2, 30, 40, 0, -90}},
        {"EraseArc", {5, 5, 9, 9, 1, 2}},
        {"InvertArc", {5, 5, 9, 9, 400, 2}}}},
      {"a rectangle between ovals is written again",
       {{"FrameOval", {1, 2, 3, 4}}, {"FrameRect", {1, 2, 3, 4}}, {"PaintOval", {1, 2, 3, 4}}}},
      {"lines",
       {{"MoveTo", {5, 6}},
        {"LineTo", {9, 70}},
        {"Line", {1, 2}},
        {"Move", {3, 3}},
        {"LineTo", {500, 3}},
        {"Drawline", {500, 3, 9, 9}}}},
      {"polygons",
       {{"FramePoly", {points}}, {"PaintPoly", {points}}, {"ErasePoly", {points}}, {"InvertPoly", {points}}}},
      {"pen",
       {{"PenSize", {3, 5}},
        {"PaintRect", {1, 1, 2, 2}},
        {"FrameRect", {1, 1, 20, 20}},
        {"HidePen", {}},
        {"FrameRect", {2, 2, 4, 4}}}},
      {"text",
       {{"DrawString", {text("one \xC3\xA9"), 10, 20}},
        {"DrawText", {text("two")}},
        {"DrawString", {text("three"), 10, 40}},
        {"DrawString", {text("four"), 5, 5}}}},
      {"long text", {{"DrawString", {host().string(std::string(300, 'i')), 1, 12}}}},
  };
  std::string all;
  for (const auto& [name, calls] : scenes) {
    all += std::string(name) + "\n" + record([&, &calls = calls](const Object& recorder) {
             for (const auto& [method, arguments] : calls) host().call(recorder, method, arguments);
           });
  }
  all += "colours and text attributes\n" + record([&](const Object& recorder) {
           host().set(recorder, "ForeColor", 0xCC3311);
           host().set(recorder, "BackColor", 0x0055AA);
           host().call(recorder, "EraseRect", {1, 1, 5, 5});
           host().set(recorder, "TextSize", 18);
           host().set(recorder, "TextFace", 5);
           host().set(recorder, "TextMode", 2);
           host().call(recorder, "DrawString", {text("styled"), 300, 20});
         });
  all += "a picture's pixels\n";
  const std::string pict = bytes(host().get(picture, "PicHandleDataTVK"));
  qd::listPicture({reinterpret_cast<const std::uint8_t*>(pict.data()), pict.size()},
                  [&](const std::string& line) { all += "    " + line.substr(line.find_first_not_of(' ')) + "\n"; });

  const std::string path = std::string(TESTS) + "/recordings.txt";
  if (std::getenv("MACPICT_ACCEPT") != nullptr) std::ofstream(path) << all;
  std::ifstream in(path);
  EXPECT_EQ(all, std::string(std::istreambuf_iterator<char>(in), {})) << "see the head of recordings_test.cpp";
}
