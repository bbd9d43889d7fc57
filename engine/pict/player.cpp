#include "engine/pict/player.h"

#include <cstring>
#include <map>
#include <utility>

#include "engine/pict/bits.h"
#include "engine/pict/quicktime.h"
#include "engine/pixels/colors.h"
#include "engine/port/command.h"

namespace qd {
namespace {

class Player {
 public:
  Player(Port& port, const PictureHeader& header, const Rect& target, std::vector<std::string>& remarks)
      : port_(port), callersClip_(port.state.clip), mapping_(header.source, Box(target)), remarks_(remarks) {
    const int visibility = port.state.penVisibility;
    port.state = PortState{};
    port.state.penVisibility = visibility;
    port.state.clip = callersClip_;
    setPenSize();
    setText();
  }

  enum class Outcome { played, skipped, undrawn, broken };

  Outcome play(const Opcode& opcode, ByteReader in) {
    const OpcodeRow& row = opcodeRow(opcode.number);
    if (isStandIn(opcode)) return Outcome::skipped;
    if (row.isReserved()) return Outcome::skipped;
    if (row.isFamily) return playShape(row.first, static_cast<Verb>(opcode.number - row.first), in);
    PortState& state = port_.state;
    switch (opcode.number) {
      case op::Clip:
        return setClip(in);
      case op::BkPat:
        state.backPattern = readPattern(in);
        break;
      case op::PnPat:
        state.penPattern = readPattern(in);
        break;
      case op::FillPat:
        state.fillPattern = readPattern(in);
        break;
      case op::BkPixPat:
        return setPixelPattern(state.backPattern, in);
      case op::PnPixPat:
        return setPixelPattern(state.penPattern, in);
      case op::FillPixPat:
        return setPixelPattern(state.fillPattern, in);
      case op::TxFont:
        text_.font = in.s16();
        setText();
        break;
      case op::TxFace:
        text_.face = in.u8();
        setText();
        break;
      case op::TxMode:
        text_.mode = in.s16();
        setText();
        break;
      case op::SpExtra:
        text_.extra = in.s32();
        setText();
        break;
      case op::TxSize:
        text_.size = in.s16();
        setText();
        break;
      case op::TxRatio:
        text_.numerator = in.point();
        text_.denominator = in.point();
        setText();
        break;
      case op::FontName:
        setFontName(in);
        break;
      case op::PnSize:
        penSize_ = in.point();
        setPenSize();
        break;
      case op::PnMode:
        state.penMode = in.s16();
        break;
      case op::OvSize:
        ovalSize_ = in.point();
        break;
      case op::Origin: {
        const int dh = in.s16();
        mapping_.moveOrigin(dh, in.s16());
        break;
      }
      case op::FgColor:
        state.colors.foreground = classicColor(in.s32());
        break;
      case op::BkColor:
        state.colors.background = classicColor(in.s32());
        break;
      case op::RGBFgCol:
        state.colors.foreground = in.color();
        break;
      case op::RGBBkCol:
        state.colors.background = in.color();
        break;
      case op::OpColor:
        state.colors.operand = in.color();
        break;
      case op::HiliteColor:
        state.colors.highlight = in.color();
        break;
      case op::DefHilite:
        state.colors.highlight = TransferColors{}.highlight;
        break;
      case op::HiliteMode:
        state.highlights = true;
        break;
      case op::Line:
        lineEnd_ = in.point();
        [[fallthrough]];
      case op::LineFrom:
        drawLine(in.point());
        break;
      case op::ShortLine:
        lineEnd_ = in.point();
        [[fallthrough]];
      case op::ShortLineFrom: {
        const int dh = in.s8();
        const int dv = in.s8();
        drawLine({clamp16(lineEnd_.v + dv), clamp16(lineEnd_.h + dh)});
        break;
      }
      case op::LongText:
        textAt_ = in.point();
        drawText(in);
        break;
      case op::DHText:
        moveText(in.u8(), 0);
        drawText(in);
        break;
      case op::DVText:
        moveText(0, in.u8());
        drawText(in);
        break;
      case op::DHDVText: {
        const int dh = in.u8();
        moveText(dh, in.u8());
        drawText(in);
        break;
      }
      case op::BitsRect:
      case op::BitsRgn:
      case op::PackBitsRect:
      case op::PackBitsRgn:
      case op::DirectBitsRect:
      case op::DirectBitsRgn:
        return drawBits(opcode.number, in);
      case op::ShortComment:
      case op::LongComment:
        return Outcome::skipped;
      case op::CompressedQuickTime:
        in.u32();  // the length of what follows
        return drawQuickTimeImage(in);
      case op::UncompressedQuickTime: {
        in.u32();
        if (!skipUncompressedHead(in)) return Outcome::broken;
        const std::uint16_t inner = in.u16();
        const bool isBits = opcodeRow(inner).operands == std::string_view("B");
        return isBits ? drawBits(inner, in) : Outcome::undrawn;
      }
      // Without effect on pixels: no-ops, the head, fractions of a pixel, the layout of a line that is drawn as it
      // comes.
      default:
        break;
    }
    return in.good() ? Outcome::played : Outcome::broken;
  }

