// macpict list: the opcodes of a picture, for people or as JSON.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "macpict/commands.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::string file;
  bool isJson = false;
  bool isFull = false;
};

Json jsonOf(const qd::Rect& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

Json jsonOf(const qd::Listing& listing) {
  char number[5];
  std::snprintf(number, sizeof number, "%04X", listing.number);
  return {{"offset", listing.offset}, {"opcode", number}, {"name", listing.name}, {"operands", listing.operands}};
}

Status listAsJson(const Options& options, qd::Bytes picture) {
  const auto info = qd::pictureInfo(picture);
  Json opcodes = Json::array();
  const qd::ListingEnd end =
      qd::listOpcodes(picture, [&opcodes](const qd::Listing& listing) { opcodes.push_back(jsonOf(listing)); });
  Json all = {{"file", options.file}};
  if (info) {
    all["version"] = info->version;
    all["frame"] = jsonOf(info->frame);
    all["source"] = jsonOf(info->source);
    all["dpi"] = {info->hRes / 65536.0, info->vRes / 65536.0};
  }
  all["opcodes"] = std::move(opcodes);
  all["bytesBehindTheEnd"] = end.left;
  all["error"] = end.error ? Json(qd::describe(*end.error)) : Json();
  std::puts(all.dump(2, ' ', true, Json::error_handler_t::replace).c_str());
  return end.error ? kFailed : kDone;
}

Status listInFull(const Options& options) {
  const std::string file = readPictureFile(options.file);
  const qd::ListingEnd end = qd::listFully(asBytes(file), [](const std::string& text) { std::puts(text.c_str()); });
  std::fflush(stdout);
  if (end.error) throw Failure("The picture \"" + options.file + "\" is broken " + qd::describe(*end.error) + ".");
  return kDone;
}

Status list(const Options& options) {
  if (options.isFull) return listInFull(options);
  const std::string picture = readPicture(options.file);
  if (options.isJson) return listAsJson(options, asBytes(picture));
  std::string last;
  const bool isWhole = qd::listPicture(asBytes(picture), [&last](const std::string& line) {
    if (!last.empty()) std::puts(last.c_str());
    last = line;
  });
  std::fflush(stdout);
  if (!isWhole) throw Failure("The picture \"" + options.file + "\" is broken " + last + ".");
  std::puts(last.c_str());
  return kDone;
}

}  // namespace

void addList(CLI::App& app, Command& chosen) {
  const auto [command, options] = addCommand<Options>(app, chosen, "list", "Print a line for each opcode of a picture",
                                                      workingOn(&Options::file, list));
  command->add_option("IN.pict", options.file, "The picture")->required()->type_name("");
  CLI::Option* json = command->add_flag("--json", options.isJson, "As JSON, rectangles as left, top, right, bottom");
  command->add_flag("--full", options.isFull, "Every operand and every byte, as macpict assemble takes it")
      ->excludes(json);
}
