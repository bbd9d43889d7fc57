// Writes what the fuzzers begin with into a folder, a folder for each kind: small pictures, their texts, images as
// files and as pictures have them, fonts, host code, bundles and containers. All of it is made here, or for the tests;
// the fonts are a few characters of those that are installed.
#include <cstdio>
// It wants stdio's types before it.
#include <jpeglib.h>
#include <png.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "engine/pict/assembler.h"
#include "engine/pict/bits.h"
#include "engine/pict/opcodes.h"
#include "tests/containers/files.h"
#include "tests/engine/coded_images.h"
#include "tests/mach_o_file.h"

using namespace qd;
namespace fs = std::filesystem;

namespace {

using File = std::vector<std::uint8_t>;

fs::path folder;

void write(const std::string& name, Bytes bytes) {
  std::ofstream out(folder / name, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string fileIn(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// A picture, with its text. Which world it is played into goes by how many there were before.
void writePicture(const std::string& name, const std::string& head, const std::string& opcodes) {
  static int count = 0;
  const std::string text = head + "\n" + opcodes + "\nOpEndPic\n";
  const Assembled made = assemblePicture(text);
  if (made.error) {
    std::fprintf(stderr, "%s:%d:%d: it %s\n", name.c_str(), made.error->line, made.error->column,
                 made.error->what.c_str());
    std::exit(1);
  }
  ByteWriter out;
  out.u8(count++ % 30);
  out.put(made.picture);
  write("pict/" + name, out.bytes());
  std::string words = text;
  if (text.find(" hex ") != std::string::npos) {
    words.clear();
    listFully(made.picture, [&words](const std::string& line) { words += line + "\n"; });
  }
  write("text/" + name, bytesOf(words));
}
void writePicture(const std::string& name, const std::string& opcodes) {
  writePicture(name, "picture frame (0, 0, 40, 32)", opcodes);
}

template <class Op>
std::string lineOf(const Op& op) {
  ByteWriter out;
  writeOperands(out, op);
  return opcodeName(numberOf(op)) + " hex " + hexOf(out.bytes()) + "\n";
}

// ---- drawing

void writeDrawings() {
  // Something to act on comes first.
  for (std::uint32_t number = 0; number <= 0x8201; ++number) {
    const auto opcode = static_cast<std::uint16_t>(number);
    if (number > 0xFF && number != opcodeRow(opcode).first) continue;
    writePicture(format("%04X", number), "PaintRect (1, 1, 9, 9)\n" + exampleOf(opcode));
  }
  writePicture("version-1", "picture version 1 frame (0, 0, 40, 32)",
               "PaintRect (1, 1, 9, 9)\nShortLine (3, 4) 20 9\nFrameOval (3, 4, 30, 22)");

  constexpr const char* kVerbs[] = {"Frame", "Paint", "Erase", "Invert", "Fill"};
  const std::pair<const char*, const char*> shapes[] = {{"Rect", ""}, {"RRect", ""},   {"Oval", ""},
                                                        {"Arc", ""},  {"Poly", " {}"}, {"Rgn", ""}};
  for (const auto& [shape, none] : shapes) {
    std::string text = "OvSize (9, 7)\nPnSize (2, 3)\nFillPat AA55AA55AA55AA55\n";
    const std::string polygon = " { (2, 2) (30, 20) (3, 15) (18, 3) (20, 28) (2, 2) }";
    const std::string area = std::string(shape) == "Poly" ? polygon : " (4, 3, 34, 29)";
    const std::string angles = std::string(shape) == "Arc" ? " 30 200" : "";
    for (const char* verb : kVerbs) {
      text += std::string(verb) + shape + area + angles + "\n";
      text += std::string(verb) + "Same" + shape + (angles.empty() ? "" : " -20 70") + "\n";
    }
    writePicture(std::string("shapes-") + shape, text);
  }

  std::string rows;
  for (int y = 1; y < 30; ++y) rows += format(" %d: %d %d", y, 2 + y % 5, 20 + y % 7);
  const std::string region = "(2, 1, 27, 30) {" + rows + " 30: 2 20 }";
  writePicture("region-rows", "Clip (0, 0, 40, 32)\nPaintRgn " + exampleOf(0x81).substr(15));
  const std::string points = [] {
    std::string all;
    for (int i = 0; i < 40; ++i) all += format(" (%d, %d)", i * 7 % 40, i * 11 % 32);
    return all;
  }();
  writePicture("polygon-points", "PnSize (3, 2)\nFramePoly {" + points + " }\nPaintSamePoly\nFrameSamePoly");
  writePicture("comments",
               "ShortComment 0\nShortComment 140\nLongComment 100 010203\nPaintRect (1, 1, 9, 9)\n"
               "LongComment 190 \"%!\"\nShortComment 141\nShortComment 1");

  std::string texts = "TxRatio (1, 1) (1, 1)\nFontName 21 \"Times\"\n";
  for (int face = 0; face < 128; face = face == 0 ? 1 : face * 2) {
    texts += format("TxFont %d\nTxFace %d\nTxSize %d\nTxMode %d\nSpExtra 1.5\nLongText (%d, 1) \"Ab \\xDE\"\n",
                    face % 24, face, 9 + face % 11, face % 8, 6 + face % 30);
  }
  writePicture("text-styles", texts + "TxFace 127\nTxRatio (3, 1) (2, 4)\nDHDVText 3 9 \"xyz\"");
}

// ---- pixels

// Bytes that repeat here and there, as those of pictures do.
File rowOf(std::size_t size, int seed) {
  File row(size);
  for (std::size_t i = 0; i < size; ++i) row[i] = static_cast<std::uint8_t>(i / 5 % 2 == 0 ? seed * 37 : i * 11);
  return row;
}

ByteWriter rowsOf(const Map& map, bool isPacked) {
  const RowForm form = rowForm(map, isPacked);
  ByteWriter out;
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) {
    const File row = rowOf(form.bytes, y);
    if (!form.isPacked) {
      out.put(row);
      continue;
    }
    ByteWriter packed;
    packBits(row, form.unit, packed);
    putCount(out, form, packed.size());
    out.put(packed.bytes());
  }
  return out;
}

struct PixelForm {
  int depth, packType, components, width;
};

// A map of that form; the bytes of its colours live in the writer.
Map mapOf(const PixelForm& form, bool isDirect, ByteWriter& colors) {
  Map map{.isDirect = isDirect};
  map.rowBytes = static_cast<std::uint16_t>((form.width * form.depth + 15) / 16 * 2);
  map.bounds = MakeRect(0, 0, form.width, 6);
  if (form.depth == 1 && !isDirect && form.packType == 0) return map;
  map.rowBytes |= Map::kPixMapFlag;
  map.pixels.packType = static_cast<std::uint16_t>(form.packType);
  map.pixels.hRes = map.pixels.vRes = 0x480000;
  map.pixels.pixelType = isDirect ? 16 : 0;
  map.pixels.pixelSize = static_cast<std::uint16_t>(form.depth);
  map.pixels.cmpCount = static_cast<std::uint16_t>(form.components);
  map.pixels.cmpSize = static_cast<std::uint16_t>(isDirect ? form.depth / 4 : form.depth);
  if (isDirect) return map;
  for (int i = 0; i < 1 << std::min(form.depth, 4); ++i) {
    colors.u16(i);
    colors.color({static_cast<std::uint16_t>(i * 0x1234), static_cast<std::uint16_t>(0xFFFF - i * 0x777), 0x8000});
  }
  map.colors.entries = colors.bytes();
  return map;
}

template <class Op>
std::string bits(const PixelForm& form, bool isPacked, int mode) {
  constexpr bool isDirect = std::is_same_v<Op, op::DirectBitsRect> || std::is_same_v<Op, op::DirectBitsRgn>;
  ByteWriter colors;
  Op op;
  op.map = mapOf(form, isDirect, colors);
  op.from = op.map.bounds;
  op.to = MakeRect(3, 4, 25, 20);
  op.mode = static_cast<std::int16_t>(mode);
  if constexpr (requires { op.mask; }) op.mask = intersect(Region(Box(5, 5, 20, 20)), Region(Box(7, 2, 30, 25)));
  const ByteWriter rows = rowsOf(op.map, isPacked);
  op.rows.bytes = rows.bytes();
  return lineOf(op);
}

std::string pixelPattern(const PixelForm& form) {
  ByteWriter colors;
  op::PnPixPat op;
  op.pattern.type = PixelPatternFields::kTile;
  op.pattern.map = mapOf(form, false, colors);
  const ByteWriter rows = rowsOf(op.pattern.map, true);
  op.pattern.rows.bytes = rows.bytes();
  return lineOf(op);
}

void writePixels() {
  int mode = 0;
  for (const int depth : {1, 2, 4, 8}) {
    for (const int width : {7, 36, 300}) {
      const PixelForm form = {depth, 0, 1, width};
      const std::string name = format("-%d-%d", depth, width);
      writePicture("bits" + name, bits<op::BitsRect>(form, false, 0) + bits<op::BitsRgn>(form, false, 1));
      writePicture("packed" + name,
                   bits<op::PackBitsRect>(form, true, 32 + mode) + bits<op::PackBitsRgn>(form, true, 36));
      writePicture("tile" + name, pixelPattern(form) + "PaintOval (1, 1, 39, 31)\nFrameRect (0, 0, 40, 32)");
      mode = (mode + 1) % 8;
    }
  }
  const PixelForm deep[] = {{16, 1, 3, 30}, {16, 3, 3, 30}, {16, 0, 3, 200}, {32, 1, 3, 30},
                            {32, 2, 3, 30}, {32, 4, 3, 30}, {32, 4, 4, 30},  {32, 0, 3, 100}};
  for (const PixelForm& form : deep) {
    const std::string name = format("direct-%d-%d-%d-%d", form.depth, form.packType, form.components, form.width);
    writePicture(name, bits<op::DirectBitsRect>(form, true, 0) + bits<op::DirectBitsRgn>(form, true, 64));
  }
  writePicture("dither",
               "BkPixPat { type 2 color #FF8000 }\nEraseRect (1, 1, 30, 30)\n"
               "FillPixPat { type 2 color #123456 }\nFillOval (1, 1, 30, 30)");
}

// ---- images

constexpr int kWidth = 21, kHeight = 17;

struct JpegForm {
  const char* name;
  int components, h, v;
  bool isProgressive = false;
  unsigned restart = 0;
};

File jpeg(const JpegForm& form) {
  jpeg_compress_struct library = {};
  jpeg_error_mgr errors = {};
  library.err = jpeg_std_error(&errors);
  jpeg_create_compress(&library);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&library, &bytes, &size);
  library.image_width = kWidth;
  library.image_height = kHeight;
  library.input_components = form.components;
  library.in_color_space = form.components == 1 ? JCS_GRAYSCALE : form.components == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&library);
  jpeg_set_quality(&library, 60, 1);
  if (form.isProgressive) jpeg_simple_progression(&library);
  library.restart_interval = form.restart;
  library.comp_info[0].h_samp_factor = form.h;
  library.comp_info[0].v_samp_factor = form.v;
  jpeg_start_compress(&library, 1);
  for (int y = 0; y < kHeight; ++y) {
    File row = rowOf(static_cast<std::size_t>(kWidth * form.components), y);
    JSAMPROW line = row.data();
    jpeg_write_scanlines(&library, &line, 1);
  }
  jpeg_finish_compress(&library);
  jpeg_destroy_compress(&library);
  File file(bytes, bytes + size);
  std::free(bytes);
  return file;
}

struct PngForm {
  const char* name;
  int color, depth;
  bool isInterlaced = false;
};

File png(const PngForm& form) {
  File file;
  png_structp library = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop head = png_create_info_struct(library);
  png_set_write_fn(
      library, &file,
      [](png_structp from, png_bytep bytes, std::size_t count) {
        auto& to = *static_cast<File*>(png_get_io_ptr(from));
        to.insert(to.end(), bytes, bytes + count);
      },
      nullptr);
  png_set_IHDR(library, head, kWidth, kHeight, form.depth, form.color,
               form.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (form.color == PNG_COLOR_TYPE_PALETTE) {
    std::array<png_color, 256> palette = {};
    for (std::size_t i = 0; i < palette.size(); ++i) palette[i].red = static_cast<png_byte>(i * 37);
    png_set_PLTE(library, head, palette.data(), 1 << form.depth);
    const png_byte clear[] = {0, 128};
    png_set_tRNS(library, head, clear, 2, nullptr);
  }
  png_write_info(library, head);
  const int passes = png_set_interlace_handling(library);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < kHeight; ++y) png_write_row(library, rowOf(png_get_rowbytes(library, head), y).data());
  }
  png_write_end(library, head);
  png_destroy_write_struct(&library, &head);
  return file;
}

