// Images of each kind that codecs have, made here byte by byte, with the pixels that they are. The tests decode them,
// and the fuzzers begin with them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace coded {

using Data = std::vector<std::uint8_t>;

// Pixels are letters in these tests, and colour tables have their colours in this order.
struct Ink {
  char letter;
  std::uint32_t color;
};
constexpr Ink kInks[] = {{'.', 0xFFFFFF}, {'#', 0x000000}, {'r', 0xFF0000}, {'g', 0x00FF00}, {'b', 0x0000FF},
                         {'y', 0xFFFF00}, {'c', 0x00FFFF}, {'m', 0xFF00FF}, {'1', 0x5200A5}, {'2', 0xA50052},
                         {'t', 0x28788C}, {'d', 0x646464}, {'l', 0xC8C8C8}};

inline std::uint32_t indexOf(char letter) {
  return static_cast<std::uint32_t>(std::ranges::find(kInks, letter, &Ink::letter) - std::begin(kInks));
}
inline std::uint32_t colorOf(char letter) { return kInks[indexOf(letter)].color; }

class Out {
 public:
  Out& bytes(const std::initializer_list<int>& values) {
    for (const int value : values) data.push_back(static_cast<std::uint8_t>(value));
    return *this;
  }
  Out& words(const std::initializer_list<int>& values) {
    for (const int value : values) bytes({value >> 8, value});
    return *this;
  }
  Out& longs(const std::initializer_list<std::size_t>& values) {
    for (const std::size_t value : values) words({static_cast<int>(value >> 16), static_cast<int>(value & 0xFFFF)});
    return *this;
  }
  // The low byte first.
  Out& lowWords(const std::initializer_list<int>& values) {
    for (const int value : values) bytes({value, value >> 8});
    return *this;
  }
  Out& lowLongs(const std::initializer_list<int>& values) {
    for (const int value : values) lowWords({value, value >> 16});
    return *this;
  }
  Out& text(std::string_view letters) {
    for (const char letter : letters) bytes({letter});
    return *this;
  }
  Out& indices(std::string_view letters) {
    for (const char letter : letters) bytes({static_cast<int>(indexOf(letter))});
    return *this;
  }
  Out& blueGreenRed(std::string_view letters, bool hasFourth = false) {
    for (const char letter : letters) {
      const auto color = static_cast<int>(colorOf(letter));
      bytes({color, color >> 8, color >> 16});
      if (hasFourth) bytes({0});
    }
    return *this;
  }
  Out& put(const Data& more) {
    data.insert(data.end(), more.begin(), more.end());
    return *this;
  }

  Data data;
};

struct Image {
  std::string name;
  std::string codec;
  int width, height, depth;
  Data data;
  std::string pixels;         // of all rows
  std::size_t unneeded = 0;   // bytes at the end that no pixel needs
  bool isForLibrary = false;  // our own decoder, which serves 32 bits, doesn't read it
};
using Images = std::vector<Image>;

// The operands of opcode 8200: an image description, with the colours of all inks where pixels are indices, and the
// data.
inline Data operandsOf(const Image& image, const Data& data) {
  Out description;
  description.text(image.codec).longs({0, 0, 0, 0, 0, 0}).words({image.width, image.height, 72, 0, 72, 0});
  description.longs({data.size()}).words({1}).longs({0, 0, 0, 0, 0, 0, 0, 0}).words({image.depth});
  if (image.depth > 8) {
    description.words({-1});
  } else {
    description.words({0}).longs({0}).words({0, static_cast<int>(std::size(kInks)) - 1});
    for (const Ink& ink : kInks) {
      const auto twice = [&ink](int shift) { return static_cast<int>((ink.color >> shift & 0xFF) * 257); };
      description.words({static_cast<int>(indexOf(ink.letter)), twice(16), twice(8), twice(0)});
    }
  }
  Out operands;
  operands.words({0}).longs({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
  operands.longs({0}).words({0, 0, 0, 0, 0, 0, 0, image.height, image.width}).longs({0, 0});
  return operands.longs({description.data.size() + 4}).put(description.data).put(data).data;
}

// ---- pixels

// Rows of pixels, from blocks of four by four that have a letter for each.
inline std::string fromBlocks(int width, int height, const std::vector<std::string>& blocks) {
  std::string pixels;
  const auto across = static_cast<std::size_t>(width + 3) / 4;
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x)
      pixels += blocks.at(y / 4 * across + x / 4).at(y % 4 * 4 + x % 4);
  }
  return pixels;
}

