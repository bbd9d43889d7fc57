// The members of `Picture` and the two factories.
#include <cstring>

#include "tests/fixture.h"

namespace {

struct PictureTest : PluginTest {
  std::string ref(const Object& object) { return spy::reference(object.get()); }
  std::string world(const Object& picture) {
    return spy::reference(reinterpret_cast<const void*>(host().worldOf(picture)));
  }
  // The calls between saving and restoring the world, which bracket every handler here.
  template <class Action>
  std::string inside(Action action) {
    std::string trace = traceOf(action);
    const std::string save = "GetGWorld(&, &)\n";
    EXPECT_EQ(trace.substr(0, save.size()), save);
    const std::size_t restore = trace.rfind("SetGWorld(");
    EXPECT_NE(restore, std::string::npos);
    EXPECT_EQ(trace.find('\n', restore), trace.size() - 1);
    return trace.substr(save.size(), restore - save.size());
  }
  // A picture stored as a PICT.
  Object pict() {
    const Object recorder = this->recorder(30, 20);
    host().call(recorder, "PaintRect", {5, 5, 10, 10});
    return std::get<Object>(host().call(recorder, "MakePicture"));
  }
  std::string locks(const Object& a) { return "lockPictureDescription(" + ref(a) + ", &)\n"; }
  std::string unlocks(const Object& a) { return "unlockPictureDescription(" + ref(a) + ")\n"; }
  std::string bitmapOf(const Object& a) { return "GetPortBitMapForCopyBits(" + world(a) + ")\n"; }
};

}  // namespace

TEST_F(PictureTest, APICTPassesThroughAndAnythingElseIsRecorded) {
  const Object kept = pict();
  const Value same = host().get(kept, "PicHandleTVK");
  EXPECT_EQ(std::get<Object>(same).get(), kept.get());
  EXPECT_EQ(host().heap().locksOf(kept.get()), 2);
  const auto* description = runtime::as<runtime::PictureObject>(kept.get());
  EXPECT_EQ(bytes(host().get(kept, "PicHandleDataTVK")).size(),
            static_cast<std::size_t>(GetHandleSize(reinterpret_cast<Handle>(description->pict))));

  for (const Object& picture : {host().newPicture(12, 8), host().strangePicture(12, 8)}) {
    const std::string out = traceOf([&] { EXPECT_FALSE(isNil(host().get(picture, "PicHandleTVK"))); });
    EXPECT_EQ(out.substr(0, out.find("REALBuild")),
              locks(picture) + unlocks(picture) +
                  "ForeColor(33)\nBackColor(30)\nOpenCPicture([0 0 8 12])\ndrawPicturePrimitive(" + ref(picture) +
                  ", [0 0 8 12], 0)\nClosePicture()\n");
    const std::string data = traceOf([&] { EXPECT_GT(bytes(host().get(picture, "PicHandleDataTVK")).size(), 40U); });
    EXPECT_EQ(data.find(unlocks(picture)), data.size() - unlocks(picture).size())
        << "the description is held to the end";
    EXPECT_LT(data.find("HUnlock("), data.find("KillPicture("));
  }
}

TEST_F(PictureTest, ExportWithoutARecordingIsNil) {
  const Object picture = host().newPicture(12, 8);
  spy::qd::OpenCPicture::instead = [](const OpenCPicParams*) -> PicHandle { return nullptr; };
  EXPECT_TRUE(isNil(host().get(picture, "PicHandleTVK")));
  EXPECT_EQ(traceOf([&] { EXPECT_TRUE(isNil(host().get(picture, "PicHandleDataTVK"))); }),
            locks(picture) + "ForeColor(33)\nBackColor(30)\nOpenCPicture([0 0 8 12])\n" + unlocks(picture));
  spy::qd::OpenCPicture::instead = nullptr;
  spy::system::GetHandleSize::instead = [](Handle) { return 0; };
  const std::string trace = traceOf([&] { EXPECT_TRUE(isNil(host().get(picture, "PicHandleDataTVK"))); });
  EXPECT_NE(trace.find("HUnlock("), std::string::npos);
  EXPECT_NE(trace.find("KillPicture("), std::string::npos);
}