ByteWriter description(const std::string& codec, int depth, std::size_t size) {
  ByteWriter out;
  out.u32(86);
  out.put(bytesOf(codec));
  out.put(File(24));
  out.u16(kWidth);
  out.u16(kHeight);
  out.u32(72U << 16);
  out.u32(72U << 16);
  out.u32(static_cast<std::uint32_t>(size));
  out.u16(1);
  out.put(File(32));
  out.u16(depth);
  out.u16(-1);
  return out;
}

void putMatrix(ByteWriter& out) {
  constexpr std::uint32_t kOne = 1U << 16;
  for (const std::uint32_t cell : {kOne, 0U, 0U, 0U, 2 * kOne, 0U, 3 * kOne, 1 * kOne, 1U << 30}) out.u32(cell);
}

// An image as a picture has it; with a matte, which is another image, and a mask.
File operandsOf(const std::string& codec, int depth, Bytes data, bool hasMatte, bool hasMask) {
  const File matte = jpeg({"", 1, 1, 1});
  ByteWriter mask;
  if (hasMask) field::region::write(mask, intersect(Region(Box(2, 2, 20, 20)), Region(Box(5, 0, 30, 15))));
  ByteWriter out;
  out.u16(0);
  putMatrix(out);
  out.u32(static_cast<std::uint32_t>(hasMatte ? matte.size() : 0));
  out.rect(MakeRect(0, 0, kWidth, kHeight));
  out.u16(hasMask ? 0 : 36);
  out.rect(MakeRect(0, 0, kWidth, kHeight));
  out.u32(0x300);
  out.u32(static_cast<std::uint32_t>(mask.size()));
  if (hasMatte) {
    out.put(description("jpeg", 40, matte.size()).bytes());
    out.put(matte);
  }
  out.put(mask.bytes());
  out.put(description(codec, depth, data.size()).bytes());
  out.put(data);
  return out.take();
}
std::string lineOfImage(Bytes operands) { return lineOf(op::CompressedQuickTime{operands}); }