 private:
  static Pattern readPattern(ByteReader& in) {
    Pattern pattern;
    const Bytes bits = in.take(8);
    std::copy(bits.begin(), bits.end(), pattern.bits.begin());
    return pattern;
  }

  static Outcome setPixelPattern(Pattern& pattern, ByteReader& in) {
    auto read = readPixelPattern(in);
    if (!read) return Outcome::broken;
    pattern = std::move(*read);
    return Outcome::played;
  }

  Outcome setClip(ByteReader& in) {
    const auto region = readRegion(in);
    if (!region) return Outcome::broken;
    constexpr int kFar = 32000;
    const Box& box = region->bounds();
    const bool isOpen =
        region->isRect() && box.left <= -kFar && box.top <= -kFar && box.right >= kFar && box.bottom >= kFar;
    port_.state.clip = isOpen ? callersClip_ : intersect(callersClip_, region->mapped(mapping_));
    return Outcome::played;
  }

  void setPenSize() {
    port_.state.penSize = {clamp16(mapping_.height(penSize_.v)), clamp16(mapping_.width(penSize_.h))};
  }

  // Text is scaled by its size; what the width is scaled beyond that goes into its ratio.
  void setText() {
    TextState& text = port_.state.text;
    text = text_;
    if (const auto name = fontNames_.find(text_.font); name != fontNames_.end()) text.fontName = name->second;
    if (mapping_.isOffset()) return;
    constexpr int kDefaultSize = 12;
    constexpr int kUnit = 4096;
    text.size = clamp16(mapping_.height(text_.size > 0 ? text_.size : kDefaultSize));
    text.extra =
        static_cast<Fixed>(std::int64_t{text_.extra} * mapping_.to().width() / std::max(1, mapping_.from().width()));
    const double across = double(mapping_.to().width()) * mapping_.from().height();
    const double down = double(mapping_.to().height()) * mapping_.from().width();
    if (across == down || down == 0) return;
    const double ratio =
        text_.denominator.h > 0 && text_.numerator.h > 0 ? double(text_.numerator.h) / text_.denominator.h : 1;
    text.numerator.h = clamp16(static_cast<int>(std::min(ratio * across / down, 7.0) * kUnit));
    text.denominator.h = kUnit;
  }

  void setFontName(ByteReader& in) {
    in.u16();  // length
    const std::int16_t number = in.s16();
    const Bytes name = in.take(in.u8());
    if (!in.good()) return;
    fontNames_[number] = std::string(name.begin(), name.end());
    setText();
  }

  void drawLine(Point to) {
    perform(port_, LineCommand{mapping_.point(lineEnd_), mapping_.point(to)});
    lineEnd_ = to;
  }

  void moveText(int dh, int dv) { textAt_ = {clamp16(textAt_.v + dv), clamp16(textAt_.h + dh)}; }
  void drawText(ByteReader& in) {
    const Bytes bytes = in.take(in.u8());
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (in.good() && !text.empty()) perform(port_, TextCommand{mapping_.point(textAt_), text});
  }