TEST_F(PictureTest, PixelsGoOutAndIn) {
  const Object picture = host().newPicture(10, 6);
  const Value data = host().get(picture, "GWorldPixelDataTVK");
  const std::int32_t rowBytes = number(host().get(picture, "GWorldPixelRowBytesTVK"));
  EXPECT_EQ(rowBytes, 48);
  auto& held = runtime::as<runtime::MemoryBlock>(std::get<Object>(data).get())->bytes;
  ASSERT_EQ(held.size(), 48U * 6U);
  for (std::size_t i = 0; i < held.size(); ++i) held[i] = static_cast<char>(i);
  const std::string set = inside([&] { host().set(picture, "GWorldPixelDataTVK", data); });
  EXPECT_LT(set.find("memoryBlockGetPtr"), set.find("lockPictureDescription"));
  const Value again = host().get(picture, "GWorldPixelDataTVK");
  EXPECT_EQ(runtime::as<runtime::MemoryBlock>(std::get<Object>(again).get())->bytes, held);

  // A short block gives what it holds; one whose size can't be asked gives nothing.
  host().set(picture, "GWorldPixelDataTVK", host().block("\x7F\x7E"));
  const Value shorter = host().get(picture, "GWorldPixelDataTVK");
  held[0] = '\x7F';
  held[1] = '\x7E';
  EXPECT_EQ(runtime::as<runtime::MemoryBlock>(std::get<Object>(shorter).get())->bytes, held);

  EXPECT_EQ(inside([&] { EXPECT_EQ(number(host().get(picture, "GWorldPixelRowBytesTVK")), 48); }).find("LockPixels("),
            std::string::npos);
}

TEST_F(PictureTest, PixelsOfWhatHasNone) {
  const Object kept = pict();
  EXPECT_TRUE(isNil(host().get(kept, "GWorldPixelDataTVK")));
  EXPECT_EQ(number(host().get(kept, "GWorldPixelRowBytesTVK")), 0);
  host().set(kept, "GWorldPixelDataTVK", host().block("ignored"));
  const std::string trace =
      traceOf([&] { EXPECT_THROW(host().set(kept, "GWorldPixelDataTVK", Value()), runtime::Exception); });
  EXPECT_EQ(trace.find("GetGWorld"), std::string::npos);
  EXPECT_NE(trace.find("PluginNewInstance(\"NilObjectException\")"), std::string::npos);

  const Object picture = host().newPicture(10, 6);
  spy::qd::GetPixBaseAddr::instead = [](PixMapHandle) -> Ptr { return nullptr; };
  EXPECT_NE(inside([&] { EXPECT_TRUE(isNil(host().get(picture, "GWorldPixelDataTVK"))); }).find("UnlockPixels("),
            std::string::npos);
  spy::qd::LockPixels::instead = [](PixMapHandle) -> Boolean { return 0; };
  EXPECT_EQ(inside([&] { EXPECT_TRUE(isNil(host().get(picture, "GWorldPixelDataTVK"))); }).find("UnlockPixels("),
            std::string::npos);
  // The size of a block is a 32-bit product, whatever the factors.
  spy::qd::LockPixels::instead = nullptr;
  spy::qd::GetPixBaseAddr::instead = nullptr;
  spy::qd::GetPixRowBytes::instead = [](PixMapHandle) { return INT32_MIN; };
  EXPECT_TRUE(isNil(host().get(picture, "GWorldPixelDataTVK")));
  host().set(picture, "GWorldPixelDataTVK", host().block("copies nothing"));
}

TEST_F(PictureTest, CopiesAskForBitmapsAndUnlockInOrder) {
  const Object to = host().newPicture(10, 6);
  const Object from = host().newPicture(10, 6, 8);
  const Object mask = host().newPicture(10, 6, 1);
  spy::clear();
  const std::string copy = inside([&] {
    EXPECT_FALSE(std::get<bool>(host().call(to, "DrawPictureTVK", {from, 1, 2, 3, 4, 5, 6, -7, 0, 65536 + 36})));
  });
  EXPECT_EQ(copy.substr(0, copy.find("\nCopyBits(") + 1),
            locks(from) + locks(to) + "ForeColor(33)\nBackColor(30)\n" + bitmapOf(from) + bitmapOf(to));
  EXPECT_NE(copy.find(", [2 1 6 4], [6 5 6 -2], 36, null)\n" + unlocks(from) + unlocks(to)), std::string::npos) << copy;

  const std::string masked = inside([&] {
    host().call(to, "DrawPictureMaskTVK", {from, mask, 1, 2, 3, 4, 5, 6, 7, 8});
  });
  EXPECT_EQ(masked.substr(0, masked.find("CopyMask(")), locks(from) + locks(to) + locks(mask) +
                                                            "ForeColor(33)\nBackColor(30)\n" + bitmapOf(from) +
                                                            bitmapOf(mask) + bitmapOf(to));
  EXPECT_NE(masked.find(", [2 1 6 4], [2 1 6 4], [6 5 14 12])\n" + unlocks(from) + unlocks(to) + unlocks(mask)),
            std::string::npos);

  const Object kept = pict();
  spy::clear();
  EXPECT_EQ(inside([&] {
              host().call(to, "DrawPictureTVK", {kept, 0, 0, 1, 1, 0, 0, 1, 1, 0});
            }),
            locks(kept) + locks(to) + unlocks(kept) + unlocks(to));
  EXPECT_EQ(inside([&] { host().call(to, "DrawPictureMaskTVK", {from, Value(), 0, 0, 1, 1, 0, 0, 1, 1}); }), "");
}

