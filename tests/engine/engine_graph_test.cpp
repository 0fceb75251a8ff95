// The graph as a whole: bad input, refresh, rendering, findService, the XML written back.
#include <cstdint>
#include <numeric>

#include "engine_fixture.h"

namespace enginetest {
namespace {

// Per operation: a well-formed content, the answer without a graph and without "maintractor".
const std::string kRed = R"(,"MltService":"color","Resource":"red","In":"0","Out":"9"})";
const std::tuple<const char*, std::string, bool, bool> kOperations[] = {
    {"addClip", R"({"TrackID":"Track0","ID":"n1","Index":-1)" + kRed, true, true},
    {"alterClip", R"({"ID":"c1","TrackID":"Track0","IndexNew":0,"IndexOld":0)" + kRed, false, true},
    {"deleteClip", R"({"ClipID":"c1","TrackID":"Track0"})", false, true},
    {"deleteAllClip", R"({"TrackID":"Track0"})", false, true},
    {"alterSceneResource", R"({"ID":"c1","Type":"t","Name":"n","Para":"p"})", true, true},
    {"addTransition",
     R"({"TrackID_A":"Track0","TrackID_B":"AudioTrack0","Index_A":0,"Index_B":0,)"
     R"("Title":"dissolve","In":"0","Out":"9","ID":"t1","TrackType":1})",
     false, false},
    {"deleteTransition", R"({"TransitionID":"t1","TrackType":1})", true, true},
    {"addFilter", R"({"TrackID":"maintractor","ID":"f1","Title":"bright","In":"0","Out":"9"})",
     false, false},
    {"alterFilter", R"({"ID":"mf1","In":"0","Out":"9"})", false, false},
    {"deleteFilter", R"({"FilterID":"mf1","TrackID":"maintractor"})", true, true}};

TEST_F(EngineGraphTest, WithoutAGraphOrMainTractorOnlySomeOperationsSucceedAndNothingCrashes) {
    MltHelper empty(nullptr, cache_);
    for (const auto& [operation, body, result, unused] : kOperations) {
        EXPECT_EQ(enginetest::apply(empty, operation, body, profile_), result) << operation;
    }
    empty.refresh(0, 10);
    empty.refresh(10, 0);
    empty.dumpGraph();

    std::ofstream(cache_ + "/handmade.xml") << R"(<?xml version="1.0" encoding="utf-8"?><mlt>
  <producer id="c1_p"><property name="mlt_service">avformat</property>
    <property name="resource">)" + media_ + R"(</property></producer>
  <playlist id="c1"><entry producer="c1_p" in="0" out="99"/></playlist>
  <tractor id="Track0"><track producer="c1"/></tractor>
  <tractor id="interface_tractor" global_feed="1"><track producer="Track0"/></tractor></mlt>)";
    loadFile(cache_ + "/handmade.xml");
    EXPECT_EQ(find(ServiceKind::Tractor, "maintractor"), nullptr);
    for (const auto& [operation, body, unused, result] : kOperations) {
        EXPECT_EQ(apply(operation, body), result) << operation;
    }
    EXPECT_EQ(tracks("Track0"), "");
    helper().refresh(0, 50);
    helper().refresh(50, 0);
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/Logs/logxml.xml"));  // nothing to serialise
}

TEST_F(EngineGraphTest, BadContentsAndUnknownIdentifiersLeaveTheGraphAsItWas) {
    const std::string clip = R"(,"MltService":"avformat","Resource":"r","In":"0","Out":"9"})";
    const std::string transition =
        R"({"In":"10","Out":"5","ID":"t1","Index_A":0,"Index_B":1,"TrackType":0,)";
    std::vector<std::tuple<std::string, std::string, bool>> cases = {
        {"addClip", R"({"ID":"n1","Index":0)" + clip, false},
        {"addClip", R"({"TrackID":"Track9","ID":"n1","Index":0)" + clip, true},
        {"alterClip", alterJson("Track9", "c1", 0, 0, 0, 99), false},
        {"alterClip", R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,"In":"5")" + clip,
         false},
        {"deleteClip", R"({"ClipID":"c2","TrackID":"Track0","Index":3})", false},
        {"deleteClip", R"({"TrackID":"Track0"})", false},
        {"deleteAllClip", R"({"TrackID":1})", false},
        {"alterSceneResource", R"({"ID":"c1","Type":"t","Name":"n"})", false},
        {"addTransition",
         transition + R"("Title":"dissolve","TrackID_A":"Track9","TrackID_B":"Track9"})", false},
        {"addTransition",
         transition + R"("Title":"no_such","TrackID_A":"Track0","TrackID_B":"Track0"})", false},
        {"deleteTransition", R"({"TransitionID":"zz","TrackType":0})", true},
        {"deleteTransition", R"({"TrackType":0})", false},
        // A producer carries an identifier too, but is no transition or filter.
        {"deleteTransition", R"({"TransitionID":"c1_p","TrackType":0})", true},
        {"addFilter", R"({"TrackID":"Track0","ID":"f","Title":"no_such","Index":0})", false},
        {"addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":-3})", true},
        {"deleteFilter", R"({"FilterID":"mf1"})", false}};
    for (const auto& [operation, body, unused, unused2] : kOperations) {
        for (const char* notAnObject : {"[1, 2]", "\"text\"", "null", "not json"}) {
            cases.emplace_back(operation, notAnObject, false);
        }
    }
    mlt_producer source = mainSource(playlist("c1"));
    for (const auto& [operation, body, result] : cases) {
        EXPECT_EQ(apply(operation, body), result) << operation << " " << body;
        EXPECT_EQ(tracks("Track0") + "|" + tracks("Track1") + "|" + entries("c1 c2") + "|" +
                      transitions("Track0") + "|" +
                      describeFilters(MLT_TRACTOR_SERVICE(tractor("maintractor"))) + "|" +
                      describeFilters(MLT_PRODUCER_SERVICE(source)),
                  "c1 c2 c3|v1|0-99|blank(100) 0-49||mf1 brightness 100-200|")
            << operation << " " << body;
        EXPECT_EQ(mainSource(playlist("c1")), source);
    }
}

