#include <gtest/gtest.h>

#include "host/log.h"
#include "project/project.h"
#include "support/model_fixtures.h"

using modeltest::json;

namespace {

class ProjectEditTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }

    bool run(bool (MeProject::*operation)(CParseJson&), const std::string& text) {
        CParseJson content = json(text);
        return (project_.*operation)(content);
    }
    void addTrack(const std::string& id, const std::string& type) {
        ASSERT_TRUE(run(&MeProject::addTrack, R"({"ID":")" + id + R"(","Type":")" + type + "\"}"));
    }
    // Places media "<clip>_p" on the track as placement "<placement>".
    bool addClip(const std::string& track, const std::string& clip) {
        return run(&MeProject::addClip, R"({"TrackID":")" + track + R"(","ID":")" + clip +
                                            R"(","MltService":"avformat","Resource":"r",)" +
                                            R"("In":"0","Out":"9","Index":-1})");
    }
    std::vector<std::string> logLines(const std::function<void()>& action) {
        std::vector<std::string> lines;
        setLogObserver([&](int, const std::string& line) { lines.push_back(line); });
        action();
        setLogObserver(nullptr);
        return lines;
    }

    MeProject project_;
};

TEST_F(ProjectEditTest, TracksLandInTheMapOfTheirType) {
    addTrack("V", "composite");
    addTrack("A", "audio");
    addTrack("O", "audio_only");
    ASSERT_TRUE(run(&MeProject::addTrack, R"({"ID":"V","Type":"video_only","Title":"second"})"));
    EXPECT_FALSE(run(&MeProject::addTrack, R"({"ID":"T","Type":"text"})"));
    EXPECT_FALSE(run(&MeProject::addTrack, R"({"ID":"N"})"));
    EXPECT_EQ(project_.videoTracks().size(), 1u);
    EXPECT_EQ(project_.videoTracks().at("V")->trackType(), "composite");
    EXPECT_EQ(project_.audioTracks().size(), 2u);
}

TEST_F(ProjectEditTest, DeleteTrackRemovesTheVideoTrackFirstWithItsClips) {
    addTrack("X", "composite");
    addTrack("X", "audio");
    ASSERT_TRUE(addClip("X", "c1"));
    ASSERT_TRUE(run(&MeProject::deleteTrack, R"({"TrackID":"X"})"));
    EXPECT_TRUE(project_.videoTracks().empty());
    EXPECT_EQ(project_.audioTracks().size(), 1u);
    EXPECT_TRUE(project_.clips().empty());
    EXPECT_TRUE(run(&MeProject::deleteTrack, R"({"TrackID":"nothing"})"));
    EXPECT_FALSE(run(&MeProject::deleteTrack, R"({})"));
}

TEST_F(ProjectEditTest, ClipStaysWhenItsTrackRefusesThePlacement) {
    EXPECT_FALSE(addClip("missing", "c1"));
    EXPECT_EQ(project_.clips().count("c1_p"), 1u);
    EXPECT_FALSE(run(&MeProject::addClip, R"({"ID":"c2","MltService":"m","Resource":"r"})"));
    EXPECT_EQ(project_.clips().count("c2_p"), 0u);
}

TEST_F(ProjectEditTest, DeleteClipByIndexRemovesThatPlacementAndItsMedia) {
    addTrack("V", "composite");
    for (const char* clip : {"c1", "c2", "c3"}) {
        ASSERT_TRUE(addClip("V", clip));
    }
    ASSERT_TRUE(run(&MeProject::addClip, R"({"TrackID":"V","ID":"p4","MltService":"m",
        "Resource":"r","Index":-1})"));
    ASSERT_TRUE(run(&MeProject::deleteClip, R"({"TrackID":"V","Index":2,"ClipID":"c1"})"));
    EXPECT_EQ(project_.videoTracks().at("V")->mediaIds(),
              (std::vector<std::string>{"c1_p", "c2_p", "p4_p"}));
    EXPECT_EQ(project_.clips().count("c3_p"), 0u);
    ASSERT_TRUE(run(&MeProject::deleteClip, R"({"TrackID":"V","ClipID":"c1"})"));
    EXPECT_FALSE(run(&MeProject::deleteClip, R"({"TrackID":"V","ClipID":"c1"})"));
    ASSERT_TRUE(run(&MeProject::deleteAllClip, R"({"TrackID":"V"})"));
    EXPECT_TRUE(project_.clips().empty());
    EXPECT_TRUE(project_.videoTracks().at("V")->placements().empty());
}

TEST_F(ProjectEditTest, AlterClipReplacesTheMediaOrRefillsTheExistingOne) {
    addTrack("V", "composite");
    ASSERT_TRUE(addClip("V", "c1"));
    const auto original = project_.clips().at("c1_p");
    const char kAlter[] = R"({"TrackID":"V","ID":"c1","IndexOld":0,"IndexNew":0,
        "MltService":"avformat","Resource":"%s","In":"0","Out":"4"})";
    std::string refill = kAlter;
    refill.replace(refill.find("%s"), 2, "again.mp4");
    auto lines = logLines([&] { EXPECT_TRUE(run(&MeProject::alterClip, refill)); });
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(project_.clips().at("c1_p"), original);
    EXPECT_EQ(original->resource(), "again.mp4");

    std::string replace = kAlter;
    replace.replace(replace.find("%s"), 2, "other.mp4");
    replace.replace(replace.find("\"c1\""), 4, "\"c9\"");
    lines = logLines([&] { EXPECT_TRUE(run(&MeProject::alterComposeClip, replace)); });
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("find difference clip\n"), std::string::npos);
    EXPECT_EQ(project_.clips().at("c9_p")->resource(), "other.mp4");
    EXPECT_EQ(project_.videoTracks().at("V")->placementAt(0)->mediaId(), "c9_p");
}

