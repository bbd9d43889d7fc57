// The platform's host: mistakes in host code, and plug-ins that can't be trusted.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/fixture.h"

namespace fs = std::filesystem;

namespace {

struct HostTest : PluginTest {
  // What an action says is wrong.
  template <class Action>
  std::string mistake(Action action) {
    try {
      action();
    } catch (const runtime::Error& error) {
      return error.what();
    }
    return "nothing";
  }
};

// Records for a plug-in that tells version 12.
struct FakePlugin {
  REALmethodDefinition method = {reinterpret_cast<REALhandler>(&nothing), nullptr, "Do(x as integer)", 0, 0, nullptr};
  REALproperty property = {0, "P", "Integer", 0, -1, 0, 0, {}};
  REALclassDefinition record = {.version = 12,
                                .name = "Fake",
                                .dataSize = 4,
                                .properties = &property,
                                .propertyCount = 1,
                                .methods = &method,
                                .methodCount = 1};
  static void nothing() {}
};

}  // namespace

TEST_F(HostTest, ToldOfMistakesInHostCode) {
  const Object recorder = this->recorder();
  EXPECT_EQ(mistake([&] { host().call(recorder, "PaintHexagon"); }),
            "The class MacPictTVK has no method \"PaintHexagon\".");
  EXPECT_EQ(mistake([&] { host().call(recorder, "paintrect", {1, 2}); }), "PaintRect takes 4 arguments, not 2.");
  EXPECT_EQ(mistake([&] {
              host().call(recorder, "LineTo", {1, true});
            }),
            "LineTo takes integer for \"v\", not a boolean.");
  EXPECT_EQ(mistake([&] { host().call(recorder, "DrawText", {recorder}); }),
            "DrawText takes string for \"s\", not an object.");
  EXPECT_EQ(mistake([&] {
              host().call(recorder, "Drawpicture", {recorder, 0, 0, 1, 1});
            }),
            "Drawpicture takes graphics for \"g\", not an object.");
  EXPECT_EQ(mistake([&] {
              host().call("NewGrayPictureTVK", {1, 1, Value(), false});
            }),
            "NewGrayPictureTVK takes integer for \"depth\", not nil.");
  EXPECT_EQ(mistake([&] { host().call("NewPinkPictureTVK", std::vector<Value>()); }),
            "There is no global method \"NewPinkPictureTVK\".");
  EXPECT_EQ(mistake([&] { host().get(recorder, "Depth"); }), "The class MacPictTVK has no property \"Depth\".");
  EXPECT_EQ(mistake([&] { host().set(recorder, "Width", 5); }), "\"Width\" can't be set.");
  EXPECT_EQ(mistake([&] { host().set(recorder, "PicHandle", true); }),
            "\"PicHandle\" takes an integer, not a boolean.");
  EXPECT_EQ(mistake([&] { host().make("graphics"); }), "There is no class \"graphics\" to make an object of.");
}

TEST_F(HostTest, RaisesAnExceptionForAStringThatAPluginMakesTooLong) {
  const std::string bytes((64 << 20) + 1, 'x');
  const auto size = static_cast<std::int32_t>(bytes.size());
  start();
  const auto build =
      reinterpret_cast<REALstringStruct* (*)(const void*, std::int32_t)>(Host::resolve("REALBuildString"));
  EXPECT_EQ(String(build(bytes.data(), size - 1)).get()->length, bytes.size() - 1);
  EXPECT_FALSE(host().takeRaised());
  EXPECT_EQ(build(bytes.data(), size), nullptr);
  const Object raised = host().takeRaised();
  const auto* exception = runtime::as<runtime::ExceptionObject>(raised.get());
  ASSERT_NE(exception, nullptr);
  EXPECT_EQ(exception->className + ": " + exception->message,
            "OutOfMemoryException: A string can't have 67108865 bytes; up to 67108864 would work.");
}

