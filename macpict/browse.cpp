// macpict browse: a page on which to look at the pictures in folders.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "macpict/batch.h"
#include "macpict/browse.html.h"
#include "macpict/commands.h"
#include "macpict/facts.h"
#include "macpict/outputs.h"
#include "macpict/played.h"
#include "pages/page.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/playing.h"
#include "tools/png.h"

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

constexpr int kPreviewWidth = 320, kPreviewHeight = 240;
constexpr std::size_t kMostListed = 300;    // opcodes of a picture
constexpr std::size_t kMostOperands = 200;  // bytes of what is listed of an opcode

struct Options {
  std::vector<std::string> names;  // the last is where the page goes
  OutputOptions output;
  BatchOptions batch;
  bool isSearching = false;
};

// What the page has of one file.
struct Looked {
  std::vector<Json> pictures;
  std::vector<std::string> problems;
};

Json jsonOf(const Facts& facts) {
  const qd::Rect& frame = facts.info.frame;
  Json json = {{"name", facts.name},
               {"width", facts.info.width()},
               {"height", facts.info.height()},
               {"dpi", {facts.resolution.h, facts.resolution.v}},
               {"version", facts.info.version},
               {"frame", {frame.left, frame.top, frame.right, frame.bottom}},
               {"bytes", facts.bytes},
               {"outcome", wordOf(facts.outcome)},
               {"words", facts.words},
               {"remarks", facts.remarks},
               {"images", Json::array()},
               {"fonts", Json::array()},
               {"opcodeCount", facts.opcodeCount()}};
  for (const qd::PictureImage& image : facts.images) json["images"].push_back(qd::describe(image));
  for (const qd::PictureFont& font : facts.fonts) json["fonts"].push_back(qd::describe(font));
  return json;
}

