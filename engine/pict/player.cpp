#include "engine/pict/player.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

#include "engine/images/decoders.h"
#include "engine/images/shown.h"
#include "engine/memory.h"
#include "engine/pict/bits.h"
#include "engine/pict/opcodes.h"
#include "engine/pict/quicktime.h"
#include "engine/pixels/colors.h"
#include "engine/shapes/coverage.h"

namespace qd {
namespace {

class Player {
 public:
  Player(Port& port, const PictureHeader& header, const Rect& target, Components wanted,
         std::vector<std::string>& remarks)
      : port_(port),
        callersClip_(port.state.clip),
        mapping_(header.source, Box(target)),
        wanted_(wanted),
        remarks_(remarks) {
    const int visibility = port.state.penVisibility;
    port.state = PortState{};
    port.state.penVisibility = visibility;
    port.state.clip = callersClip_;
    setPenSize();
    setText();
  }

  int fourths() const { return fourths_; }

  enum class Outcome { played, skipped, undrawn, broken, withoutMemory };

  Outcome play(const Opcode& opcode) {
    if (isStandIn(opcode)) return Outcome::skipped;
    return play(opcode.number, opcode.operands);
  }
  // Each row of the table has an overload of take().
  Outcome play(std::uint16_t number, ByteReader in) {
    return withOpcode(number, [&](auto& op) {
      readOperands(in, op);
      if (!in.good()) return Outcome::broken;
      if constexpr (std::is_void_v<decltype(take(op))>) {
        take(op);
        return Outcome::played;
      } else {
        return take(op);
      }
    });
  }

 private:
  // What the reader has looked at already, or nothing has to look at.
  void take(const op::NOP&) {}
  void take(const op::VersionOp&) {}
  void take(const op::HeaderOp&) {}
  void take(const op::OpEndPic&) {}
  // What no drawing goes by.
  template <class Op>
  requires(Op::kKind == Kind::reserved || Op::kKind == Kind::comment) Outcome take(const Op&) {
    return Outcome::skipped;
  }

  PortState& state() { return port_.state; }
  void take(const op::BkPat& op) { state().backPattern = {op.pattern, nullptr}; }
  void take(const op::PnPat& op) { state().penPattern = {op.pattern, nullptr}; }
  void take(const op::FillPat& op) { state().fillPattern = {op.pattern, nullptr}; }
  Outcome take(const op::BkPixPat& op) { return setPattern(state().backPattern, op.pattern); }
  Outcome take(const op::PnPixPat& op) { return setPattern(state().penPattern, op.pattern); }
  Outcome take(const op::FillPixPat& op) { return setPattern(state().fillPattern, op.pattern); }
  void take(const op::PnMode& op) { state().penMode = op.mode; }
  void take(const op::FgColor& op) { state().colors.foreground = classicColor(op.color); }
  void take(const op::BkColor& op) { state().colors.background = classicColor(op.color); }
  void take(const op::RGBFgCol& op) { state().colors.foreground = op.color; }
  void take(const op::RGBBkCol& op) { state().colors.background = op.color; }
  void take(const op::OpColor& op) { state().colors.operand = op.color; }
  void take(const op::HiliteColor& op) { state().colors.highlight = op.color; }
  void take(const op::DefHilite&) { state().colors.highlight = TransferColors{}.highlight; }
  void take(const op::HiliteMode&) { state().highlights = true; }
  void take(const op::Clip& op) { setClip(op.region); }
  void take(const op::Origin& op) {
    mapping_.moveOrigin(op.dh, op.dv);
    repeated_.clear();
  }
  void take(const op::OvSize& op) { ovalSize_ = op.size; }
  void take(const op::PnSize& op) {
    penSize_ = op.size;
    setPenSize();
    repeated_.clear();
  }

