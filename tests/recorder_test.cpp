// `MacPictTVK`: its states, its commands, and what goes in and out.
#include <cstring>

#include "platform/scrap/scrap.h"
#include "tests/fixture.h"

namespace {

struct RecorderTest : PluginTest {
  std::string run(const Object& recorder, const std::string& method, const std::vector<Value>& arguments = {}) {
    return traceOf([&] { host().call(recorder, method, arguments); });
  }
  std::int32_t handleOf(const Object& recorder) { return number(host().get(recorder, "PicHandle")); }
  std::string name(std::int32_t handle) { return spy::reference(reinterpret_cast<const void*>(handle)); }
  // The flag after the three fields.
  static int isOpen(const Object& recorder) {
    return reinterpret_cast<const unsigned char*>(recorder.get())[runtime::kDataOffset + 12];
  }
  Object blank() { return host().make("MacPictTVK"); }
  String string(const std::string& text, std::uint32_t encoding = kCFStringEncodingUTF8) {
    return host().string(text, encoding);
  }
};

constexpr const char* kOpening = "GetGWorld(&, &)\nForeColor(33)\nBackColor(30)\nOpenCPicture(%)\nSetGWorld(#2, #3)\n";

std::string opening(const std::string& frame) {
  std::string text = kOpening;
  return text.replace(text.find('%'), 1, frame);
}

}  // namespace

TEST_F(RecorderTest, OpensClosesAndDestroysOnce) {
  std::string last;
  {
    const Object recorder = blank();
    spy::reference(recorder.get());
    CGrafPtr port = nullptr;
    GDHandle device = nullptr;
    GetGWorld(&port, &device);
    spy::reset();
    spy::reference(recorder.get());
    spy::reference(port);
    spy::reference(device);
    EXPECT_EQ(run(recorder, "ClosePicture") + run(recorder, "Close"), "");
    EXPECT_EQ(run(recorder, "CreatePicture", {65536 + 8, 20}), opening("[0 0 20 8]"));
    const std::string picture = name(handleOf(recorder));
    EXPECT_EQ(isOpen(recorder), 1);
    EXPECT_EQ(number(host().get(recorder, "Width")), 65536 + 8);
    EXPECT_EQ(run(recorder, "ClosePicture"), "ClosePicture()\n");
    EXPECT_EQ(run(recorder, "ClosePicture"), "");
    EXPECT_NE(handleOf(recorder), 0);
    EXPECT_EQ(run(recorder, "Close"), "KillPicture(" + picture + ")\n");
    EXPECT_EQ(run(recorder, "Close"), "");
    EXPECT_EQ(number(host().get(recorder, "Height")), 20);
    EXPECT_THROW(host().set(recorder, "Width", 1), runtime::Error);
    host().call(recorder, "CreatePicture", {5, 5});
    last = name(handleOf(recorder));
    spy::clear();
  }
  EXPECT_TRUE(spy::trace().starts_with("ClosePicture()\nKillPicture(" + last + ")\n")) << "the end of the object";
}

TEST_F(RecorderTest, WhereNoPictureOpensTheEarlierOneStays) {
  const Object recorder = this->recorder();
  const std::int32_t first = handleOf(recorder);
  // A port has one open picture, so the current one refuses; then QuickDraw does, for whatever reason.
  for (const int wasOpen : {1, 0}) {
    if (wasOpen == 0) {
      run(recorder, "ClosePicture");
      spy::qd::OpenCPicture::instead = [](const OpenCPicParams*) -> PicHandle { return nullptr; };
    }
    const std::string trace = run(recorder, "CreatePicture", {7, 7});
    EXPECT_EQ(trace.substr(0, trace.find("SetGWorld")),
              "GetGWorld(&, &)\nForeColor(33)\nBackColor(30)\nOpenCPicture([0 0 7 7])\n");
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 5) << "SetGWorld is the last call: " << trace;
    EXPECT_EQ(handleOf(recorder), first);
    EXPECT_EQ(isOpen(recorder), wasOpen);
    EXPECT_EQ(number(host().get(recorder, "Width")), 100);
  }
  spy::qd::OpenCPicture::instead = nullptr;
  const std::string trace = run(recorder, "CreatePicture", {7, 7});
  EXPECT_NE(trace.find("OpenCPicture([0 0 7 7])\nKillPicture(" + name(first) + ")\nSetGWorld("), std::string::npos)
      << trace;
  EXPECT_EQ(isOpen(recorder), 1);
}

