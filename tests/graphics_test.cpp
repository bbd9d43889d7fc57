// The methods of `graphics`: which operation, with which rectangle, and which port stays selected.
#include "tests/fixture.h"

namespace {

struct GraphicsTest : PluginTest {
  void SetUp() override {
    start();
    picture = host().newPicture(60, 40);
    graphics = host().graphicsOf(picture);
    spy::reference(graphics.get());  // #6
  }
  void TearDown() override {
    picture = {};
    graphics = {};
  }
  std::string run(const std::string& method, const std::vector<Value>& arguments) {
    return traceOf([&] { host().call(graphics, method, arguments); });
  }
  std::string selected(const std::string& call) {
    return "SelectGraphics(" + spy::reference(graphics.get()) + ")\n" + call + "\n";
  }
  CGrafPtr currentPort() {
    CGrafPtr port = nullptr;
    GetPort(&port);
    return port;
  }

  Object picture, graphics;
};

}  // namespace

TEST_F(GraphicsTest, ShapesGoToTheirOperations) {
  const CGrafPtr before = currentPort();
  EXPECT_EQ(run("DrawArcTVK", {10, 20, 40, 50, 30, 90}), selected("FrameArc([20 10 70 50], 30, 90)"));
  EXPECT_EQ(run("FillArcTVK", {10, 20, 40, 50, 30, -90}), selected("PaintArc([20 10 70 50], 30, -90)"));
  EXPECT_EQ(run("ClearArcTVK", {0, 0, 0, -5, 0, 0}), selected("EraseArc([0 0 -5 0], 0, 0)"));
  EXPECT_EQ(run("InvertArcTVK", {1, 2, 3, 4, 65536 + 90, 5}), selected("InvertArc([2 1 6 4], 90, 5)"));
  EXPECT_EQ(run("InvertOvalTVK", {1, 65536 + 10, 3, 4}), selected("InvertOval([10 1 14 4])"));
  EXPECT_EQ(run("ClearOvalTVK", {32767, 2, 1, 4}), selected("EraseOval([2 32767 6 -32768])"));
  EXPECT_EQ(run("InvertRoundRectTVK", {1, 2, 3, 4, 65536 + 8, 6}), selected("InvertRoundRect([2 1 6 4], 8, 6)"));
  EXPECT_EQ(run("ClearRoundRectTVK", {INT32_MAX, 0, 1, 4, 5, 6}), selected("EraseRoundRect([0 -1 4 0], 5, 6)"));
  EXPECT_NE(currentPort(), before) << "the object's port stays selected";
}

TEST_F(GraphicsTest, ANilObjectIsTestedForByTheTwoThatAreNoShapes) {
  const auto callOnNil = [&](const std::string& name) {
    for (const auto& method : host().classes().at("graphics").methods) {
      if (method.declaration.name != name) continue;
      return traceOf([&] {
        reinterpret_cast<void (*)(void*, int, int, int, int, int, int)>(method.handler)(nullptr, 1, 2, 3, 4, 5, 6);
      });
    }
    return std::string("no such method");
  };
  EXPECT_EQ(callOnNil("ClearOvalTVK"), "SelectGraphics(null)\nEraseOval([2 1 6 4])\n");
  EXPECT_EQ(callOnNil("InvertRectTVK"), "");
  EXPECT_EQ(callOnNil("ScrollTVK"), "");
}

TEST_F(GraphicsTest, InvertRectGivesThePortBackAndScrollDoesNot) {
  const CGrafPtr before = currentPort();
  EXPECT_EQ(run("InvertRectTVK", {1, 2, 30, 40}),
            "GetGWorld(&, &)\n" + selected("MacInvertRect([2 1 42 31])") + "SetGWorld(#7, #8)\n");
  EXPECT_EQ(spy::reference(before), "#7");
  EXPECT_EQ(currentPort(), before);
  const std::string scrolled = run("ScrollTVK", {1, 2, 30, 40, 65536, -65537});
  EXPECT_EQ(scrolled, "NewRgn()\n" + selected("ScrollRect([2 1 42 31], 0, -1, #9)") + "DisposeRgn(#9)\n");
  EXPECT_NE(currentPort(), before);
}

TEST_F(GraphicsTest, MissingNamesAreSkippedOneByOne) {
  spy::absent = {"SelectGraphics", "GetGWorld", "NewRgn"};
  EXPECT_EQ(run("InvertRectTVK", {0, 0, 5, 5}), "MacInvertRect([0 0 5 5])\n");
  EXPECT_EQ(run("ScrollTVK", {0, 0, 5, 5, 1, 1}), "ScrollRect([0 0 5 5], 1, 1, null)\n");
  EXPECT_EQ(run("DrawArcTVK", {0, 0, 5, 5, 0, 90}), "FrameArc([0 0 5 5], 0, 90)\n");
}
