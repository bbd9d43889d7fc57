#include "engine/pict/lister.h"

#include "engine/pict/assembler.h"
#include "engine/pict/bits.h"
#include "engine/pict/opcodes.h"
#include "engine/pict/quicktime.h"
#include "engine/text/substitutes.h"

namespace qd {
namespace {

// What a short listing says of each field.
struct FieldBrief {
  ByteReader& in;
  std::vector<std::string>& texts;

  template <class Type, class Value, class Self>
  void operator()(Type type, Value& value, const char* name, const Self& self) {
    if constexpr (requires { Type::brief(in, self); }) {
      texts.push_back(Type::brief(in, self));
    } else if constexpr (requires { Type::brief(in); }) {
      texts.push_back(Type::brief(in));
    } else {
      FieldReader{in}(type, value, name, self);
      TextWriter text;
      FieldLister{text, false}(type, value, name, self);
      texts.push_back(text.take());
    }
  }
  void check(bool, const char*) {}
};

template <class Bits>
std::string briefBits(ByteReader& in, Bits& bits) {
  readOperands(in, bits);
  if (!in.good()) return "broken";
  const Box bounds(bits.map.bounds);
  std::string text = format("depth %d, %dx%d, from ", bits.map.depth(), bounds.width(), bounds.height()) +
                     textOf(bits.from) + " to " + textOf(bits.to) + format(" mode %d", bits.mode);
  if constexpr (requires { bits.mask; }) text += " in " + textOf(toRect(bits.mask.bounds()));
  return text;
}

std::string briefImage(ByteReader& in, op::CompressedQuickTime& op) {
  readOperands(in, op);
  ByteReader data(op.data);
  ColorTables tables;
  const auto image = readQuickTimeImage(data, tables);
  return image ? image->inWords() + ", to " + textOf(image->to) : format("%zu bytes, broken", op.data.size());
}

std::vector<std::string> briefOperands(const Opcode& opcode) {
  std::vector<std::string> texts;
  ByteReader in = opcode.operands;
  withOpcode(opcode.number, [&]<class Op>(Op& op) {
    if constexpr (Op::kKind == Kind::bits) {
      texts.push_back(briefBits(in, op));
    } else if constexpr (std::is_same_v<Op, op::CompressedQuickTime>) {
      texts.push_back(briefImage(in, op));
    } else if constexpr (Op::kKind == Kind::sized) {
      texts.push_back(format("%zu bytes", in.left() - 2));
    } else {
      FieldBrief brief{in, texts};
      Op::describe(op, brief);
    }
  });
  return texts;
}

struct FieldCount {
  int count = 0;

