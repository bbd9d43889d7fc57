// Text as pixels: every character, styles, and what moves characters apart. Pictures are written as text.
#include <gtest/gtest.h>
#include <qdraw/qdraw.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

namespace {

// Pixels of a picture, as rows of '#' and ' '.
using Rows = std::vector<std::string>;

class Page {
 public:
  Page(int width, int height) : width_(width), height_(height) {}

  Page& line(const std::string& line) {
    text_ += line + "\n";
    return *this;
  }
  Page& font(int number, int size, int face = 0) {
    return line("TxFont " + std::to_string(number))
        .line("TxSize " + std::to_string(size))
        .line("TxFace " + std::to_string(face));
  }
  Page& text(int h, int v, const std::string& bytes) {
    std::string escaped;
    for (const char byte : bytes) {
      constexpr const char* kDigits = "0123456789ABCDEF";
      const auto code = static_cast<unsigned char>(byte);
      escaped += std::string("\\x") + kDigits[code >> 4] + kDigits[code & 15];
    }
    return line("LongText at (" + std::to_string(h) + ", " + std::to_string(v) + ") text \"" + escaped + "\"");
  }

  // Played to a size.
  Rows rows(int width, int height) const {
    const qd::Assembled picture = qd::assemblePicture("picture version 2 frame (0, 0, " + std::to_string(width_) +
                                                      ", " + std::to_string(height_) + ")\n" + text_ + "OpEndPic\n");
    EXPECT_FALSE(picture.error) << picture.error->what;
    static qd::System system(FONTS);
    auto world = qd::GWorld::make(system, width, height, 8);
    const qd::Playback playback = world->play(picture.picture);
    EXPECT_FALSE(playback.error);
    EXPECT_TRUE(playback.remarks.empty());
    Rows rows;
    for (int y = 0; y < height; ++y) {
      std::string row;
      for (const std::uint8_t pixel : world->row(y).first(static_cast<std::size_t>(width)))
        row += pixel == 0 ? ' ' : '#';
      rows.push_back(row);
    }
    return rows;
  }
  Rows rows() const { return rows(width_, height_); }

 private:
  int width_, height_;
  std::string text_;
};

// Columns from the first with ink to the last.
struct Span {
  int left, right;
};
Span spanOf(const Rows& rows) {
  Span span = {10000, -1};
  for (const std::string& row : rows) {
    const auto first = row.find('#'), last = row.rfind('#');
    if (first == std::string::npos) continue;
    span = {std::min(span.left, static_cast<int>(first)), std::max(span.right, static_cast<int>(last))};
  }
  return span;
}

// In a square.
bool hasInk(const Rows& rows, int left, int top, int size) {
  for (int y = top; y < top + size; ++y) {
    if (rows[static_cast<std::size_t>(y)]
            .substr(static_cast<std::size_t>(left), static_cast<std::size_t>(size))
            .find('#') != std::string::npos)
      return true;
  }
  return false;
}

// As Unicode's table of Mac OS Roman has them.
TEST(Text, CharactersOfMacRomanAreThose) {
  const std::string upper =
      "ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
      "†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
      "¿¡¬√ƒ≈∆«»… ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
      "‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";
  std::string roman, utf8 = "A~";
  for (int byte = 0x80; byte < 0x100; ++byte) roman += static_cast<char>(byte);
  EXPECT_EQ(qd::utf8OfMacRoman("A~" + roman), utf8 + upper);
  EXPECT_EQ(qd::macRomanOfUtf8(utf8 + upper), "A~" + roman);
  EXPECT_EQ(qd::macRomanOfUtf8("\xE2\x98\x83\xC3"), "??");
}

TEST(Text, EveryCharacterIsSeenAtEverySizeInEveryFace) {
  struct Font {
    int number, faces;
    std::string unseen;
  };
  const Font fonts[] = {{21, 4, " \xCA"}, {20, 4, " \xCA"}, {22, 4, " \xCA"}, {23, 1, " "}, {13, 1, " "}};
  constexpr int kSizes[] = {1, 2, 4, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 48};
  for (const auto& [number, faces, unseen] : fonts) {
    for (int face = 0; face < faces; ++face) {
      for (const int size : kSizes) {
        for (const int across : {1, 2}) {  // stretched text comes from outlines
          const int cell = 2 * size * across + 4;
          Page page(16 * cell, 16 * cell);
          page.font(number, size, face).line("TxRatio (" + std::to_string(across) + ", 1) (1, 1)");
          for (int byte = 0; byte < 256; ++byte) {
            page.text(byte % 16 * cell + cell / 4, byte / 16 * cell + cell * 3 / 4,
                      std::string(1, static_cast<char>(byte)));
          }
          const Rows rows = page.rows();
          for (int byte = 0; byte < 256; ++byte) {
            const bool isUnseen =
                byte < 0x20 || byte == 0x7F || unseen.find(static_cast<char>(byte)) != std::string::npos;
            EXPECT_EQ(hasInk(rows, byte % 16 * cell, byte / 16 * cell, cell), !isUnseen)
                << "font " << number << " face " << face << " size " << size << " times " << across << " byte " << byte;
          }
        }
      }
    }
  }
}

// What every line of text rests on: hinted bits at the sizes of the screen, whole pixels apart.
TEST(Text, ReadsLikePrint) {
  const Rows expected = {
      "                                    ", "                                    ",
      "  ####              # #      #      ", "  #   #             #        #    # ",
      "  #   #  ### #    # # # ###  ### ###", "  #    #   #  #  #  # ##  #  # #  # ",
      "  #   #  ###  #  #  # ##  #  # #  # ", "  #   # #  #   ##   # ##  #  # #  # ",
      "  ####   ## #  ##   # # ###  # #  ##", "               #          #         ",
      "             ##         ###         ", "                                    ",
  };
  EXPECT_EQ(Page(36, 12).font(21, 9).text(1, 9, "Daylight").rows(), expected);
}

// A style is what the definition makes of the plain letter.
constexpr int kSide = 80, kBaseline = 58;
bool has(const Rows& rows, int y, int x) {
  return y >= 0 && x >= 0 && y < kSide && x < kSide &&
         rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#';
}
// Whether there is ink in a rectangle, its last row and column included.
bool hasNear(const Rows& rows, int top, int left, int bottom, int right) {
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      if (has(rows, y, x)) return true;
    }
  }
  return false;
}

