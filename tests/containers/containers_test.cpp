// Pictures are found in containers that are built here, whole and damaged.
#include "containers/containers.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/containers/files.h"

namespace {

using namespace files;

// "#128 Name 3": each picture's name and height.
Bytes namesIn(const containers::Contents& contents) {
  Bytes names;
  for (const containers::Found& found : contents.pictures) {
    const int height = qd::pictureInfo(found.picture)->height();
    names += (names.empty() ? "" : ", ") + found.name() + " " + std::to_string(height);
    const Bytes& expected = height == 9 && found.picture.size() == kOld.size() ? kOld : picture(height);
    EXPECT_TRUE(std::ranges::equal(found.picture, asBytes(expected))) << found.name();
  }
  return names;
}
Bytes found(const Bytes& file, bool isSearching = false) {
  const containers::Contents contents = containers::picturesIn(asBytes(file), isSearching);
  for (const Bytes& note : contents.notes) ADD_FAILURE() << note;
  return namesIn(contents);
}

const Bytes kFork = fork({{128, "N\x8Cme\x07", picture(1)}, {-5, "", picture(300)}, {4, "", picture(2)}});
const std::size_t kForkMap = kFork.size() - 28 - 18 - 36 - 6;
const Bytes kInFork = "#128 Nåme? 1, #-5 300, #4 2";
const Bytes kDrawings =
    blip(picture(1), false, true) + "between" + blip(picture(2), true, true) + blip(picture(90), true, false);

}  // namespace

TEST(Containers, HoldPicturesInTheirOrder) {
  const Bytes file = kHeader + picture(7);
  const std::pair<Bytes, Bytes> cases[] = {
      {picture(3), " 3"},
      {kHeader + file, " 7"},
      {kFork, kInFork},
      {appleFile(0x00051607, "", kFork), kInFork},
      {appleFile(0x00051600, file, kFork), kInFork + ",  7"},
      {macBinary(file, kFork, 1), " 7, " + kInFork},
      {macBinary(file, "", 2), " 7"},
      {macBinary("", kFork, 3), kInFork},
      {gzip(picture(3)), " 3"},
      {gzip(picture(3).substr(0, 20)) + gzip(picture(3).substr(20)), " 3"},
      {zip({{"[Content].xml", "<?xml"},
            {"ppt/media/1.pict", file},
            {"2.pcz", gzip(picture(2))},
            {"i.png", "\x89PNG\r\n\x1A\n"}}),
       "ppt/media/1.pict 7, 2.pcz 2"},
      {zip({{"/../x/./\x1B[m.pict", file}, {"..\\y\xFF.pict", file}, {"\xC2\x9B\xC3\xA9", file}, {"/..", file}}),
       "x/?[m.pict 7, y?.pict 7, ??é 7, ? 7"},
      {gzip(zip({{"a.bin", macBinary(file, kFork, 3)}})), "a.bin 7, a.bin#128 Nåme? 1, a.bin#-5 300, a.bin#4 2"},
      {compound({{"Pictures", kDrawings}, {"Raw", file}}), "Pictures/1 1, Pictures/2 2, Pictures/3 90, Raw 7"},
      {compound({{"Workbook", workbook(kDrawings + Bytes(5000, 'x'))}}), "Workbook/1 1, Workbook/2 2, Workbook/3 90"},
  };
  for (const auto& [bytes, expected] : cases) EXPECT_EQ(found(bytes), expected);
}

TEST(Containers, AreSearchedWhereNothingIsFoundByForm) {
  const Bytes wrong = put(kOld, 0, big(14, 2)), foreign =
                                                    "\x7F"
                                                    "ELF";
  const Bytes broken = picture(1).substr(0, 40) + Bytes("\0\x70\0\1", 4);
  const std::pair<Bytes, Bytes> cases[] = {
      {foreign + picture(1) + picture(2) + "x" + kHeader + picture(3), "@4 1, @56 2, @631 3"},
      {foreign + kOld + wrong + kOld + kOld.substr(0, 12), "@4 9, @30 9"},
      {foreign + put(picture(1), 6, big(0, 2)) + broken + picture(2), "@100 2"},
      {kFork.substr(0, kForkMap), "@260 1, @316 300, @3362 2"},
      {macBinary(picture(7), kFork.substr(0, kForkMap), 2), " 7, @260 1, @316 300, @3362 2"},
      {zip({{"a", foreign + picture(1)}, {"b", picture(2)}}), "a@4 1, b 2"},
      {foreign + broken, ""},
  };
  for (const auto& [bytes, expected] : cases) {
    const containers::Contents contents = containers::picturesIn(asBytes(bytes), true);
    EXPECT_EQ(namesIn(contents), expected);
  }
  EXPECT_EQ(found(foreign + picture(1)), "");
}