  template <class Type, class Value, class Self>
  void operator()(Type, const Value&, const char*, const Self&) {
    ++count;
  }
};

std::string nameOf(std::uint16_t number) {
  const bool isReserved = opcodeRow(number).kind == Kind::reserved;
  return opcodeName(number) + (isReserved ? format(" 0x%04X", number) : "");
}

// The operands with all there is to them; nothing if they make no sense.
std::string fullOperands(const Opcode& opcode) {
  ByteReader in = opcode.operands;
  return withOpcode(opcode.number, [&](auto& op) {
    readOperands(in, op);
    if (!in.good()) return std::string();
    FieldCount fields;
    op.describe(op, fields);
    TextWriter out;
    out.word(nameOf(opcode.number));
    FieldLister lister{out, fields.count > 1};
    op.describe(op, lister);
    return out.take();
  });
}

// Whether the assembler makes these operands of the text.
bool isFaithful(const std::string& text, const Opcode& opcode) {
  TextReader in(text);
  in.takeWord();
  if (opcodeRow(opcode.number).kind == Kind::reserved) in.takeWord();
  ByteWriter out;
  assembleOperands(opcode.number, in, out);
  ByteReader operands = opcode.operands;
  const Bytes expected = operands.take(operands.left());
  return in.good() && in.atEnd() &&
         std::equal(out.bytes().begin(), out.bytes().end(), expected.begin(), expected.end());
}

std::string bytesLine(const std::string& word, Bytes bytes) {
  TextWriter out;
  out.word(word);
  out.bytes(bytes);
  return out.take();
}

bool isZero(Bytes bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

// The first line, for a picture's bytes up to its version.
std::string headLine(Bytes bytes, const PictureHeader& header) {
  ByteReader in(bytes);
  const HeadLine head{static_cast<std::uint8_t>(header.version), in.u16(), header.frame};
  TextWriter out;
  out.word("picture");
  FieldLister lister{out, true};
  HeadLine::describe(head, lister);
  std::string text = out.take();
  const std::vector<std::uint8_t> again = assemblePicture(text).picture;
  return std::equal(again.begin(), again.end(), bytes.begin(), bytes.end()) ? text : bytesLine("picture hex", bytes);
}

std::string inFull(const Opcode& opcode) {
  std::string text = fullOperands(opcode);
  if (text.empty() || !isFaithful(text, opcode)) {
    ByteReader operands = opcode.operands;
    text = bytesLine(nameOf(opcode.number) + " hex", operands.take(operands.left()));
  }
  return format("@%-6zu ", opcode.offset) + text;
}

}  // namespace

ListingEnd listOpcodes(Bytes picture, const std::function<void(const Listing&)>& opcode) {
  PictureReader reader(picture);
  if (reader.error()) return {reader.error(), 0};
  Opcode read;
  while (reader.next(read)) opcode({read.offset, read.number, opcodeName(read.number), briefOperands(read)});
  if (!reader.error()) opcode({read.offset, read.number, opcodeName(read.number), {}});
  return {reader.error(), reader.left()};
}

PictureExtent pictureExtent(Bytes picture) {
  PictureReader reader(picture);
  Opcode opcode;
  while (reader.next(opcode)) {
  }
  return {reader.ended() ? reader.at() : opcode.offset, reader.ended()};
}

namespace {

// Calls `use` with each opcode of a kind, its fields read.
template <class... Ops, class Use>
void eachOf(Bytes picture, const Use& use) {
  PictureReader reader(picture);
  Opcode opcode;
  const auto look = [&]<class Op>(Op op) {
    if (opcode.number != Op::kNumber) return;
    readOperands(opcode.operands, op);
    if (opcode.operands.good()) use(op);
  };
  while (reader.next(opcode)) (look(Ops()), ...);
}

}  // namespace

std::vector<PictureImage> imagesIn(Bytes picture) {
  std::vector<PictureImage> images;
  ColorTables tables;
  eachOf<op::CompressedQuickTime>(picture, [&](const op::CompressedQuickTime& op) {
    ByteReader data(op.data);
    const auto image = readQuickTimeImage(data, tables);
    if (image) images.push_back(image->told());
  });
  return images;
}

std::vector<PictureFont> fontsIn(Bytes picture) {
  std::vector<PictureFont> fonts;
  eachOf<op::TxFont, op::FontName>(picture, [&fonts]<class Op>(const Op& op) {
    PictureFont font{op.font, {}};
    if constexpr (requires { op.name; })
      font.name = utf8OfMacRoman({reinterpret_cast<const char*>(op.name.data()), op.name.size()});
    // A name holds for its number from there on.
    const bool isKnown = std::ranges::any_of(fonts, [&font](const PictureFont& known) {
      return known.number == font.number && (font.name.empty() || known.name == font.name);
    });
    if (!isKnown) fonts.push_back(std::move(font));
  });
  return fonts;
}

std::string describe(const PictureFont& font) {
  const std::string name = font.name.empty() ? systemFontName(font.number) : font.name;
  const std::string number = std::to_string(font.number);
  return name.empty() ? number : name + " (" + number + ")";
}

bool listPicture(Bytes picture, const std::function<void(const std::string&)>& line) {
  if (const auto header = pictureHeader(picture)) {
    line(format("version %d, frame ", header->version) + textOf(header->frame) + ", source " +
         textOf(toRect(header->source)) + format(", %gx%g dpi", header->hRes / 65536.0, header->vRes / 65536.0));
  }
  const ListingEnd end = listOpcodes(picture, [&line](const Listing& listing) {
    std::string text = format("%6zu  %04X  ", listing.offset, listing.number) + listing.name;
    for (const std::string& operand : listing.operands) text += " " + operand;
    line(text);
  });
  if (end.error) {
    line(describe(*end.error));
  } else if (end.left != 0) {
    line(format("%zu bytes after the end", end.left));
  }
  return !end.error;
}

ListingEnd listFully(Bytes file, const std::function<void(const std::string&)>& text) {
  const Bytes picture = pictureInFile(file).value_or(file);
  for (std::size_t at = 0; at < file.size() - picture.size(); at += kFileHeader) {
    const Bytes header = file.subspan(at, kFileHeader);
    text(isZero(header) ? std::string("header") : bytesLine("header hex", header));
  }
  PictureReader reader(picture);
  std::size_t done = 0;  // bytes that are listed
  const auto rest = [&](std::size_t end) {
    if (end > done) text(bytesLine("bytes", picture.subspan(done, end - done)));
    done = end;
  };
  if (!reader.error()) {
    done = reader.at();
    text(headLine(picture.first(done), reader.header()));
  }
  Opcode opcode;
  const auto list = [&] {
    // A byte that fills up to a word comes by itself if it is zero.
    if (opcode.offset > done && picture[done] == 0) done = opcode.offset;
    rest(opcode.offset);
    text(inFull(opcode));
    const std::size_t numberBytes = reader.header().version == 2 ? 2 : 1;
    done = opcode.offset + numberBytes + opcode.length;
  };
  while (reader.next(opcode)) list();
  if (reader.ended()) list();
  ListingEnd end = {reader.error(), picture.size() - done};
  if (end.error) text("; broken " + describe(*end.error));
  if (reader.ended() && end.left > 0) text("; after the end");
  rest(picture.size());
  return end;
}

std::optional<PictureHeader> pictureHeader(Bytes picture) {
  PictureReader reader(picture);
  if (reader.error()) return std::nullopt;
  return reader.header();
}

std::string describe(const PictureError& error) {
  return format("at offset %zu, in opcode %04X %s: ", error.offset, error.opcode, opcodeName(error.opcode).c_str()) +
         error.what;
}

}  // namespace qd