TEST_F(ProjectEditTest, TransitionsBetweenTracksNeedNoTracks) {
    EXPECT_FALSE(run(&MeProject::addTransition,
                     R"({"ID":"x","TrackID_A":"V","TrackID_B":"V","Index_A":0,"Index_B":1})"));
    EXPECT_TRUE(run(&MeProject::addTransition, R"({"ID":"x","TrackID_A":"V","TrackID_B":"W"})"));
    EXPECT_TRUE(run(&MeProject::addTransition,
                    R"({"ID":"x","TrackID_A":"V","TrackID_B":"U","Title":"t_dissolve"})"));
    EXPECT_EQ(project_.transitions().at("x")->trackIdB(), "W");
    EXPECT_TRUE(run(&MeProject::alterTransition,
                    R"({"ID":"x","TrackID_A":"V","TrackID_B":"U","Title":"t_dissolve"})"));
    EXPECT_EQ(project_.transitions().at("x")->trackIdB(), "U");
}

TEST_F(ProjectEditTest, DeleteTransitionStopsAtTheFirstTrackHoldingIt) {
    addTrack("V1", "composite");
    addTrack("V2", "composite");
    ASSERT_TRUE(addClip("V2", "c1"));
    ASSERT_TRUE(addClip("V2", "c2"));
    ASSERT_TRUE(run(&MeProject::addTransition,
                    R"({"ID":"x","TrackID_A":"V2","TrackID_B":"V2","Index_A":0,"Index_B":1})"));
    ASSERT_TRUE(run(&MeProject::addTransition, R"({"ID":"x","TrackID_A":"V1","TrackID_B":"V2"})"));
    EXPECT_TRUE(run(&MeProject::deleteTransition, R"({"TransitionID":"x"})"));
    EXPECT_TRUE(project_.videoTracks().at("V2")->transitions().empty());
    EXPECT_EQ(project_.transitions().size(), 1u);
    EXPECT_TRUE(run(&MeProject::deleteTransition, R"({"TransitionID":"x"})"));
    EXPECT_FALSE(run(&MeProject::deleteTransition, R"({"TransitionID":"x"})"));
    auto lines = logLines([&] { EXPECT_FALSE(run(&MeProject::deleteTransition, "{}")); });
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("Get Transition Id Failed\n"), std::string::npos);
}

TEST_F(ProjectEditTest, TimelineFiltersAppendAndAlterReplacesAllOfAnIdentifier) {
    const char kFilter[] =
        R"({"TrackID":"maintractor","ID":"f","FilterID":"f","Title":"t_bright"})";
    ASSERT_TRUE(run(&MeProject::addFilter, kFilter));
    ASSERT_TRUE(run(&MeProject::addFilter, kFilter));
    EXPECT_EQ(project_.mainFilters().size(), 2u);
    ASSERT_TRUE(run(&MeProject::alterFilter, kFilter));
    EXPECT_EQ(project_.mainFilters().size(), 1u);
    ASSERT_TRUE(run(&MeProject::deleteFilter, R"({"TrackID":"maintractor","FilterID":"f"})"));
    EXPECT_TRUE(project_.mainFilters().empty());

    struct Case {
        const char* json;
        const char* line;
    } cases[] = {
        {R"({"FilterID":"f"})", "Get Transition Id Failed\n"},
        {R"({"TrackID":"maintractor"})", "Get FilterID Id Failed\n"},
    };
    for (const auto& c : cases) {
        auto lines = logLines([&] { EXPECT_FALSE(run(&MeProject::deleteFilter, c.json)); });
        ASSERT_EQ(lines.size(), 1u) << c.json;
        EXPECT_NE(lines[0].find(c.line), std::string::npos) << lines[0];
    }
    addTrack("V", "composite");
    auto lines = logLines(
        [&] { EXPECT_FALSE(run(&MeProject::deleteFilter, R"({"TrackID":"V","FilterID":"f"})")); });
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[1].find("MeProject:deleteFilter Failed [{\n   \"FilterID\" : \"f\",\n"
                            "   \"TrackID\" : \"V\"\n}\n]\n"),
              std::string::npos);
}

TEST_F(ProjectEditTest, UndoCopySharesTheObjectsAndIgnoresItself) {
    addTrack("V", "composite");
    ASSERT_TRUE(addClip("V", "c1"));
    ASSERT_TRUE(
        run(&MeProject::addFilter, R"({"TrackID":"maintractor","ID":"f","Title":"t_bright"})"));
    MeProject snapshot;
    MeProject::copy(project_, snapshot);
    MeProject::copy(snapshot, snapshot);
    EXPECT_EQ(snapshot.videoTracks().at("V"), project_.videoTracks().at("V"));
    EXPECT_EQ(snapshot.clips().at("c1_p"), project_.clips().at("c1_p"));
    EXPECT_EQ(snapshot.mainFilters().front(), project_.mainFilters().front());
    ASSERT_TRUE(project_.deleteAllTrack());
    EXPECT_TRUE(project_.clips().empty());
    EXPECT_EQ(project_.mainFilters().size(), 1u);
    MeProject::copy(snapshot, project_);
    EXPECT_EQ(project_.clips().size(), 1u);
    EXPECT_EQ(project_.videoTracks().size(), 1u);
}

}  // namespace
