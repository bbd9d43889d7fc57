#include "engine/pict/writer.h"

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
constexpr int kSame = op::SameRect - op::Rect;

constexpr std::uint16_t kShapes[] = {op::Rect, op::RRect, op::Oval, op::Arc, op::Poly, op::Rgn};

int at72(int value, Fixed resolution) {
  return static_cast<int>(std::int64_t{value} * k72 / (resolution > 0 ? resolution : k72));
}

bool fitsByte(int value) { return value >= -128 && value <= 127; }

}  // namespace

PictureWriter::PictureWriter(const OpenCPicParams& params, ByteSink& sink, Fonts& fonts)
    : sink_(sink), fonts_(fonts), frame_(Box(params.srcRect)) {
  const Rect& source = params.srcRect;
  out_.u16(0);
  out_.rect(toRect({at72(source.top, params.vRes), at72(source.left, params.hRes), at72(source.bottom, params.vRes),
                    at72(source.right, params.hRes)}));
  out_.u16(op::VersionOp);
  out_.u16(kVersion2);
  out_.u16(op::HeaderOp);
  out_.u16(-2);
  out_.u16(0);
  out_.u32(static_cast<std::uint32_t>(params.hRes));
  out_.u32(static_cast<std::uint32_t>(params.vRes));
  out_.rect(source);
  out_.u32(0);
  flush();
}

// Appends the opcodes of one command, or none of them. A reader would miss the state that went with a command, so that
// after one that is missing none may follow. The end always has room.
void PictureWriter::flush() {
  if (!isFull_ && sink_.append(out_.bytes(), kEndBytes)) {
    size_ += out_.size();
  } else {
    isFull_ = true;
  }
  out_.clear();
}

void PictureWriter::close() {
  if (size_ == 0) return;
  out_.u16(op::OpEndPic);
  sink_.append(out_.bytes(), 0);
  size_ += kEndBytes;
  out_.clear();
  out_.u16(static_cast<int>(size_ & 0xFFFF));
  sink_.replace(0, out_.bytes());
}

void PictureWriter::writeCommon(const PortState& state) {
  const auto writeColor = [this](const RGBColor& color, RGBColor& written, std::uint16_t opcode) {
    if (color == written) return;
    out_.u16(opcode);
    out_.color(color);
    written = color;
  };
  TransferColors& colors = written_.colors;
  writeColor(state.colors.operand, colors.operand, op::OpColor);
  writeColor(state.colors.highlight, colors.highlight, op::HiliteColor);
  writeColor(state.colors.foreground, colors.foreground, op::RGBFgCol);
  writeColor(state.colors.background, colors.background, op::RGBBkCol);

  // A wide-open clip goes out as the frame: there are readers that draw nothing under a wide-open one.
  const Region& clip = state.clip.isWideOpen() ? frame_ : state.clip;
  if (clip == written_.clip) return;
  out_.u16(op::Clip);
  writeRegion(out_, clip);
  written_.clip = clip;
}

void PictureWriter::writePattern(const Pattern& pattern, Pattern& written, std::uint16_t opcode,
                                 std::uint16_t pixelOpcode) {
  if (pattern == written) return;
  if (pattern.pixels != nullptr) {
    out_.u16(pixelOpcode);
    writePixelPattern(out_, pattern);
    out_.align();
  } else {
    out_.u16(opcode);
    out_.put(pattern.bits);
  }
  written = pattern;
}

void PictureWriter::writePen(const PortState& state, bool withSize) {
  if (withSize && !(state.penSize == written_.penSize)) {
    out_.u16(op::PnSize);
    out_.point(state.penSize);
    written_.penSize = state.penSize;
  }
  if (state.penMode != written_.penMode) {
    out_.u16(op::PnMode);
    out_.u16(state.penMode);
    written_.penMode = state.penMode;
  }
  writePattern(state.penPattern, written_.penPattern, op::PnPat, op::PnPixPat);
}

void PictureWriter::write(const PortState& state, const LineCommand& line) {
  writeCommon(state);
  writePen(state, true);
  const int dh = line.to.h - line.from.h;
  const int dv = line.to.v - line.from.v;
  const bool isShort = fitsByte(dh) && fitsByte(dv);
  const bool continues = line.from == written_.lineEnd;
  if (continues) {
    out_.u16(isShort ? op::ShortLineFrom : op::LineFrom);
  } else {
    out_.u16(isShort ? op::ShortLine : op::Line);
    out_.point(line.from);
  }
  if (isShort) {
    out_.u8(dh);
    out_.u8(dv);
  } else {
    out_.point(line.to);
  }
  written_.lineEnd = line.to;
  flush();
}