TEST_F(RecorderTest, ANewRecordingClosesNoOther) {
  const auto select = [this](const Object& graphics) { host().call(graphics, "DrawArcTVK", {0, 0, 0, 0, 0, 0}); };
  const Object pictures[] = {host().newPicture(9, 9), host().newPicture(9, 9), host().newPicture(9, 9)};
  const Object ports[] = {host().graphicsOf(pictures[0]), host().graphicsOf(pictures[1]),
                          host().graphicsOf(pictures[2])};
  select(ports[0]);
  const Object a = recorder();
  const std::int32_t first = handleOf(a);
  select(ports[1]);
  const Object b = recorder();
  const auto records = [&] {
    const std::size_t before = bytes(host().get(b, "PicHandleData")).size();
    host().call(b, "PaintRect", {1, 2, static_cast<int>(before), 4});
    return bytes(host().get(b, "PicHandleData")).size() > before;
  };
  run(a, "CreatePicture", {7, 7});
  EXPECT_EQ(handleOf(a), first) << "the port is another recorder's";
  EXPECT_TRUE(records()) << "which goes on";

  select(ports[2]);
  const std::string trace = run(a, "CreatePicture", {7, 7});
  EXPECT_NE(trace.find("OpenCPicture([0 0 7 7])\nSetGWorld("), std::string::npos) << trace;
  EXPECT_EQ(isOpen(a), 1);
  EXPECT_NE(handleOf(a), first);
  givesUp(first);  // still open on the first port
  select(ports[1]);
  EXPECT_TRUE(records());
}

TEST_F(RecorderTest, HostCodeMayPlantAHandle) {
  const Object recorder = this->recorder();
  const std::int32_t handle = handleOf(recorder);
  host().set(recorder, "PicHandle", 0);
  EXPECT_EQ(isOpen(recorder), 1);
  EXPECT_EQ(run(recorder, "ClosePicture") + run(recorder, "Close"), "");
  host().set(recorder, "PicHandle", handle);
  EXPECT_EQ(run(recorder, "Close"), "ClosePicture()\nKillPicture(" + name(handle) + ")\n");

  // Bytes make a finished picture of it, whatever became of an open one.
  host().call(recorder, "CreatePicture", {5, 5});
  givesUp(handleOf(recorder));
  host().set(recorder, "PicHandle", 0);
  const std::string trace = traceOf([&] { host().set(recorder, "PicHandleData", host().string("bytes")); });
  EXPECT_EQ(trace.find("ClosePicture"), std::string::npos) << trace;
  EXPECT_EQ(isOpen(recorder), 0);
}

TEST_F(RecorderTest, CommandsNeedAPictureButNoOpenOne) {
  const Object empty = blank();
  const Object recorder = this->recorder();
  run(recorder, "ClosePicture");
  const std::tuple<const char*, std::vector<Value>, const char*> cases[] = {
      {"FrameRect", {1, 2, 3, 4}, "MacFrameRect([2 1 6 4])\n"},
      {"PaintRect", {-1, 2, -3, 4}, "PaintRect([2 -1 6 -4])\n"},
      {"InvertRect", {1, 2, 32767, 4}, "MacInvertRect([2 1 6 -32768])\n"},
      {"EraseRect", {1, 2, 3, 4}, "EraseRect([2 1 6 4])\n"},
      {"FrameOval", {1, 2, 3, 4}, "FrameOval([2 1 6 4])\n"},
      {"PaintOval", {1, 2, 3, 4}, "PaintOval([2 1 6 4])\n"},
      {"InvertOval", {1, 2, 3, 4}, "InvertOval([2 1 6 4])\n"},
      {"EraseOval", {1, 2, 3, 4}, "EraseOval([2 1 6 4])\n"},
      {"FrameRoundRect", {1, 2, 3, 4, 5, 6}, "FrameRoundRect([2 1 6 4], 5, 6)\n"},
      {"PaintRoundRect", {1, 2, 3, 4, 65541, 6}, "PaintRoundRect([2 1 6 4], 5, 6)\n"},
      {"InvertRoundRect", {1, 2, 3, 4, 5, 6}, "InvertRoundRect([2 1 6 4], 5, 6)\n"},
      {"EraseRoundRect", {1, 2, 3, 4, 5, 6}, "EraseRoundRect([2 1 6 4], 5, 6)\n"},
      {"FrameArc", {1, 2, 3, 4, 90, 180}, "FrameArc([2 1 6 4], 90, 180)\n"},
      {"PaintArc", {1, 2, 3, 4, 90, 180}, "PaintArc([2 1 6 4], 90, 180)\n"},
      {"InvertArc", {1, 2, 3, 4, 90, 180}, "InvertArc([2 1 6 4], 90, 180)\n"},
      {"EraseArc", {1, 2, 3, 4, 90, 180}, "EraseArc([2 1 6 4], 90, 180)\n"},
      {"MoveTo", {5, 65542}, "MoveTo(5, 6)\n"},
      {"Move", {5, -6}, "Move(5, -6)\n"},
      {"LineTo", {5, 6}, "LineTo(5, 6)\n"},
      {"Line", {5, 6}, "Line(5, 6)\n"},
      {"Drawline", {5, 6, 7, 8}, "MoveTo(5, 6)\nLineTo(7, 8)\n"},
  };
  for (const auto& [method, arguments, expected] : cases) {
    EXPECT_EQ(run(empty, method, arguments), "") << method;
    EXPECT_EQ(run(recorder, method, arguments), expected);
  }
  // A line is one command: what becomes of the picture on its way doesn't cut it in two.
  const std::int32_t handle = handleOf(recorder);
  spy::qd::MoveTo::instead = [&](std::int16_t, std::int16_t) { host().set(recorder, "PicHandle", 0); };
  EXPECT_EQ(run(recorder, "Drawline", {5, 6, 7, 8}), "MoveTo(5, 6)\nLineTo(7, 8)\n");
  spy::qd::MoveTo::instead = nullptr;
  host().set(recorder, "PicHandle", handle);
  // These act without a picture too.
  EXPECT_EQ(
      run(empty, "ShowPen") + run(empty, "HidePen") + run(empty, "PenNormal") + run(empty, "PenSize", {65537, -2}),
      "ShowPen()\nHidePen()\nPenNormal()\nPenSize(1, -2)\n");
}