inline std::string repeated(const char* text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

inline const std::string kBlack(16, '#');

inline Images appleVideo() {
  Images images;
  Out out;
  out.bytes({0xE1, 0, 0, 60});
  for (int i = 0; i < 4; ++i) out.words({0x7C00, 0x03E0, 0x001F, 0x7FFF});  // sixteen colours
  out.words({0x7C00, 0x801F}).bytes({0x1B, 0x1B, 0x1B, 0xFF});              // four
  out.bytes({0x80});                                                        // none
  out.bytes({0xA0, 0x03, 0xE0});                                            // one
  out.bytes({0xC1, 0x7C, 0x00, 0x00, 0x1F, 0, 0, 0, 0, 0x1B, 0, 0, 0});     // four, of two blocks
  const std::string four = "b12r";
  images.push_back({"rpza", "rpza", 6, 12, 16, out.data,
                    fromBlocks(6, 12,
                               {"rgb.rgb.rgb.rgb.", four + four + four + "rrrr", kBlack, std::string(16, 'g'),
                                std::string(16, 'b'), four + std::string(12, 'b')})});
  return images;
}

inline Images graphics() {
  Images images;
  Out out;
  out.bytes({0, 0, 0, 0});
  out.bytes({0x60}).indices("r");                                         // one colour
  out.bytes({0x80}).indices("gb").words({0xF00F});                        // two
  out.bytes({0x40});                                                      // both again
  out.bytes({0x20});                                                      // the last one
  out.bytes({0x90, 0}).words({0xAAAA});                                   // the same two
  out.bytes({0xA0}).indices(".#rg").longs({0x1B1B1BE4});                  // four
  out.bytes({0xB0, 0}).longs({0});                                        // the same
  out.bytes({0xC0}).indices(".#rgbycm").words({0x0530, 0x9771, 0x0000});  // eight: 0 to 3, 4 to 7, 0, and 0 0 2 0
  out.bytes({0xD0, 0}).words({0x0000, 0x0000, 0x0007});                   // the same: 0 but for the last one, 7
  out.bytes({0xE0}).indices("rgbyrgbyrgby####");                          // sixteen
  out.bytes({0x00});                                                      // none
  out.bytes({0x70, 1}).indices("y").bytes({0x30, 0, 0x50, 0, 0x10, 15});  // those with a count of their own
  const std::string two = "bbbbggggggggbbbb";
  std::vector<std::string> blocks = {std::string(16, 'r'), two, std::string(16, 'r'), two, two, repeated("bgbg", 4)};
  blocks.insert(blocks.end(), {repeated(".#rg", 3) + "gr#.", std::string(16, '.'), ".#rgbycm......r.",
                               std::string(15, '.') + "m", "rgbyrgbyrgby####", std::string(16, '.')});
  blocks.insert(blocks.end(), 5, std::string(16, 'y'));
  blocks.insert(blocks.end(), 16, std::string(16, '.'));
  images.push_back({"smc", "smc ", 44, 12, 8, out.data, fromBlocks(44, 12, blocks)});
  return images;
}

inline Images cinepak() {
  Images images;
  const auto chunk = [](int id, const Data& body) {
    return Out().words({id, static_cast<int>(body.size()) + 4}).put(body).data;
  };
  const auto strip = [](int top, int bottom, std::initializer_list<Data> chunks) {
    Out body;
    for (const Data& one : chunks) body.put(one);
    return Out().words({0x1000, static_cast<int>(body.data.size()) + 12, top, 0, bottom, 8}).put(body.data).data;
  };
  const auto frame = [](int flags, std::initializer_list<Data> strips) {
    Out out;
    out.bytes({flags, 0, 0, 0}).words({8, 8, static_cast<int>(strips.size())});
    for (const Data& one : strips) out.put(one);
    return out.data;
  };
  const Data grey = {100, 200, 200, 100, 0, 0};
  const Data white = {255, 255, 255, 255, 0, 0};
  const Data large = chunk(0x2000, Out().put(grey).put(white).data);
  const Data small = chunk(0x2200, Out().put(white).put(grey).data);
  const std::string detailed = "dl..ld....dl..ld";
  const std::string doubled = "ddllddllllddlldd";
  const std::string empty(16, '.');
  // A bit for each block: from four, or from one. The second strip has the books of the first, and one new entry.
  const Data bits = chunk(0x3000, Out().longs({0x80000000}).bytes({0, 1, 1, 0, 1}).data);
  const Data ones = chunk(0x3200, {0, 1});
  const Data skips = chunk(0x3100, Out().longs({0x60000000}).bytes({1, 0, 0, 1}).data);
  const Data partial = chunk(0x2300, Out().longs({0x80000000}).put({0, 0, 0, 0, 0, 0}).data);
  images.push_back({"cvid", "cvid", 8, 8, 24,
                    frame(0, {strip(0, 4, {large, small, bits}), strip(0, 4, {partial, ones})}),
                    fromBlocks(8, 8, {detailed, doubled, kBlack, doubled})});
  images.push_back({"cvid with skips, cut", "cvid", 7, 6, 24,
                    frame(1, {strip(0, 4, {large, small, skips}), strip(4, 8, {large, small, ones})}),
                    fromBlocks(7, 6, {kBlack, "..dl..lddl..ld..", empty, doubled})});
  const Data indices = chunk(0x2600, Out().indices("rgby").data);
  images.push_back({"cvid with a table", "cvid", 8, 4, 8, frame(0, {strip(0, 4, {indices, chunk(0x3200, {0, 0})})}),
                    fromBlocks(8, 4, {"rrggrrggbbyybbyy", "rrggrrggbbyybbyy"})});
  const Data colors = chunk(0x2200, {100, 60, 100, 60, 20, 0xE2, 60, 60, 60, 60, 0x81, 0x7F});
  images.push_back({"cvid in colour", "cvid", 8, 4, 24, frame(0, {strip(0, 4, {colors, chunk(0x3200, {1, 0})})}),
                    fromBlocks(8, 4, {std::string(16, 'r'), repeated("tt??", 4)})});
  return images;
}

// Bits of pixels, filled up to whole units.
inline Data packed(int depth, const std::string& letters, std::size_t unit) {
  Out out;
  int pool = 0, held = 0;
  for (const char letter : letters) {
    const auto color = static_cast<int>(colorOf(letter));
    if (depth == 16) out.words({(color >> 19 & 31) << 10 | (color >> 11 & 31) << 5 | (color >> 3 & 31)});
    if (depth == 32) out.bytes({0});
    if (depth >= 24) out.bytes({color >> 16, color >> 8, color});
    if (depth > 8) continue;
    pool = pool << depth | static_cast<int>(indexOf(letter));
    held += depth;
    if (held == 8) out.bytes({pool & 0xFF});
    held %= 8;
  }
  if (held > 0) out.bytes({pool << (8 - held) & 0xFF});
  while (out.data.size() % unit != 0) out.bytes({0});
  return out.data;
}

inline Images animation() {
  Images images;
  constexpr int kWidth = 35;
  for (const int depth : {2, 4, 8, 16, 24, 32}) {
    const auto unit = static_cast<std::ptrdiff_t>(depth <= 8 ? 4 : depth / 8);
    const int perUnit = depth <= 8 ? 32 / depth : 1;
    const int units = (kWidth + perUnit - 1) / perUnit;
    const std::string mixed = repeated(".#rg", 9).substr(0, kWidth);
    const std::string even(kWidth, 'r');
    const Data row = packed(depth, mixed, static_cast<std::size_t>(unit));
    Out out;
    out.longs({0}).words({8, 1, 0, 3, 0});
    out.bytes({1, units}).put(row).bytes({-1});
    out.bytes({1, -units})
        .put(packed(depth, std::string(static_cast<std::size_t>(perUnit), 'r'), std::size_t(unit)))
        .bytes({-1});
    // The first unit and the one after the next are there.
    out.bytes({1, 1}).put(Data(row.begin(), row.begin() + unit)).bytes({0, 2, 1});
    out.put(Data(row.begin() + 2 * unit, row.begin() + 3 * unit)).bytes({-1});
    const std::string empty(kWidth, depth > 8 ? '#' : '.');
    std::string gaps = empty;
    for (int x = 0; x < kWidth; ++x) {
      const auto at = static_cast<std::size_t>(x);
      if (x / perUnit == 0 || x / perUnit == 2) gaps[at] = mixed[at];
    }
    images.push_back(
        {"rle of " + std::to_string(depth), "rle ", kWidth, 5, depth, out.data, empty + mixed + even + gaps + empty});
  }
  // A skip has the line's beginning in its top bit.
  Out out;
  out.longs({0}).words({0}).bytes({0x80, 2}).words({0xFFFF, 0xA000}).bytes({0x81, -1}).words({0x8000});
  out.bytes({0x80, 1}).words({0xF000}).bytes({0, 0});
  images.push_back({"rle of bits", "rle ", 20, 3, 1, out.data,
                    repeated("#", 16) + "#.#." + repeated(".", 16) + "#..." + "####" + repeated(".", 16), 1});
  // 40 bits: 0 is white, 255 black.
  out = {};
  out.longs({0}).words({0}).bytes({1, 1, 0, 255, 255, 0, -1});
  images.push_back({"rle of greys", "rle ", 4, 1, 40, out.data, ".##."});
  return images;
}

inline Images planarColors() {
  Images images;
  // Two rows of "rgb." and "####": their lengths, then the planes; a run, and bytes as they are.
  const Data rows[] = {{3, 255, 0, 0, 255}, {0xFD, 0}, {3, 0, 255, 0, 255}, {0xFD, 0}, {3, 0, 0, 255, 255}, {0xFD, 0}};
  Out out;
  for (const Data& row : rows) out.words({static_cast<int>(row.size())});
  for (const Data& row : rows) out.put(row);
  images.push_back({"8BPS", "8BPS", 4, 2, 24, out.data, "rgb.####"});
  Out opaque;
  for (const Data& row : rows) opaque.words({static_cast<int>(row.size())});
  opaque.words({2, 2});
  for (const Data& row : rows) opaque.put(row);
  opaque.bytes({0xFD, 255, 0xFD, 255});
  images.push_back({"8BPS with alpha", "8BPS", 4, 2, 32, opaque.data, "rgb.####", 4});
  images.push_back({"8BPS of indices", "8BPS", 3, 1, 8, Out().words({4}).bytes({2}).indices("rgb").data, "rgb"});
  return images;
}

inline Images targaFiles() {
  Images images;
  const auto head = [](int type, int colors, int bits, int flags) {
    return Out()
        .bytes({1, colors > 0, type})
        .lowWords({0, colors})
        .bytes({24})
        .lowWords({0, 0, 3, 2})
        .bytes({bits, flags, 'n'})
        .data;
  };
  const auto deep = [&](int type, int flags) { return Out().put(head(type, 0, 24, flags)); };
  images.push_back({"tga from below", "tga ", 3, 2, 24, deep(2, 0).blueGreenRed("###rgb").data, "rgb###"});
  images.push_back({"tga from above", "tga ", 3, 2, 24, deep(2, 0x20).blueGreenRed("###rgb").data, "###rgb"});
  images.push_back({"tga from the right", "tga ", 3, 2, 24, deep(2, 0x30).blueGreenRed("###rgb").data, "###bgr"});
  images.push_back({"tga in runs", "tga ", 3, 2, 24,
                    deep(10, 0x20).bytes({0x83}).blueGreenRed("r").bytes({1}).blueGreenRed("gb").data, "rrrrgb"});
  images.push_back({"tga of 16 bits", "tga ", 3, 2, 16,
                    Out().put(head(2, 0, 16, 0x20)).lowWords({0x7C00, 0x3E0, 0x1F, 0, 0x7FFF, 0xFC00}).data, "rgb#.r"});
  images.push_back({"tga of 32 bits", "tga ", 3, 2, 32,
                    Out().put(head(2, 0, 32, 0x20)).blueGreenRed("rgb#.r", true).data, "rgb#.r"});
  images.push_back({"tga of indices", "tga ", 3, 2, 8,
                    Out().put(head(9, 3, 8, 0x20)).blueGreenRed("rgb").bytes({0x82, 1, 2, 0, 1, 2}).data, "gggrgb"});
  images.push_back(
      {"tga of greys", "tga ", 3, 2, 8, Out().put(head(3, 0, 8, 0x20)).bytes({0, 100, 200, 255, 0, 0}).data, "#dl.##"});
  return images;
}

inline Images bmpFiles() {
  Images images;
  const auto file = [](int height, int bits, int packing, std::string_view colors, const Data& pixels) {
    const int table = packing == 3 ? 12 : 4 * static_cast<int>(colors.size());
    Out out;
    out.text("BM").lowLongs({0, 0, 54 + table, 40, 5, height}).lowWords({1, bits});
    out.lowLongs({packing, 0, 0, 0, static_cast<int>(colors.size()), 0});
    if (packing == 3) out.lowLongs({0xF800, 0x7E0, 0x1F});
    return out.blueGreenRed(colors, true).put(pixels).data;
  };
  const auto low = [](std::initializer_list<int> words) { return Out().lowWords(words).data; };
  images.push_back(
      {"bmp of 1 bit", "WRLE", 5, 2, 1, file(2, 1, 0, "br", {0x50, 0, 0, 0, 0xF8, 0, 0, 0}), "rrrrrbrbrb"});
  images.push_back(
      {"bmp of 4 bits", ".BMP", 5, 2, 4, file(-2, 4, 0, "rgb", {0x01, 0x20, 0, 0, 0, 0, 0x10, 0}), "rgbrrrrrrg"});
  images.push_back({"bmp of 8 bits", "WRLE", 5, 1, 8, file(1, 8, 0, "rgb", {0, 1, 2, 1, 0, 0, 0, 0}), "rgbgr"});
  images.push_back(
      {"bmp of 16 bits", "WRLE", 5, 1, 16, file(1, 16, 0, "", low({0x7C00, 0x3E0, 0x1F, 0, 0x7FFF, 0})), "rgb#."});
  images.push_back({"bmp of 16 bits by masks", "WRLE", 5, 1, 16,
                    file(1, 16, 3, "", low({0xF800, 0x7E0, 0x1F, 0, 0xFFFF, 0})), "rgb#."});
  images.push_back(
      {"bmp of 24 bits", "WRLE", 5, 1, 24, file(1, 24, 0, "", Out().blueGreenRed("rgb#.").bytes({0}).data), "rgb#."});
  images.push_back(
      {"bmp of 32 bits", "WRLE", 5, 1, 32, file(1, 32, 0, "", Out().blueGreenRed("rgb#.", true).data), "rgb#."});
  // A run, pixels that are given, a move, the ends.
  images.push_back({"bmp in runs of 8 bits", "WRLE", 5, 3, 8,
                    file(3, 8, 1, "rgb", {2, 1, 0, 3, 0, 1, 2, 0, 0, 0, 0, 2, 2, 1, 1, 2, 0, 1}), "rrbrrrrrrrggrgb"});
  images.push_back(
      {"bmp in runs of 4 bits", "WRLE", 5, 1, 4, file(1, 4, 2, "rgb", {2, 0x12, 0, 3, 0x01, 0x20, 0, 1}), "gbrgb"});
  Out old;
  old.text("BM").lowLongs({0, 0, 32, 12}).lowWords({5, 1, 1, 1}).blueGreenRed("br").bytes({0x50, 0, 0, 0});
  images.push_back({"bmp with an old head", "WRLE", 5, 1, 1, old.data, "brbrb"});
  return images;
}

// LZW without strings: codes of nine bits, and the table begun again before they get longer.
inline Data codes(const Data& bytes, int rootBits, bool isHighFirst) {
  std::vector<bool> bits;
  const auto put = [&](int code) {
    for (int i = 0; i <= rootBits; ++i) bits.push_back((code >> (isHighFirst ? rootBits - i : i) & 1) != 0);
  };
  const int clear = 1 << rootBits;
  int since = 0;
  put(clear);
  for (const std::uint8_t byte : bytes) {
    put(byte);
    if (++since < clear / 2) continue;
    since = 0;
    put(clear);
  }
  put(clear + 1);
  Data data((bits.size() + 7) / 8);
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (bits[i]) data[i / 8] = static_cast<std::uint8_t>(data[i / 8] | 1 << (isHighFirst ? 7 - i % 8 : i % 8));
  }
  return data;
}

