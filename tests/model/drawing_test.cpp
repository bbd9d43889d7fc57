// What the engine draws, compared with the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "tests/model/scene.h"

namespace model {
namespace {

struct World {
  int depth, table;
};
constexpr World kWorlds[] = {{1, 33}, {2, 34}, {2, 66}, {4, 68}, {4, 36}, {8, 72}, {8, 40}, {16, 0}, {32, 0}};

Scene sceneOf(Chance& chance, const World& world) {
  Scene scene;
  scene.depth = world.depth;
  scene.table = world.table;
  scene.version = chance.any(1, 2);
  // The head may say where the picture lies, or its frame.
  if (scene.version == 2 && chance.oneIn(3)) scene.head = {chance.any(-9, 9), 0, chance.any(10, 20), 7};
  // Half of them are played at another size or in another place.
  if (chance.oneIn(2)) {
    constexpr int kSizes[][2] = {{40, 30}, {80, 60}, {20, 15}, {60, 45}, {57, 20}, {13, 44}};
    const auto& [width, height] = kSizes[chance.any(0, 5)];
    const int left = chance.any(-5, 5), top = chance.any(-5, 5);
    scene.width = std::max(width, 20);
    scene.height = height;
    scene.target = {left, top, left + width, top + height};
    const int h = chance.any(-3, 3), v = chance.any(-3, 3);
    scene.frame = {h, v, h + 40, v + 30};
  }
  scene.seed = static_cast<unsigned>(chance.any(0, 0xFFFF));
  scene.colors = {{0, 0, 0}, {0xFFFF, 0xFFFF, 0xFFFF}};
  for (int i = 0; i < 3; ++i)
    scene.colors.push_back({chance.any(0, 0xFFFF), chance.any(0, 0xFFFF), chance.any(0, 0xFFFF)});
  return scene;
}

class ModelAt : public ::testing::TestWithParam<World> {};

using Add = void (*)(Chance&, Scene&);

// Draws many scenes of so many commands, most of them by one of these.
void expectSameScenes(const World& world, int steps, std::initializer_list<Add> adds) {
  for (unsigned seed = 0; seed < 300 && !::testing::Test::HasFailure(); ++seed) {
    Chance chance(seed);
    Scene scene = sceneOf(chance, world);
    for (int i = 0; i < steps; ++i) chance.of(adds)(chance, scene);
    expectSame(scene);
  }
}

TEST_P(ModelAt, ShapesTouchTheSamePixels) { expectSameScenes(GetParam(), 30, {addState, addShape}); }

TEST_P(ModelAt, BitsTouchTheSamePixels) { expectSameScenes(GetParam(), 20, {addState, addBits, addBits}); }

TEST_P(ModelAt, ImagesTouchTheSamePixels) { expectSameScenes(GetParam(), 12, {addState, addImage, addMatte}); }

// So often that what is added comes round, and what is blended comes to rest.
TEST_P(ModelAt, LinesOfOnePolygonMeetManyTimes) {
  std::vector<Point> points;
  std::string all;
  for (int i = 0; i <= 700; ++i) {
    points.push_back({i % 2 == 0 ? 3 : i % 7 + 30, i % 2 == 0 ? 4 : 25});
    all += " " + text(points.back());
  }
  for (const int mode : {8, 10, 14, 32, 33, 34, 35, 36, 37, 38, 39, 50}) {
    Chance chance(static_cast<unsigned>(mode));
    Scene scene = sceneOf(chance, GetParam());
    for (int i = 0; i < 12; ++i) addState(chance, scene);
    scene.steps.push_back({format("PnMode %d", mode), [=](Player& p) { p.penMode = mode; }});
    scene.steps.push_back({"FramePoly {" + all + " }", [=](Player& p) { p.polygon(Verb::frame, points); }});
    scene.steps.push_back({"FrameSamePoly", [](Player& p) { p.polygon(Verb::frame); }});
    scene.steps.push_back({"PaintSamePoly", [](Player& p) { p.polygon(Verb::paint); }});
    scene.steps.push_back({"FrameSamePoly", [](Player& p) { p.polygon(Verb::frame); }});
    expectSame(scene);
  }
}

// Also within one world, whose pixels are all read before the first is written.
TEST_P(ModelAt, CopiesTouchTheSamePixels) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Chance chance(seed);
    const Scene scene = sceneOf(chance, GetParam());
    const World from = chance.of(kWorlds);
    Drawn to(scene.noise(), scene.table);
    Drawn other(noise(from.depth, from.table, {0, 0, 30, 20}, scene.colors, chance), from.table);
    const Drawn& source = chance.oneIn(4) ? to : other;
    const Rect part = anyRect(chance), place = anyRect(chance);
    to.world.copy(source.world, plain(part), plain(place));
    Player(to.map, to.map.bounds, to.map.bounds).bits(source.map, part, place, 0);
    ASSERT_EQ(to.difference(), "") << text(part) << " of depth " << from.depth << (&source == &to ? ", its own, " : "")
                                   << " to " << text(place) << ", seed " << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Depths, ModelAt, ::testing::ValuesIn(kWorlds), [](const auto& info) {
  return "Depth" + std::to_string(info.param.depth) + "Table" + std::to_string(info.param.table);
});

// Each degree in large rectangles, near the end of its ray, where a tangent that is off by a bit has led to other
// pixels.
TEST(Model, RaysOfAllDegreesTouchTheSamePixels) {
  for (const auto& [h, v] : {std::pair(15000, 15000), {15000, 6000}, {4500, 15000}}) {
    for (int degrees = 1; degrees < 90; ++degrees) {
      const double angle = degrees * std::numbers::pi / 180;
      const int x = static_cast<int>(0.99 * h * std::sin(angle)), y = static_cast<int>(0.99 * v * -std::cos(angle));
      Scene scene;
      scene.width = 600;
      scene.depth = 1;
      scene.table = 33;
      scene.frame = {x - 300, y - 15, x + 300, y + 15};
      scene.target = {0, 0, 600, 30};
      scene.colors = {{0, 0, 0}};
      for (const int start : {0, 180}) {
        scene.steps = {{format("InvertArc (%d, %d, %d, %d) %d %d", -h, -v, h, v, start, degrees - start),
                        [=, h = h, v = v](Player& p) {
                          p.shape(Shape::arc, Verb::invert, {-h, -v, h, v}, start, degrees - start);
                        }}};
        expectSame(scene);
      }
    }
  }
}

TEST(Model, DamagedPicturesEndWithoutHarm) {
  int broken = 0;
  for (unsigned seed = 0; seed < 1500; ++seed) {
    Chance chance(seed);
    Scene scene = sceneOf(chance, chance.of(kWorlds));
    for (int i = 0; i < 12; ++i) chance.of(std::array{addState, addShape, addBits, addImage, addMatte})(chance, scene);
    auto picture = pictureOf(scene);
    if (chance.oneIn(3)) picture.resize(static_cast<std::size_t>(chance.any(0, static_cast<int>(picture.size()))));
    for (int i = picture.empty() ? 0 : chance.any(0, 6); i > 0; --i)
      picture[static_cast<std::size_t>(chance.any(0, static_cast<int>(picture.size()) - 1))] ^= 1 << chance.any(0, 7);
    Drawn drawn(scene.noise(), scene.table);
    broken += drawn.world.play(picture, plain(scene.target)).error ? 1 : 0;
    qd::listPicture(picture, [](const std::string&) {});
    recorded(picture, drawn.map.bounds, scene.target);
  }
  EXPECT_GT(broken, 500);
}

}  // namespace
}  // namespace model
