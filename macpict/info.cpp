// macpict info: what pictures are, a line for each, or as JSON.
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "macpict/commands.h"
#include "macpict/facts.h"
#include "macpict/inputs.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::vector<std::string> names;
  bool isJson = false, isSearching = false;
};

std::string dots(double perInch) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", std::round(perInch * 100) / 100);
  return text;
}

std::string lineOf(const Facts& facts) {
  const qd::Rect& frame = facts.info.frame;
  std::string line = facts.name + ": PICT " + std::to_string(facts.info.version) + ", " +
                     std::to_string(facts.info.width()) + "x" + std::to_string(facts.info.height()) +
                     " pixels, frame (" + std::to_string(frame.left) + ", " + std::to_string(frame.top) + ", " +
                     std::to_string(frame.right) + ", " + std::to_string(frame.bottom) + "), " +
                     dots(facts.resolution.h);
  if (facts.resolution.v != facts.resolution.h) line += "x" + dots(facts.resolution.v);
  line += " dpi, " + counted(facts.opcodeCount(), "opcode", "opcodes");
  std::string images;
  for (const qd::PictureImage& image : facts.images) images += (images.empty() ? "" : ", ") + describe(image);
  if (!images.empty()) line += "; images: " + images;
  std::string fonts;
  for (const qd::PictureFont& font : facts.fonts) fonts += (fonts.empty() ? "" : ", ") + describe(font);
  if (!fonts.empty()) line += "; fonts: " + fonts;
  line += "; " + facts.words;
  for (const std::string& remark : facts.remarks) line += "; " + remark;
  return line;
}

Json jsonOf(const Facts& facts) {
  const auto jsonOfRect = [](const qd::Rect& rect) { return Json{rect.left, rect.top, rect.right, rect.bottom}; };
  Json opcodes = Json::object();
  for (const OpcodeCount& opcode : facts.opcodes) opcodes[opcode.name] = opcode.count;
  Json images = Json::array();
  for (const qd::PictureImage& image : facts.images) {
    images.push_back({{"codec", image.codec},
                      {"width", image.width},
                      {"height", image.height},
                      {"depth", image.depth},
                      {"bytes", image.bytes.size()}});
  }
  Json fonts = Json::array();
  for (const qd::PictureFont& font : facts.fonts) fonts.push_back({{"number", font.number}, {"name", font.name}});
  return {{"file", facts.name},
          {"bytes", facts.bytes},
          {"version", facts.info.version},
          {"width", facts.info.width()},
          {"height", facts.info.height()},
          {"frame", jsonOfRect(facts.info.frame)},
          {"dpi", {facts.resolution.h, facts.resolution.v}},
          {"opcodes", opcodes},
          {"images", images},
          {"fonts", fonts},
          {"outcome", wordOf(facts.outcome)},
          {"words", facts.words},
          {"remarks", facts.remarks}};
}

Status info(const Options& options) {
  Json all = Json::array();
  bool isWell = true;
  const bool isRead = eachPicture(Inputs(options.names), options.isSearching,
                                  [&](const std::string& name, const InputFile&, const containers::Found& found) {
                                    const Facts facts = factsOf(name, found.picture);
                                    isWell = isWell && facts.outcome != Outcome::failed;
                                    if (options.isJson) {
                                      all.push_back(jsonOf(facts));
                                    } else {
                                      std::puts(lineOf(facts).c_str());
                                    }
                                  });
  if (options.isJson) std::puts(all.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
  return isRead && isWell ? kDone : kFailed;
}

}  // namespace

void addInfo(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "info", "Tell what pictures are, in a line each", info);
  command->add_option("FILES", options.names, "Files and folders; - is standard input")->required()->type_name("");
  command->add_flag("--json", options.isJson, "As JSON, rectangles as left, top, right, bottom");
  addSearch(*command, options.isSearching);
}
