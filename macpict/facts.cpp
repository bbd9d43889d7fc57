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

constexpr std::uint16_t kTxFont = 0x0003, kFontName = 0x002C;

// The fonts of a picture, which an opcode chooses by number, and another by number and name.
class Fonts {
 public:
  Fonts(qd::Bytes picture, int version) : picture_(picture), numberBytes_(version == 1 ? 1 : 2) {}

  // All operands of an opcode that is listed are there.
  void look(const qd::Listing& listing) {
    const std::size_t at = listing.offset + numberBytes_;
    if (listing.number == kTxFont) add(number(at), {});
    if (listing.number != kFontName) return;
    constexpr std::size_t kHead = 3;  // number, and the name's length
    const auto operands = static_cast<std::uint16_t>(number(at));
    if (operands < kHead) return;
    const std::size_t length = std::min<std::size_t>(picture_[at + 4], operands - kHead);
    const qd::Bytes name = picture_.subspan(at + 2 + kHead, length);
    add(number(at + 2), qd::utf8OfMacRoman({reinterpret_cast<const char*>(name.data()), name.size()}));
  }
  std::vector<FontUse> take() { return std::move(uses_); }

 private:
  int number(std::size_t at) const { return static_cast<std::int16_t>(picture_[at] << 8 | picture_[at + 1]); }
  // A name holds for its number from there on.
  void add(int number, const std::string& name) {
    const auto same = [&](const FontUse& use) { return use.number == number && (name.empty() || use.name == name); };
    if (std::ranges::none_of(uses_, same)) uses_.push_back({number, name});
  }

  qd::Bytes picture_;
  std::size_t numberBytes_;
  std::vector<FontUse> uses_;
};

// What is listed of a picture.
Facts listed(const std::string& name, qd::Bytes picture) {
  const auto info = qd::pictureInfo(picture);
  if (!info) throw Failure("The picture " + inQuotes(name) + " is no PICT.");
  Facts facts{name, picture.size(), *info, {info->hRes / 65536.0, info->vRes / 65536.0}, {}, {}, {}, {}, {}, {}};
  std::map<std::uint16_t, OpcodeCount> counts;
  Fonts fonts(picture, info->version);
  qd::listOpcodes(picture, [&](const qd::Listing& listing) {
    ++counts.try_emplace(listing.number, OpcodeCount{listing.number, listing.name, 0}).first->second.count;
    fonts.look(listing);
  });
  for (auto& [number, count] : counts) facts.opcodes.push_back(std::move(count));
  facts.images = qd::imagesIn(picture);
  facts.fonts = fonts.take();
  return facts;
}

}  // namespace

Facts factsOf(const std::string& name, qd::Bytes picture, const qd::Playback& playback) {
  Facts facts = listed(name, picture);
  const std::string fault = faultOf(playback);
  facts.outcome = !fault.empty() ? Outcome::failed : playback.undrawn > 0 ? Outcome::partly : Outcome::whole;
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
