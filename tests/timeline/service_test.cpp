#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/compose_clip.h"
#include "timeline/filter.h"
#include "timeline/multi_filter.h"
#include "timeline/transition.h"

using modeltest::xmlOf;

namespace {

class ServiceTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }
};

std::string prop(const std::string& name, const std::string& value) {
    return "  <property name=\"" + name + "\">" + value + "</property>\n";
}

TEST_F(ServiceTest, ClipJsonDecidesLengthTypeAndProducerProperties) {
    const std::string common = prop("resource", "a.mp4") + prop("mlt_service", "avformat");
    // Length is written when positive; the type hides the other stream.
    const std::string cases[][2] = {
        {R"("Length":"250")", prop("length", "250") + common},
        {R"("Type":"video","Length":250)",
         prop("length", "250") + common + prop("audio_index", "-1")},
        {R"("Type":"audio","Length":-5)", common + prop("video_index", "-1")},
    };
    for (const auto& [fields, properties] : cases) {
        MeClip clip;
        ASSERT_TRUE(
            clip.initFromJsonText(R"({"ID":"c7","Title":"t","In":"1","MltService":"avformat",)"
                                  R"("Resource":"a.mp4",)" +
                                  fields + "}"));
        EXPECT_EQ(xmlOf([&](xmlNodePtr root) { clip.writeMltXml(root); }),
                  "<producer id=\"c7_p\">\n" + properties + "</producer>\n");
    }
    for (const char* refused : {R"({"MltService":"m","Resource":"r"})",
                                R"({"ID":"c","Resource":"r"})", R"({"ID":"c","MltService":"m"})"}) {
        EXPECT_FALSE(MeClip().initFromJsonText(refused)) << refused;
    }
}

TEST_F(ServiceTest, ComposeClipLaterSubClipOfANameWinsAndBecomesProducerProperties) {
    MeComposeClip clip;
    ASSERT_TRUE(clip.initFromJsonText(R"({"ID":"k","MltService":"composer","Resource":"r",
        "SubClips":[{"Name":"title1","Resource":"first","Profile":{"Width":640,"FrameRate":25}},
        {"Name":"title1","Resource":"t.png","Type":"image","In":"0","Out":"49","Start":"10",
         "End":"59","Profile":{"Width":1280,"Height":720,"FrameRate":29.97}},{"Name":"a"}]})"));
    std::string tail;
    const char* fields[] = {
        "resource",      "t.png", "type",           "image", "in",          "0",
        "out",           "49",    "start",          "10",    "end",         "59",
        "profile.width", "1280",  "profile.height", "720",   "profile.fps", "29.970000"};
    for (size_t i = 0; i < std::size(fields); i += 2) {
        tail += prop(std::string("producer.title1.") + fields[i], fields[i + 1]);
    }
    std::string written = xmlOf([&](xmlNodePtr root) { clip.writeMltXml(root); });
    EXPECT_NE(written.find(prop("producer.a.profile.fps", "0.000000") + tail + "</producer>\n"),
              std::string::npos)
        << written;
    modeltest::expectProjectElementRoundTrip(clip);
    MeComposeClip empty;
    ASSERT_TRUE(empty.initFromJsonText(R"({"ID":"e","MltService":"m","Resource":"r"})"));
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { empty.writeXml(root); }),
              "<ComposeClip>\n  <ID>e_p</ID>\n  <MltService>m</MltService>\n"
              "  <Resource>r</Resource>\n  <Type>composite</Type>\n  <SubClips/>\n"
              "</ComposeClip>\n");
}

TEST_F(ServiceTest, FilterJsonNeedsIdentifierTrackAndKnownTitleAndSkipsMistypedValues) {
    MeFilter filter;
    ASSERT_TRUE(filter.initFromJsonText(
        R"({"ID":"f","TrackID":"t","Title":"t_bright","Index":"2","In":5})"));
    EXPECT_EQ(filter.index(), -1);
    EXPECT_EQ(filter.in(), "-1");
    for (const char* refused :
         {R"({"ID":7,"TrackID":"t","Title":"t_bright"})", R"({"ID":"f","Title":"t_bright"})",
          R"({"ID":"f","TrackID":"t","Title":"t_unknown"})"}) {
        EXPECT_FALSE(MeFilter().initFromJsonText(refused)) << refused;
    }
}