// Each number that leads elsewhere, at a value that leads nowhere: what is whole is found, and what isn't is told.
TEST(Containers, GiveWhatIsWholeInDamagedOnes) {
  constexpr std::size_t kReferences = 28 + 18;
  const std::size_t references = kForkMap + kReferences;
  const Bytes packed = gzip(picture(300)), document = compound({{"Pictures", kDrawings}, {"Raw", picture(2)}});
  const Bytes archive = zip({{"a", picture(1)}, {"b", picture(300)}}),
              single = appleFile(0x00051600, picture(7), kFork);
  const Bytes binary = macBinary(picture(7), kFork, 2);
  const std::size_t directory = document.size() - 1024;
  const struct {
    Bytes bytes, expected, note;
  } cases[] = {
      {put(kFork, references + 12 + 5, big(0xFFFFFF, 3)), "#128 Nåme? 1, #4 2", "#-5: This resource lies outside"},
      {put(kFork, kForkMap - picture(2).size() - 4, big(0x7FFFFFFF)), kInFork,
       "#4: This resource is cut off: there are "},
      {put(kFork, references + 2, big(0x7FFF, 2)), "#128 1, #-5 300, #4 2", ""},
      {put(kFork, references + 12 + 4, "\1"), kInFork, ""},
      {put(kFork, kForkMap + 28 + 14, big(0xFFFF, 2)), kInFork, "map of its resources is broken or cut off"},
      {put(kFork, kForkMap + 28 + 16, big(0xFFFF, 2)), "", "map of its resources is broken or cut off"},
      {put(kFork, kForkMap + 28, big(0xFFFE, 2)), kInFork, "map of its resources is broken or cut off"},
      {fork({{1, "",
              "\xA8\x9F\x65\x72"
              "packed",
              1},
             {2, "", "none"},
             {3, "", picture(3)}}),
       "#3 3", "#1: This resource is compressed"},
      {put(single, 26 + 12 + 4, big(0xFFFFFFF0)), " 7", "A fork in it is cut off: there are 0 of"},
      {put(single, 24, big(0xFFFF, 2)).substr(0, 61), "", "list of its parts is cut off"},
      {put(binary, 2, "other"), " 7, " + kInFork, "checksum of its header is wrong"},
      {binary.substr(0, 500), " 7", "It is cut off: there are 228 of "},
      {packed.substr(0, packed.size() - 8), " 300", "What gzip packed is damaged or cut off"},
      {put(packed, packed.size() - 8, "sum"), " 300", "What gzip packed is damaged or cut off"},
      {archive.substr(0, archive.find("PK\1\2") - 9), "a 1", "b: It is damaged in the zip"},
      {put(archive, archive.find("PK\1\2") - 9, "damaged"), "a 1", "b: It is damaged in the zip"},
      {put(document, 48, little(0x0FFFFFFF)), "", "Its directory is damaged or cut off"},
      {put(document, directory + 116, little(0x7FFFFFFF)), "Raw 2", "Pictures: This stream is cut off: there are 0 of"},
      {put(document, 60, little(0xFFFFFFFE)), "", "This stream is cut off"},
  };
  for (const auto& [bytes, expected, note] : cases) {
    const containers::Contents contents = containers::picturesIn(asBytes(bytes));
    Bytes notes;
    for (const Bytes& each : contents.notes) notes += each + "\n";
    SCOPED_TRACE(note + " in:\n" + notes);
    EXPECT_NE(notes.find(note), Bytes::npos);
    EXPECT_EQ(notes.empty(), note.empty());
    EXPECT_EQ(namesIn(contents), expected);
  }
}

// Any two bytes at a limit, in each container: the sanitizers look on.
TEST(Containers, SurviveAnyNumber) {
  const Bytes small = fork({{1, "n", picture(1)}, {2, "", picture(2)}});
  for (const Bytes& file :
       {small, appleFile(0x00051600, picture(1), small), macBinary(picture(1), small, 1), gzip(small),
        zip({{"a", picture(1)}, {"b", gzip(small)}}), compound({{"Data", blip(picture(1), true, true)}}),
        compound({{"Book", workbook(blip(picture(1), false, true))}})}) {
    std::size_t least = file.size(), most = 0;
    for (std::size_t at = 0; at + 2 <= file.size(); ++at) {
      for (const char* bytes : {"\xFF\xFF", "\x7F\xFF", "\x80\x01"}) {
        const auto contents = containers::picturesIn(asBytes(put(file, at, bytes)), at % 2 == 0);
        least = std::min(least, contents.pictures.size());
        most = std::max(most, contents.pictures.size());
      }
    }
    EXPECT_LE(least, 1U);
    EXPECT_GE(most, 1U);
  }
}

