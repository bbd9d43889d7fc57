#include "tests/model/scene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace model {

namespace {

// The pixels in a world's bytes.
std::uint32_t pixelIn(qd::Bytes row, int depth, int x) {
  const auto at = [&row](int i) -> std::uint32_t { return row[static_cast<std::size_t>(i)]; };
  if (depth == 32) return at(4 * x + 1) << 16 | at(4 * x + 2) << 8 | at(4 * x + 3);
  if (depth == 16) return (at(2 * x) << 8 | at(2 * x + 1)) & 0x7FFF;
  return at(x * depth / 8) >> (8 - depth - x * depth % 8) & ((1U << depth) - 1);
}

qd::System& theSystem() {
  static qd::System system("no fonts are needed");
  return system;
}

std::int16_t word(int at) { return static_cast<std::int16_t>(at); }

}  // namespace

qd::Point plain(Point p) { return {word(p.v), word(p.h)}; }
qd::Rect plain(const Rect& r) { return {word(r.top), word(r.left), word(r.bottom), word(r.right)}; }

Map noise(int depth, int table, const Rect& bounds, const std::vector<Color>& colors, Chance chance) {
  Map map(depth, bounds, table != 0 ? tableOf(table) : Table());
  for (std::uint32_t& pixel : map.pixels) {
    pixel = chance.oneIn(3) ? static_cast<std::uint32_t>(chance.any(0, 0xFFFFFF)) & map.ones()
                            : map.pixelOf(chance.of(colors));
  }
  return map;
}

namespace {

std::string differenceOf(const Map& is, const Map& model) {
  const auto at = std::ranges::mismatch(is.pixels, model.pixels).in1 - is.pixels.begin();
  if (at == std::ssize(is.pixels)) return {};
  const auto i = static_cast<int>(at);
  const int x = i % is.bounds.width() + is.bounds.left, y = i / is.bounds.width() + is.bounds.top;
  return format("pixel (%d, %d) is %X; the model has %X", x, y, is.at(x, y), model.at(x, y));
}

}  // namespace

Drawn::Drawn(Map pixels, int table)
    : map(std::move(pixels)),
      world(*qd::GWorld::make(theSystem(), map.bounds.width(), map.bounds.height(), map.depth, table)) {
  for (int y = 0; y < map.bounds.bottom; ++y) {
    for (int x = 0; x < map.bounds.right; ++x) putPixel(world.row(y), map.depth, x, map.at(x, y));
  }
}

std::string Drawn::difference() const {
  Map is = map;
  for (int y = 0; y < map.bounds.bottom; ++y) {
    for (int x = 0; x < map.bounds.right; ++x) is.at(x, y) = pixelIn(world.row(y), map.depth, x);
  }
  return differenceOf(is, map);
}

namespace {

std::string textOf(const Scene& scene) {
  std::string all = format("picture version %d frame ", scene.version) + text(scene.head.value_or(scene.frame)) + "\n";
  if (scene.head) all += "HeaderOp { version -2 hRes 144 vRes 72 source " + text(scene.frame) + " }\n";
  for (const Step& step : scene.steps) all += step.line + "\n";
  return all + "OpEndPic\n";
}

}  // namespace

std::vector<std::uint8_t> pictureOf(const Scene& scene) {
  qd::Assembled made = qd::assemblePicture(textOf(scene));
  EXPECT_FALSE(made.error) << made.error->line << ": " << made.error->what << "\n" << textOf(scene);
  return std::move(made.picture);
}

namespace {

std::string difference(const Scene& scene) {
  const std::vector<std::uint8_t> picture = pictureOf(scene);
  const auto byModel = [&scene](Map& map) {
    Player player(map, scene.frame, scene.target);
    for (const Step& step : scene.steps) step.play(player);
  };
  const auto inWords = [](const qd::Playback& playback) { return playback.error ? describe(*playback.error) : ""; };
  if (scene.isRecorded) {
    Map is = scene.noise(), model = is;
    const std::string error = inWords(playInto(is, recorded(picture, is.bounds, scene.target)));
    byModel(model);
    return error + differenceOf(is, model);
  }
  Drawn drawn(scene.noise(), scene.table);
  const std::string error = inWords(drawn.world.play(picture, plain(scene.target)));
  byModel(drawn.map);
  return error + drawn.difference();
}

// Fails with the fewest of its steps that still differ.
void expectNoDifference(Scene scene) {
  if (difference(scene).empty()) return;
  for (std::size_t i = scene.steps.size(); i-- > 0;) {
    Scene less = scene;
    less.steps.erase(less.steps.begin() + static_cast<std::ptrdiff_t>(i));
    if (!difference(less).empty()) scene = less;
  }
  ADD_FAILURE() << (scene.isRecorded ? "recorded, " : "") << "into " << text(scene.target) << " of " << scene.width
                << "x" << scene.height << ", depth " << scene.depth << ", table " << scene.table << ": "
                << difference(scene) << "\n"
                << textOf(scene);
}

}  // namespace

void expectSame(Scene scene) {
  expectNoDifference(scene);
  scene.isRecorded = true;
  Chance chance(scene.seed);
  scene.corner = {chance.any(-9, 9), chance.any(-9, 9)};
  std::erase_if(scene.steps, [](const Step& step) { return !step.isRecorded; });
  expectNoDifference(scene);
}

}  // namespace model