// Property values replace and add to a copy of the catalogue's.
TEST_F(ServiceTest, FilterMltElementCarriesRangeAndPropertiesInNameOrder) {
    MeFilter filter;
    ASSERT_TRUE(filter.initFromJsonText(R"({"ID":"f","TrackID":"t","Title":"t_bright","Index":1,
        "In":"4","Out":"250","Property":{"level":"0.3","x":"y"}})"));
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { filter.writeMltXml(root, true); }),
              "<filter id=\"f\" title=\"t_bright\" in=\"4\" out=\"250\">\n"
              "  <property name=\"level\">0.3</property>\n"
              "  <property name=\"mlt_service\">brightness</property>\n"
              "  <property name=\"x\">y</property>\n</filter>\n");
    modeltest::expectProjectElementRoundTrip(filter);
    EXPECT_EQ(MeEffectCatalogue::instance().findEffect("t_bright")->properties().size(), 2u);
}

std::string multiJson(const std::string& xmlFile) {
    return R"({"ID":"m","TrackID":"t","Title":"t_multi","Xml":")" + xmlFile + R"(",
    "Properties":[{"ID":"two","Content":{"In":"5"},"Property":{"level":"0.9"}},
                  {"ID":"nobody","Content":{"In":"7"}}, "not an object"]})";
}

TEST_F(ServiceTest, MultiFilterOverridesChangeTheCopiedCommandsOnly) {
    MeMultiFilter multi;
    ASSERT_TRUE(multi.initFromJsonText(multiJson("/tmp/x.xml")));
    const Json::Value& actions = multi.effect().commands.root()["Action"];
    EXPECT_EQ(actions[1]["Content"]["In"].asString(), "5");
    EXPECT_EQ(actions[1]["Content"]["Property"]["level"].asString(), "0.9");
    EXPECT_EQ(actions[0]["Content"]["Property"]["level"].asString(), "0.5");
    const MeMultiEffect* original = MeEffectCatalogue::instance().findMultiEffect("t_multi");
    EXPECT_FALSE(original->commands.root()["Action"][1]["Content"].isMember("In"));
    modeltest::expectProjectElementRoundTrip(multi);
}

bool init(MeTransition& transition, const std::string& text) {
    CParseJson fields = modeltest::json(text);
    return transition.initFromJson(fields);
}

// The catalogue decides which side goes on a_track.
TEST_F(ServiceTest, TransitionSetTracksKeepsTheCatalogueOrderOfTheSides) {
    const char* cases[][2] = {
        {"t_dissolve", R"(a_track">3</property>
  <property name="b_track">4</property>
  <property name="mlt_service">luma)"},
        {"t_reversed", R"(a_track">4</property>
  <property name="b_track">3</property>
  <property name="mlt_service">luma)"},
        {"t_trackless", R"(mlt_service">mix)"},
    };
    for (const auto& [title, properties] : cases) {
        MeTransition transition;
        ASSERT_TRUE(init(transition, std::string(R"({"ID":"x","TrackID_A":"a",)") +
                                         R"("TrackID_B":"b","Title":")" + title + "\"}"));
        transition.setTracks(3, 4);
        EXPECT_EQ(xmlOf([&](xmlNodePtr root) { transition.writeMltXml(root); }),
                  "<transition id=\"x\" title=\"" + std::string(title) +
                      "\">\n  <property name=\"" + properties + "</property>\n</transition>\n");
    }
}

TEST_F(ServiceTest, TransitionProjectElementKeepsPlacementsAndProperties) {
    MeTransition transition;
    ASSERT_TRUE(init(transition, R"({"ID":"x","Title":"t_dissolve","In":"2","Out":"3",
        "TrackID_A":"a","TrackID_B":"b","Index_A":0,"Index_B":1,"Property":{"k":"v"}})"));
    transition.setAPlaylistId("p1");
    transition.setBPlaylistId("p2");
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { transition.writeXml(root); }),
              "<Transition>\n  <ID>x</ID>\n  <In>2</In>\n  <Out>3</Out>\n"
              "  <Title>t_dissolve</Title>\n  <ATrackId>a</ATrackId>\n  <AIndex>0</AIndex>\n"
              "  <BTrackId>b</BTrackId>\n  <BIndex>1</BIndex>\n"
              "  <APlaylistId>p1</APlaylistId>\n  <BPlaylistId>p2</BPlaylistId>\n"
              "  <Effect>\n    <EffectName>t_dissolve</EffectName>\n    <Type>2</Type>\n"
              "    <Property name=\"a_track\">0</Property>\n"
              "    <Property name=\"b_track\">1</Property>\n"
              "    <Property name=\"k\">v</Property>\n"
              "    <Property name=\"mlt_service\">luma</Property>\n  </Effect>\n"
              "</Transition>\n");
    modeltest::expectProjectElementRoundTrip(transition);
}

}  // namespace