// An image whose data tell less than the picture does.
void writeTold(const std::string& name, const File& operands) {
  write("quicktime/" + name, operands);
  writePicture(name, lineOfImage(operands));
}

void writeCoded() {
  constexpr std::string_view kFiles[] = {"gif ", "tiff", "WRLE", ".BMP", "tga "};
  for (const coded::Family& family : coded::kFamilies) {
    for (const coded::Image& image : family.make()) {
      const File operands = coded::operandsOf(image, image.data);
      if (std::ranges::find(kFiles, image.codec) == std::end(kFiles)) {
        writeTold(image.name, operands);
      } else {
        write("image/" + image.name, image.data);
        writePicture(image.name, lineOfImage(operands));
      }
    }
  }
}

// What only the library reads: JPEG, fax, and colours that it converts itself.
void writeTiffs() {
  const auto file = [](int bits, int packing, int meaning, int samples, Bytes strip) {
    return coded::tiffFile(true,
                           {{256, {kWidth}},
                            {257, {kHeight}},
                            {258, std::vector<int>(static_cast<std::size_t>(samples), bits)},
                            {259, {packing}},
                            {262, {meaning}},
                            {277, {samples}},
                            {278, {kHeight}},
                            {530, {2, 2}}},
                           {File(strip.begin(), strip.end())});
  };
  constexpr int kFax2 = 2, kFax4 = 4, kJpeg = 7, kYCbCr = 6, kPlain = 1;
  write("image/tiff-jpeg", file(8, kJpeg, kYCbCr, 3, jpeg({"", 3, 2, 2})));
  write("image/tiff-ycbcr", file(8, kPlain, kYCbCr, 3, rowOf(std::size_t{11} * 9 * 6, 3)));
  write("image/tiff-fax-4", file(1, kFax4, 0, 1, rowOf(120, 5)));
  // A white row is a code of seven bits, 0010111.
  write("image/tiff-fax-2", file(1, kFax2, 0, 1, File(kHeight, 0x2E)));
}

