// QuickTime's images: uncompressed in all their forms, and by codecs.
#include <zlib.h>

#include <cmath>

#include "conformance/entry.h"
#include "tests/engine/coded_images.h"

namespace conformance {
namespace {

using model::format;
using model::Out;

std::vector<std::uint8_t> letters(std::string_view text) { return {text.begin(), text.end()}; }

// An image description, and the data after it. A table is one that is known by its number, or the map's own.
Out described(const std::string& codec, const Map& map, int depth, int table, const std::vector<std::uint8_t>& data) {
  Out out;
  out.put(letters(codec)).words({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  out.words({map.bounds.width(), map.bounds.height(), 72, 0, 72, 0});
  out.u32(static_cast<std::uint32_t>(data.size())).u16(1);
  for (int i = 0; i < 16; ++i) out.u16(0);
  out.words({depth, table});
  if (table == 0) {
    out.words({0, 0, 0, static_cast<int>(map.table.size()) - 1});
    for (std::size_t i = 0; i < map.table.size(); ++i) out.u16(static_cast<int>(i)).color(map.table[i]);
  }
  Out sized;
  return sized.u32(static_cast<std::uint32_t>(out.bytes.size()) + 4).put(out.bytes).put(data);
}

// Rows as they are, each up to a whole byte. Depths above 32 are those of greys, and of 24 bits none is unused.
Out uncompressed(const Map& map, int depth, int table) {
  const int bits = depth == 24 ? 24 : map.depth;
  Out data;
  for (int y = map.bounds.top; y < map.bounds.bottom; ++y) {
    std::vector<std::uint8_t> row(static_cast<std::size_t>((map.bounds.width() * bits + 7) / 8));
    for (int x = 0; x < map.bounds.width(); ++x) model::putPixel(row, bits, x, map.at(map.bounds.left + x, y));
    data.put(row);
  }
  return described("raw ", map, depth, table, data.bytes);
}

struct How {
  int across = 4, down = 4, left = 0, top = 0;  // the matrix, in quarters of a pixel
  int mode = 0;
  Rect part = {};
  std::optional<Region> mask = {};
  std::optional<Map> matte = {};  // of greys, 8 bits
};

Step image(const Map& map, const Out& encoded, const How& how = {}) {
  const Out matte = how.matte ? uncompressed(*how.matte, 40, 40) : Out();
  Out mask;
  if (how.mask) mask.region(*how.mask);
  Out out;
  out.u16(0);
  model::putMatrix(out, how.across, how.down, how.left, how.top);
  out.u32(static_cast<std::uint32_t>(matte.bytes.size())).rect(how.matte ? how.matte->bounds : Rect());
  out.u16(how.mode).rect(how.part).u32(0).u32(static_cast<std::uint32_t>(mask.bytes.size()));
  out.put(matte.bytes).put(mask.bytes).put(encoded.bytes);
  const auto placed = [how](const Rect& r) {
    const auto rounded = [](int at) { return static_cast<int>(std::lround(at / 4.0)); };
    return Rect{rounded(how.left + how.across * r.left), rounded(how.top + how.down * r.top),
                rounded(how.left + how.across * r.right), rounded(how.top + how.down * r.bottom)};
  };
  std::vector<Region> masks;
  if (how.mask) masks.push_back(*how.mask);
  if (!how.part.isEmpty()) masks.emplace_back(placed(how.part));
  const Rect to = placed(map.bounds);
  return {"Compressed" + model::sized(out),
          [=](model::Player& p) { p.bits(map, map.bounds, to, how.mode, masks, how.matte ? &*how.matte : nullptr); }};
}

// ---- formats whose encoders are short

// Blocks of 8 by 8 of one colour each: no more than the means of a baseline JPEG.
class Jpeg {
 public:
  Jpeg(int width, int height, bool isGrey) : isGrey_(isGrey) {
    const int components = isGrey ? 1 : 3;
    out_.words({0xFFD8, 0xFFDB, 67}).u8(0);
    for (int i = 0; i < 64; ++i) out_.u8(1);
    out_.words({0xFFC0, 8 + 3 * components}).u8(8).words({height, width}).u8(components);
    for (int i = 1; i <= components; ++i) out_.u8(i).u8(0x11).u8(0);
    // Sizes of differences from 0 to 11, of four bits each; and the one code that ends a block, of one bit.
    out_.words({0xFFC4, 19 + 12}).u8(0);
    for (int length = 1; length <= 16; ++length) out_.u8(length == 4 ? 12 : 0);
    for (int size = 0; size < 12; ++size) out_.u8(size);
    out_.words({0xFFC4, 19 + 1}).u8(0x10);
    for (int length = 1; length <= 16; ++length) out_.u8(length == 1 ? 1 : 0);
    out_.u8(0);
    out_.words({0xFFDA, 6 + 2 * components}).u8(components);
    for (int i = 1; i <= components; ++i) out_.u8(i).u8(0);
    out_.u8(0).u8(63).u8(0);
  }
  // The block's colour, as brightness and two differences of colour.
  void add(std::array<int, 3> color) {
    for (std::size_t i = 0; i < (isGrey_ ? 1U : 3U); ++i) {
      const int mean = (color[i] - 128) * 8, step = mean - std::exchange(last_[i], mean);
      int size = 0;
      while (std::abs(step) >> size != 0) ++size;
      put(size, 4);
      put(step < 0 ? step + (1 << size) - 1 : step, size);
      put(0, 1);
    }
  }
  std::vector<std::uint8_t> take() {
    while (held_ % 8 != 0) put(1, 1);
    return out_.words({0xFFD9}).bytes;
  }

 private:
  void put(int bits, int count) {
    for (int i = count - 1; i >= 0; --i) {
      pool_ = pool_ << 1 | (bits >> i & 1);
      if (++held_ % 8 != 0) continue;
      out_.u8(pool_ & 0xFF);
      if ((pool_ & 0xFF) == 0xFF) out_.u8(0);
    }
  }

  bool isGrey_;
  Out out_;
  std::array<int, 3> last_ = {};
  int pool_ = 0, held_ = 0;
};

Entry jpeg(bool isGrey) {
  Map map(32, {0, 0, 32, 24});
  Jpeg file(32, 24, isGrey);
  for (int block = 0; block < 12; ++block) {
    const int left = block % 4 * 8, top = block / 4 * 8;
    const std::array<int, 3> color = {40 + 17 * block, isGrey ? 128 : 90 + 20 * (block % 4),
                                      isGrey ? 128 : 170 - 30 * (block / 4)};
    file.add(color);
    const auto component = [&color](double blue, double red) {
      const double value = color[0] + blue * (color[1] - 128) + red * (color[2] - 128);
      return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 255.0)));
    };
    const std::uint32_t pixel = component(0, 1.402) << 16 | component(-0.344136, -0.714136) << 8 | component(1.772, 0);
    for (int i = 0; i < 64; ++i) map.at(left + i % 8, top + i / 8) = pixel;
  }
  Entry entry = {isGrey ? "jpeg-grey" : "jpeg",
                 isGrey ? "A baseline JPEG of greys: twelve blocks of one grey each."
                        : "A baseline JPEG in colour: twelve blocks of one colour each.",
                 rule::kQuickTime,
                 {image(map, described("jpeg", map, isGrey ? 40 : 24, -1, file.take()))}};
  entry.tolerance = 3;
  return entry;
}

Entry png() {
  const Map map = art(32, {0, 0, 32, 24});
  std::vector<std::uint8_t> rows;
  for (int y = 0; y < 24; ++y) {
    rows.push_back(0);
    for (int i = 0; i < 96; ++i) rows.push_back(static_cast<std::uint8_t>(map.at(i / 3, y) >> (16 - 8 * (i % 3))));
  }
  uLongf size = compressBound(rows.size());
  std::vector<std::uint8_t> packed(size);
  compress(packed.data(), &size, rows.data(), rows.size());
  packed.resize(size);
  Out file;
  file.words({0x8950, 0x4E47, 0x0D0A, 0x1A0A});
  const auto chunk = [&file](const std::string& name, const std::vector<std::uint8_t>& data) {
    Out body;
    body.put(letters(name)).put(data);
    file.u32(static_cast<std::uint32_t>(data.size())).put(body.bytes);
    file.u32(static_cast<std::uint32_t>(crc32(0, body.bytes.data(), static_cast<uInt>(body.bytes.size()))));
  };
  chunk("IHDR", Out().words({0, 32, 0, 24}).u8(8).u8(2).u8(0).u8(0).u8(0).bytes);
  chunk("IDAT", packed);
  chunk("IEND", {});
  return {"png", "A PNG in colour.", rule::kQuickTime, {image(map, described("png ", map, 32, -1, file.bytes))}};
}

// Those of the engine's tests, whose pixels are letters.
void addCoded(std::vector<Entry>& entries) {
  for (const coded::Family& family : coded::kFamilies) {
    for (const coded::Image& each : family.make()) {
      if (each.pixels.find('?') != std::string::npos) continue;  // of no colour that has a letter
      Map map(32, {0, 0, each.width, each.height});
      for (std::size_t i = 0; i < map.pixels.size(); ++i) map.pixels[i] = coded::colorOf(each.pixels[i]);
      const Rect to = map.bounds;
      Out operands;
      operands.bytes = coded::operandsOf(each, each.data);
      std::string name = each.name;
      for (char& c : name) c = c == ' ' || c == ',' ? '-' : static_cast<char>(std::tolower(c));
      if (const auto twice = name.find("--"); twice != name.npos) name.erase(twice, 1);
      Entry entry = {name,
                     "An image of the codec \"" + each.codec + "\": " + each.name + ".",
                     rule::kQuickTime,
                     {Step{"Compressed" + model::sized(operands), [=](model::Player& p) { p.bits(map, to, to, 0); }}}};
      entry.frame = to;
      entries.push_back(entry);
    }
  }
}

}  // namespace

