#include <gtest/gtest.h>

#include "host/log.h"
#include "support/model_fixtures.h"
#include "timeline/tractor.h"

using modeltest::json;
using modeltest::xmlOf;

namespace {

class TractorTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }

    MeTractor track(const std::string& id, const std::string& type, bool main) {
        MeTractor tractor;
        CParseJson fields = json(R"({"ID":")" + id + R"(","Type":")" + type + R"(","Main":)" +
                                 (main ? "true" : "false") + "}");
        EXPECT_TRUE(tractor.initFromJson(fields));
        return tractor;
    }
    // A placement "p<n>" of media "c<n>_p" playing frames in..out.
    void place(MeTractor& tractor, int n, int in, int out, int index = -1) {
        CParseJson fields = json(R"({"ID":"p)" + std::to_string(n) + R"(","In":")" +
                                 std::to_string(in) + R"(","Out":")" + std::to_string(out) +
                                 R"(","BlankLength":"7","Index":)" + std::to_string(index) + "}");
        EXPECT_TRUE(tractor.addClip(fields, "c" + std::to_string(n) + "_p"));
    }
    std::string mltOf(MeTractor& tractor) {
        return xmlOf([&](xmlNodePtr root) { tractor.writeMltXml(root); });
    }
};

TEST_F(TractorTest, InsertAtAppendsAtTheEndOrMinusOneAndRefusesPastIt) {
    MeTractor tractor = track("T", "composite", false);
    place(tractor, 1, 0, 9);
    place(tractor, 2, 0, 9, 0);
    place(tractor, 3, 0, 9, 2);
    EXPECT_FALSE(tractor.insertAt(4, std::make_shared<MePlayList>()));
    EXPECT_FALSE(tractor.insertAt(-2, std::make_shared<MePlayList>()));
    CParseJson noIndex = json(R"({"ID":"p9"})");
    EXPECT_FALSE(tractor.addClip(noIndex, "c9_p"));
    EXPECT_EQ(tractor.mediaIds(), (std::vector<std::string>{"c2_p", "c1_p", "c3_p"}));
    EXPECT_EQ(tractor.positionOf("p3"), 20);
    EXPECT_EQ(tractor.positionOf("p9"), -1);
}

TEST_F(TractorTest, MainTrackLaysPlacementsEndToEnd) {
    MeTractor tractor = track("Track0", "composite", true);
    place(tractor, 1, 0, 99);
    place(tractor, 2, 10, 59);
    place(tractor, 3, 0, 74);
    std::string written = mltOf(tractor);
    EXPECT_NE(written.find("<playlist id=\"p1\">\n  <entry"), std::string::npos);
    EXPECT_NE(written.find("<playlist id=\"p2\">\n  <blank length=\"100\"/>"), std::string::npos);
    EXPECT_NE(written.find("<playlist id=\"p3\">\n  <blank length=\"150\"/>"), std::string::npos);
    EXPECT_EQ(tractor.placementAt(2)->blankLength(), "150");
}

TEST_F(TractorTest, TransitionOverlapsTheCutWithStillTailAndHead) {
    MeTractor tractor = track("Track0", "video_only", true);
    place(tractor, 1, 0, 99);
    place(tractor, 2, 0, 49);
    CParseJson transition = json(R"({"ID":"x","Title":"t_dissolve","In":"10","Out":"15",
        "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})");
    ASSERT_TRUE(tractor.addTransition(transition));
    EXPECT_EQ(mltOf(tractor),
              "<playlist id=\"p1\">\n"
              "  <entry producer=\"c1_p\" in=\"0\" out=\"99\"/>\n"
              "  <entry producer=\"c1_p\" in=\"99\" out=\"99\" repeat=\"15\"/>\n"
              "</playlist>\n"
              "<playlist id=\"p2\">\n"
              "  <blank length=\"90\"/>\n"
              "  <entry producer=\"c2_p\" in=\"0\" out=\"0\" repeat=\"10\"/>\n"
              "  <entry producer=\"c2_p\" in=\"0\" out=\"49\"/>\n"
              "</playlist>\n"
              "<tractor id=\"Track0\">\n"
              "  <track producer=\"p1\" hide=\"audio\"/>\n"
              "  <track producer=\"p2\" hide=\"audio\"/>\n"
              "  <transition id=\"x\" title=\"t_dissolve\" in=\"90\" out=\"114\">\n"
              "    <property name=\"a_track\">0</property>\n"
              "    <property name=\"b_track\">1</property>\n"
              "    <property name=\"mlt_service\">luma</property>\n"
              "  </transition>\n"
              "</tractor>\n");
    // The stored objects keep the client's values.
    EXPECT_EQ(tractor.transitions().at("x")->in(), "10");
    EXPECT_EQ(tractor.placementAt(0)->repeatTail(), "0");
    EXPECT_EQ(tractor.placementAt(1)->blankLength(), "100");
}

