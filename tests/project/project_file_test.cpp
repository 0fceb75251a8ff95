#include <gtest/gtest.h>

#include <filesystem>

#include "project/project.h"
#include "support/model_fixtures.h"

using modeltest::json;
using modeltest::writeTextFile;

namespace {

const char kXmlHeader[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

class ProjectFileTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }

    void edit(bool (MeProject::*operation)(CParseJson&), const std::string& text) {
        CParseJson content = json(text);
        ASSERT_TRUE((project_.*operation)(content)) << text;
    }
    std::string saved(const MeProject& project) {
        const std::string path = folder_ + "/saved.xml";
        EXPECT_TRUE(project.saveProject(path));
        return testsupport::readFile(path);
    }
    bool load(MeProject& project, const std::string& text) {
        const std::string path = folder_ + "/loaded.xml";
        writeTextFile(path, text);
        return project.loadProject(path);
    }
    // One object of every kind, with every optional part filled.
    void buildFullProject() {
        edit(&MeProject::addTrack,
             R"({"ID":"Track0","Type":"video_only","Main":true,"Title":"m"})");
        edit(&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})");
        for (const char* id : {"c1", "c2"}) {
            edit(&MeProject::addClip,
                 std::string(R"({"TrackID":"Track0","Index":-1,"MltService":"avformat",)") +
                     R"("Resource":"a & b.mp4","Type":"video","Length":250,"In":"0",)" +
                     R"("Out":"99","RepeatHead":"3","ID":")" + id + "\"}");
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
        edit(&MeProject::addMultiFilter, R"({"ID":"n","TrackID":"Track0","Title":"t_multi",
            "Index":0})");
    }

    MeProject project_;
    std::string folder_ = testsupport::makeTempDirectory("qv-project-file");
};

TEST_F(ProjectFileTest, EmptyProjectSavesOnlyTheRoot) {
    EXPECT_EQ(saved(project_), std::string(kXmlHeader) + "<Quillavant/>\n");
}

TEST_F(ProjectFileTest, OnlyAudioTracksSaveOneAudioTracksElement) {
    edit(&MeProject::addTrack, R"({"ID":"A","Type":"audio_only"})");
    EXPECT_EQ(saved(project_), std::string(kXmlHeader) +
                                   "<Quillavant>\n  <Tracks type=\"audio\">\n    <Track>\n"
                                   "      <ID>A</ID>\n      <Type>audio_only</Type>\n"
                                   "      <Visible>1</Visible>\n      <Main>0</Main>\n"
                                   "    </Track>\n  </Tracks>\n</Quillavant>\n");
}

// Every field the project file holds is read back, so a loaded project saves
// byte for byte as it was saved.
TEST_F(ProjectFileTest, SavedProjectLoadsAndSavesAgainUnchanged) {
    buildFullProject();
    const std::string first = saved(project_);
    MeProject loaded;
    ASSERT_TRUE(loaded.loadProject(folder_ + "/saved.xml"));
    EXPECT_EQ(saved(loaded), first);
    EXPECT_EQ(loaded.clips().size(), 3u);
    EXPECT_EQ(loaded.videoTracks().at("Track0")->placements().size(), 2u);
    EXPECT_EQ(loaded.mainFilters().size(), 1u);
    EXPECT_NE(first.find("<Resource>a &amp; b.mp4</Resource>"), std::string::npos);
}

TEST_F(ProjectFileTest, TracksTypeAttributeChoosesTheMap) {
    ASSERT_TRUE(load(project_, R"(<Quillavant><Tracks type="composition"><Track><ID>a</ID></Track>
        </Tracks><Tracks type="video"><Track><ID>b</ID></Track></Tracks>
        <Tracks><Track><ID>c</ID></Track></Tracks><Unknown/>
        <Tracks type="audio"><Track><ID>d</ID></Track></Tracks>
        <Clips><Clip><ID>k</ID><Resource>first</Resource></Clip>
               <Clip><ID>k</ID><Resource>second</Resource></Clip></Clips></Quillavant>)"));
    EXPECT_EQ(project_.videoTracks().size(), 3u);
    EXPECT_EQ(project_.audioTracks().count("d"), 1u);
    EXPECT_EQ(project_.clips().at("k")->resource(), "first");
}

TEST_F(ProjectFileTest, RefusedDocumentsLeaveTheProjectEmpty) {
    for (const char* text : {"<mlt><Clips/></mlt>", "not xml", ""}) {
        buildFullProject();
        EXPECT_FALSE(load(project_, text)) << text;
        EXPECT_TRUE(project_.clips().empty()) << text;
        EXPECT_TRUE(project_.videoTracks().empty()) << text;
        EXPECT_TRUE(project_.mainFilters().empty()) << text;
        EXPECT_TRUE(project_.transitions().empty()) << text;
    }
    EXPECT_FALSE(project_.loadProject(folder_ + "/missing.xml"));
}

TEST_F(ProjectFileTest, SavingReplacesTheFileWholeOrNotAtAll) {
    const std::string path = folder_ + "/project.xml";
    writeTextFile(path, "previous");
    edit(&MeProject::addTrack, R"({"ID":"A","Type":"audio"})");
    EXPECT_TRUE(project_.saveProject(path));
    EXPECT_NE(testsupport::readFile(path).find("<ID>A</ID>"), std::string::npos);
    EXPECT_TRUE(project_.saveProject(folder_ + "/no/such/folder/project.xml"));
    EXPECT_FALSE(testsupport::fileExists(folder_ + "/no"));
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(names, std::vector<std::string>{"project.xml"});  // no partial file left
}

}  // namespace
