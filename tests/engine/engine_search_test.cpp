// findService over a loaded timeline, relative resource paths, and the two
// ways the graph is written back as MLT XML.
#include <unistd.h>

#include <climits>

#include "engine_fixture.h"
#include "support/test_media.h"

namespace enginetest {
namespace {

std::string idOf(mlt_service service) {
    const char* id = service ? mlt_properties_get(MLT_SERVICE_PROPERTIES(service), "id") : nullptr;
    return id ? id : "";
}

struct SearchCase {
    ServiceKind kind;
    const char* id;
    bool found;
    const char* foundId;
    const char* parentId;
};

TEST_F(EngineGraphTest, FindServiceReturnsTheServiceAndTheContainerItWasFoundIn) {
    const SearchCase cases[] = {
        {ServiceKind::Tractor, "maintractor", true, "maintractor", "interface_tractor"},
        {ServiceKind::Tractor, "Track0", true, "Track0", "maintractor"},
        {ServiceKind::Tractor, "AudioTrack0", true, "AudioTrack0", "maintractor"},
        {ServiceKind::Playlist, "c2", true, "c2", "Track0"},
        {ServiceKind::Playlist, "a1", true, "a1", "AudioTrack0"},
        {ServiceKind::Filter, "mf1", true, "mf1", "maintractor"},
        // A producer matches by identifier whatever kind is sought.
        {ServiceKind::Tractor, "c3_p", true, "c3_p", "c3"},
        {ServiceKind::Tractor, "c1", false, "", ""},
        {ServiceKind::Playlist, "Track1", false, "", ""},
        {ServiceKind::Filter, "nothing", false, "", ""},
        {ServiceKind::Transition, "", false, "", ""},
    };
    for (const SearchCase& test : cases) {
        SCOPED_TRACE(test.id);
        ServiceQuery query{test.kind, test.id};
        EXPECT_EQ(helper().findService(query), test.found);
        EXPECT_EQ(idOf(query.found), test.foundId);
        EXPECT_EQ(idOf(query.parent), test.parentId);
    }
}

TEST_F(EngineGraphTest, FindServiceWithoutAProducerFindsNothing) {
    MltHelper empty(nullptr, cache_);
    ServiceQuery query{ServiceKind::Tractor, "maintractor"};
    EXPECT_FALSE(empty.findService(query));
    EXPECT_EQ(query.found, nullptr);
}

TEST(MltHelperPaths, QualifyPathJoinsOnlyRelativePathsToTheCachePath) {
    struct Case {
        const char* cache;
        const char* path;
        const char* expected;
    } cases[] = {
        {"/cache", "media/a.mp4", "/cache/media/a.mp4"},
        {"/cache", "a.mp4", "/cache/a.mp4"},
        {"/cache", "C:\\a.mp4", "C:\\a.mp4"},
        {"/cache", "\\a.mp4", "\\a.mp4"},
        {"/cache", "/a.mp4", "/a.mp4"},
        {"/cache", "http://host/a.mp4", "http://host/a.mp4"},
        {"", "media/a.mp4", "media/a.mp4"},
    };
    for (const Case& test : cases) {
        MltHelper helper(nullptr, test.cache);
        EXPECT_EQ(helper.qualifyPath(test.path), test.expected) << test.cache << " " << test.path;
    }
}

TEST(MltHelperPaths, GraphDumpGoesBelowTheCachePathOrIntoTheWorkingFolder) {
    EXPECT_EQ(MltHelper(nullptr, "/cache").dumpPath(), "/cache/Logs/logxml.xml");
    EXPECT_EQ(MltHelper(nullptr, "").dumpPath(), "logxml.txt");
}

TEST_F(EngineGraphTest, EverySuccessfulEditRewritesTheGraphDump) {
    std::string dump = cache_ + "/Logs/logxml.xml";
    ASSERT_FALSE(testsupport::fileExists(dump));
    CParseJson add = content(addClipJson("Track1", "n1", -1, 0, 24));
    ASSERT_TRUE(helper().addClip(add, profile()));
    std::string text = testsupport::readFile(dump);
    EXPECT_NE(text.find("<tractor id=\"maintractor\""), std::string::npos);
    EXPECT_NE(text.find("<playlist id=\"n1\""), std::string::npos);

    CParseJson remove = content(R"({"ClipID":"n1","TrackID":"Track1"})");
    ASSERT_TRUE(helper().deleteClip(remove));
    EXPECT_EQ(testsupport::readFile(dump).find("<playlist id=\"n1\""), std::string::npos);
}

TEST_F(EngineGraphTest, WithoutACachePathTheDumpIsLogxmlTxtInTheWorkingFolder) {
    char previous[PATH_MAX];
    ASSERT_NE(getcwd(previous, sizeof(previous)), nullptr);
    std::string folder = testsupport::makeTempDirectory("engine-cwd");
    ASSERT_EQ(chdir(folder.c_str()), 0);
    MltHelper uncached(producer(), "");
    uncached.dumpGraph();
    std::string text = testsupport::readFile(folder + "/logxml.txt");
    ASSERT_EQ(chdir(previous), 0);
    EXPECT_NE(text.find("<tractor id=\"maintractor\""), std::string::npos);
}

TEST_F(EngineGraphTest, SaveMltFileWritesTheMainTractorGraphToCachePathPlusName) {
    CParseJson add = content(addClipJson("Track1", "n1", 0, 5, 9, R"("BlankLength":"3")"));
    ASSERT_TRUE(helper().addClip(add, profile()));
    helper().saveMltFile("/saved.mlt");
    EXPECT_EQ(outlineMltFile(cache_ + "/saved.mlt"),
              "playlist c1: entry in=0 out=99 producer=c1_p\n"
              "playlist c2: blank length=100 entry in=0 out=49 producer=c2_p\n"
              "playlist c3: blank length=150 entry in=0 out=49 producer=c3_p\n"
              "tractor Track0: track producer=c1 track producer=c2 track producer=c3\n"
              "playlist n1: blank length=3 entry in=5 out=9 producer=producer0\n"
              "playlist v1: entry in=0 out=49 producer=v1_p\n"
              "tractor Track1: track producer=n1 track producer=v1\n"
              "playlist a1: entry in=0 out=99 producer=a1_p\n"
              "tractor AudioTrack0: track producer=a1\n"
              "tractor maintractor: track producer=Track0 track producer=Track1 "
              "track producer=AudioTrack0 filter in=100 out=200\n");
}

}  // namespace
}  // namespace enginetest
