// Loading: versions, records, and what a host without a name gets.
#include <map>

#include "plugin/graphics/graphics.h"
#include "plugin/picture/picture.h"
#include "plugin/recorder/recorder.h"
#include "tests/fixture.h"

namespace {

constexpr const char* kRegistration =
    "RegisterPluginVersion(%)\nPluginRegisterClassExtension(#1)\nPluginRegisterClassExtension(#2)\n"
    "PluginRegisterClass(#3)\nPluginRegisterMethod(#4)\nPluginRegisterMethod(#5)\n";

class Loading : public PluginTest {
 protected:
  // Loads with the records looked at as they are registered.
  void load(std::optional<double> version) {
    host_.emplace(version);
    const auto keep = [this](REALclassDefinition* record) {
      records_[record->name] = record;
      spy::host::REALRegisterClassExtension::real(record);
    };
    spy::host::REALRegisterClassExtension::instead = keep;
    spy::host::REALRegisterClass::instead = [this](REALclassDefinition* record) {
      records_[record->name] = record;
      spy::host::REALRegisterClass::real(record);
    };
    host_->load(bundle(), &spy::resolve);
  }
  void unload() {
    host_.reset();
    spy::reset();
    records_.clear();
  }
  std::string expected(int recordVersion, bool tellsVersion = true) {
    std::string text = kRegistration;
    text.replace(text.find('%'), 1, std::to_string(recordVersion));
    return (tellsVersion ? "REALGetRBVersion()\n" : "") + text;
  }

  std::optional<Host> host_;
  std::map<std::string, REALclassDefinition*> records_;
};

}  // namespace

TEST_F(Loading, ChoosesTheRecordVersionByTheHosts) {
  const std::pair<std::optional<double>, int> cases[] = {{2011.9, 9},       {2011.99, 9},  {2012.0, 10},  {2012.9, 10},
                                                         {2013.0, 11},      {2013.02, 11}, {2013.03, 12}, {2013.9, 12},
                                                         {std::nullopt, 9}, {2014.0, 12}};
  for (const auto& [version, recordVersion] : cases) {
    SCOPED_TRACE(version.value_or(0));
    load(version);
    EXPECT_EQ(spy::trace(), expected(recordVersion, version.has_value()));
    for (const auto& [name, record] : records_)
      EXPECT_EQ(record->version, static_cast<std::uint32_t>(recordVersion)) << name;
    EXPECT_EQ(records_["MacPictTVK"]->dataSize, 32U);
    EXPECT_EQ(host_->classes().at("graphics").methods.size(), kGraphicsMethodCount);
    EXPECT_EQ(host_->classes().at("Picture").methods.size(), kPictureMethodCount);
    EXPECT_EQ(host_->classes().at("MacPictTVK").methods.size(), kPICTMethodCount);
    EXPECT_EQ(host_->classes().at("MacPictTVK").properties.size(), kPICTPropertyCount);
    EXPECT_EQ(host_->globalMethods().size(), kGlobalMethodCount);
    unload();
  }
}

TEST_F(Loading, AttributesReachNewHostsOnly) {
  load(2014.0);
  const auto isDeprecated = [](const auto& thing) {
    return thing.attributes == std::vector<std::pair<std::string, std::string>>{{"Deprecated", ""}};
  };
  std::string deprecated;
  for (const auto& method : host_->classes().at("graphics").methods) deprecated += isDeprecated(method) ? 'd' : '-';
  EXPECT_EQ(deprecated, "--dddddddd");
  for (const auto& method : host_->classes().at("Picture").methods)
    EXPECT_TRUE(isDeprecated(method)) << method.declaration.name;
  for (const auto& method : host_->classes().at("MacPictTVK").methods)
    EXPECT_TRUE(method.attributes.empty()) << method.declaration.name;
  for (const auto& method : host_->globalMethods()) EXPECT_TRUE(isDeprecated(method));
  EXPECT_TRUE(isDeprecated(host_->classes().at("MacPictTVK")));
  unload();

  load(2011.9);
  const REALclassDefinition* record = records_["MacPictTVK"];
  EXPECT_EQ(record->attributes, nullptr);
  EXPECT_EQ(record->attributeCount, 0U);
  EXPECT_EQ(records_["graphics"]->properties, nullptr);
  // The rows are close together: the second one's declaration is where the old layout has it.
  const auto* rows = reinterpret_cast<const std::uint32_t*>(record->methods);
  EXPECT_STREQ(reinterpret_cast<const char*>(rows[4 + 2]), "PicHandleData as string");
  unload();
}

TEST_F(Loading, GoesOnWithoutAName) {
  spy::absent = {"PluginRegisterClassExtension"};
  load(2014.0);
  EXPECT_EQ(host_->classes().count("graphics"), 0U);
  EXPECT_EQ(host_->classes().count("MacPictTVK"), 1U);
  EXPECT_EQ(host_->globalMethods().size(), 2U);
  unload();

  spy::absent = {"PluginRegisterClass", "PluginRegisterMethod"};
  load(2011.0);
  EXPECT_EQ(host_->classes().count("graphics"), 1U);
  EXPECT_EQ(host_->classes().count("MacPictTVK"), 0U);
  unload();

  // The record version is told or not; the records are the same.
  spy::absent = {"RegisterPluginVersion"};
  load(2014.0);
  EXPECT_NE(spy::trace().find("PluginRegisterClass("), std::string::npos);
  unload();
}

TEST_F(PluginTest, BindsAnOperationOnceAndAsksAgainForAMissingOne) {
  const Object picture = host().newPicture(50, 50);
  const Object graphics = host().graphicsOf(picture);
  const auto draw = [&] { return traceOf([&] { host().call(graphics, "DrawArcTVK", {1, 2, 3, 4, 5, 6}); }); };
  const std::string select = "SelectGraphics(" + spy::reference(graphics.get()) + ")\n";
  spy::absent = {"FrameArc"};
  EXPECT_EQ(draw(), select);
  spy::absent.clear();
  EXPECT_EQ(draw(), select + "FrameArc([2 1 6 4], 5, 6)\n");
  spy::absent = {"FrameArc"};  // too late: it is bound
  EXPECT_EQ(draw(), select + "FrameArc([2 1 6 4], 5, 6)\n");
}

TEST_F(PluginTest, LooksForTheFrameworkUntilItIsThere) {
  int lookups = 0;
  spy::system::FSFindFolder::instead = [&](std::int16_t volume, OSType folder, Boolean create, FSRef*) -> OSErr {
    ++lookups;
    EXPECT_EQ(volume, -32767);
    EXPECT_EQ(folder, 0x6672616DU);
    EXPECT_EQ(create, 1);
    return -43;
  };
  host();
  EXPECT_THROW(host().load("no.bundle"), runtime::Error);
  const Object recorder = host().make("MacPictTVK");
  lookups = 0;
  host().call(recorder, "CreatePicture", {10, 10});
  EXPECT_EQ(number(host().get(recorder, "PicHandle")), 0);
  EXPECT_GT(lookups, 1);
  spy::system::FSFindFolder::instead = nullptr;
  host().call(recorder, "CreatePicture", {10, 10});
  EXPECT_NE(number(host().get(recorder, "PicHandle")), 0);
}