TEST(Text, StylesAreMadeOfThePlainLetter) {
  enum { kBold = 1, kItalic = 2, kUnderline = 4, kOutline = 8, kShadow = 16 };
  struct Style {
    const char* what;
    int font, size, face;
    std::function<bool(const Rows& plain, int y, int x)> hasInk;
  };
  const auto spread = [](int depth) {
    return [depth](const Rows& plain, int y, int x) {
      return hasNear(plain, y - depth, x - depth, y + 1, x + 1) && !has(plain, y, x);
    };
  };
  const auto bold = [](const Rows& plain, int y, int x) { return hasNear(plain, y, x - 1, y, x); };
  const Style styles[] = {
      {"outline", 20, 24, kOutline, spread(1)},
      {"shadow", 20, 24, kShadow, spread(2)},
      {"both", 20, 24, kOutline | kShadow, spread(3)},
      {"bolder", 0, 24, kBold, bold},
      {"bold signs", 23, 24, kBold, bold},
      {"slanted signs", 23, 24, kItalic,
       [](const Rows& plain, int y, int x) { return has(plain, y, x - ((kBaseline - 1 - y) >> 1)); }},
  };
  const auto draw = [](int font, int size, int face, char letter) {
    return Page(kSide, kSide).font(font, size, face).text(8, kBaseline, std::string(1, letter)).rows();
  };
  for (const char letter : {'g', 'Q', 'j', 'A'}) {
    for (const Style& style : styles) {
      const Rows plain = draw(style.font, style.size, 0, letter);
      const Rows styled = draw(style.font, style.size, style.face, letter);
      for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x)
          ASSERT_EQ(has(styled, y, x), style.hasInk(plain, y, x))
              << style.what << " " << letter << " " << x << " " << y;
      }
    }
    // As wide as a space, which no letter here is narrower than.
    for (const auto& [size, width, thickness] : {std::tuple(24, 6, 1), {48, 12, 2}}) {
      const Rows plain = draw(20, size, 0, letter);
      const Rows styled = draw(20, size, kUnderline, letter);
      for (int y = kBaseline; y < kBaseline + 4; ++y) {
        for (int x = 8; x < 8 + width; ++x) {
          const bool isLine = y > kBaseline && y <= kBaseline + thickness &&
                              !hasNear(plain, kBaseline, x - 1, kBaseline + thickness + 1, x + 1);
          EXPECT_EQ(has(styled, y, x), isLine || has(plain, y, x)) << size << " " << letter << " " << x << " " << y;
        }
      }
    }
  }
}

