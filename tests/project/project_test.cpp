#include <gtest/gtest.h>

#include <filesystem>
#include "project/project.h"
#include "support/model_fixtures.h"

namespace {

const std::string kHeader = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

class ProjectTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }
    bool run(bool (MeProject::*operation)(CParseJson&), const std::string& text) {
        CParseJson content = modeltest::json(text);
        return (project_.*operation)(content);
    }
    void edit(bool (MeProject::*operation)(CParseJson&), const std::string& text) {
        ASSERT_TRUE(run(operation, text)) << text;
    }
    // Places media "<clip>_p" on the track.
    bool addClip(const std::string& track, const std::string& clip) {
        return run(&MeProject::addClip, R"({"TrackID":")" + track + R"(","ID":")" + clip +
                                            R"(","MltService":"m","Resource":"r","Index":-1})");
    }
    std::string saved(const MeProject& project) {
        EXPECT_TRUE(project.saveProject(folder_ + "/saved.xml"));
        return testsupport::readFile(folder_ + "/saved.xml");
    }
    // One object of every kind, with every optional part filled.
    void buildFullProject() {
        edit(&MeProject::addTrack,
             R"({"ID":"Track0","Type":"video_only","Main":true,"Title":"m"})");
        edit(&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})");
        for (const char* id : {"c1", "c2"}) {
            edit(&MeProject::addClip, R"({"TrackID":"Track0","Index":-1,"MltService":"avformat",
                "Resource":"a & b.mp4","Type":"video","Length":250,"In":"0","Out":"99",
                "RepeatHead":"3","ID":")" +
                                          std::string(id) + "\"}");
        }
        edit(&MeProject::addComposeClip, R"({"TrackID":"AudioTrack0","ID":"k","Index":0,
            "MltService":"composer","Resource":"r","SubClips":[{"Name":"s","Resource":"t.png",
            "Profile":{"Width":640,"Height":360,"FrameRate":25.0}}]})");
        edit(&MeProject::addTransition, R"({"ID":"x","Title":"t_dissolve","In":"5","Out":"5",
            "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})");
        edit(&MeProject::addTransition, R"({"ID":"y","Title":"t_reversed","TrackID_A":"Track0",
            "TrackID_B":"AudioTrack0","Property":{"softness":"0.3"}})");
        edit(&MeProject::addFilter, R"({"ID":"f","TrackID":"Track0","Title":"t_bright","Index":1,
            "In":"2","Out":"8"})");
        edit(&MeProject::addFilter, R"({"ID":"w","TrackID":"Track0","Title":"webvfxfilter"})");
        edit(&MeProject::addFilter, R"({"ID":"g","TrackID":"maintractor","Title":"t_bright"})");
        edit(&MeProject::addMultiFilter, R"({"ID":"m","TrackID":"Track0","Title":"t_multi",
            "Properties":[{"ID":"one","Property":{"level":"0.7"}}]})");
    }
    MeProject project_;
    std::string folder_ = testsupport::makeTempDirectory("qv-project");
};

TEST_F(ProjectTest, TracksLandInTheMapOfTheirTypeAndDeleteTakesTheVideoOneFirst) {
    for (const char* track :
         {R"("ID":"X","Type":"composite")", R"("ID":"X","Type":"audio")",
          R"("ID":"O","Type":"audio_only")", R"("ID":"X","Type":"video_only")"}) {
        ASSERT_TRUE(run(&MeProject::addTrack, std::string("{") + track + "}")) << track;
    }
    EXPECT_FALSE(run(&MeProject::addTrack, R"({"ID":"T","Type":"text"})"));
    EXPECT_EQ(project_.videoTracks().at("X")->trackType(), "composite");
    EXPECT_FALSE(addClip("missing", "c0"));  // the clip stays all the same
    ASSERT_TRUE(addClip("X", "c1"));
    ASSERT_TRUE(run(&MeProject::deleteTrack, R"({"TrackID":"X"})"));
    EXPECT_TRUE(project_.videoTracks().empty());
    EXPECT_EQ(project_.audioTracks().size(), 2u);
    EXPECT_EQ(project_.clips().size(), 1u);
}

