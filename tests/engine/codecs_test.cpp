// Images of QuickTime's codecs in pictures, each made here byte by byte, and played into pixels.
#include <gtest/gtest.h>
#include <qdraw/qdraw.h>

#include "tests/engine/coded_images.h"

using coded::Data, coded::Image;

namespace {

// Opcode 8200 with the image, and nothing that stands in for it.
Data pictureOf(const Image& image, const Data& data) {
  const Data operands = coded::operandsOf(image, data);
  coded::Out picture;
  picture.words({0, 0, 0, image.height, image.width, 0x0011, 0x02FF, 0x8200}).longs({operands.size()}).put(operands);
  if (picture.data.size() % 2 != 0) picture.bytes({0});
  return picture.words({0x00FF}).data;
}

struct Played {
  std::string pixels;
  qd::Playback playback;
};

Played played(const Image& image, const Data& data) {
  qd::System system(FONTS);
  auto world = qd::GWorld::make(system, image.width, image.height);
  Played result;
  result.playback = world->play(pictureOf(image, data));
  std::vector<std::uint8_t> row(static_cast<std::size_t>(image.width) * 3);
  for (int y = 0; y < image.height; ++y) {
    world->rgb(y, row);
    for (std::size_t i = 0; i < row.size(); i += 3) {
      const auto color = static_cast<std::uint32_t>(row[i] << 16 | row[i + 1] << 8 | row[i + 2]);
      const auto* ink = std::ranges::find(coded::kInks, color, &coded::Ink::color);
      result.pixels += ink != std::end(coded::kInks) ? ink->letter : '?';
    }
  }
  return result;
}

// The image comes out pixel by pixel. Cut short anywhere, it is told as damaged or not drawn.
void expectDecoded(const Image& image) {
  const Played whole = played(image, image.data);
  if (image.isForLibrary && sizeof(void*) == 4) {
    EXPECT_EQ(whole.playback.undrawn, 1) << image.name;
    EXPECT_EQ(whole.playback.remarks.size(), 1U) << image.name;
    return;
  }
  EXPECT_EQ(whole.pixels, image.pixels) << image.name;
  EXPECT_EQ(whole.playback.drawn, 1) << image.name;
  EXPECT_TRUE(whole.playback.remarks.empty()) << image.name << ": " << whole.playback.remarks[0];
  for (std::size_t size = 1; size + image.unneeded < image.data.size(); ++size) {
    const Played cut = played(image, Data(image.data.begin(), image.data.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_FALSE(cut.playback.error) << image.name;
    EXPECT_EQ(cut.playback.remarks.size(), 1U) << image.name << " of " << size << " bytes";
  }
}

class Codecs : public testing::TestWithParam<coded::Family> {};

}  // namespace

TEST_P(Codecs, DecodePixelByPixel) {
  for (const Image& image : GetParam().make()) expectDecoded(image);
}
INSTANTIATE_TEST_SUITE_P(Images, Codecs, testing::ValuesIn(coded::kFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

// A recording would lose what a codec leaves in bits that make no colour, and come out otherwise.
TEST(Codec, LeavesNothingInBitsThatMakeNoColour) {
  qd::System system(FONTS);
  auto world = qd::GWorld::make(system, 4, 4, 16);
  const Image image = {"", "rpza", 4, 4, 16, {0xE1, 0, 0, 7, 0xA0, 0xFF, 0xFE}, ""};
  EXPECT_EQ(world->play(pictureOf(image, image.data)).drawn, 1);
  EXPECT_EQ(world->row(0)[0], 0x7F);
}

// What can't be, and what is no codec of ours, is named in the remark and in the list.
TEST(Codec, RefuseWhatTheyCannotBe) {
  const Data data(40, 0xE1);
  for (const Image& image : {Image{"", "smc ", 8, 8, 16, data, ""},
                             {"", "rle ", 8, 8, 3, data, ""},
                             {"", "8BPS", 8, 8, 4, data, ""},
                             {"", "tga ", 8, 8, 24, data, ""},
                             {"", "WRLE", 8, 8, 24, data, ""},
                             {"", "gif ", 8, 8, 24, data, ""},
                             {"", "tiff", 8, 8, 24, data, ""},
                             {"", "SVQ1", 8, 8, 24, data, ""}}) {
    const qd::Playback playback = played(image, data).playback;
    EXPECT_EQ(playback.undrawn, 1) << image.codec;
    ASSERT_EQ(playback.remarks.size(), 1U) << image.codec;
    const std::string words = "codec \"" + image.codec + "\", depth " + std::to_string(image.depth) + ", 8x8, 40 bytes";
    EXPECT_NE(playback.remarks[0].find(words), std::string::npos) << playback.remarks[0];
    std::string listed;
    qd::listPicture(pictureOf(image, data), [&](const std::string& line) { listed += line; });
    EXPECT_NE(listed.find(words + ", to (0, 0, 8, 8)"), std::string::npos) << listed;
  }
}
