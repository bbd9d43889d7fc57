// macpict list: the opcodes of a picture, for people or as JSON.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "macpict/commands.h"
#include "macpict/inputs.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::vector<std::string> names;
  bool isJson = false;
  bool isFull = false;
  bool isSearching = false;
};

Json jsonOf(const qd::Rect& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

Json jsonOf(const qd::Listing& listing) {
  char number[5];
  std::snprintf(number, sizeof number, "%04X", listing.number);
  return {{"offset", listing.offset}, {"opcode", number}, {"name", listing.name}, {"operands", listing.operands}};
}

Json jsonOf(const std::string& name, qd::Bytes picture, bool& isWell) {
  const auto info = qd::pictureInfo(picture);
  Json opcodes = Json::array();
  const qd::ListingEnd end =
      qd::listOpcodes(picture, [&opcodes](const qd::Listing& listing) { opcodes.push_back(jsonOf(listing)); });
  Json all = {{"file", name}};
  if (info) {
    all["version"] = info->version;
    all["frame"] = jsonOf(info->frame);
    all["source"] = jsonOf(info->source);
    all["dpi"] = {info->hRes / 65536.0, info->vRes / 65536.0};
  }
  all["opcodes"] = std::move(opcodes);
  all["bytesBehindTheEnd"] = end.left;
  all["error"] = end.error ? Json(qd::describe(*end.error)) : Json();
  isWell = isWell && !end.error;
  return all;
}

// One picture is an object, several are an array.
bool listAsJson(const Options& options) {
  Json all = Json::array();
  bool isWell = true;
  const bool isRead = eachPicture(Inputs(options.names), options.isSearching,
                                  [&](const std::string& name, const InputFile&, const containers::Found& found) {
                                    all.push_back(jsonOf(name, found.picture, isWell));
                                  });
  if (all.empty()) return false;
  std::puts((all.size() == 1 ? all[0] : all).dump(2, ' ', true, Json::error_handler_t::replace).c_str());
  return isRead && isWell;
}

[[noreturn]] void failBroken(const std::string& name, const std::string& why) {
  std::fflush(stdout);
  throw Failure("The picture " + inQuotes(name) + " is broken " + why + ".");
}

// Every byte of a file, its header among them.
Status listInFull(const std::string& name) {
  std::string file = readInput(name);
  if (!qd::pictureInFile(asBytes(file))) throw Failure(noPictureIn(name, containers::picturesIn(asBytes(file)), true));
  const qd::ListingEnd end = qd::listFully(asBytes(file), [](const std::string& text) { std::puts(text.c_str()); });
  if (end.error) failBroken(name, qd::describe(*end.error));
  return kDone;
}

void listOne(const std::string& name, qd::Bytes picture) {
  std::string last;
  const bool isWhole = qd::listPicture(picture, [&last](const std::string& line) {
    if (!last.empty()) std::puts(last.c_str());
    last = line;
  });
  if (!isWhole) failBroken(name, last);
  std::puts(last.c_str());
}

Status list(const Options& options) {
  if (options.isFull) {
    if (options.names.size() > 1) throw CLI::ValidationError("--full lists one file, for assemble to make again");
    return workOn(options.names[0], [&] { return listInFull(options.names[0]); });
  }
  if (options.isJson) return listAsJson(options) ? kDone : kFailed;
  const Inputs inputs(options.names);
  std::size_t count = 0;
  const bool isWell = eachPicture(inputs, options.isSearching,
                                  [&](const std::string& name, const InputFile&, const containers::Found& found) {
                                    // Whose lines these are, where there may be several.
                                    if (name != options.names[0])
                                      std::printf("%s%s:\n", count > 0 ? "\n" : "", name.c_str());
                                    ++count;
                                    listOne(name, found.picture);
                                  });
  return isWell ? kDone : kFailed;
}

}  // namespace

void addList(CLI::App& app, Command& chosen) {
  const auto [command, options] =
      addCommand<Options>(app, chosen, "list", "Print a line for each opcode of pictures", list);
  command->add_option("FILES", options.names, "The pictures; - is standard input")->required()->type_name("");
  CLI::Option* json = command->add_flag("--json", options.isJson, "As JSON, rectangles as left, top, right, bottom");
  command->add_flag("--full", options.isFull, "Every operand and every byte, as macpict assemble takes it")
      ->excludes(json);
  addSearch(*command, options.isSearching);
}