TEST_F(TractorTest, PlainTrackHidesByTypeAndWritesNoTransitions) {
    struct Case {
        const char* type;
        const char* reference;
    } cases[] = {{"video_only", "<track producer=\"p1\" hide=\"audio\"/>"},
                 {"audio_only", "<track producer=\"p1\" hide=\"video\"/>"},
                 {"audio", "<track producer=\"p1\"/>"},
                 {"composite", "<track producer=\"p1\"/>"}};
    for (const auto& c : cases) {
        MeTractor tractor = track("T", c.type, false);
        place(tractor, 1, 0, 9);
        place(tractor, 2, 0, 9);
        CParseJson transition = json(R"({"ID":"x","TrackID_A":"T","TrackID_B":"T",
            "Index_A":0,"Index_B":1})");
        ASSERT_TRUE(tractor.addTransition(transition));
        std::string written = mltOf(tractor);
        EXPECT_NE(written.find(c.reference), std::string::npos) << c.type;
        EXPECT_NE(written.find("<blank length=\"7\"/>"), std::string::npos) << c.type;
        EXPECT_EQ(written.find("<transition"), std::string::npos) << c.type;
    }
}

TEST_F(TractorTest, WebvfxFiltersAreWrittenAfterTheOthers) {
    MeTractor tractor = track("T", "composite", false);
    CParseJson webvfx = json(R"({"ID":"w","TrackID":"T","Title":"webvfxfilter"})");
    CParseJson plain = json(R"({"ID":"b","TrackID":"T","Title":"t_bright","Index":-1})");
    ASSERT_TRUE(tractor.addFilter(webvfx));
    ASSERT_TRUE(tractor.addFilter(plain));
    std::string written = mltOf(tractor);
    EXPECT_LT(written.find("<filter id=\"b\""), written.find("<filter id=\"w\""));
    std::string saved = xmlOf([&](xmlNodePtr root) { tractor.writeXml(root); });
    EXPECT_LT(saved.find("<ID>b</ID>"), saved.find("<ID>w</ID>"));
}

TEST_F(TractorTest, MovingAPlacementKeepsTheOthersInOrder) {
    MeTractor tractor = track("Track1", "composite", false);
    for (int n = 1; n <= 4; ++n) {
        place(tractor, n, 0, 9);
    }
    CParseJson move = json(R"({"ID":"p3","TrackID":"Track1","IndexOld":2,"IndexNew":0,
        "In":"1","Out":"5"})");
    ASSERT_TRUE(tractor.alterClip(move, "new_p"));
    EXPECT_EQ(tractor.mediaIds(), (std::vector<std::string>{"new_p", "c1_p", "c2_p", "c4_p"}));
    EXPECT_EQ(tractor.placementAt(0)->in(), "1");
}

TEST_F(TractorTest, AudioTracksFindPlacementsByIdentifierAndNeverMoveThem) {
    MeTractor tractor = track("AudioTrack0", "audio", false);
    place(tractor, 1, 0, 9);
    place(tractor, 2, 0, 9);
    struct Case {
        const char* json;
        bool accepted;
        const char* mediaIds;
    } cases[] = {
        {R"({"ID":"p2","TrackID":"AudioTrack0","IndexOld":1,"IndexNew":0})", true, "c1_p x_p"},
        {R"({"ID":"zz","TrackID":"AudioTrack0","IndexOld":0,"IndexNew":0})", true, "x_p x_p"},
        {R"({"ID":"yy","TrackID":"AudioTrack0","IndexOld":0,"IndexNew":1})", false, "x_p x_p"},
        {R"({"ID":"p1","TrackID":"AudioTrack0","IndexOld":0})", false, "x_p x_p"},
    };
    for (const auto& c : cases) {
        CParseJson alter = json(c.json);
        EXPECT_EQ(tractor.alterClip(alter, "x_p"), c.accepted) << c.json;
        const auto ids = tractor.mediaIds();
        EXPECT_EQ(ids[0] + " " + ids[1], c.mediaIds) << c.json;
    }
}

TEST_F(TractorTest, DeleteFilterFailuresLogTheirOwnLines) {
    MeTractor tractor = track("T", "composite", false);
    std::vector<std::string> lines;
    setLogObserver([&](int, const std::string& line) { lines.push_back(line); });
    CParseJson noId = json(R"({"TrackID":"T"})");
    CParseJson unknown = json(R"({"TrackID":"T","FilterID":"nope"})");
    EXPECT_FALSE(tractor.deleteFilter(noId));
    EXPECT_FALSE(tractor.deleteFilter(unknown));
    setLogObserver(nullptr);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find("MeTractor: deleteFilter Failed to get filterID [{\n"
                            "   \"TrackID\" : \"T\"\n}\n]\n"),
              std::string::npos);
    EXPECT_NE(lines[1].find("MeTractor: deleteFilter Failed nIndex =-1 strId = nope\n"),
              std::string::npos);
}

}  // namespace