void writeImages() {
  constexpr JpegForm kJpegs[] = {{"jpeg-grey", 1, 1, 1},
                                 {"jpeg-rgb", 3, 1, 1},
                                 {"jpeg-halved", 3, 2, 2},
                                 {"jpeg-wide", 3, 4, 1},
                                 {"jpeg-restarts", 3, 2, 1, false, 1},
                                 {"jpeg-cmyk", 4, 1, 1},
                                 {"jpeg-progressive", 3, 2, 2, true},
                                 {"jpeg-progressive-grey", 1, 1, 1, true},
                                 {"jpeg-progressive-cmyk", 4, 1, 1, true, 2}};
  for (const JpegForm& form : kJpegs) {
    const File file = jpeg(form);
    write(std::string("image/") + form.name, file);
    writePicture(form.name, lineOfImage(operandsOf("jpeg", 24, file, false, form.components == 1)));
  }
  constexpr PngForm kPngs[] = {{"png-grey-1", 0, 1},
                               {"png-grey-4", 0, 4},
                               {"png-grey-16", 0, 16},
                               {"png-rgb-8", 2, 8},
                               {"png-rgb-16", 2, 16},
                               {"png-palette-2", 3, 2},
                               {"png-palette-8", 3, 8},
                               {"png-grey-alpha", 4, 8},
                               {"png-rgb-alpha", 6, 8},
                               {"png-interlaced-1", 0, 1, true},
                               {"png-interlaced-palette", 3, 4, true},
                               {"png-interlaced-rgb", 2, 8, true}};
  for (const PngForm& form : kPngs) {
    const File file = png(form);
    write(std::string("image/") + form.name, file);
    writePicture(form.name, lineOfImage(operandsOf("png ", 32, file, form.depth == 8, false)));
  }
  for (const int depth : {1, 2, 4, 8, 16, 24, 32, 33, 34, 36, 40}) {
    const int bitsInPixel = depth > 32 ? depth - 32 : depth;
    const File rows = rowOf(static_cast<std::size_t>((kWidth * bitsInPixel + 7) / 8 * kHeight), depth);
    writeTold(format("raw-%d", depth), operandsOf("raw ", depth, rows, depth == 24, depth == 8));
  }
  writeCoded();
  writeTiffs();
  const std::string inner = bits<op::PackBitsRect>({8, 0, 1, 36}, true, 0);
  ByteWriter uncompressed;
  uncompressed.u16(0);
  putMatrix(uncompressed);
  uncompressed.u32(0);
  uncompressed.rect({});
  const std::string hex = inner.substr(inner.find("hex ") + 4);
  writePicture("uncompressed", "UncompressedQuickTime " + hexOf(uncompressed.bytes()) + "0098" + hex);
  writePicture("stand-in", lineOfImage(operandsOf("jpeg", 24, jpeg(kJpegs[1]), false, false)) +
                               "PnSize (99, 10)\nPaintRect (1, 1, 9, 9)\nPaintOval (1, 1, 9, 9)");
}