TEST_F(RecorderTest, BytesGoOutAndComeBack) {
  for (const double version : {2011.9, 2012.0, 2013.0, 2014.0}) {
    SCOPED_TRACE(version);
    start(version);
    const Object recorder = this->recorder();
    host().call(recorder, "PaintOval", {10, 10, 50, 40});
    const std::string half = bytes(host().get(recorder, "PicHandleData"));
    EXPECT_EQ(isOpen(recorder), 1) << "reading doesn't end a recording";
    host().call(recorder, "ClosePicture");
    const Value whole = host().get(recorder, "PicHandleData");
    EXPECT_EQ(host().heap().encodingOf(std::get<String>(whole).get()), kTextEncodingUnknown);
    EXPECT_EQ(bytes(whole).substr(10, 6), std::string("\x00\x11\x02\xFF\x0C\x00", 6));
    EXPECT_EQ(bytes(whole).substr(2, half.size() - 2), half.substr(2));

    const Object other = blank();
    EXPECT_TRUE(isNil(host().get(other, "PicHandleData")));
    EXPECT_TRUE(isNil(host().get(other, "PicHandleDataMemory")));
    host().set(other, "PicHandleData", whole);
    EXPECT_EQ(bytes(host().get(other, "PicHandleData")), bytes(whole));
    const Value block = host().get(other, "PicHandleDataMemory");
    host().set(recorder, "PicHandleDataMemory", block);
    EXPECT_EQ(bytes(host().get(recorder, "PicHandleData")), bytes(whole));
    EXPECT_EQ(number(host().get(other, "Width")), 0);

    // Anything is taken for a picture; nothing clears the recorder and ends its recording.
    host().set(other, "PicHandleData", string("ten bytes."));
    EXPECT_EQ(bytes(host().get(other, "PicHandleData")), "ten bytes.");
    host().call(other, "CreatePicture", {5, 5});
    host().set(other, "PicHandleData", string(""));
    EXPECT_EQ(handleOf(other), 0);
    EXPECT_EQ(isOpen(other), 0);
    host().set(recorder, "PicHandleDataMemory", Value());
    EXPECT_EQ(handleOf(recorder), 0);
  }
}