TEST_F(PictureTest, FactoriesAskForTheTablesOfTheirDepth) {
  struct Row {
    int depth, color, gray;
  };
  for (const Row row : {Row{1, 33, 33}, {2, 66, 34}, {4, 68, 36}, {8, 72, 40}, {16, 0, 0}, {24, 0, 0}, {32, 0, 0}}) {
    for (const bool isGray : {false, true}) {
      const std::string trace = inside([&] {
        const Value made =
            host().call(isGray ? "NewGrayPictureTVK" : "NewColorPictureTVK", {65536 + 100, 20, row.depth, isGray});
        ASSERT_FALSE(isNil(made));
        EXPECT_EQ(GetPixDepth(GetGWorldPixMap(reinterpret_cast<GWorldPtr>(host().worldOf(std::get<Object>(made))))),
                  row.depth == 24 ? 32 : row.depth);
      });
      const int table = isGray ? row.gray : row.color;
      EXPECT_EQ(trace.find("GetCTable(" + std::to_string(table) + ")") == 0, table != 0) << trace;
      EXPECT_NE(trace.find("NewGWorld(&, " + std::to_string(row.depth) + ", [0 0 20 100], "), std::string::npos)
          << trace;
      EXPECT_EQ(trace.find("DisposeCTable(") != std::string::npos, table != 0);
    }
  }
  for (const int depth : {0, 3, 5, 12, 31, 33, -1, 65537}) {
    EXPECT_EQ(inside([&] { EXPECT_TRUE(isNil(host().call("NewGrayPictureTVK", {5, 5, depth, false}))); }), "");
  }
  EXPECT_TRUE(isNil(host().call("NewColorPictureTVK", {0, 5, 8, false})));
}

TEST_F(PictureTest, FactoriesWithoutANameMakeNoPicture) {
  spy::absent = {"GetCTable", "NewGWorld", "GetGWorld"};
  host();
  EXPECT_EQ(traceOf([&] {
              EXPECT_TRUE(isNil(host().call("NewColorPictureTVK", {5, 5, 8, true})));
            }),
            "DisposeCTable(null)\n");
  spy::absent = {"GetCTable"};
  EXPECT_FALSE(isNil(host().call("NewColorPictureTVK", {5, 5, 8, true})));
}

TEST_F(PictureTest, WhatNoHostCanTakeOverIsMadeAllTheSame) {
  spy::absent = {"REALBuildPictureFromGWorld", "REALBuildPictureFromPicHandle"};
  const Object picture = host().newPicture(12, 8);
  const std::string made = inside([&] { EXPECT_TRUE(isNil(host().call("NewColorPictureTVK", {5, 5, 8, true}))); });
  EXPECT_TRUE(made.starts_with("GetCTable(72)\nNewGWorld(&, 8, [0 0 5 5], ")) << made;
  EXPECT_NE(made.find("DisposeCTable("), std::string::npos) << made;

  PicHandle recorded = nullptr;
  spy::qd::OpenCPicture::instead = [&](const OpenCPicParams* params) {
    return recorded = spy::qd::OpenCPicture::real(params);
  };
  const std::string exported = traceOf([&] { EXPECT_TRUE(isNil(host().get(picture, "PicHandleTVK"))); });
  EXPECT_TRUE(exported.ends_with("ClosePicture()\n")) << exported;
  KillPicture(recorded);
  loses({"worlds alive"});
}

TEST_F(PictureTest, ADescriptionThatIsNotFilledIsFollowedNowhere) {
  spy::absent = {"lockPictureDescription"};
  const Object picture = host().newPicture(10, 6);
  EXPECT_TRUE(isNil(host().get(picture, "GWorldPixelDataTVK")));
  EXPECT_EQ(number(host().get(picture, "GWorldPixelRowBytesTVK")), 0);
  EXPECT_EQ(traceOf([&] {
              host().call(picture, "DrawPictureTVK", {picture, 0, 0, 1, 1, 0, 0, 1, 1, 0});
            }).find("GetPortBitMap"),
            std::string::npos);
  EXPECT_NE(traceOf([&] { host().get(picture, "PicHandleDataTVK"); }).find("OpenCPicture([0 0 0 0])"),
            std::string::npos);
}