// ---- fonts

// A TrueType font of a few characters, one of them made of others.
class SmallFont {
 public:
  explicit SmallFont(std::string file) : file_(std::move(file)) {
    constexpr std::size_t kCharacterA = 36, kCharacterE = 72;  // in the order that the fonts' makers keep to
    for (const std::size_t glyph : {std::size_t{0}, kCharacterA, kCharacterE}) take(glyph);
    for (std::size_t glyph = 1; glyphs_.size() < 4 && glyph < number(table("maxp") + 4, 2); ++glyph) {
      const std::size_t at = place(glyph);
      if (at < place(glyph + 1) && number(outlines() + at, 2) == 0xFFFF) take(glyph);
    }
  }

  File bytes() const {
    ByteWriter places;
    ByteWriter widths;
    ByteWriter outlines;
    for (const auto& [glyph, outline] : glyphs_) {
      places.u32(static_cast<std::uint32_t>(outlines.size()));
      outlines.put(outline);
      widths.u16(1000);
      widths.u16(50);
    }
    places.u32(static_cast<std::uint32_t>(outlines.size()));
    const auto count = static_cast<std::uint8_t>(glyphs_.size());
    File head = part("head", 54);
    head[51] = 1;  // places are of 32 bits
    File measures = part("hhea", 36);
    measures[34] = 0;
    measures[35] = count;
    File most = part("maxp", 32);
    most[4] = 0;
    most[5] = count;
    return joined({{"cmap", characters()},
                   {"glyf", outlines.bytes()},
                   {"head", head},
                   {"hhea", measures},
                   {"hmtx", widths.bytes()},
                   {"loca", places.bytes()},
                   {"maxp", most}});
  }