  template <class Value>
  void setText(Value& field, const Value& value) {
    field = value;
    setText();
  }
  void take(const op::TxFont& op) { setText(text_.font, op.font); }
  void take(const op::TxFace& op) { setText(text_.face, op.face); }
  void take(const op::TxMode& op) { setText(text_.mode, op.mode); }
  void take(const op::TxSize& op) { setText(text_.size, op.size); }
  void take(const op::SpExtra& op) { setText(text_.extra, op.extra); }
  void take(const op::ChExtra& op) { setText(text_.charExtra, op.extra); }
  void take(const op::PnLocHFrac& op) { setText(text_.fraction, op.fraction); }
  void take(const op::GlyphState& op) { setText(text_.hasExactWidths, op.fraction != 0); }
  void take(const op::LineJustify& op) {
    text_.spacing = op.spacing;
    setText(text_.slack, op.extra);
  }
  void take(const op::TxRatio& op) {
    text_.numerator = op.numerator;
    setText(text_.denominator, op.denominator);
  }
  void take(const op::FontName& op) { setText(fontNames_[op.font], std::string(op.name.begin(), op.name.end())); }

  void take(const op::Line& op) { drawLine(op.from, op.to); }
  void take(const op::LineFrom& op) { drawLine(lineEnd_, op.to); }
  void take(const op::ShortLine& op) { drawLine(op.from, moved(op.from, op.dh, op.dv)); }
  void take(const op::ShortLineFrom& op) { drawLine(lineEnd_, moved(lineEnd_, op.dh, op.dv)); }
  void take(const op::LongText& op) { drawText(op.at, op.text); }
  void take(const op::DHText& op) { drawText(moved(textAt_, op.dh, 0), op.text); }
  void take(const op::DVText& op) { drawText(moved(textAt_, 0, op.dv), op.text); }
  void take(const op::DHDVText& op) { drawText(moved(textAt_, op.dh, op.dv), op.text); }

  // Of a shape's fields those that it has are new; the others are as they were last.
  template <HasVerbs Op>
  void take(Op& op) {
    if constexpr (requires { op.rect; }) rect_ = op.rect;
    if constexpr (requires { op.polygon; }) op.polygon.getPoints(polygon_);
    if constexpr (requires { op.region; }) region_ = std::move(op.region);
    if constexpr (
        requires { op.polygon; } || requires { op.region; })
      repeated_.clear();
    if (Op::kKind == Kind::same && repeat(Op::kShape, op.verb)) return;
    Wedge wedge;
    if constexpr (requires { op.arc; }) wedge = {op.start, op.arc};
    drawShape(op.kShape, op.verb, wedge);
  }

  template <class Op>
  requires(Op::kKind == Kind::bits) Outcome take(const Op& op) {
    if (wanted_ == Components::fourth && !hasFourth(op.map)) return Outcome::undrawn;
    fourths_ += hasFourth(op.map) ? 1 : 0;
    const auto pixels = pixelsOf(op.map, op.rows, wanted_);
    if (!pixels) return Outcome::broken;
    countBytes(pixels->map);
    if (op.map.isShort()) remark("rows of pixels are longer than they are said to be, and read so");
    if (op.rows.hasWrongCounts) remark("rows of pixels are counted by bytes where words are due, and read so");
    std::optional<Region> mask;
    if constexpr (requires { op.mask; }) mask = op.mask.mapped(mapping_);
    const auto matte = std::exchange(matte_, std::nullopt);
    perform(port_, BitsCommand{&pixels->map, op.from, toRect(mapping_.box(Box(op.to))), op.mode,
                               mask ? &*mask : nullptr, matte ? &matte->map : nullptr});
    return Outcome::played;
  }
  Outcome take(const op::CompressedQuickTime& op) {
    ByteReader in(op.data);
    return drawQuickTimeImage(in);
  }
  Outcome take(const op::UncompressedQuickTime& op) {
    ByteReader in(op.data);
    std::optional<EncodedImage> matte;
    if (!readUncompressedHead(in, port_.resources().tables, matte)) return Outcome::broken;
    if (!matte) return Outcome::played;
    matte_ = wholeOf(*matte);
    return matte_ ? Outcome::played : Outcome::undrawn;
  }

  // A matte's pixels; nothing, and a remark, if they can't be had.
  std::optional<OwnedPixels> wholeOf(const EncodedImage& matte) {
    std::string why = kSenseless;
    const auto reader = openCodec(matte.codec, matte.source, why);
    auto image = reader != nullptr ? readWhole(*reader, Box(0, 0, reader->format().height, reader->format().width))
                                   : std::nullopt;
    if (!image) {
      remark("an image's matte (" + matte.inWords() + ") can't be decoded, as " + why + "; the image is shown without");
      return std::nullopt;
    }
    countBytes(image->pixels.map);
    return std::move(image->pixels);
  }