// Not within a character.
std::string cut(std::string text) {
  if (text.size() <= kMostOperands) return text;
  std::size_t end = kMostOperands;
  while (end > 0 && (text[end] & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "…";
}

Json opcodesOf(qd::Bytes picture) {
  Json all = Json::array();
  qd::listOpcodes(picture, [&all](const qd::Listing& listing) {
    if (all.size() == kMostListed) return;
    std::string operands;
    for (const std::string& operand : listing.operands) operands += (operands.empty() ? "" : " ") + operand;
    all.push_back({listing.offset, listing.name, cut(operands)});
  });
  return all;
}

PlaySize previewSize(const PlaySize& size) {
  const double scale = std::min({1.0, double(kPreviewWidth) / size.width, double(kPreviewHeight) / size.height});
  const auto side = [scale](int pixels) { return std::max(1, static_cast<int>(pixels * scale)); };
  return {side(size.width), side(size.height)};
}

class Browsing {
 public:
  Browsing(const Options& options, const Inputs& inputs, fs::path folder)
      : options_(options), inputs_(inputs), folder_(std::move(folder)) {}

  // All pictures in the file of that number, and what is wrong with it.
  Report look(std::size_t at, Looked& looked) const {
    const InputFile& input = inputs_.files()[at];
    // In one folder all of them lie; among several, or by itself, a file goes by the name that it was given.
    const std::string place = options_.names.size() == 2 && !input.wasNamed ? input.place.string() : input.name;
    Report report;
    std::size_t number = 0;
    lookInto(
        input, place, {.isSearching = options_.isSearching},
        [&looked](const std::string& sentence) { looked.problems.push_back(sentence); },
        [&](const std::string& name, const InputFile&, const containers::Found& found) {
          const std::string id = std::to_string(at + 1) + "-" + std::to_string(++number);
          looked.pictures.push_back(lookAt(name, id, found, report));
        });
    report.complaints.insert(report.complaints.end(), looked.problems.begin(), looked.problems.end());
    return report;
  }

 private:
  Json lookAt(const std::string& name, const std::string& id, const containers::Found& found, Report& report) const {
    const auto info = qd::pictureInfo(found.picture);
    const bool isEmpty = info && (info->width() <= 0 || info->height() <= 0);
    Json json = isEmpty ? jsonOf(factsOf(name, found.picture)) : playedJson(name, id, found.picture);
    json["id"] = id;
    json["title"] = found.title;
    json["opcodes"] = opcodesOf(found.picture);
    const std::string words = json["words"];
    if (json["outcome"] == wordOf(Outcome::failed)) {
      report.complaints.push_back("The picture " + inQuotes(name) + ": " + words + ".");
    } else {
      report.lines.push_back(name + ": " + words);
    }
    return json;
  }

  // With its images: one in full, or as large as can be shown, and a small one.
  Json playedJson(const std::string& name, const std::string& id, qd::Bytes picture) const {
    const std::string what = "The picture " + inQuotes(name);
    const PlaySize size = playSize(what, picture, {.most = kMostShown});
    PlayedPicture full(what, picture, size, {});
    PlayedPicture preview(what, picture, previewSize(size), {.kind = {}, .isSmooth = true});
    Json json = jsonOf(factsOf(name, picture, full.playback()));
    json["image"] = {{"file", write(id, full)}, {"width", size.width}, {"height", size.height}};
    json["preview"] = write(id + "-small", preview);
    return json;
  }

  // Under a name of ours. Gives it as the page has it.
  std::string write(const std::string& id, PlayedPicture& picture) const {
    std::string name = "images/" + id + ".png";
    const fs::path out = folder_ / name;
    mayWrite(out, inputs_, options_.output, true);
    makeFolder(out.parent_path());
    OutputFile file(out);
    writePNG(file, picture.rows());
    file.commit();
    return name;
  }

  const Options& options_;
  const Inputs& inputs_;
  fs::path folder_;
};

// In a page's script, which a text can't end.
std::string asScript(const Json& json) {
  std::string script;
  for (const char c : json.dump(-1, ' ', true, Json::error_handler_t::replace))
    script += c == '<' ? "\\u003C" : std::string(1, c);
  return script;
}

void checkFolder(const fs::path& out, const std::vector<std::string>& names) {
  std::error_code error;
  if (out.extension() == ".html" && !fs::is_directory(out, error)) {
    throw Failure("\"" + out.string() +
                  "\" is the name of one file, and the page has images beside it; a folder would work.");
  }
  for (const std::string& name : names) {
    if (fs::is_directory(name, error) && fs::equivalent(name, out, error)) {
      throw Failure("\"" + name +
                    "\" is to be looked through, and would get a page; another folder for it would work.");
    }
  }
}

// What a file or folder is called where it lies: "pictures" for "../pictures/".
std::string ownName(const std::string& name) {
  std::error_code error;
  const fs::path own = fs::canonical(name, error).filename();
  return own.empty() ? name : own.string();
}

Status browse(const Options& options) {
  const auto [names, to] =
      placesOf(options.names, "browse takes folders and where the page goes", "browse FOLDER OUT/");
  const fs::path out = to;
  checkFolder(out, names);
  const Inputs inputs(names, out);
  const fs::path index = out / "index.html";
  mayWrite(index, inputs, options.output, true);
  makeFolder(out);

  const Browsing browsing(options, inputs, out);
  std::vector<Looked> all(inputs.files().size());
  doAll(all.size(), options.batch, false, [&](std::size_t at) { return browsing.look(at, all[at]); });
  for (const std::string& sentence : inputs.unread()) complain(sentence);

  std::string title;
  for (const std::string& name : names) title += (title.empty() ? "" : ", ") + ownName(name);
  Json page = {{"title", title}, {"pictures", Json::array()}, {"problems", inputs.unread()}};
  for (Looked& looked : all) {
    for (Json& picture : looked.pictures) page["pictures"].push_back(std::move(picture));
    for (std::string& problem : looked.problems) page["problems"].push_back(std::move(problem));
  }
  if (page["pictures"].empty()) throw Failure("No picture is found in " + title + "; a folder with PICTs would work.");
  writeFile(index, filled(filled(std::string(kBrowsePage), "software", kSoftware), "data", asScript(page)));

  const auto count = [&page](Outcome outcome) {
    return std::ranges::count(page["pictures"], wordOf(outcome),
                              [](const Json& picture) { return picture["outcome"]; });
  };
  if (!options.batch.isQuiet) {
    std::printf("%s on %s: %td whole, %td partly, %td failed\n",
                counted(page["pictures"].size(), "picture", "pictures").c_str(), index.c_str(), count(Outcome::whole),
                count(Outcome::partly), count(Outcome::failed));
  }
  return page["problems"].empty() && count(Outcome::failed) == 0 ? kDone : kFailed;
}

}  // namespace

void addBrowse(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "browse", "Make a page on which to look at the pictures in folders", browse);
  command->add_option("FOLDERS", options.names, "FOLDERS and files, and the FOLDER for index.html and its images")
      ->required()
      ->type_name("");
  command->add_flag("-f,--force", options.output.isForced, "Replace what is there");
  addBatch(*command, options.batch);
  addSearch(*command, options.isSearching);
}
