#include "engine/pict/writer.h"

#include <tuple>

#include "engine/memory.h"
#include "engine/pict/bits.h"
#include "engine/pict/opcodes.h"
#include "engine/pixels/copy.h"
#include "engine/text/text.h"

namespace qd {
namespace {

constexpr Fixed k72 = 0x480000;
constexpr int kVersion2 = 0x02FF;
constexpr std::size_t kEndBytes = 2;
constexpr std::size_t kMostText = 255;  // bytes in one opcode

int at72(int value, Fixed resolution) {
  return static_cast<int>(std::int64_t{value} * k72 / (resolution > 0 ? resolution : k72));
}

bool fitsByte(int value) { return value >= -128 && value <= 127; }

// The kinds of command, as a set.
enum Command : unsigned {
  kLine = 1,
  kFrame = 2,
  kPaint = 4,
  kErase = 8,
  kInvert = 16,
  kFill = 32,
  kText = 64,
  kBits = 128,
  kRound = 256,  // beside a verb
  kAll = kLine | kFrame | kPaint | kErase | kInvert | kFill | kText | kBits,
};
constexpr Command kVerbs[] = {kFrame, kPaint, kErase, kInvert, kFill};

}  // namespace

PictureWriter::PictureWriter(const OpenCPicParams& params, ByteSink& sink, Fonts& fonts)
    : sink_(sink), fonts_(fonts), frame_(Box(params.srcRect)) {
  const Rect& source = params.srcRect;
  out_.u16(0);
  out_.rect(toRect({at72(source.top, params.vRes), at72(source.left, params.hRes), at72(source.bottom, params.vRes),
                    at72(source.right, params.hRes)}));
  out_.u16(op::VersionOp::kNumber);
  out_.u16(kVersion2);
  add(op::HeaderOp{.head = {.version = -2, .hRes = params.hRes, .vRes = params.vRes, .source = source}});
  flush();
}

// Appends what was added, or nothing of it. The end always has room.
void PictureWriter::flush() {
  if (!isFull_ && sink_.append(out_.bytes(), kEndBytes)) {
    size_ += out_.size();
  } else {
    isFull_ = true;
  }
  out_.clear();
}

// A reader would miss the state that went with a command, so that after one that is missing none may follow.
template <class Command>
void PictureWriter::write(const PortState& state, const Command& command) {
  if (isFull_) return;
  isFull_ = withinMemory(
      [&] {
        addCommand(state, command);
        flush();
        return isFull_;
      },
      [] { return true; });
  out_.clear();
}
template void PictureWriter::write(const PortState&, const LineCommand&);
template void PictureWriter::write(const PortState&, const ShapeCommand&);
template void PictureWriter::write(const PortState&, const TextCommand&);
template void PictureWriter::write(const PortState&, const BitsCommand&);

void PictureWriter::close() {
  if (size_ == 0) return;
  add(op::OpEndPic{});
  sink_.append(out_.bytes(), 0);
  size_ += kEndBytes;
  out_.clear();
  out_.u16(static_cast<int>(size_ & 0xFFFF));
  sink_.replace(0, out_.bytes());
}

template <class Op>
void PictureWriter::add(const Op& op) {
  out_.u16(numberOf(op));
  writeOperands(out_, op);
  out_.align();
}

template <class Bits, class Pixels>
void PictureWriter::addPattern(const Pattern& pattern) {
  ByteWriter colors;
  if (pattern.pixels != nullptr) {
    add(Pixels{fieldsOf(pattern, colors)});
  } else {
    add(Bits{pattern.bits});
  }
}

// A row for each thing that a port remembers: the commands that go by it, what it is, what was last written of it, and
// how it is written if these differ. The rows are in the order in which opcodes of state stand before a command.
void PictureWriter::addState(unsigned command, const PortState& state, Point ovalSize) {
  const auto row = [command](unsigned commands, const auto& is, auto&& was, const auto& write) {
    if ((command & commands) == 0 || is == was) return;
    write(is);
    was = is;
  };
  const TransferColors& colors = state.colors;
  const TextState& text = state.text;
  PortState& port = written_.port;
  TextState& wasText = port.text;
  constexpr unsigned kPen = kLine | kFrame | kPaint;
  // A wide-open clip goes out as the frame: there are readers that draw nothing under a wide-open one.
  const Region& clip = state.clip.isWideOpen() ? frame_ : state.clip;
  bool always = false;  // highlighting is for one inversion

  row(kAll, colors.operand, port.colors.operand, [this](const RGBColor& c) { add(op::OpColor{c}); });
  row(kAll, colors.highlight, port.colors.highlight,
      [this](const RGBColor& c) { c == TransferColors{}.highlight ? add(op::DefHilite{}) : add(op::HiliteColor{c}); });
  row(kInvert, state.highlights, always, [this](bool) { add(op::HiliteMode{}); });
  row(kAll, colors.foreground, port.colors.foreground, [this](const RGBColor& c) { add(op::RGBFgCol{c}); });
  row(kAll, colors.background, port.colors.background, [this](const RGBColor& c) { add(op::RGBBkCol{c}); });
  row(kAll, clip, written_.clip, [this](const Region& region) { add(op::Clip{region}); });
  row(kLine | kFrame, state.penSize, port.penSize, [this](Point size) { add(op::PnSize{size}); });
  row(kPen, state.penMode, port.penMode, [this](int mode) { add(op::PnMode{Low16(mode)}); });
  row(kPen, state.penPattern, port.penPattern, [this](const Pattern& p) { addPattern<op::PnPat, op::PnPixPat>(p); });
  row(kErase, state.backPattern, port.backPattern,
      [this](const Pattern& p) { addPattern<op::BkPat, op::BkPixPat>(p); });
  row(kFill, state.fillPattern, port.fillPattern,
      [this](const Pattern& p) { addPattern<op::FillPat, op::FillPixPat>(p); });
  row(kRound, ovalSize, written_.ovalSize, [this](Point size) { add(op::OvSize{size}); });
  if (command != kText) return;
  row(kText, std::tie(text.fontName, text.font), std::tie(wasText.fontName, wasText.font), [&](const auto&) {
    const std::string_view name = std::string_view(text.fontName).substr(0, kMostText);
    if (name != wasText.fontName && !name.empty()) add(op::FontName{text.font, bytesOf(name)});
    add(op::TxFont{text.font});
  });
  row(kText, text.face, wasText.face, [this](std::uint8_t face) { add(op::TxFace{face}); });
  row(kText, text.mode, wasText.mode, [this](std::int16_t mode) { add(op::TxMode{mode}); });
  row(kText, text.size, wasText.size, [this](std::int16_t size) { add(op::TxSize{size}); });
  row(kText, text.extra, wasText.extra, [this](Fixed extra) { add(op::SpExtra{extra}); });
  row(kText, text.charExtra, wasText.charExtra, [this](std::int16_t extra) { add(op::ChExtra{extra}); });
  row(kText, text.fraction, wasText.fraction, [this](std::uint16_t fraction) { add(op::PnLocHFrac{fraction}); });
  row(kText, text.hasExactWidths, wasText.hasExactWidths,
      [this](bool isExact) { add(op::GlyphState{.fraction = static_cast<std::uint8_t>(isExact ? 1 : 0)}); });
  row(kText, std::tie(text.spacing, text.slack), std::tie(wasText.spacing, wasText.slack), [&](const auto&) {
    add(op::LineJustify{text.spacing, text.slack});
  });
  row(kText, std::tie(text.numerator, text.denominator), std::tie(wasText.numerator, wasText.denominator),
      [&](const auto&) {
        add(op::TxRatio{text.numerator, text.denominator});
      });
}

void PictureWriter::addCommand(const PortState& state, const LineCommand& line) {
  addState(kLine, state);
  const int dh = line.to.h - line.from.h;
  const int dv = line.to.v - line.from.v;
  const bool continues = line.from == written_.lineEnd;
  if (fitsByte(dh) && fitsByte(dv)) {
    const auto h = static_cast<std::int8_t>(dh);
    const auto v = static_cast<std::int8_t>(dv);
    continues ? add(op::ShortLineFrom{.dh = h, .dv = v}) : add(op::ShortLine{.from = line.from, .dh = h, .dv = v});
  } else {
    continues ? add(op::LineFrom{.to = line.to}) : add(op::Line{.from = line.from, .to = line.to});
  }
  written_.lineEnd = line.to;
}

void PictureWriter::addCommand(const PortState& state, const ShapeCommand& command) {
  const bool isRound = command.shape == Shape::roundRect;
  addState(kVerbs[static_cast<std::size_t>(command.verb)] | (isRound ? kRound : 0U), state, command.ovalSize);
  const Verb verb = command.verb;
  if (command.shape == Shape::polygon) {
    return add(op::Poly{verb, {.bounds = boundsOf(command.points), .given = command.points}});
  }
  if (command.shape == Shape::region) return add(op::Rgn{verb, *command.region});
  // "Same" means the last rectangle of any shape; some readers take it for the last one of that shape. Used only where
  // both agree.
  const Rect& rect = command.rect;
  const auto shape = static_cast<std::size_t>(command.shape);
  const bool isSame = rect == written_.rect && rect == written_.rectOf[shape];
  const std::int16_t start = Low16(command.wedge.start);
  const std::int16_t arc = Low16(command.wedge.arc);
  switch (command.shape) {
    case Shape::rect:
      isSame ? add(op::SameRect{verb}) : add(op::Rect{verb, rect});
      break;
    case Shape::roundRect:
      isSame ? add(op::SameRRect{verb}) : add(op::RRect{verb, rect});
      break;
    case Shape::oval:
      isSame ? add(op::SameOval{verb}) : add(op::Oval{verb, rect});
      break;
    default:
      isSame ? add(op::SameArc{verb, start, arc}) : add(op::Arc{verb, rect, start, arc});
  }
  written_.rect = written_.rectOf[shape] = rect;
}

void PictureWriter::addText(Point at, std::string_view text) {
  const int dh = at.h - written_.textAt.h;
  const int dv = at.v - written_.textAt.v;
  const auto fits = [](int delta) { return delta >= 0 && delta <= 255; };
  const auto h = static_cast<std::uint8_t>(dh);
  const auto v = static_cast<std::uint8_t>(dv);
  const Bytes bytes = bytesOf(text);
  if (!fits(dh) || !fits(dv)) {
    add(op::LongText{at, bytes});
  } else if (dv == 0) {
    add(op::DHText{h, bytes});
  } else if (dh == 0) {
    add(op::DVText{v, bytes});
  } else {
    add(op::DHDVText{h, v, bytes});
  }
  written_.textAt = at;
}

void PictureWriter::addCommand(const PortState& state, const TextCommand& text) {
  addState(kText, state);
  Point at = text.at;
  for (std::size_t first = 0; first < text.bytes.size(); first += kMostText) {
    const std::string_view part = text.bytes.substr(first, kMostText);
    addText(at, part);
    at.h = clamp16(at.h + textWidth(fonts_, state.text, part));
  }
}

void PictureWriter::addCommand(const PortState& state, const BitsCommand& bits) {
  if (intersect(Box(bits.from), bits.source->bounds).empty() || Box(bits.to).empty()) return;
  addState(kBits, state);
  addPieces(bits);
}

// The source's bounds are what is written.
void PictureWriter::addPixels(const PixelMap& source, const BitsCommand& bits) {
  ByteWriter colors;
  const Map map = mapOf(source, colors);
  const auto put = [&]<class Op>(Op op) {
    if constexpr (requires { op.base; }) op.base = 0xFF;
    if constexpr (requires { op.mask; }) op.mask = *bits.mask;
    op.map = map;
    op.from = bits.from;
    op.to = bits.to;
    op.mode = bits.mode;
    op.rows.pixels = &source;
    add(op);
  };
  const bool isMasked = bits.mask != nullptr;
  if (source.isDirect()) {
    isMasked ? put(op::DirectBitsRgn{}) : put(op::DirectBitsRect{});
  } else if (isShort(source)) {
    isMasked ? put(op::BitsRgn{}) : put(op::BitsRect{});
  } else {
    isMasked ? put(op::PackBitsRgn{}) : put(op::PackBitsRect{});
  }
}

// A row of the format is short of 16 KB, so a wide source goes out in strips. It is stretched first: strips of a
// stretched picture don't meet in the same pixels.
void PictureWriter::addPieces(const BitsCommand& bits) {
  const Box from = intersect(Box(bits.from), bits.source->bounds);
  if (fitsRow(bits.source->depth, from.width())) {
    const auto copy = duplicate(*bits.source, from);
    if (!copy) throw std::bad_alloc();
    addPixels(copy->map, bits);
    return flush();
  }
  const Box to(bits.to);
  const bool isStretched = Box(bits.from).width() != to.width() || Box(bits.from).height() != to.height();
  if (isStretched) {
    const auto stretched = OwnedPixels::make(to, bits.source->depth, bits.source->colors);
    if (!stretched) throw std::bad_alloc();
    copyBits(*bits.source, stretched->map, Box(bits.from), to, srcCopy, Region(to), TransferColors{});
    return addPieces({&stretched->map, bits.to, bits.to, bits.mode, bits.mask});
  }
  const int half = from.left + from.width() / 2;
  const int shift = to.left - bits.from.left;
  for (const Box& part : {Box(from.top, from.left, from.bottom, half), Box(from.top, half, from.bottom, from.right)}) {
    const Box target = part.offset(shift, to.top - bits.from.top);
    addPieces({bits.source, toRect(part), toRect(target), bits.mode, bits.mask});
  }
}

}  // namespace qd