TEST(Containers, KeepToLimits) {
  const auto notesOf = [](const Bytes& file, std::size_t count, const containers::Limits& limits) {
    const containers::Contents contents = containers::picturesIn(asBytes(file), true, limits);
    EXPECT_EQ(contents.pictures.size(), count);
    Bytes notes;
    for (const Bytes& each : contents.notes) notes += each + "\n";
    return notes;
  };
  const Bytes zeros(10 << 20, '\0');
  const std::pair<Bytes, std::size_t> bombs[] = {
      {gzip(gzip(zeros)), 0},
      {compound({{"Pictures", blip(picture(1), false, true) + blip(zeros, false, true)}}), 1},
      {zip({{"a", picture(1)}, {"b", gzip("x" + zeros)}, {"c", picture(2)}}), 1}};
  for (const auto& [file, count] : bombs) {
    EXPECT_EQ(
        notesOf(file, count, {.bytes = 1 << 20}),
        "What lies in it is more than 1048576 bytes, and the rest is left out; in smaller parts it would be read.\n");
  }
  EXPECT_EQ(notesOf(kFork, 2, {.pictures = 2}), "There are more than 2 pictures, and those after them are left out.\n");

  Bytes deep = picture(1);
  for (int i = 0; i < 6; ++i) deep = gzip(deep);
  EXPECT_EQ(notesOf(deep, 1, {}), "");
  EXPECT_EQ(notesOf(deep, 0, {.depth = 5}),
            "It lies in 5 containers, one in the other, and isn't looked into; unpacked by hand it would be.\n");

  // References that all types share are looked at once, and not each of their faults is told.
  Bytes types = big(0xFFFE, 2), references;
  for (int i = 0; i < 0xFFFF; ++i) types += "PICT" + big(0xFFFF, 2) + big(2, 2);
  const Bytes map = Bytes(24, '\0') + big(28, 2) + big(28, 2) + types;
  const Bytes notes =
      notesOf(filled(big(256) + big(260) + big(4) + big(map.size()), 256) + "data" + map, 0, {.notes = 3});
  EXPECT_EQ(std::count(notes.begin(), notes.end(), '\n'), 4) << notes;
  EXPECT_NE(notes.find("More like this is not told, " + std::to_string(map.size() / 12 - 2) + " times."), Bytes::npos)
      << notes;

  // A directory that goes on with itself, as often as the file has sectors and not as often as its table could say.
  Bytes loop = compound({{"Pictures", blip(picture(1), false, false)}});
  const auto directory = static_cast<unsigned char>(loop[48]);
  loop = put(loop, loop.size() - 512 + std::size_t{4} * directory, little(directory));
  EXPECT_EQ(notesOf(loop, loop.size() / 512 + 1, {}), "");

  // Heads that lead through all that comes after them, and to no end.
  Bytes heads;
  for (int i = 0; i < 40000; ++i) heads += picture(1).substr(0, 40);
  EXPECT_NE(notesOf("\x7F"
                    "ELF" +
                        heads,
                    0, {})
                .find("The search ends at byte "),
            Bytes::npos);
}

TEST(Containers, SayWhatBytesAre) {
  const Bytes disk(1024, '\0');
  const std::pair<Bytes, Bytes> cases[] = {
      {"", "an empty file"},
      {disk, "a file of nothing but zeros"},
      {kHeader + picture(1), "a PICT file"},
      {filled("\x89PNG\r\n\x1A\n", 512) + kHeader + picture(1), "a PICT file"},
      {kFork, "a resource fork"},
      {kFork.substr(0, 700), "a resource fork"},
      {macBinary("", "x", 1), "a MacBinary file"},
      {macBinary("", "x", 1) + kHeader, "of no kind that is known here"},
      {put(macBinary("text", "", 2), 122, big(0, 2)), "of no kind that is known here"},
      {"From: me\n\n(This file must be converted with BinHex 4.0)\n\n:x", "a BinHex file"},
      {disk + "BD", "a disk image"},
      {"\5Image" + disk.substr(6) + Bytes(84, '\0') + "BD", "a disk image"},
      {"x\x01y" + filled("koly", 512), "a disk image"},
      {"caf\xC3\xA9 or caf\x8E\r\n", "plain text"},
      {"not\x01text", "of no kind that is known here"},
      {"<?xml version='1.0'?>\n<svg>", "an SVG file"},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(containers::kindOf(asBytes(bytes)).what, expected);
    EXPECT_EQ(containers::isPicture(asBytes(bytes)), expected == "a PICT file") << expected;
  }
}

TEST(Containers, NameFilesInOneFolder) {
  containers::FileNames names;
  const struct {
    Bytes file, place, expected;
  } cases[] = {{"in/icons.rsrc", "#128", "icons#128"},
               {"other/icons.bin", "#128", "icons#128-2"},
               {"._icons", "#-5", "icons#-5"},
               {"a.pict.gz", "", "a.pict"},
               {"deck.pptx", "ppt/a.pict", "deck-ppt-a"},
               {"deck.pptx", "ppt-a.pct", "deck-ppt-a-2"},
               {".x", "a.bin#1", "x-a.bin#1"},
               {"y", "@12", "y@12"},
               {"z", Bytes(400, 'n'), "z-" + Bytes(150, 'n')}};
  for (const auto& [file, place, expected] : cases) EXPECT_EQ(names.of(file, {place, "title", {}}), expected);
}