inline Images gifFiles() {
  Images images;
  const auto file = [](int flags, int left, int width, int height, const Data& packedPixels) {
    Out out;
    out.text("GIF89a").lowWords({4, 5}).bytes({0xF1, 3, 0});
    for (const int color : {0xFF0000, 0xFF00, 0xFF, 0}) out.bytes({color >> 16, color >> 8, color});
    out.bytes({0x21, 0xF9, 4, 0, 0, 0, 0, 0, 0x2C}).lowWords({left, 0, width, height}).bytes({flags, 2});
    return out.bytes({static_cast<int>(packedPixels.size())}).put(packedPixels).bytes({0, 0x3B}).data;
  };
  const Data rows = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 0, 1, 2, 3};
  const Data flat = codes(rows, 2, false);
  images.push_back({"gif", "gif ", 4, 5, 8, file(0, 0, 4, 5, flat), "rrrrggggbbbb####rgb#", 4});
  // Rows 0 and 4, then 2, then 1 and 3.
  images.push_back({"gif with gaps", "gif ", 4, 5, 8, file(0x40, 0, 4, 5, flat), "rrrr####bbbbrgb#gggg", 4});
  // Strings: 0, the string that is just being made, 1; then codes of four bits.
  images.push_back(
      {"gif in its place", "gif ", 4, 5, 8, file(0, 1, 2, 2, {0x84, 0x13, 0x05}), "#rr##rg#" + repeated("#", 12), 3});
  return images;
}