TEST_F(ProjectTest, ClipsAreDeletedByIndexOrIdentifierAndAlteredInPlace) {
    ASSERT_TRUE(run(&MeProject::addTrack, R"({"ID":"V","Type":"composite"})"));
    ASSERT_TRUE(addClip("V", "c1") && addClip("V", "c2") && addClip("V", "c3"));
    ASSERT_TRUE(run(&MeProject::deleteClip, R"({"TrackID":"V","Index":1,"ClipID":"c1"})"));
    EXPECT_EQ(project_.videoTracks().at("V")->mediaIds(),
              (std::vector<std::string>{"c1_p", "c3_p"}));
    ASSERT_TRUE(run(&MeProject::deleteClip, R"({"TrackID":"V","ClipID":"c1"})"));
    // Same identifier: the media is refilled; another: it is replaced.
    const auto original = project_.clips().at("c3_p");
    ASSERT_TRUE(run(&MeProject::alterClip, R"({"TrackID":"V","ID":"c3","IndexOld":0,"IndexNew":0,
        "MltService":"avformat","Resource":"again.mp4"})"));
    EXPECT_EQ(project_.clips().at("c3_p"), original);
    EXPECT_EQ(original->resource(), "again.mp4");
    ASSERT_TRUE(run(&MeProject::alterComposeClip, R"({"TrackID":"V","ID":"c9","IndexOld":0,
        "IndexNew":0,"MltService":"avformat","Resource":"other.mp4"})"));
    EXPECT_EQ(project_.videoTracks().at("V")->placementAt(0)->mediaId(), "c9_p");
    ASSERT_TRUE(run(&MeProject::deleteAllClip, R"({"TrackID":"V"})"));
    EXPECT_EQ(project_.clips().count("c9_p"), 0u);
}

TEST_F(ProjectTest, EmptyAndAudioOnlyProjectsSaveExactly) {
    EXPECT_EQ(saved(project_), kHeader + "<Quillavant/>\n");
    edit(&MeProject::addTrack, R"({"ID":"A","Type":"audio_only"})");
    EXPECT_EQ(saved(project_), kHeader +
                                   "<Quillavant>\n  <Tracks type=\"audio\">\n    <Track>\n"
                                   "      <ID>A</ID>\n      <Type>audio_only</Type>\n"
                                   "      <Visible>1</Visible>\n      <Main>0</Main>\n"
                                   "    </Track>\n  </Tracks>\n</Quillavant>\n");
}

// Every field is read back, so a loaded project saves byte for byte as it was.
TEST_F(ProjectTest, SavedProjectLoadsAndSavesAgainUnchanged) {
    buildFullProject();
    const std::string first = saved(project_);
    MeProject loaded;
    ASSERT_TRUE(loaded.loadProject(folder_ + "/saved.xml"));
    EXPECT_EQ(saved(loaded), first);
}

TEST_F(ProjectTest, RefusedDocumentsLeaveTheProjectEmpty) {
    for (const char* text : {"<mlt><Clips/></mlt>", "not xml"}) {
        buildFullProject();
        modeltest::writeTextFile(folder_ + "/loaded.xml", text);
        EXPECT_FALSE(project_.loadProject(folder_ + "/loaded.xml")) << text;
        EXPECT_TRUE(project_.clips().empty() && project_.videoTracks().empty() &&
                    project_.mainFilters().empty() && project_.transitions().empty())
            << text;
    }
}

TEST_F(ProjectTest, TimelineXmlWritesAnEmptyTimelineForEachClipMultiFilterFile) {
    edit(&MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})");
    ASSERT_TRUE(addClip("Track0", "c"));
    const std::string multiFile = folder_ + "/multi.xml";
    edit(&MeProject::addMultiFilter, R"({"ID":"m","TrackID":"Track0","Title":"t_multi","Index":0,
        "Xml":")" + multiFile + "\"}");
    ASSERT_TRUE(project_.writeTimelineXml(folder_ + "/timeline.xml"));
    EXPECT_EQ(testsupport::readFile(multiFile),
              kHeader +
                  "<mlt>\n  <tractor id=\"maintractor\"/>\n"
                  "  <tractor id=\"interface_tractor\" global_feed=\"1\">\n"
                  "    <track producer=\"maintractor\"/>\n  </tractor>\n</mlt>\n");
}

TEST_F(ProjectTest, SavingReplacesTheFileWholeOrNotAtAll) {
    modeltest::writeTextFile(folder_ + "/project.xml", "previous");
    edit(&MeProject::addTrack, R"({"ID":"A","Type":"audio"})");
    EXPECT_TRUE(project_.saveProject(folder_ + "/project.xml"));
    EXPECT_NE(testsupport::readFile(folder_ + "/project.xml").find("<ID>A</ID>"),
              std::string::npos);
    EXPECT_TRUE(project_.saveProject(folder_ + "/no/such/folder/project.xml"));
    auto entries = std::filesystem::directory_iterator(folder_);
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);  // no partial file left
}

}  // namespace
