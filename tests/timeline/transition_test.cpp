#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/transition.h"

using modeltest::xmlOf;

namespace {

class TransitionTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }
};

TEST_F(TransitionTest, JsonNeedsBothTracksButNotAKnownTitle) {
    struct Case {
        const char* json;
        bool accepted;
        size_t properties;
    } cases[] = {
        {R"({"ID":"x","Title":"t_dissolve","TrackID_A":"a","TrackID_B":"b"})", true, 3},
        {R"({"ID":"x","Title":"t_dissolve","TrackID_A":"a","TrackID_B":"b",
             "Property":{"softness":"0.2"}})",
         true, 4},
        {R"({"ID":"x","Title":"unknown","TrackID_A":"a","TrackID_B":"b"})", true, 0},
        {R"({"ID":"x","TrackID_A":"a"})", false, 0},
        {R"({"ID":"x","TrackID_B":"b"})", false, 0},
        {R"({"TrackID_A":"a","TrackID_B":"b"})", false, 0},
    };
    for (const auto& c : cases) {
        MeTransition full;
        CParseJson fields = modeltest::json(c.json);
        EXPECT_EQ(full.initFromJson(fields), c.accepted) << c.json;
        EXPECT_EQ(full.effect().properties().size(), c.properties) << c.json;
        EXPECT_EQ(full.aIndex(), -1);
    }
    MeTransition serviceOnly;
    EXPECT_TRUE(serviceOnly.initFromJsonText(R"({"ID":"x","TrackID_A":"a","TrackID_B":"b"})"));
    EXPECT_EQ(serviceOnly.id(), "x");
    EXPECT_EQ(serviceOnly.trackIdA(), "");
}

TEST_F(TransitionTest, SetTracksKeepsTheCatalogueOrderOfTheSides) {
    struct Case {
        const char* title;
        const char* expected;
    } cases[] = {
        {"t_dissolve",
         "<transition id=\"x\" title=\"t_dissolve\">\n  <property name=\"a_track\">3</property>\n"
         "  <property name=\"b_track\">4</property>\n"
         "  <property name=\"mlt_service\">luma</property>\n</transition>\n"},
        {"t_reversed",
         "<transition id=\"x\" title=\"t_reversed\">\n  <property name=\"a_track\">4</property>\n"
         "  <property name=\"b_track\">3</property>\n"
         "  <property name=\"mlt_service\">luma</property>\n</transition>\n"},
        {"t_trackless",
         "<transition id=\"x\" title=\"t_trackless\">\n"
         "  <property name=\"mlt_service\">mix</property>\n</transition>\n"},
        {"unknown", "<transition id=\"x\" title=\"unknown\"/>\n"},
    };
    for (const auto& c : cases) {
        MeTransition transition;
        CParseJson fields = modeltest::json(std::string(R"({"ID":"x","TrackID_A":"a",)") +
                                            R"("TrackID_B":"b","Title":")" + c.title + "\"}");
        ASSERT_TRUE(transition.initFromJson(fields));
        transition.setTracks(3, 4);
        EXPECT_EQ(xmlOf([&](xmlNodePtr root) { transition.writeMltXml(root); }), c.expected);
    }
}

TEST_F(TransitionTest, ProjectElementKeepsPlacementsAndProperties) {
    MeTransition transition;
    CParseJson fields = modeltest::json(R"({"ID":"x","Title":"t_dissolve","In":"2","Out":"3",
        "TrackID_A":"a","TrackID_B":"b","Index_A":0,"Index_B":1,"Property":{"k":"v"}})");
    ASSERT_TRUE(transition.initFromJson(fields));
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