 private:
  std::size_t number(std::size_t at, std::size_t width) const {
    std::size_t value = 0;
    for (std::size_t i = at; i < at + width; ++i) value = value << 8 | static_cast<std::uint8_t>(file_.at(i));
    return value;
  }
  std::size_t table(const char* name) const { return number(file_.find(name, 12) + 8, 4); }
  std::size_t outlines() const { return table("glyf"); }
  std::size_t place(std::size_t glyph) const {
    return number(table("head") + 50, 2) == 0 ? 2 * number(table("loca") + 2 * glyph, 2)
                                              : number(table("loca") + 4 * glyph, 4);
  }
  File part(const char* name, std::size_t size) const {
    const auto at = file_.begin() + static_cast<std::ptrdiff_t>(table(name));
    return {at, at + static_cast<std::ptrdiff_t>(size)};
  }

  // Takes an outline after those that it is made of, which get new numbers.
  std::size_t take(std::size_t glyph) {
    for (std::size_t i = 0; i < glyphs_.size(); ++i) {
      if (glyphs_[i].first == glyph) return i;
    }
    File outline;
    for (std::size_t at = outlines() + place(glyph); at < outlines() + place(glyph + 1); ++at) {
      outline.push_back(static_cast<std::uint8_t>(file_.at(at)));
    }
    if (outline.size() > 10 && outline[0] == 0xFF) {
      constexpr unsigned kWords = 1, kScale = 8, kMore = 32, kTwoScales = 64, kMatrix = 128;
      unsigned flags = kMore;
      for (std::size_t at = 10; (flags & kMore) != 0;) {
        flags = static_cast<unsigned>(outline[at] << 8 | outline[at + 1]);
        const std::size_t part = take(static_cast<std::size_t>(outline[at + 2] << 8 | outline[at + 3]));
        outline[at + 2] = 0;
        outline[at + 3] = static_cast<std::uint8_t>(part);
        at += (flags & kWords) != 0 ? 8 : 6;
        at += (flags & kScale) != 0 ? 2 : (flags & kTwoScales) != 0 ? 4 : (flags & kMatrix) != 0 ? 8 : 0;
      }
    }
    glyphs_.emplace_back(glyph, std::move(outline));
    return glyphs_.size() - 1;
  }

  // A table of characters: A, e, and the A with two dots, which is the last glyph.
  File characters() const {
    const auto last = static_cast<int>(glyphs_.size()) - 1;
    ByteWriter out;
    for (const int word : {0, 1, 3, 1, 0, 12, 4, 48, 0, 8, 8, 2, 0}) out.u16(word);
    for (const int end : {int{'A'}, int{'e'}, 0xC4, 0xFFFF, 0}) out.u16(end);
    for (const int start : {int{'A'}, int{'e'}, 0xC4, 0xFFFF}) out.u16(start);
    for (const int delta : {1 - 'A', 2 - 'e', last - 0xC4, 1}) out.u16(delta);
    for (int i = 0; i < 4; ++i) out.u16(0);
    return out.take();
  }

  static File joined(const std::vector<std::pair<const char*, File>>& tables) {
    ByteWriter out;
    out.u32(0x00010000);
    for (const int word : {static_cast<int>(tables.size()), 64, 2, 48}) out.u16(word);
    std::size_t at = out.size() + 16 * tables.size();
    for (const auto& [name, table] : tables) {
      out.put(bytesOf(name));
      out.u32(0);
      out.u32(static_cast<std::uint32_t>(at));
      out.u32(static_cast<std::uint32_t>(table.size()));
      at += table.size();
    }
    for (const auto& [name, table] : tables) out.put(table);
    return out.take();
  }

