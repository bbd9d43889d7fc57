// Writes the conformance set into a folder: of each picture its text, its bytes, the expected pixels and what is told
// of it. Fails with a sentence for each picture that the engine draws in another way than the model, that shows
// nothing, or in which a line doesn't matter, or does although it should not.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "conformance/entry.h"
#include "containers/containers.h"
#include "qdraw/qdraw.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/png.h"

namespace conformance {
namespace {

// Red, green and blue, a byte each.
struct Pixels {
  explicit Pixels(const Rect& rect) : width(rect.width()), height(rect.height()) { rgb.resize(offset(0, height)); }
  std::size_t offset(int x, int y) const {
    return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
  }
  const std::uint8_t* at(int x, int y) const { return &rgb[offset(x, y)]; }
  bool operator==(const Pixels&) const = default;

  int width, height;
  std::vector<std::uint8_t> rgb;
};

Rect placed(const Rect& rect) { return {0, 0, rect.width(), rect.height()}; }
Rect spaceOf(const Entry& entry) { return entry.space.value_or(entry.frame); }

// The picture as the model draws it, of that size and without one of the lines, if one is named.
Pixels modelled(const Entry& entry, const Rect& size, std::size_t without = SIZE_MAX) {
  Map map(32, placed(size));
  std::ranges::fill(map.pixels, 0xFFFFFF);
  model::Player player(map, spaceOf(entry), placed(size));
  for (std::size_t i = 0; i < entry.lines.size(); ++i) {
    if (i != without) entry.lines[i].step.play(player);
  }
  Pixels pixels(size);
  for (std::size_t i = 0; i < pixels.rgb.size(); ++i)
    pixels.rgb[i] = static_cast<std::uint8_t>(map.pixels[i / 3] >> (16 - 8 * (i % 3)));
  return pixels;
}

Pixels played(const Bytes& file, const Rect& size) {
  const containers::Contents contents = containers::picturesIn(asBytes(file));
  if (contents.pictures.size() != 1 || !contents.notes.empty()) throw Failure("it isn't one whole picture");
  static qd::System system(FONTS);
  auto world = qd::GWorld::make(system, size.width(), size.height());
  const qd::Playback playback = world->play(contents.pictures[0].picture);
  if (playback.error) throw Failure("the engine says: " + qd::describe(*playback.error));
  const auto isExpected = [](const std::string& remark) { return remark == "it ends without an end opcode"; };
  for (const std::string& remark : playback.remarks) {
    if (!isExpected(remark)) throw Failure("the engine says: " + remark);
  }
  Pixels pixels(size);
  for (int y = 0; y < size.height(); ++y)
    world->rgb(y, std::span(pixels.rgb).subspan(pixels.offset(0, y), pixels.offset(0, 1)));
  return pixels;
}

std::array<std::uint8_t, 3> eightBits(const Color& color) {
  const auto component = [&color](std::size_t i) { return static_cast<std::uint8_t>(color[i] >> 8); };
  return {component(0), component(1), component(2)};
}

bool isSame(const std::uint8_t* is, const std::uint8_t* expected, int tolerance) {
  return std::abs(is[0] - expected[0]) <= tolerance && std::abs(is[1] - expected[1]) <= tolerance &&
         std::abs(is[2] - expected[2]) <= tolerance;
}

// Where pixels aren't as they are expected to be, in words; empty if they are.
std::string difference(const Entry& entry, const Pixels& is, const Pixels& expected) {
  for (int y = 0; y < is.height; ++y) {
    for (int x = 0; x < is.width; ++x) {
      const auto isIn = [=](const Area& area) { return area.box.holds(x, y); };
      if (std::ranges::any_of(entry.areas, isIn) || isSame(is.at(x, y), expected.at(x, y), entry.tolerance)) continue;
      const std::uint8_t *a = is.at(x, y), *b = expected.at(x, y);
      return model::format("pixel (%d, %d) is #%02X%02X%02X by the engine and #%02X%02X%02X by the model", x, y, a[0],
                           a[1], a[2], b[0], b[1], b[2]);
    }
  }
  for (const auto& [box, ink] : entry.areas) {
    const std::array<std::uint8_t, 3> color = eightBits(ink);
    bool hasInk = false;
    for (int y = box.top; y < box.bottom; ++y) {
      for (int x = box.left; x < box.right; ++x) hasInk |= isSame(is.at(x, y), color.data(), 0);
    }
    if (!hasInk) return "nothing in the area " + model::text(box) + " has the colour " + model::text(ink);
  }
  return {};
}

void check(const Entry& entry, const Pixels& expected) {
  const bool hasInk =
      std::ranges::any_of(expected.rgb, [](std::uint8_t c) { return c != 255; }) || !entry.areas.empty();
  if (!hasInk) throw Failure("it shows nothing");
  for (std::size_t i = 0; i < entry.lines.size(); ++i) {
    const auto& [step, isIdle] = entry.lines[i];
    if ((modelled(entry, spaceOf(entry), i) == expected) != isIdle)
      throw Failure("the picture is " + std::string(isIdle ? "another" : "the same") + " without \"" +
                    step.line.substr(0, 60) + "\"");
  }
}

Image imageOf(const Pixels& pixels) {
  return {pixels.width, pixels.height, std::string(pixels.rgb.begin(), pixels.rgb.end())};
}

nlohmann::ordered_json aboutOf(const Family& family, const Entry& entry) {
  const std::string place = std::string(family.name) + "/" + entry.name;
  nlohmann::ordered_json about = {{"family", family.name},       {"name", entry.name},
                                  {"shows", entry.shows},        {"rule", entry.rule},
                                  {"text", place + ".txt"},      {"picture", place + "." + entry.ending},
                                  {"expected", {place + ".png"}}};
  if (entry.space) about["expected"].push_back(place + ".72dpi.png");
  about["judged"] = !entry.areas.empty() ? "around areas" : entry.tolerance > 0 ? "within a tolerance" : "exactly";
  about["tolerance"] = entry.tolerance;
  about["areas"] = nlohmann::ordered_json::array();
  for (const auto& [box, ink] : entry.areas)
    about["areas"].push_back({{"box", {box.left, box.top, box.right, box.bottom}}, {"ink", eightBits(ink)}});
  return about;
}

// Writes an entry's files, and then looks whether it is right.
void make(const Family& family, const Entry& entry, const std::filesystem::path& folder) {
  const auto path = [&](const std::string& ending) { return folder / family.name / (entry.name + ending); };
  const std::string text = textOf(entry);
  writeFile(path(".txt"), text);
  const qd::Assembled made = qd::assemblePicture(text);
  if (made.error) throw Failure("line " + std::to_string(made.error->line) + " of its text: " + made.error->what);
  Bytes file(made.picture.begin(), made.picture.end());
  if (entry.wrap != nullptr) file = entry.wrap(file);
  writeFile(path("." + entry.ending), file);

  std::vector<std::pair<std::string, Rect>> sizes = {{".png", spaceOf(entry)}};
  if (entry.space) sizes.emplace_back(".72dpi.png", entry.frame);
  for (const auto& [ending, size] : sizes) {
    const Pixels expected = modelled(entry, size);
    writePNG(path(ending), imageOf(expected));
    if (size.width() == spaceOf(entry).width()) check(entry, expected);
    const std::string differs = difference(entry, played(file, size), expected);
    if (!differs.empty()) throw Failure(differs);
  }
}

int makeAll(const std::filesystem::path& folder) {
  auto index = nlohmann::ordered_json::object();
  index["families"] = nlohmann::ordered_json::array();
  index["entries"] = nlohmann::ordered_json::array();
  int wrong = 0;
  for (const Family& family : kFamilies) {
    makeFolder(folder / family.name);
    index["families"].push_back({{"name", family.name}, {"title", family.title}});
    std::set<std::string> names;
    for (const Entry& entry : family.entries()) {
      index["entries"].push_back(aboutOf(family, entry));
      try {
        if (!names.insert(entry.name).second) throw Failure("there are two of that name");
        make(family, entry, folder);
      } catch (const Failure& failure) {
        ++wrong;
        std::fprintf(stderr, "conformance: %s/%s: %s.\n", family.name, entry.name.c_str(), failure.what());
      }
    }
    std::printf("%4zu %s\n", names.size(), family.name);
  }
  writeFile(folder / "index.json", index.dump(1) + "\n");
  std::printf("%4zu pictures, of which %d are wrong\n", index["entries"].size(), wrong);
  return wrong > 0 ? 1 : 0;
}

}  // namespace
}  // namespace conformance

int main(int count, char** arguments) {
  if (count != 2) {
    std::fputs("usage: make-conformance FOLDER\n", stderr);
    return 2;
  }
  try {
    return conformance::makeAll(arguments[1]);
  } catch (...) {
    std::fprintf(stderr, "conformance: %s\n", sentenceOfCaught(arguments[1]).c_str());
    return 1;
  }
}