// A clip cuts pixels off and changes none.
TEST(Text, AClipShowsAPartOfTheWhole) {
  for (const auto& [font, size, face] : {std::tuple(20, 12, 0), {21, 40, 28}, {0, 18, 25}, {23, 24, 3}, {22, 30, 4}}) {
    const auto draw = [font = font, size = size, face = face](const std::string& clip) {
      return Page(kSide, kSide).line(clip).font(font, size, face).text(-5, kBaseline, "gAjqy").rows();
    };
    const Rows whole = draw("Clip (0, 0, 80, 80)");
    for (const auto& [left, top, right, bottom] :
         {std::tuple(20, 30, 40, 57), {0, 57, 80, 60}, {7, 0, 8, 80}, {33, 59, 34, 60}, {0, 40, 12, 70}}) {
      const Rows part = draw("Clip (" + std::to_string(left) + ", " + std::to_string(top) + ", " +
                             std::to_string(right) + ", " + std::to_string(bottom) + ")");
      for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
          const bool isInside = x >= left && x < right && y >= top && y < bottom;
          ASSERT_EQ(has(part, y, x), isInside && has(whole, y, x)) << font << " " << face << " " << x << " " << y;
        }
      }
    }
  }
}

// By name before number, by a word in it, with the styles that the name says.
TEST(Text, FontsAreFoundByNameAndNumber) {
  const std::pair<std::string, std::string> alike[] = {
      {"TxFont 16", "TxFont 20"},
      {"TxFont 4000", "TxFont 21"},
      {"TxFont -1", "TxFont 21"},
      {"FontName 22 \"COURIER New\"\nTxFont 22", "TxFont 22"},
      {"FontName 900 \"Times Bold\"\nTxFont 900", "TxFont 20\nTxFace 1"},
      {"FontName 900 \"Garamond Oblique\"\nTxFont 900", "TxFont 20\nTxFace 2"},
      {"FontName 20 \"Stone Sans\"\nTxFont 20", "TxFont 21"},
      {"FontName 900 \"Symbol\"\nTxFont 900", "TxFont 23"},
      {"FontName 900 \"Charcoal\"\nTxFont 900", "TxFont 0"},
      {"TxFont 0", "TxFont 21\nTxFace 1"},
  };
  const auto draw = [](const std::string& said) {
    return Page(kSide, kSide).line("TxSize 14").line(said).text(2, kBaseline, "Rag ji").rows();
  };
  for (const auto& [said, other] : alike) EXPECT_EQ(draw(said), draw(other)) << said;
  EXPECT_NE(draw("TxFont 20"), draw("TxFont 21"));
  EXPECT_LT(spanOf(draw("TxFont 15")).right, spanOf(draw("TxFont 21")).right);
}

// How far the last letter of a line stands from where it stands without what a picture says of its text.
TEST(Text, PicturesMoveCharactersApart) {
  struct Case {
    const char* said;
    int moved;
  };
  const Case cases[] = {
      {"SpExtra 2.5", 5},        // two spaces
      {"ChExtra 1024", 15},      // a quarter of 12 for each of five letters
      {"LineJustify 1.0 0", 7},  // seven characters before the last
      {"LineJustify 0 7.0", 7},  // between the spaces
      {"TxFace 32", -7},         // condensed
      {"TxFace 64", 7},          // extended
      {"ChExtra 100", 1},        // 1.46
      {"ChExtra 100\nPnLocHFrac 65535", 2},
      {"PnLocHFrac 32767", 0},        // half a pixel less, which no width makes up
      {"GlyphState 0 0 1 0", -1},     // widths of outlines
      {"TxRatio (3, 1) (1, 1)", 46},  // three times as wide, the last letter, too
  };
  const auto lastOf = [](const std::string& said) {
    return spanOf(Page(160, 20).font(21, 12).line(said).text(2, 14, "iii ii l").rows()).right;
  };
  EXPECT_LT(lastOf("SpExtra 32767.9\nLineJustify 32767.9 32767.9"), 5) << "all but the first is far away";
  const int plain = lastOf("TxFace 0");
  for (const auto& [said, moved] : cases) EXPECT_EQ(lastOf(said) - plain, moved) << said;
}