TEST_F(EngineGraphTest, RefreshTellsTheServicesEachJumpCrossed) {
    // A transition written by the project loads with the freezes of a live edit.
    load(standardProject(R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,)"
                         R"("Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"tr1"})"));
    EXPECT_EQ(entries("c1 c2") + "|" + transitions("Track0"),
              "0-99 99-99x5|blank(90) 0-0x10 0-49|tr1 0/1 90-104");
    for (const char* clip : {"c1", "c2", "c3"}) {
        mlt_properties source = MLT_PRODUCER_PROPERTIES(mainSource(playlist(clip)));
        mlt_properties_set_int(source, "producer_open", 1);
        events_.listen(source, "seek_position");
    }
    events_.listen(MLT_SERVICE_PROPERTIES(find(ServiceKind::Transition, "tr1")), "seek_position");
    events_.listen(MLT_SERVICE_PROPERTIES(find(ServiceKind::Transition, "tr1")), "refresh_trans");
    events_.listen(MLT_SERVICE_PROPERTIES(find(ServiceKind::Filter, "mf1")), "refresh_filter");
    auto jump = [&](int from, int to) {
        events_.fired.clear();
        helper().refresh(from, to);
        return events_.fired;
    };
    const std::string toldForward =
        " seek_position@c1_p seek_position@c2_p seek_position@tr1 refresh_trans@tr1";
    // Forward: clips that ended by the new position, then everything planted on Track0.
    EXPECT_EQ(jump(50, 50), "");
    EXPECT_EQ(jump(0, 100), " seek_position@tr1");
    EXPECT_EQ(jump(0, 150), toldForward);
    EXPECT_EQ(jump(0, 199), toldForward);
    // At or past the end no clip is told; filters (mf1 ends at 200) and transitions are.
    EXPECT_EQ(jump(0, 200), " refresh_trans@tr1");
    EXPECT_EQ(jump(0, 250), " refresh_filter@mf1 refresh_trans@tr1");
    // Backward: clips whose blank now lies ahead, filters and transitions not yet reached.
    EXPECT_EQ(jump(199, 0),
              " seek_position@c2_p seek_position@c3_p refresh_filter@mf1 refresh_trans@tr1");
    EXPECT_EQ(jump(199, 95), " seek_position@c3_p refresh_filter@mf1");
    EXPECT_EQ(jump(199, 150) + jump(300, 250), "");
}

