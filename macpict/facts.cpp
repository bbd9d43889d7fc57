#include "macpict/facts.h"

#include <algorithm>
#include <map>

#include "macpict/commands.h"
#include "macpict/inputs.h"
#include "tools/failure.h"
#include "tools/playing.h"

const char* wordOf(Outcome outcome) {
  return outcome == Outcome::whole ? "whole" : outcome == Outcome::partly ? "partly" : "failed";
}

std::size_t Facts::opcodeCount() const {
  std::size_t sum = 0;
  for (const OpcodeCount& opcode : opcodes) sum += opcode.count;
  return sum;
}

namespace {

// What is listed of a picture.
Facts listed(const std::string& name, qd::Bytes picture) {
  const auto info = qd::pictureInfo(picture);
  if (!info) throw Failure("The picture " + inQuotes(name) + " is no PICT.");
  Facts facts{name, picture.size(), *info, {info->hRes / 65536.0, info->vRes / 65536.0}, {}, {}, {}, {}, {}, {}};
  std::map<std::uint16_t, OpcodeCount> counts;
  qd::listOpcodes(picture, [&](const qd::Listing& listing) {
    ++counts.try_emplace(listing.number, OpcodeCount{listing.number, listing.name, 0}).first->second.count;
  });
  for (auto& [number, count] : counts) facts.opcodes.push_back(std::move(count));
  facts.images = qd::imagesIn(picture);
  facts.fonts = qd::fontsIn(picture);
  return facts;
}

}  // namespace

Facts factsOf(const std::string& name, qd::Bytes picture, const qd::Playback& playback) {
  Facts facts = listed(name, picture);
  const std::string fault = faultOf(playback);
  facts.outcome = outcomeOf(playback);
  facts.words = fault.empty() ? outcomeOf(playback, false) : "it " + fault;
  facts.remarks = playback.remarks;
  return facts;
}

Facts factsOf(const std::string& name, qd::Bytes picture) {
  const auto info = qd::pictureInfo(picture);
  if (info && (info->width() <= 0 || info->height() <= 0)) {
    Facts facts = listed(name, picture);
    facts.outcome = Outcome::failed;
    facts.words = "it has an empty frame: there is nothing to play";
    return facts;
  }
  const std::string what = "The picture " + inQuotes(name);
  const auto [width, height] = playSize(what, picture, {.most = kMostShown});
  return factsOf(name, picture, makeWorld(what, qd::MakeRect(0, 0, width, height)).play(picture));
}