TEST_F(RecorderTest, TransferLocksWhatItReadsAndGivesBack) {
  const Object recorder = this->recorder();
  run(recorder, "ClosePicture");
  const std::string handle = name(handleOf(recorder));
  EXPECT_EQ(
      traceOf([&] { host().get(recorder, "PicHandleData"); }).substr(0, handle.size() * 2 + 32),
      ("GetHandleSize(" + handle + ")\nHLock(" + handle + ")\nREALBuildString(").substr(0, handle.size() * 2 + 32));
  spy::system::GetHandleSize::instead = [](Handle) { return -1; };
  EXPECT_EQ(traceOf([&] { EXPECT_TRUE(isNil(host().get(recorder, "PicHandleData"))); }),
            "GetHandleSize(" + handle + ")\n");
  // A size that no block can have raises, and the handle is unlocked.
  spy::system::GetHandleSize::instead = [](Handle) { return INT32_MAX; };
  try {
    host().get(recorder, "PicHandleDataMemory");
    FAIL() << "no exception";
  } catch (const runtime::Exception& raised) {
    EXPECT_STREQ(raised.what(),
                 "OutOfMemoryException: Failed to allocate a memoryblock with 2147483647 bytes in size.");
    EXPECT_EQ(raised.number, 0);
  }
  EXPECT_EQ(spy::trace().find("newMemoryBlock"), std::string::npos);
  EXPECT_NE(spy::trace().find("HUnlock(" + handle + ")"), std::string::npos);
  spy::system::GetHandleSize::instead = nullptr;

  // On a host of before 2013 a string is locked while its record is read, by 2013 its data is held.
  EXPECT_NE(traceOf([&] { host().set(recorder, "PicHandleData", string("bytes")); }).find("PluginGetStringData("),
            std::string::npos);
  spy::system::NewHandle::instead = [](std::int32_t) -> Handle { return nullptr; };
  host().set(recorder, "PicHandleData", string("bytes"));
  EXPECT_EQ(handleOf(recorder), 0);
}

TEST_F(RecorderTest, AnExceptionFallsBackOnTheRuntimes) {
  host().withdraw("OutOfMemoryException");
  const Object recorder = this->recorder();
  spy::host::REALNewMemoryBlock::instead = [](std::int32_t) -> REALmemoryBlockStruct* { return nullptr; };
  EXPECT_THROW(host().get(recorder, "PicHandleDataMemory"), runtime::Exception);
  const std::string trace = spy::trace();
  EXPECT_NE(trace.find("PluginNewInstance(\"OutOfMemoryException\")\nPluginNewInstance(\"RuntimeException\")\n"),
            std::string::npos);
  // The object's lock goes before the string's, both after the raise.
  const auto at = [&](const char* call) { return trace.find(call); };
  EXPECT_LT(at("RuntimeRaiseException"), at("REALUnlockObject"));
  EXPECT_LT(at("REALUnlockObject"), at("REALUnlockString"));
}

TEST_F(RecorderTest, MakePictureWorksOncePerPicture) {
  const Object recorder = this->recorder(40, 30);
  const Value picture = host().call(recorder, "MakePicture");
  const auto* made = runtime::as<runtime::PictureObject>(std::get<Object>(picture).get());
  EXPECT_EQ(made->width, 40);
  EXPECT_EQ(made->height, 30);
  EXPECT_EQ(isOpen(recorder), 0);
  EXPECT_TRUE(isNil(host().call(recorder, "MakePicture")));
}

TEST_F(RecorderTest, PlaysWithTheTargetSelectedAndGivesThePortBack) {
  const Object picture = host().newPicture(50, 40);
  const Object graphics = host().graphicsOf(picture);
  const Object recorder = this->recorder();
  CGrafPtr port = nullptr;
  GetPort(&port);
  EXPECT_EQ(
      run(recorder, "Drawpicture", {Value(), 0, 0, 5, 5}) + run(recorder, "DrawpictureIntoGWorld", {0, 0, 0, 5, 5}),
      "");
  EXPECT_EQ(isOpen(recorder), 1) << "without a target the recording goes on";
  const std::string handle = name(handleOf(recorder));
  GDHandle device = nullptr;
  GetGWorld(&port, &device);
  const std::string back = "SetGWorld(" + spy::reference(port) + ", " + spy::reference(device) + ")\n";
  EXPECT_EQ(run(recorder, "Drawpicture", {graphics, 1, 2, 30, -40}),
            "ClosePicture()\nGetGWorld(&, &)\nSelectGraphics(" + spy::reference(graphics.get()) + ")\nDrawPicture(" +
                handle + ", [2 1 -38 31])\n" + back);
  const std::int32_t world = host().worldOf(picture);
  EXPECT_EQ(run(recorder, "DrawpictureIntoGWorld", {world, 1, 2, 30, 40}),
            "GetGWorld(&, &)\nSetGWorld(" + name(world) + ", null)\nDrawPicture(" + handle + ", [2 1 42 31])\n" + back);
}

