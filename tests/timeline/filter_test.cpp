#include <gtest/gtest.h>

#include "messages/styled_json.h"
#include "support/model_fixtures.h"
#include "timeline/filter.h"
#include "timeline/multi_filter.h"

using modeltest::json;
using modeltest::xmlOf;

namespace {

class FilterTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }
};

TEST_F(FilterTest, JsonNeedsIdentifierTrackAndKnownTitle) {
    struct Case {
        const char* json;
        bool accepted;
        int index;
    } cases[] = {
        {R"({"ID":"f","TrackID":"t","Title":"t_bright","Index":2})", true, 2},
        {R"({"ID":"f","TrackID":"t","Title":"t_bright"})", true, -1},
        {R"({"ID":"f","TrackID":"t","Title":"t_bright","Index":"2"})", true, -1},
        {R"({"TrackID":"t","Title":"t_bright"})", false, -1},
        {R"({"ID":"f","Title":"t_bright"})", false, -1},
        {R"({"ID":"f","TrackID":"t","Title":"t_unknown"})", false, -1},
        {R"({"ID":"f","TrackID":"t"})", false, -1},
    };
    for (const auto& c : cases) {
        MeFilter filter;
        EXPECT_EQ(filter.initFromJsonText(c.json), c.accepted) << c.json;
        if (c.accepted) {
            EXPECT_EQ(filter.index(), c.index) << c.json;
            EXPECT_EQ(filter.trackId(), "t");
        }
    }
}

TEST_F(FilterTest, PropertyObjectReplacesAndAddsToTheCatalogueValues) {
    MeFilter filter;
    ASSERT_TRUE(filter.initFromJsonText(
        R"({"ID":"f","TrackID":"t","Title":"t_bright","Property":{"level":"0.3","alpha":2}})"));
    const std::map<std::string, std::string> expected = {
        {"alpha", "2"}, {"level", "0.3"}, {"mlt_service", "brightness"}};
    EXPECT_EQ(filter.effect().properties(), expected);
    EXPECT_EQ(MeEffectCatalogue::instance().findEffect("t_bright")->properties().at("level"),
              "1.0");
}

TEST_F(FilterTest, MltElementCarriesRangeAndPropertiesInNameOrder) {
    MeFilter filter;
    ASSERT_TRUE(filter.initFromJsonText(
        R"({"ID":"f","TrackID":"t","Title":"t_bright","In":"-1","Out":"250"})"));
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { filter.writeMltXml(root, true); }),
              "<filter id=\"f\" title=\"t_bright\" in=\"-1\" out=\"250\">\n"
              "  <property name=\"level\">1.0</property>\n"
              "  <property name=\"mlt_service\">brightness</property>\n"
              "</filter>\n");
}

TEST_F(FilterTest, ProjectElementKeepsPropertiesWhateverTheCatalogueSays) {
    MeFilter filter;
    ASSERT_TRUE(filter.initFromJsonText(
        R"({"ID":"f","TrackID":"t","Title":"t_bright","Index":1,"In":"4","Property":{"x":"y"}})"));
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { filter.writeXml(root); }),
              "<Filter>\n  <ID>f</ID>\n  <In>4</In>\n  <Title>t_bright</Title>\n"
              "  <TrackId>t</TrackId>\n  <Index>1</Index>\n  <Effect>\n"
              "    <EffectName>t_bright</EffectName>\n    <Type>1</Type>\n"
              "    <Property name=\"level\">1.0</Property>\n"
              "    <Property name=\"mlt_service\">brightness</Property>\n"
              "    <Property name=\"x\">y</Property>\n  </Effect>\n</Filter>\n");
    modeltest::expectProjectElementRoundTrip(filter);
}

const char kMultiJson[] = R"({"ID":"m","TrackID":"t","Title":"t_multi","Xml":"%s",
    "Properties":[{"ID":"two","Content":{"In":"5"},"Property":{"level":"0.9"}},
                  {"ID":"nobody","Content":{"In":"7"}}, "not an object"]})";

std::string multiJson(const std::string& xmlFile) {
    std::string text = kMultiJson;
    return text.replace(text.find("%s"), 2, xmlFile);
}

TEST_F(FilterTest, MultiFilterOverridesChangeTheCopiedCommandsOnly) {
    MeMultiFilter multi;
    ASSERT_TRUE(multi.initFromJsonText(multiJson("")));
    const Json::Value& actions = multi.effect().commands.root()["Action"];
    EXPECT_EQ(actions[1]["Content"]["In"].asString(), "5");
    EXPECT_EQ(actions[1]["Content"]["Property"]["level"].asString(), "0.9");
    EXPECT_EQ(actions[0]["Content"]["Property"]["level"].asString(), "0.5");
    const MeMultiEffect* original = MeEffectCatalogue::instance().findMultiEffect("t_multi");
    EXPECT_FALSE(original->commands.root()["Action"][1]["Content"].isMember("In"));
    EXPECT_FALSE(multi.initFromJsonText(R"({"ID":"m","TrackID":"t","Title":"t_bright"})"));
}

TEST_F(FilterTest, MultiFilterProjectElementCarriesTheStyledCommandList) {
    MeMultiFilter multi;
    ASSERT_TRUE(multi.initFromJsonText(multiJson("/tmp/x.xml")));
    std::string written = xmlOf([&](xmlNodePtr root) { multi.writeXml(root); });
    EXPECT_NE(written.find("<XmlFile>/tmp/x.xml</XmlFile>"), std::string::npos);
    EXPECT_NE(written.find("<EffectName>t_multi</EffectName>\n    <Type>1</Type>"),
              std::string::npos);
    MeMultiFilter again;
    modeltest::readFirstElement(written, [&](xmlNodePtr element) { again.readXml(element); });
    EXPECT_EQ(toStyledJson(again.effect().commands.root()),
              toStyledJson(multi.effect().commands.root()));
    EXPECT_EQ(again.effect().commands.commands().size(), 2u);
    modeltest::expectProjectElementRoundTrip(multi);
}

TEST_F(FilterTest, MultiFilterSavesAnEmptyTimelineToItsXmlFile) {
    const std::string path = testsupport::makeTempDirectory("qv-multi") + "/multi.xml";
    MeMultiFilter multi;
    ASSERT_TRUE(multi.initFromJsonText(multiJson(path)));
    EXPECT_TRUE(multi.saveXmlFile());
    EXPECT_EQ(testsupport::readFile(path),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt>\n"
              "  <tractor id=\"maintractor\"/>\n"
              "  <tractor id=\"interface_tractor\" global_feed=\"1\">\n"
              "    <track producer=\"maintractor\"/>\n  </tractor>\n</mlt>\n");
    MeMultiFilter unnamed;
    ASSERT_TRUE(unnamed.initFromJsonText(multiJson("")));
    EXPECT_FALSE(unnamed.saveXmlFile());
}

}  // namespace
