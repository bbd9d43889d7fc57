// Pictures made by chance, drawn by the engine and by the model, and compared pixel by pixel. What differs is cut down
// to the fewest commands that still differ, and printed as a text that macpict assembles.
#pragma once

#include <qdraw/qdraw.h>

#include <random>
#include <string>
#include <vector>

#include "tests/model/step.h"

namespace model {

class Chance {
 public:
  explicit Chance(unsigned seed) : random_(seed) {}
  int any(int low, int high) { return low + static_cast<int>(random_() % static_cast<unsigned>(high - low + 1)); }
  bool oneIn(int many) { return any(1, many) == 1; }
  int near(int high);
  template <class Choices>
  auto of(const Choices& choices) {
    return *(std::begin(choices) + any(0, static_cast<int>(std::size(choices)) - 1));
  }

 private:
  std::mt19937 random_;
};

// Many of its pixels have one of the colours.
Map noise(int depth, int table, const Rect& bounds, const std::vector<Color>& colors, Chance chance);

// A world and the model's map of it, with the same pixels to begin with.
struct Drawn {
  explicit Drawn(Map pixels, int table);
  // Where the two differ, in words; empty if they don't.
  std::string difference() const;

  Map map;
  qd::GWorld world;
};

// A world, and a picture for it.
struct Scene {
  int depth = 32, table = 0;
  int width = 40, height = 30;
  int version = 2;
  Rect frame = {0, 0, 40, 30}, target = {0, 0, 40, 30};
  std::optional<Rect> head;   // the frame where another rectangle is the picture's space
  std::vector<Color> colors;  // that are met often
  unsigned seed = 0;          // of its pixels
  std::vector<Step> steps;
  bool isRecorded = false;  // what counts is what is recorded while it is played
  Point corner;             // of the pixels; a world's is the origin

  Map noise() const {
    const Rect bounds = {corner.h, corner.v, corner.h + width, corner.v + height};
    return model::noise(depth, table, bounds, colors, Chance(seed));
  }
};
std::vector<std::uint8_t> pictureOf(const Scene& scene);
// Fails, and says where, if the engine draws it in another way than the model: the picture, or what is recorded while
// it is played.
void expectSame(Scene scene);

// What a port of that place and size records while a picture is played into a part of it.
std::vector<std::uint8_t> recorded(const std::vector<std::uint8_t>& picture, const Rect& bounds, const Rect& target);
// The engine plays a picture into all of the map.
qd::Playback playInto(Map& map, const std::vector<std::uint8_t>& picture);

// What commands can be made of.
qd::Point plain(Point p);
qd::Rect plain(const Rect& r);
Rect anyRect(Chance& chance);
Region anyRegion(Chance& chance);
Color anyColor(Chance& chance, const Scene& scene);
// Pixels of a depth and a size; those of a table have some of the scene's colours.
Map anyMap(Chance& chance, const Scene& scene, int depth, const Rect& bounds);
// As an opcode's operands have them: the map, and its rows.
struct Written {
  std::vector<std::uint8_t> map, rows;
  bool isPacked;
};
Written written(Chance& chance, const Map& map);

void addState(Chance& chance, Scene& scene);
void addShape(Chance& chance, Scene& scene);
void addBits(Chance& chance, Scene& scene);
void addImage(Chance& chance, Scene& scene);
// Bits that are copied through a matte.
void addMatte(Chance& chance, Scene& scene);

}  // namespace model