TEST_F(EngineGraphTest, TheEditedGraphRendersTheClipsPictures) {
    ASSERT_TRUE(apply("addTransition", R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,
        "Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"t1","TrackType":0})"));
    ASSERT_TRUE(apply("addClip", addClipJson("Track0", "n1", -1, 0, 24)));
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c3", 2, 2, 10, 39)));
    EXPECT_EQ(mlt_producer_get_length(producer_), 205);
    for (int position : {10, 95, 102, 120, 160, 190, 204}) {
        mlt_producer_seek(producer_, position);
        mlt_frame frame = nullptr;
        ASSERT_EQ(mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer_), &frame, 0), 0);
        mlt_image_format format = mlt_image_rgb;
        uint8_t* image = nullptr;
        int width = profile_->width, height = profile_->height, size = width * height * 3;
        ASSERT_EQ(mlt_frame_get_image(frame, &image, &format, &width, &height, 0), 0);
        ASSERT_TRUE(image && format == mlt_image_rgb && width * height * 3 == size) << position;
        // Colour bars at the profile's size, far from black.
        EXPECT_GT(std::accumulate(image, image + size, uint64_t{0}) / size, 40u) << position;
        mlt_frame_close(frame);
    }
}

TEST_F(EngineGraphTest, FindServiceReturnsTheServiceAndTheContainerItWasFoundIn) {
    for (const auto& [kind, id, parent] :
         {std::tuple{ServiceKind::Tractor, "maintractor", "interface_tractor"},
          std::tuple{ServiceKind::Playlist, "c2", "Track0"},
          std::tuple{ServiceKind::Filter, "mf1", "maintractor"},
          std::tuple{ServiceKind::Tractor, "c3_p", "c3"},      // a producer matches any kind
          std::tuple{ServiceKind::Playlist, "Track1", ""}}) {  // a tractor is no playlist
        ServiceQuery query{kind, id};
        EXPECT_EQ(helper().findService(query), *parent != '\0') << id;
        EXPECT_EQ(property(query.found, "id") + "|" + property(query.parent, "id"),
                  *parent ? std::string(id) + "|" + parent : "|")
            << id;
    }
}

TEST(MltHelperPaths, QualifyPathJoinsRelativePathsAndTheDumpGoesBelowTheCachePath) {
    for (const auto& [cache, path, expected] :
         {std::tuple{"/cache", "media/a.mp4", "/cache/media/a.mp4"},
          std::tuple{"/cache", "C:\\a.mp4", "C:\\a.mp4"},
          std::tuple{"/cache", "\\a.mp4", "\\a.mp4"}, std::tuple{"/cache", "/a.mp4", "/a.mp4"},
          std::tuple{"/cache", "http://host/a.mp4", "http://host/a.mp4"},
          std::tuple{"", "media/a.mp4", "media/a.mp4"}}) {
        EXPECT_EQ(MltHelper(nullptr, cache).qualifyPath(path), expected) << cache << " " << path;
    }
    EXPECT_EQ(MltHelper(nullptr, "/cache").dumpPath(), "/cache/Logs/logxml.xml");
    EXPECT_EQ(MltHelper(nullptr, "").dumpPath(), "logxml.txt");
}

TEST_F(EngineGraphTest, EditsRewriteTheDumpAndSaveMltFileWritesTheMainTractorGraph) {
    std::string dump = cache_ + "/Logs/logxml.xml";
    ASSERT_TRUE(apply("addClip", addClipJson("Track1", "n1", 0, 5, 9, R"("BlankLength":"3")")));
    EXPECT_NE(testsupport::readFile(dump).find("<playlist id=\"n1\""), std::string::npos);
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
    ASSERT_TRUE(apply("deleteClip", R"({"ClipID":"n1","TrackID":"Track1"})"));
    EXPECT_EQ(testsupport::readFile(dump).find("<playlist id=\"n1\""), std::string::npos);
}

}  // namespace
}  // namespace enginetest