std::vector<Entry> images() {
  std::vector<Entry> entries;
  const auto add = [&entries](const std::string& name, const std::string& shows, const Lines& lines) {
    entries.push_back({name, shows, rule::kQuickTime, lines});
  };
  const Rect all = {0, 0, 32, 24}, whole = {0, 0, 24, 16};
  for (const int depth : {1, 2, 4, 8, 16, 24, 32}) {
    Map map = art(depth == 24 ? 32 : depth, all);
    if (depth == 1) map.table = {kYellow, kBlue};
    add(format("raw-%d", depth), format("Pixels of %d bits, not compressed.", depth),
        {image(map, uncompressed(map, depth, depth <= 8 ? 0 : -1))});
  }
  for (const int depth : {34, 36, 40}) {
    Map map(depth - 32, all, model::tableOf(depth));
    const Map form = art(depth - 32, all);
    map.pixels = form.pixels;
    add(format("raw-grey-%d", depth - 32),
        format("Greys of %d bits, which as depths are %d, not compressed.", depth - 32, depth),
        {image(map, uncompressed(map, depth, -1))});
  }
  for (const auto& [depth, id] : {std::pair(4, 68), std::pair(8, 72)}) {
    Map map(depth, all, model::tableOf(id));
    map.pixels = art(depth, all).pixels;
    add(format("raw-standard-%d", depth), format("Pixels of %d bits in the system's colours, without a table.", depth),
        {image(map, uncompressed(map, depth, -1))});
  }

  const Map map = art(32, whole);
  const Out raw = uncompressed(map, 32, -1);
  const Lines ground = {fore(kYellow), paint({0, 0, 32, 24}), fore(kBlack)};
  add("moved", "The matrix moves an image.", {image(map, raw, {.left = 20, .top = 12})});
  add("stretched", "The matrix stretches an image by 5 to 4 and reduces its height to 3 quarters.",
      {image(map, raw, {.across = 5, .down = 3, .left = 4, .top = 16})});
  add("at-a-fraction", "Corners of an image are rounded: at a half up.", {image(map, raw, {.left = 10, .top = 13})});
  add("part", "A part of an image is shown where all of it would show it.",
      ground + Lines{image(map, raw, {.left = 16, .top = 16, .part = {5, 3, 19, 12}})});
  Region mask(Rect{4, 4, 26, 18});
  mask.toggle({10, 8, 18, 13});
  add("masked", "An image through a region, which the matrix doesn't move.",
      ground + Lines{image(map, raw, {.left = 12, .top = 8, .mask = mask})});
  add("mode-add", "An image in mode 34, addOver.",
      {fore(kGreen), paint({0, 0, 32, 12}), image(map, raw, {.left = 12, .top = 8, .mode = 34})});
  Map matte(8, whole, model::tableOf(40));
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 24; ++x) matte.at(x, y) = static_cast<std::uint32_t>(255 - x * 255 / 23);
  }
  add("matte", "Through a matte of greys: black takes the image, white leaves what is there, and greys mix.",
      ground + Lines{image(map, raw, {.left = 12, .top = 12, .matte = matte})});
  // What comes after an image for those who have no codec.
  const Line instead = idle(copy({.map = art(1, {0, 0, 24, 16})}, {.to = Rect{4, 4, 28, 20}}).line);
  add("stand-in", "Bits in the same place, just after an image, are for those who can't decode it.",
      {image(map, raw, {.left = 16, .top = 16}), instead});
  add("stand-in-elsewhere", "Bits in another place are drawn as any.",
      {image(map, raw, {.left = 16, .top = 16}), copy({.map = art(1, {0, 0, 24, 16})}, {.to = Rect{8, 8, 32, 24}})});
  add("after-an-image", "What is drawn after an image lies over it, in the port's colours.",
      {image(map, raw, {.left = 16, .top = 16}), fore(kRed), model::line({2, 2}, {29, 21})});
  {
    Out out;
    out.u16(0);
    model::putMatrix(out, 4, 4, 0, 0);
    Lines lines = {Step{"Uncompressed" + model::sized(out.u32(0).rect({})), [](model::Player&) {}},
                   copy({.map = art(8, whole)}, {.to = Rect{4, 4, 28, 20}})};
    lines[0].isIdle = true;
    add("uncompressed", "The opcode in front of bits that QuickTime left as they are.", lines);
  }
  entries.push_back(jpeg(false));
  entries.push_back(jpeg(true));
  entries.push_back(png());
  addCoded(entries);
  return entries;
}

}  // namespace conformance