  static Outcome setPattern(Pattern& pattern, const PixelPatternFields& fields) {
    auto read = patternOf(fields);
    if (!read) return Outcome::broken;
    pattern = std::move(*read);
    return Outcome::played;
  }

  void setClip(const Region& region) {
    constexpr int kFar = 32000;
    const Box& box = region.bounds();
    const bool isOpen =
        region.isRect() && box.left <= -kFar && box.top <= -kFar && box.right >= kFar && box.bottom >= kFar;
    repeated_.clear();
    state().clip = isOpen ? callersClip_ : intersect(callersClip_, region.mapped(mapping_));
  }

  void setPenSize() {
    port_.state.penSize = {clamp16(mapping_.height(penSize_.v)), clamp16(mapping_.width(penSize_.h))};
  }

  // Text is scaled by its ratio, so that it stays as wide as it was when it was recorded, in proportion.
  void setText() {
    TextState& text = port_.state.text;
    text = text_;
    if (const auto name = fontNames_.find(text_.font); name != fontNames_.end()) text.fontName = name->second;
    if (mapping_.isOffset()) return;
    scaleRatio(text.numerator.h, text.denominator.h, mapping_.to().width(), mapping_.from().width());
    scaleRatio(text.numerator.v, text.denominator.v, mapping_.to().height(), mapping_.from().height());
  }

  static void scaleRatio(std::int16_t& numerator, std::int16_t& denominator, int to, int from) {
    if (numerator <= 0 || denominator <= 0) numerator = denominator = 1;
    if (to <= 0 || from <= 0) return;
    std::int64_t over = std::int64_t{numerator} * to;
    std::int64_t under = std::int64_t{denominator} * from;
    const std::int64_t common = std::gcd(over, under);
    over /= common;
    under /= common;
    while (std::max(over, under) > 0x7FFF) {
      over = (over + 1) / 2;
      under = (under + 1) / 2;
    }
    numerator = static_cast<std::int16_t>(over);
    denominator = static_cast<std::int16_t>(under);
  }

  static Point moved(Point p, int dh, int dv) { return {clamp16(p.v + dv), clamp16(p.h + dh)}; }

  void drawLine(Point from, Point to) {
    perform(port_, LineCommand{mapping_.point(from), mapping_.point(to)});
    lineEnd_ = to;
  }

  void drawText(Point at, Bytes bytes) {
    textAt_ = at;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!text.empty()) perform(port_, TextCommand{mapping_.point(at), text});
  }

  void drawShape(Shape shape, Verb verb, const Wedge& wedge) {
    withShape(shape, verb, wedge, [this](const ShapeCommand& command) { perform(port_, command); });
  }

  template <class Use>
  void withShape(Shape shape, Verb verb, const Wedge& wedge, const Use& use) {
    ShapeCommand command{.shape = shape, .verb = verb, .wedge = wedge};
    std::vector<Point> points;
    Region region;
    switch (shape) {
      case Shape::polygon:
        for (const Point& p : polygon_) points.push_back(mapping_.point(p));
        if (verb == Verb::frame && points.size() < 2) return;
        command.points = points;
        break;
      case Shape::region:
        region = region_.mapped(mapping_);
        command.region = &region;
        break;
      default:
        command.rect = toRect(mapping_.box(Box(rect_)));
        command.ovalSize = {clamp16(mapping_.height(ovalSize_.v)), clamp16(mapping_.width(ovalSize_.h))};
    }
    use(command);
  }

  // What lines do where they meet: nothing more, take back what the other did, or draw once more.
  enum class Meeting { joins, toggles, adds };

  static Meeting meetingOf(Shape shape, Verb verb, int mode) {
    mode &= ~ditherCopy;
    if (shape != Shape::polygon || verb != Verb::frame) return Meeting::joins;
    if (mode == hilite || mode == patXor || mode == patXor + 4) return Meeting::toggles;
    return mode < blend ? Meeting::joins : Meeting::adds;
  }