// A file of pieces, which are strips unless there is a width of tiles, and of fields by their tags.
inline Data tiffFile(bool isLittle, std::map<int, std::vector<int>> fields, const std::vector<Data>& pieces) {
  const bool isTiled = fields.contains(322);
  const int places = isTiled ? 324 : 273;
  const int sizes = isTiled ? 325 : 279;
  fields[places].resize(pieces.size());
  for (const Data& piece : pieces) fields[sizes].push_back(static_cast<int>(piece.size()));
  const auto isLong = [=](int tag) { return tag == places || tag == sizes; };
  const int lists = 8 + 2 + 12 * static_cast<int>(fields.size()) + 4;
  int end = lists;
  for (const auto& [tag, values] : fields) {
    const int size = static_cast<int>(values.size()) * (isLong(tag) ? 4 : 2);
    if (size > 4) end += size;
  }
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    fields[places][i] = end;
    end += static_cast<int>(pieces[i].size());
  }

  Out out, far;
  const auto word = [isLittle](Out& to, int value) { isLittle ? to.lowWords({value}) : to.words({value}); };
  const auto longWord = [isLittle](Out& to, std::size_t value) {
    isLittle ? to.lowLongs({static_cast<int>(value)}) : to.longs({value});
  };
  out.text(isLittle ? "II" : "MM");
  word(out, 42);
  longWord(out, 8);
  word(out, static_cast<int>(fields.size()));
  for (const auto& [tag, values] : fields) {
    word(out, tag);
    word(out, isLong(tag) ? 4 : 3);
    longWord(out, values.size());
    Out list;
    for (const int value : values) isLong(tag) ? longWord(list, static_cast<std::size_t>(value)) : word(list, value);
    if (list.data.size() > 4) {
      longWord(out, static_cast<std::size_t>(lists) + far.data.size());
      far.put(list.data);
    } else {
      list.data.resize(4);
      out.put(list.data);
    }
  }
  longWord(out, 0);
  out.put(far.data);
  for (const Data& piece : pieces) out.put(piece);
  return out.data;
}