TEST(Text, ScaledWordsAreAsWideAsTheyWereRecorded) {
  const std::string word = "Installer 1 of 5";
  for (const int font : {0, 20, 21, 22}) {
    for (const int size : {9, 10, 12, 18, 36}) {
      const int width = 20 * size, height = 2 * size;
      Page page(width, height);
      page.font(font, size).text(0, size, word + "|");
      const Span plain = spanOf(page.rows());
      for (const auto& [across, down] :
           {std::pair(0.5, 0.5), {1.5, 1.5}, {2.0, 2.0}, {3.3, 3.3}, {2.0, 1.0}, {0.7, 1.4}}) {
        const Span scaled = spanOf(page.rows(static_cast<int>(width * across), static_cast<int>(height * down)));
        // The bar is a stem of a pixel or more, which stands in the middle of its own width.
        EXPECT_NEAR(scaled.right, plain.right * across, 1 + size * across / 10) << font << " " << size << " " << across;
      }
    }
  }
}

TEST(Text, DamagedStrikesAreToldAndOutlinesStandIn) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("qdraw-strikes-" + std::to_string(getpid()));
  fs::create_directories(folder);
  for (const char* const name : {"LiberationSans-Regular.ttf", "DejaVuSans.ttf"})
    fs::copy(fs::path(FONTS) / name, folder / name, fs::copy_options::overwrite_existing);
  std::ifstream in(fs::path(FONTS) / "sans-regular.strikes", std::ios::binary);
  const std::string sound(std::istreambuf_iterator<char>(in), {});
  const std::size_t record = 2 + 6 * 19;  // the first, after the places of all
  const auto number = [&sound](std::size_t at) {
    return static_cast<std::size_t>(static_cast<std::uint8_t>(sound.at(at)) << 8 |
                                    static_cast<std::uint8_t>(sound.at(at + 1)));
  };
  const std::size_t columns = record + 26 + 2 * number(record + 24) * number(record + 14);

  const auto remarks = [&folder](const std::string& file) {
    std::ofstream(folder / "sans-regular.strikes", std::ios::binary) << file;
    qd::System system(folder);
    const qd::Assembled picture = qd::assemblePicture(
        "picture version 2 frame (0, 0, 60, 20)\nTxFont 21\nLongText at (2, 14) text \"w\\xF0\"\nOpEndPic\n");
    const qd::Playback playback = qd::GWorld::make(system, 60, 20)->play(picture.picture);
    EXPECT_EQ(playback.drawn, 1);
    return playback.remarks.size();
  };
  EXPECT_EQ(remarks(sound), 0U);
  const auto with = [&sound](std::size_t at, int value) {
    std::string file = sound;
    file.at(at) = static_cast<char>(value >> 8);
    file.at(at + 1) = static_cast<char>(value);
    return file;
  };
  struct Damage {
    const char* what;
    std::size_t at;
    int value;
  };
  const Damage damages[] = {
      {"no strikes", 0, 0},
      {"more strikes than there are", 0, 0x7FFF},
      {"a size of 0", 2, 0},
      {"a size beyond the screen's", 2, 25},
      {"a strike outside of the file", 4, 0x7FFF},
      {"no characters", record + 2, 0xFFFF},
      {"more characters than bytes have values", record + 4, 256},
      {"a height that ascent and descent don't have", record + 14, 0xFFFF},
      {"widths outside of the file", record + 16, 0xFFFF},
      {"wide rows", record + 24, 0xFFFF},
      {"columns that go back", columns + 2 * 65, 0xFFFF},
      {"columns outside of the image", columns + 2 * 257, 0xFFFF},
  };
  for (const auto& [what, at, value] : damages) EXPECT_EQ(remarks(with(at, value)), 1U) << what;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, record, record + 25, columns, sound.size() - 3})
    EXPECT_EQ(remarks(sound.substr(0, size)), 1U) << size;
  fs::remove_all(folder);
}

}  // namespace