void PictureWriter::write(const PortState& state, const ShapeCommand& command) {
  writeCommon(state);
  switch (command.verb) {
    case Verb::frame:
      writePen(state, true);
      break;
    case Verb::paint:
      writePen(state, false);
      break;
    case Verb::erase:
      writePattern(state.backPattern, written_.backPattern, op::BkPat, op::BkPixPat);
      break;
    case Verb::fill:
      writePattern(state.fillPattern, written_.fillPattern, op::FillPat, op::FillPixPat);
      break;
    case Verb::invert:
      if (state.highlights) out_.u16(op::HiliteMode);
      break;
  }
  if (command.shape == Shape::roundRect && !(command.ovalSize == written_.ovalSize)) {
    out_.u16(op::OvSize);
    out_.point(command.ovalSize);
    written_.ovalSize = command.ovalSize;
  }
  const auto shape = static_cast<std::size_t>(command.shape);
  const int opcode = kShapes[shape] + static_cast<int>(command.verb);
  if (command.shape == Shape::polygon) {
    out_.u16(opcode);
    out_.u16(static_cast<int>(10 + 4 * command.points.size()));
    Box bounds(INT16_MAX, INT16_MAX, INT16_MIN, INT16_MIN);
    for (const Point& p : command.points) {
      bounds = {std::min<int>(bounds.top, p.v), std::min<int>(bounds.left, p.h), std::max<int>(bounds.bottom, p.v),
                std::max<int>(bounds.right, p.h)};
    }
    out_.rect(toRect(bounds));
    for (const Point& p : command.points) out_.point(p);
  } else if (command.shape == Shape::region) {
    out_.u16(opcode);
    writeRegion(out_, *command.region);
  } else {
    // "Same" means the last rectangle of any shape; some readers take it for the last one of that shape. Used only
    // where both agree.
    const bool isSame = command.rect == written_.rect && command.rect == written_.rectOf[shape];
    out_.u16(isSame ? opcode + kSame : opcode);
    if (!isSame) out_.rect(command.rect);
    if (command.shape == Shape::arc) {
      out_.u16(command.wedge.start);
      out_.u16(command.wedge.arc);
    }
    written_.rect = written_.rectOf[shape] = command.rect;
  }
  flush();
}

void PictureWriter::writeTextState(const TextState& style) {
  TextState& written = written_.text;
  if (style.fontName != written.fontName && !style.fontName.empty()) {
    const std::size_t length = std::min<std::size_t>(style.fontName.size(), 255);
    out_.u16(op::FontName);
    out_.u16(static_cast<int>(3 + length));
    out_.u16(style.font);
    out_.u8(static_cast<int>(length));
    for (std::size_t i = 0; i < length; ++i) out_.u8(style.fontName[i]);
    out_.align();
  }
  if (style.font != written.font || style.fontName != written.fontName) {
    out_.u16(op::TxFont);
    out_.u16(style.font);
  }
  if (style.face != written.face) {
    out_.u16(op::TxFace);
    out_.u8(style.face);
    out_.align();
  }
  if (style.mode != written.mode) {
    out_.u16(op::TxMode);
    out_.u16(style.mode);
  }
  if (style.size != written.size) {
    out_.u16(op::TxSize);
    out_.u16(style.size);
  }
  if (style.extra != written.extra) {
    out_.u16(op::SpExtra);
    out_.u32(static_cast<std::uint32_t>(style.extra));
  }
  if (!(style.numerator == written.numerator && style.denominator == written.denominator)) {
    out_.u16(op::TxRatio);
    out_.point(style.numerator);
    out_.point(style.denominator);
  }
  written = style;
}

void PictureWriter::writeText(Point at, std::string_view bytes) {
  const int dh = at.h - written_.textAt.h;
  const int dv = at.v - written_.textAt.v;
  const auto fits = [](int delta) { return delta >= 0 && delta <= 255; };
  if (fits(dh) && fits(dv)) {
    out_.u16(dv == 0 ? op::DHText : dh == 0 ? op::DVText : op::DHDVText);
    if (dh != 0 || dv == 0) out_.u8(dh);
    if (dv != 0) out_.u8(dv);
  } else {
    out_.u16(op::LongText);
    out_.point(at);
  }
  out_.u8(static_cast<int>(bytes.size()));
  for (const char byte : bytes) out_.u8(byte);
  out_.align();
  written_.textAt = at;
}

void PictureWriter::write(const PortState& state, const TextCommand& text) {
  writeCommon(state);
  writeTextState(state.text);
  Point at = text.at;
  for (std::size_t first = 0; first < text.bytes.size(); first += kMostText) {
    const std::string_view part = text.bytes.substr(first, kMostText);
    writeText(at, part);
    at.h = clamp16(at.h + textWidth(fonts_, state.text, part));
  }
  flush();
}

void PictureWriter::write(const PortState& state, const BitsCommand& bits) {
  writeCommon(state);
  writePieces(bits);
}

// A row of the format is short of 16 KB, so a wide source goes out in strips. It is stretched first: strips of a
// stretched picture don't meet in the same pixels.
void PictureWriter::writePieces(const BitsCommand& bits) {
  Box from = intersect(Box(bits.from), bits.source->bounds);
  if (from.empty() || Box(bits.to).empty()) return out_.clear();
  if (fitsRow(bits.source->depth, from.width())) {
    PixelMap part = *bits.source;
    const auto copy = duplicate(part, from);
    if (!copy) return out_.clear();
    writeBits(out_, copy->map, bits);
    out_.align();
    return flush();
  }
  const Box to(bits.to);
  const bool isStretched = Box(bits.from).width() != to.width() || Box(bits.from).height() != to.height();
  if (isStretched) {
    auto stretched = OwnedPixels::make(to, bits.source->depth, bits.source->colors);
    if (!stretched) return out_.clear();
    copyBits(*bits.source, stretched->map, Box(bits.from), to, srcCopy, Region(to), TransferColors{});
    return writePieces({&stretched->map, bits.to, bits.to, bits.mode, bits.mask});
  }
  const int half = from.left + from.width() / 2;
  const int shift = to.left - bits.from.left;
  for (const Box& part : {Box(from.top, from.left, from.bottom, half), Box(from.top, half, from.bottom, from.right)}) {
    const Box target = part.offset(shift, to.top - bits.from.top);
    writePieces({bits.source, toRect(part), toRect(target), bits.mode, bits.mask});
  }
}

}  // namespace qd