  Outcome playShape(std::uint16_t family, Verb verb, ByteReader& in) {
    constexpr std::uint16_t kSame = op::SameRect - op::Rect;
    const bool isSame = (family & kSame) != 0;
    ShapeCommand command;
    command.verb = verb;
    command.shape = static_cast<Shape>((family - op::Rect) >> 4);
    std::vector<Point> points;
    Region region;
    switch (command.shape) {
      case Shape::polygon:
        if (!isSame) {
          auto read = readPolygon(in);
          if (!read) return Outcome::broken;
          polygon_ = std::move(*read);
        }
        for (const Point& p : polygon_) points.push_back(mapping_.point(p));
        if (verb == Verb::frame && points.size() < 2) return Outcome::played;
        command.points = points;
        break;
      case Shape::region:
        if (!isSame) {
          auto read = readRegion(in);
          if (!read) return Outcome::broken;
          region_ = std::move(*read);
        }
        region = region_.mapped(mapping_);
        command.region = &region;
        break;
      default:
        if (!isSame) rect_ = in.rect();
        command.rect = toRect(mapping_.box(Box(rect_)));
        command.ovalSize = {clamp16(mapping_.height(ovalSize_.v)), clamp16(mapping_.width(ovalSize_.h))};
        if (command.shape == Shape::arc) {
          command.wedge.start = in.s16();
          command.wedge.arc = in.s16();
        }
    }
    if (!in.good()) return Outcome::broken;
    perform(port_, command);
    return Outcome::played;
  }

  Outcome drawBits(std::uint16_t opcode, ByteReader& in) {
    const auto header = readBitsHeader(in, opcode);
    if (!header) return Outcome::broken;
    const auto pixels = readRows(in, *header);
    if (!pixels) return Outcome::broken;
    const Region mask = header->mask ? header->mask->mapped(mapping_) : Region();
    perform(port_, BitsCommand{&pixels->map, header->from, toRect(mapping_.box(Box(header->to))), header->mode,
                               header->mask ? &mask : nullptr});
    return Outcome::played;
  }

  Outcome drawQuickTimeImage(ByteReader& in) {
    const auto image = readQuickTimeImage(in, port_.resources().tables);
    if (!image) return Outcome::broken;
    if (!image->pixels) {
      const std::string remark =
          "a QuickTime image of the codec \"" + image->codec + "\" can't be decoded; what stands in for it is shown";
      if (std::find(remarks_.begin(), remarks_.end(), remark) == remarks_.end()) remarks_.push_back(remark);
      return Outcome::undrawn;
    }
    const PixelMap& map = image->pixels->map;
    const Region mask = image->mask ? image->mask->mapped(mapping_) : Region();
    perform(port_, BitsCommand{&map, toRect(map.bounds), toRect(mapping_.box(Box(image->to))), image->mode,
                               image->mask ? &mask : nullptr});
    shown_ = image->to;
    return Outcome::played;
  }

  // Behind an image stands what readers without its codec should draw: one bits opcode in its place, or a run of
  // opcodes whose length in bytes a pen size in front of them gives.
  bool isStandIn(const Opcode& opcode) {
    if (opcode.offset < standInEnd_) return true;
    const auto shown = std::exchange(shown_, std::nullopt);
    if (!shown) return false;
    ByteReader in = opcode.operands;
    if (opcode.number == op::PnSize) {
      in.s16();
      const std::size_t behind = opcode.offset + opcode.length + 2;
      const std::int16_t length = in.s16();
      if (length <= 1) return false;
      standInEnd_ = behind + static_cast<std::size_t>(length);
      return true;
    }
    if (opcodeRow(opcode.number).operands != std::string_view("B")) return false;
    const auto header = readBitsHeader(in, opcode.number);
    return header && header->to == *shown;
  }

  Port& port_;
  const Region callersClip_;
  Mapping mapping_;
  std::vector<std::string>& remarks_;
  std::optional<Rect> shown_;  // where the image was drawn that came just before
  std::size_t standInEnd_ = 0;
  // As the picture has it, in its own space.
  Point penSize_ = {1, 1};
  Point ovalSize_ = {0, 0};
  Point lineEnd_ = {0, 0};
  Point textAt_ = {0, 0};
  Rect rect_ = {};
  std::vector<Point> polygon_;
  Region region_;
  TextState text_;
  std::map<std::int16_t, std::string> fontNames_;
};

}  // namespace

Playback play(Port& port, Bytes picture, const Rect& target) {
  Playback playback;
  PictureReader reader(picture);
  if (reader.error() || reader.header().source.empty() || Box(target).empty()) {
    playback.error = reader.error();
    return playback;
  }
  const PortState saved = port.state;
  Player player(port, reader.header(), target, playback.remarks);
  Opcode opcode;
  while (reader.next(opcode)) {
    switch (player.play(opcode, opcode.operands)) {
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
        break;
    }
    playback.error = PictureError{opcode.offset, opcode.number, "its operands make no sense"};
    break;
  }
  if (!playback.error) playback.error = reader.error();
  port.state = saved;
  return playback;
}

}  // namespace qd
