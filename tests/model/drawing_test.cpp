// What the engine draws, compared with the model.
#include <gtest/gtest.h>

#include "tests/model/scene.h"

namespace model {
namespace {

struct World {
  int depth, table;
};
constexpr World kWorlds[] = {{1, 33}, {2, 34}, {4, 68}, {4, 36}, {8, 72}, {8, 40}, {16, 0}, {32, 0}};

Scene sceneOf(Chance& chance, const World& world) {
  Scene scene;
  scene.depth = world.depth;
  scene.table = world.table;
  scene.version = chance.any(1, 2);
  scene.noise = static_cast<unsigned>(chance.any(0, 0xFFFF));
  scene.colors = {{0, 0, 0}, {0xFFFF, 0xFFFF, 0xFFFF}};
  for (int i = 0; i < 3; ++i)
    scene.colors.push_back({chance.any(0, 0xFFFF), chance.any(0, 0xFFFF), chance.any(0, 0xFFFF)});
  return scene;
}

class Model : public ::testing::TestWithParam<World> {};

TEST_P(Model, ShapesTouchTheSamePixels) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Chance chance(seed);
    Scene scene = sceneOf(chance, GetParam());
    for (int i = 0; i < 30; ++i) chance.oneIn(2) ? addState(chance, scene) : addShape(chance, scene);
    expectSame(scene);
    if (HasFailure()) break;
  }
}

TEST_P(Model, BitsTouchTheSamePixels) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Chance chance(seed);
    Scene scene = sceneOf(chance, GetParam());
    for (int i = 0; i < 20; ++i) chance.oneIn(3) ? addState(chance, scene) : addBits(chance, scene);
    expectSame(scene);
    if (HasFailure()) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Depths, Model, ::testing::ValuesIn(kWorlds), [](const auto& info) {
  return "Depth" + std::to_string(info.param.depth) + "Table" + std::to_string(info.param.table);
});

}  // namespace
}  // namespace model