TEST_F(HostTest, RefusesWhatIsNoPlugin) {
  Host& h = start();
  const fs::path folder = fs::temp_directory_path() / ("host-test-" + std::to_string(getpid()));
  fs::create_directories(folder / "Text.bundle/Contents/MacOS");
  fs::create_directories(folder / "Empty.bundle");
  fs::create_directories(folder / "Other.bundle/Contents/MacOS");
  std::ofstream(folder / "file.bundle") << "a file";
  std::ofstream(folder / "Text.bundle/Contents/MacOS/Text") << "no executable";
  fs::create_directories(folder / "Wide.bundle/Contents/MacOS");
  fs::create_directories(folder / "Part.bundle/Contents/MacOS");
  std::ofstream(folder / "Wide.bundle/Contents/MacOS/Wide") << "\x7f"
                                                               "ELF\x02"
                                                            << std::string(60, '\0');
  std::ofstream(folder / "Part.bundle/Contents/MacOS/Part")
      << "\x7f"
         "ELF\x01\x01\x01"
      << std::string(9, '\0') << "\x03" << '\0' << "\x03" << std::string(40, '\0');
  fs::create_symlink(fs::path(BUNDLE).parent_path() / "Frameworks/CoreServices.framework/CoreServices",
                     folder / "Other.bundle/Contents/MacOS/Other");
  const auto says = [&](const char* name, const char* what) {
    const std::string text = mistake([&] { h.load(folder / name); });
    EXPECT_NE(text.find(what), std::string::npos) << name << ": " << text;
  };
  says("none.bundle", "there is no bundle at that place");
  says("file.bundle", "there is no bundle at that place");
  says("Empty.bundle", "it has no executable; a file \"Contents/MacOS/Empty\" in it would work");
  says("Text.bundle", "can't be loaded: its executable is neither an ELF library nor a Mach-O bundle");
  says("Wide.bundle", "it is an ELF file for another machine; one of 32 bits for i386 would work");
  says("Part.bundle", "which the dynamic loader refuses with \"");
  says("Other.bundle", "has no REALPluginMain");
  fs::remove_all(folder);
}

TEST_F(HostTest, RefusesRecordsThatMakeNoSense) {
  Host& h = start();
  const auto refusal = [&](const std::function<void(FakePlugin&)>& spoil) {
    FakePlugin plugin;
    spoil(plugin);
    h.addClass(&plugin.record, false);
    return mistake([&h] { h.throwRefused(); });
  };
  EXPECT_EQ(refusal([](FakePlugin&) {}), "nothing");
  EXPECT_NE(refusal([](FakePlugin& p) { p.record.version = 11; }).find("is of version 11, but it told 12"),
            std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.record.name = nullptr; }).find("makes no sense"), std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.record.methodCount = 0xFFFFFFFF; }).find("makes no sense"),
            std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.record.methods = nullptr; }).find("makes no sense"), std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.property.parameter = 4; }).find("\"P\" lies outside"), std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.property.name = nullptr; }).find("has no name"), std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.method.handler = nullptr; }).find("method Do has no handler"),
            std::string::npos);
  EXPECT_NE(refusal([](FakePlugin& p) { p.method.attributeCount = 3; }).find("counts attributes that aren't there"),
            std::string::npos);
  for (const char* text : {"", "Do(", "Do(x)", "Do(x as colour)", "Do(x as integer", "Do as", "Do(x() as string)",
                           "Do(x as integer) as integer more", static_cast<const char*>(nullptr)}) {
    EXPECT_NE(refusal([&](FakePlugin& p) { p.method.declaration = text; }).find("can't be read"), std::string::npos)
        << (text != nullptr ? text : "null");
  }
}

TEST_F(HostTest, TextThatIsNoneHasNoOtherEncoding) {
  const auto converted = [this](std::string_view bytes, std::uint32_t from, std::uint32_t to) {
    const String text = host().string(bytes, from);
    const String other(host().heap().converted(text.get(), to));
    return other ? std::string(runtime::bytesOf(other.get())) : "(null)";
  };
  // Broken: a lead without its byte, ends too early, no lead, longer than need be, half of a pair, beyond the last.
  for (const char* broken : {"\xC3(", "\xC3", "a\xE2\x82", "\x80", "\xFF", "\xF8\x88\x80\x80\x80", "\xC0\xAF",
                             "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
                             "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2(\xA1", "\xF0\x9F\x98("}) {
    EXPECT_EQ(converted(broken, kCFStringEncodingUTF8, kCFStringEncodingMacRoman), "(null)")
        << testing::PrintToString(broken);
  }
  const std::pair<const char*, const char*> whole[] = {{"\x7F", "\x7F"},
                                                       {"\xC2\x80", "?"},
                                                       {"\xC3\xA4\xE2\x82\xAC!", "\x8A\xDB!"},
                                                       {"\xE0\xA0\x80", "?"},
                                                       {"\xED\x9F\xBF\xEE\x80\x80", "??"},
                                                       {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "??"}};
  for (const auto& [utf8, roman] : whole) {
    EXPECT_EQ(converted(utf8, kCFStringEncodingUTF8, kCFStringEncodingMacRoman), roman);
  }
  EXPECT_EQ(converted("\x8A\xDB", kCFStringEncodingMacRoman, kCFStringEncodingUTF8), "\xC3\xA4\xE2\x82\xAC");
  EXPECT_EQ(converted("\x8A", kCFStringEncodingASCII, kCFStringEncodingUTF8), "(null)");
}