TEST_F(RecorderTest, PutsAllItsBytesOnTheClipboard) {
  const Object recorder = blank();
  EXPECT_EQ(number(host().call(recorder, "CopyPicture")), -1);
  host().call(recorder, "CreatePicture", {9, 9});
  spy::clear();
  EXPECT_EQ(number(host().call(recorder, "CopyPicture")), 0);
  const std::string h = name(handleOf(recorder));
  const std::string expected = "ClosePicture()\nClearCurrentScrap()\nGetCurrentScrap(&)\nHLock(" + h +
                               ")\nGetHandleSize(" + h + ")\nPutScrapFlavor(";
  EXPECT_EQ(spy::trace().substr(0, expected.size()), expected);
  EXPECT_NE(spy::trace().find(", 1346978644, 0, "), std::string::npos);
  EXPECT_NE(spy::trace().find(")\nHUnlock(" + h + ")\n"), std::string::npos);

  ScrapRef scrap = nullptr;
  GetCurrentScrap(&scrap);
  std::int32_t size = 0;
  ASSERT_EQ(GetScrapFlavorSize(scrap, 0x50494354, &size), 0);
  std::string pasted(static_cast<std::size_t>(size), '\0');
  ASSERT_EQ(GetScrapFlavorData(scrap, 0x50494354, &size, pasted.data()), 0);
  EXPECT_EQ(pasted, bytes(host().get(recorder, "PicHandleData")));

  spy::system::PutScrapFlavor::instead = [](ScrapRef, OSType, std::uint32_t, std::int32_t, const void*) {
    return 0x12340000;
  };
  EXPECT_EQ(number(host().call(recorder, "CopyPicture")), 0x12340000);
  spy::system::ClearCurrentScrap::instead = [] { return -7; };
  EXPECT_EQ(traceOf([&] { EXPECT_EQ(number(host().call(recorder, "CopyPicture")), -7); }), "ClearCurrentScrap()\n");
}

TEST_F(RecorderTest, ColoursKeepTheirEightBits) {
  const Object empty = blank();
  EXPECT_EQ(number(host().get(empty, "ForeColor")), 0);
  EXPECT_EQ(traceOf([&] { host().set(empty, "ForeColor", 0x123456); }), "");
  const Object recorder = this->recorder();
  EXPECT_EQ(traceOf([&] { host().set(recorder, "ForeColor", static_cast<std::int32_t>(0xFF01FF00)); }),
            "RGBForeColor(257/65535/0)\n");
  EXPECT_EQ(number(host().get(recorder, "ForeColor")), 0x01FF00);
  spy::qd::GetBackColor::instead = [](RGBColor* color) { *color = {0xFF00, 0x0101, 0x0100}; };
  EXPECT_EQ(number(host().get(recorder, "BackColor")), 0xFE0100);
}

TEST_F(RecorderTest, PenDimensionsKeepEachOther) {
  const Object empty = blank();
  EXPECT_EQ(number(host().get(empty, "PenWidth")), -1);
  const Object recorder = this->recorder();
  host().call(recorder, "PenSize", {3, 5});
  host().set(recorder, "PenWidth", 65536 + 8);
  EXPECT_EQ(number(host().get(recorder, "PenWidth")), 8);
  host().set(recorder, "PenHeight", -2);
  EXPECT_EQ(number(host().get(recorder, "PenHeight")), -2);
  EXPECT_EQ(number(host().get(recorder, "PenWidth")), 8);
}

TEST_F(RecorderTest, AMissingPenGetterReadsAsNothingAndWritesNothing) {
  spy::absent = {"GetPortPenSize", "GetForeColor", "GetPortTextSize"};
  const Object recorder = this->recorder();
  EXPECT_EQ(number(host().get(recorder, "PenWidth")), 0);
  EXPECT_EQ(number(host().get(recorder, "ForeColor")), 0);
  EXPECT_EQ(number(host().get(recorder, "TextSize")), 0);
  EXPECT_EQ(traceOf([&] { host().set(recorder, "PenWidth", 9); }).find("SetPortPenSize"), std::string::npos);
}