inline Images tiffFiles() {
  Images images;
  struct Fields {
    int bits, packing, meaning, samples, differences;
  };
  // Two rows of three pixels, in a strip each.
  const auto file = [](bool isLittle, const Fields& fields, const Data& first, const Data& second,
                       const std::vector<int>& palette) {
    std::map<int, std::vector<int>> all = {{256, {3}},
                                           {257, {2}},
                                           {258, {fields.bits}},
                                           {259, {fields.packing}},
                                           {262, {fields.meaning}},
                                           {277, {fields.samples}},
                                           {278, {1}},
                                           {317, {fields.differences}}};
    if (!palette.empty()) all[320] = palette;
    return tiffFile(isLittle, all, {first, second});
  };
  const Data rgb = {255, 0, 0, 0, 255, 0, 0, 0, 255};
  const Data black(9);
  images.push_back({"tiff", "tiff", 3, 2, 24, file(true, {8, 1, 2, 3, 1}, rgb, black, {}), "rgb###"});
  images.push_back({"tiff by PackBits", "tiff", 3, 2, 24,
                    file(false, {8, 32773, 2, 3, 1}, Out().bytes({8}).put(rgb).data, {0xF8, 0}, {}), "rgb###"});
  images.push_back({"tiff by LZW", "tiff", 3, 2, 24,
                    file(false, {8, 5, 2, 3, 1}, codes(rgb, 8, true), codes(black, 8, true), {}), "rgb###", 2});
  const Data differences = {255, 0, 0, 1, 255, 0, 0, 1, 255};
  images.push_back({"tiff by LZW of differences", "tiff", 3, 2, 24,
                    file(true, {8, 5, 2, 3, 2}, codes(differences, 8, true), codes(black, 8, true), {}), "rgb###", 2});
  images.push_back({"tiff of bits", "tiff", 3, 2, 1, file(false, {1, 1, 0, 1, 1}, {0x40}, {0xE0}, {}), ".#.###"});
  images.push_back(
      {"tiff of greys", "tiff", 3, 2, 8, file(true, {8, 1, 1, 1, 1}, {0, 100, 200}, {255, 0, 0}, {}), "#dl.##"});
  std::vector<int> palette(48);  // 16 reds, greens and blues
  for (const std::size_t i : {0U, 16U + 1, 32U + 2}) palette[i] = 0xFFFF;
  images.push_back({"tiff with a palette", "tiff", 3, 2, 4,
                    file(true, {4, 1, 3, 1, 1}, {0x01, 0x20}, {0x33, 0x30}, palette), "rgb###"});

  // The upper byte of 16 bits counts, whatever the lower one is.
  for (const bool isLittle : {false, true}) {
    const auto wide = [isLittle](const Data& bytes) {
      Out out;
      for (const int byte : bytes) isLittle ? out.bytes({0xFF, byte}) : out.bytes({byte, 0xFF});
      return out.data;
    };
    images.push_back({isLittle ? "tiff of low words" : "tiff of words", "tiff", 3, 2, 24,
                      file(isLittle, {16, 1, 2, 3, 1}, wide(rgb), wide(black), {}), "rgb###", 0, true});
  }
  images.push_back({"tiff of inks", "tiff", 3, 2, 32,
                    file(true, {8, 1, 5, 4, 1}, {0, 255, 255, 0, 255, 0, 255, 0, 255, 255, 0, 0},
                         {0, 0, 0, 255, 255, 255, 0, 255, 0, 0, 0, 0}, {}),
                    "rgb##.", 0, true});
  images.push_back(
      {"tiff in planes", "tiff", 3, 2, 24,
       tiffFile(false, {{256, {3}}, {257, {2}}, {258, {8}}, {262, {2}}, {277, {3}}, {278, {2}}, {284, {2}}},
                {{255, 0, 0, 0, 0, 255}, {0, 255, 0, 0, 0, 255}, {0, 0, 255, 0, 255, 255}}),
       "rgb#b.", 0, true});
  // The second tile lies beside the first, and most of it beside the image.
  Data left(256);
  Data right(256);
  left[1] = left[15] = right[16] = 200;
  right[1] = left[16] = 100;
  images.push_back(
      {"tiff in tiles", "tiff", 18, 2, 8,
       tiffFile(true, {{256, {18}}, {257, {2}}, {258, {8}}, {262, {1}}, {277, {1}}, {322, {16}}, {323, {16}}},
                {left, right}),
       "#l" + repeated("#", 13) + "l#d" + "d" + repeated("#", 15) + "l#", 0, true});
  return images;
}

struct Family {
  const char* name;
  Images (*make)();
};
constexpr Family kFamilies[] = {
    {"AppleVideo", appleVideo},
    {"Graphics", graphics},
    {"Cinepak", cinepak},
    {"Animation", animation},
    {"PlanarColors", planarColors},
    {"Targa", targaFiles},
    {"Bmp", bmpFiles},
    {"Gif", gifFiles},
    {"Tiff", tiffFiles},
};

}  // namespace coded