  // A polygon or a region of thousands of points can be drawn again by two bytes. What of it shows is found out once,
  // and drawn as regions. False for what has to be drawn as it is.
  bool repeat(Shape shape, Verb verb) {
    if (port_.recording != nullptr || (shape != Shape::polygon && shape != Shape::region)) return false;
    const Meeting meeting = meetingOf(shape, verb, state().penMode);
    const bool isFrame = verb == Verb::frame;
    auto known = std::find_if(repeated_.begin(), repeated_.end(), [&](const Repeated& r) {
      return r.shape == shape && r.isFrame == isFrame && r.meeting == meeting;
    });
    if (known == repeated_.end()) {
      known = repeated_.insert(known, Repeated{shape, isFrame, meeting, {}});
      withShape(shape, verb, {}, [&](const ShapeCommand& command) { known->layers = shownOf(command, meeting); });
    }
    // What is framed is painted: both take the pen.
    for (const Region& layer : known->layers)
      perform(port_, ShapeCommand{.shape = Shape::region, .verb = isFrame ? Verb::paint : verb, .region = &layer});
    return true;
  }

  std::vector<Region> shownOf(const ShapeCommand& command, Meeting meeting) {
    const Box clip = port_.visible().bounds();
    const Point pen = state().penSize;
    Box box = command.region != nullptr ? command.region->bounds() : Box(boundsOf(command.points));
    box.right += std::max<int>(pen.h, 1);
    box.bottom += std::max<int>(pen.v, 1);
    Coverage coverage(intersect(box, clip));
    scan(command, pen, clip, coverage);
    // A component of 8 bits that is added to or blended again and again comes to rest or comes round in 256 steps.
    constexpr int kRound = 256;
    const bool isDirect = port_.map().isDirect();
    coverage.fold([=](int count) {
      if (meeting == Meeting::joins) return 1;
      if (meeting == Meeting::toggles) return count & 1;
      return isDirect && count >= kRound ? kRound + count % kRound : count;
    });
    return coverage.layers();
  }

  Outcome drawQuickTimeImage(ByteReader& in) {
    const auto image = readQuickTimeImage(in, port_.resources().tables);
    if (!image) return Outcome::broken;
    const Region mask = image->mask ? image->mask->mapped(mapping_) : Region();
    const Box to = Box(toRect(mapping_.box(Box(image->to))));
    const auto matte = image->matte ? wholeOf(*image->matte) : std::nullopt;
    std::string why = kSenseless;
    const auto reader = openCodec(image->codec, image->source, why);
    const auto part =
        matte && reader != nullptr ? readWhole(*reader, to) : read(reader.get(), to, image->mask ? &mask : nullptr);
    const std::string name = "a QuickTime image (" + image->inWords() + ") ";
    if (!part) {
      remark(name + "can't be decoded, as " + why + "; what stands in for it is shown");
      return Outcome::undrawn;
    }
    if (reader->isDamaged()) remark(name + "is damaged; what could be read of it is shown");
    if (!part->to.empty()) {
      countBytes(part->pixels.map);
      perform(port_, BitsCommand{&part->pixels.map, toRect(part->from), toRect(part->to), image->mode,
                                 image->mask ? &mask : nullptr, matte ? &matte->map : nullptr});
    }
    shown_ = image->to;
    return Outcome::played;
  }

  void countBytes(const PixelMap& map) {
    port_.work.bytes += static_cast<std::uint64_t>(map.rowBytes) * static_cast<std::uint64_t>(map.bounds.height());
  }

  void remark(const std::string& text) {
    if (std::find(remarks_.begin(), remarks_.end(), text) == remarks_.end()) remarks_.push_back(text);
  }

  // What is recorded is whole; what is drawn is what can be seen.
  std::optional<ShownImage> read(ImageReader* image, const Box& to, const Region* mask) {
    if (image == nullptr) return std::nullopt;
    if (port_.recording != nullptr) return readWhole(*image, to);
    if (port_.state.penVisibility < 0) return ShownImage{};
    const Box visible = port_.visible().bounds();
    return readShown(*image, to, mask != nullptr ? intersect(visible, mask->bounds()) : visible);
  }