TEST_F(RecorderTest, PolygonsAreReadFromTheArrayAsTheVersionWants) {
  for (const auto& [version, storage] : {std::pair(2013.9, true), {2013.9, false}, {2014.0, true}, {2011.0, true}}) {
    SCOPED_TRACE(version);
    start(version).arraysShowStorage = storage;
    const Object empty = blank();
    const auto calls = [&](std::vector<std::int32_t> points) {
      const Object array = host().integers(std::move(points));
      std::string trace = run(empty, "PaintPoly", {array});
      return trace;
    };
    EXPECT_EQ(calls({1, 2, 3, 4}).find("OpenPoly"), std::string::npos);
    const std::string five = calls({1, 2, 3, 4, 5});
    const std::string six = calls({65536 + 8, 2, 3, 4, 5, 6});
    const bool throughHost = version > 2013.9 || !storage;
    EXPECT_EQ(six.find("RuntimeDirectReadIntArray") != std::string::npos, throughHost);
    EXPECT_NE(five.find("LineTo(3, 4)\nClosePoly()\nPaintPoly("), std::string::npos) << five;
    if (!throughHost) {
      EXPECT_NE(six.find("OpenPoly()\nMoveTo(8, 2)\nLineTo(3, 4)\nMoveTo(3, 4)\nLineTo(5, 6)\nClosePoly()\nPaintPoly("),
                std::string::npos)
          << six;
    } else {
      // Four elements, then the two pen calls.
      const std::size_t move = six.find("MoveTo(8, 2)");
      const std::size_t reads = six.rfind("RuntimeDirectReadIntArray", move);
      EXPECT_EQ(six.substr(reads, move - reads).find(", 3)\n") != std::string::npos, true) << six;
    }
    EXPECT_NE(six.find("KillPoly("), std::string::npos);
  }
}

TEST_F(RecorderTest, TextIsDrawnAndMeasuredAsMacRoman) {
  std::string drawn;
  const auto capture = [&drawn](const void* text, std::int16_t first, std::int16_t count) {
    drawn = std::string(static_cast<const char*>(text) + first, static_cast<std::size_t>(count));
  };
  for (const double version : {2011.9, 2012.0, 2014.0}) {
    for (const bool hasData : {true, false}) {
      SCOPED_TRACE(std::to_string(version) + (hasData ? "" : " without string data"));
      spy::absent.clear();
      if (!hasData) spy::absent = {"PluginGetStringData", "PluginDisposeStringData"};
      start(version);
      spy::qd::DrawText::instead = capture;
      const Object recorder = this->recorder();
      const auto draw = [&](const String& text) {
        drawn = "(nothing)";
        host().call(recorder, "DrawText", {text});
        return drawn;
      };
      EXPECT_EQ(draw(string("\xC3\x84pfel \xE2\x82\xAC")), "\x80pfel \xDB");
      EXPECT_EQ(draw(string("\x80pfel", kCFStringEncodingMacRoman)), "\x80pfel");
      EXPECT_EQ(draw(string("plain", kCFStringEncodingASCII)), "plain");
      EXPECT_EQ(draw(string("raw \x8A", kTextEncodingUnknown)), "raw \x8A");
      EXPECT_EQ(draw(string("", kTextEncodingUnknown)), "");
      EXPECT_EQ(draw(string(std::string(40000, 'x'))), std::string(32767, 'x')) << "the count has 16 bits";
      spy::qd::DrawText::instead = nullptr;
    }
  }
}

TEST_F(RecorderTest, TextNeedsAPictureButItsMoveDoesNot) {
  const Object empty = blank();
  const String text = string("text");
  EXPECT_EQ(run(empty, "DrawText", {text}) + run(empty, "StringWidth", {text}), "");
  EXPECT_EQ(run(empty, "DrawString", {text, 10, 65536 + 20}), "MoveTo(10, 20)\n");
  EXPECT_EQ(number(host().get(empty, "TextFace")), -1);
  const Object recorder = this->recorder();
  EXPECT_EQ(run(recorder, "DrawText", {Value()}), "");
  EXPECT_EQ(run(recorder, "DrawString", {Value(), 1, 2}), "MoveTo(1, 2)\n");
  EXPECT_EQ(number(host().call(recorder, "StringWidth", {Value()})), 0);

  host().set(recorder, "TextFace", 0x105);
  EXPECT_EQ(number(host().get(recorder, "TextFace")), 5);
  host().set(recorder, "TextSize", 65536 - 3);
  EXPECT_EQ(number(host().get(recorder, "TextSize")), -3);
  spy::qd::TextWidth::instead = [](const void*, std::int16_t, std::int16_t) -> std::int16_t { return -12; };
  EXPECT_EQ(number(host().call(recorder, "StringWidth", {text})), -12);
}