  std::string file_;
  std::vector<std::pair<std::size_t, File>> glyphs_;  // with the numbers that they had
};

void writeFonts() {
  for (const std::string face : {"Sans-Regular", "Serif-Italic", "Mono-Bold"}) {
    const File font = SmallFont(fileIn(fs::path(FONTS) / ("Liberation" + face + ".ttf"))).bytes();
    write("font/" + face, font);
    write("font/" + face + "-cut", Bytes(font).first(font.size() / 2));
  }
}

// ---- host code

void writePrograms() {
  constexpr std::string_view kBegin = "```vb\n", kEnd = "```";
  int count = 0;
  for (const auto& page : fs::directory_iterator(REFERENCE)) {
    if (page.path().extension() != ".md") continue;
    const std::string text = fileIn(page.path());
    for (std::size_t at = text.find(kBegin); at != std::string::npos; at = text.find(kBegin, at)) {
      at += kBegin.size();
      write(format("code/%03d", count++), bytesOf(text.substr(at, text.find(kEnd, at) - at)));
    }
  }
  const std::string_view own[] = {
      "Dim a(3) As Integer, s As String = \"x\"\na(1) = 7 \\ 2 + &hFF mod 3\nIf a(1) > 2 And Not False Then\n"
      "Print Str(a(1)), s + s, LenB(s)\nElseIf s = \"\" Then\nPrint Ubound(a)\nElse\nPrint 1.5e3 ^ -2\nEnd If\n",
      "Dim a() As Variant\na = Array(1, 2.5, \"three\", True, Nil, Array(4))\nPrint Max(a(0), a(1)), Floor(-2.5)\n",
      "For i As Integer = 9 DownTo 1 Step 2\nIf i = 5 Then Exit\nNext i\nWhile False\nWend\n",
      "Dim p As Picture = NewPicture(8, 8)\np.Graphics.ForeColor = RGB(1, 2, 3)\np.Graphics.FillRect 1, 1, 5, 5\n"
      "Print p.Width, p.Graphics.ForeColor\n",
      "Dim m As MemoryBlock = NewMemoryBlock(9)\nm.Byte(2) = m.Size Xor 3 ' comment\nPrint _\n m.Byte(2), \"\"\"q\"\n"};
  for (const std::string_view program : own) write(format("code/%03d", count++), bytesOf(program));
}

void writeBundles() {
  MachOFile bundle;
  write("bundle/plain", bundle.bytes());
  bundle.lazy = MachOFile::text("\x71\x10\x40_HLock\0\x90\0\x71\x14\x40_HLock\0\xC0\x02\x04\0");
  write("bundle/lazy", bundle.bytes());
}

// ---- what pictures lie in

// The first byte says whether they are searched.
void writeContainers() {
  const std::string picture = files::picture(1), file = files::kHeader + picture;
  const std::string fork = files::fork({{128, "name", picture}, {-5, "", files::kOld, 1}});
  const std::string drawings = files::blip(picture, false, true) + files::blip(picture, true, false);
  const std::string all[] = {file,
                             fork,
                             files::appleFile(0x00051600, picture, fork),
                             files::macBinary(file, fork, 1),
                             files::macBinary(picture, fork, 3),
                             files::gzip(fork),
                             files::zip({{"a/b.pict", picture}, {"../c", files::gzip(file)}, {"d", fork}}),
                             files::compound({{"Pictures", drawings}, {"Raw", file}}),
                             files::compound({{"Data", std::string(4096, 'x') + drawings}}),
                             files::compound({{"Book", files::workbook(drawings)}}),
                             "bytes" + file + files::kOld + picture};
  int count = 0;
  for (const std::string& each : all) {
    for (const char* first : {"0", "1"}) write(format("container/%02d", count++), bytesOf(first + each));
  }
}

}  // namespace

int main(int, char** arguments) {
  folder = arguments[1];
  for (const char* kind : {"pict", "text", "image", "quicktime", "font", "code", "bundle", "container"}) {
    fs::create_directories(folder / kind);
  }
  writeDrawings();
  writePixels();
  writeImages();
  writeFonts();
  writePrograms();
  writeBundles();
  writeContainers();
}