  // After an image stands what readers without its codec should draw: one bits opcode in its place, or a run of
  // opcodes whose length in bytes a pen size in front of them gives.
  bool isStandIn(const Opcode& opcode) {
    if (opcode.offset < standInEnd_) return true;
    const auto shown = std::exchange(shown_, std::nullopt);
    if (!shown) return false;
    ByteReader in = opcode.operands;
    return withOpcode(opcode.number, [&]<class Op>(Op& op) {
      if constexpr (Op::kKind == Kind::bits) {
        readOperands(in, op);
        return in.good() && op.to == *shown;
      } else if constexpr (std::is_same_v<Op, op::PnSize>) {
        readOperands(in, op);
        if (op.size.h <= 1) return false;
        standInEnd_ = opcode.offset + opcode.length + 2 + static_cast<std::size_t>(op.size.h);
        return true;
      }
      return false;
    });
  }

  Port& port_;
  const Region callersClip_;
  Mapping mapping_;
  const Components wanted_;
  int fourths_ = 0;  // images whose pixels have one
  std::vector<std::string>& remarks_;
  std::optional<OwnedPixels> matte_;  // of the bits that come next
  std::optional<Rect> shown_;         // where the image was drawn that came just before
  std::size_t standInEnd_ = 0;
  // As the picture has it, in its own space.
  Point penSize_ = {1, 1};
  Point ovalSize_ = {0, 0};
  Point lineEnd_ = {0, 0};
  Point textAt_ = {0, 0};
  Rect rect_ = {};
  std::vector<Point> polygon_;
  Region region_;
  // The polygon or the region as it was drawn last, if nothing has changed for it since.
  struct Repeated {
    Shape shape;
    bool isFrame;
    Meeting meeting;
    std::vector<Region> layers;
  };
  std::vector<Repeated> repeated_;
  TextState text_;
  std::map<std::int16_t, std::string> fontNames_;
};

// A port has its state back after a playback, also where memory ends one.
class StateSaver {
 public:
  explicit StateSaver(Port& port) : port_(port), saved_(port.state) {}
  ~StateSaver() { std::swap(port_.state, saved_); }
  StateSaver(const StateSaver&) = delete;
  StateSaver& operator=(const StateSaver&) = delete;

 private:
  Port& port_;
  PortState saved_;
};

}  // namespace

namespace {

Playback play(Port& port, Bytes picture, const Rect& target, Components wanted, int& fourths) {
  Playback playback;
  PictureReader reader(picture);
  if (reader.error() || reader.header().source.empty() || Box(target).empty()) {
    playback.error = reader.error();
    return playback;
  }
  const StateSaver saver(port);
  Player player(port, reader.header(), target, wanted, playback.remarks);
  port.drawn = 0;
  port.work = {};
  Opcode opcode;
  while (reader.next(opcode)) {
    const auto outcome =
        withinMemory([&] { return player.play(opcode); }, [] { return Player::Outcome::withoutMemory; });
    playback.drawn = static_cast<int>(port.drawn);
    playback.work = port.work;
    fourths = player.fourths();
    switch (outcome) {
      case Player::Outcome::played:
        ++playback.played;
        continue;
      case Player::Outcome::skipped:
        ++playback.skipped;
        continue;
      case Player::Outcome::undrawn:
        ++playback.undrawn;
        continue;
      case Player::Outcome::broken:
        playback.error = PictureError{opcode.offset, opcode.number, "its operands make no sense"};
        return playback;
      case Player::Outcome::withoutMemory:
        playback.error = PictureError{opcode.offset, opcode.number, "there is not enough memory for it"};
        return playback;
    }
  }
  playback.error = reader.error();
  if (reader.isEndMissing() && playback.played > 0) {
    playback.error.reset();
    playback.remarks.emplace_back("it ends without an end opcode");
  }
  return playback;
}

}  // namespace

Playback play(Port& port, Bytes picture, const Rect& target) {
  int fourths = 0;
  return play(port, picture, target, Components::colors, fourths);
}

bool playFourth(Port& port, Bytes picture, const Rect& target) {
  int fourths = 0;
  const Playback playback = play(port, picture, target, Components::fourth, fourths);
  return !playback.error && playback.drawn == 1 && playback.undrawn == 0 && fourths == 1;
}

}  // namespace qd
