// The graph as a whole: bad input, missing graphs, refresh, findService, paths.

#include <framework/mlt.h>
#include <regex>

#include "engine_fixture.h"

namespace enginetest {
namespace {

// Per operation: a well-formed content and the answer without a graph.
const std::string kRed = R"(,"MltService":"color","Resource":"red","In":"0","Out":"9"})";
const std::tuple<const char*, std::string, bool> kOperations[] = {
    {"addClip", R"({"TrackID":"Track0","ID":"n1","Index":-1)" + kRed, true},
    {"alterClip", R"({"ID":"c1","TrackID":"Track0","IndexNew":0,"IndexOld":0)" + kRed, false},
    {"deleteClip", R"({"ClipID":"c1","TrackID":"Track0"})", false},
    {"deleteAllClip", R"({"TrackID":"Track0"})", false},
    {"alterSceneResource", R"({"ID":"c1","Type":"t","Name":"n","Para":"p"})", true},
    {"addTransition", kMainTransition, false},
    {"deleteTransition", R"({"TransitionID":"t1","TrackType":1})", true},
    {"addFilter", R"({"TrackID":"maintractor","ID":"f1","Title":"bright","In":"0","Out":"9"})",
     false},
    {"alterFilter", R"({"ID":"mf1","In":"0","Out":"9"})", false},
    {"deleteFilter", R"({"FilterID":"mf1","TrackID":"maintractor"})", true}};

TEST_F(EngineGraphTest, WithoutAGraphOperationsAnswerAndNothingCrashes) {
    MltHelper empty(nullptr, cache_);
    for (const auto& [operation, body, result] : kOperations) {
        EXPECT_EQ(apply(operation, body, &empty), result) << operation;
    }
    empty.refresh(0, 10);
    empty.dumpGraph();
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/Logs/logxml.xml"));  // nothing to serialise
}

TEST_F(EngineGraphTest, BadContentsAndUnknownIdentifiersLeaveTheGraphAsItWas) {
    const std::string clip = R"(,"MltService":"avformat","Resource":"r","In":"0","Out":"9"})";
    std::vector<std::tuple<std::string, std::string, bool>> cases = {
        {"addClip", R"({"ID":"n1","Index":0)" + clip, false},
        {"addClip", R"({"TrackID":"Track9","ID":"n1","Index":0)" + clip, true},
        {"alterClip", R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,"In":"5")" + clip,
         false},
        {"deleteClip", R"({"ClipID":"c2","TrackID":"Track0","Index":3})", false},
        {"addTransition", std::regex_replace(kMainTransition, std::regex("dissolve"), "no_such"),
         false},
        // A producer carries an identifier too, but is no transition or filter.
        {"deleteTransition", R"({"TransitionID":"c1_p","TrackType":0})", true},
        {"addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":-3})", true},
        {"deleteFilter", R"({"FilterID":"mf1"})", false}};
    for (const auto& [operation, body, unused] : kOperations) {
        for (const char* notAnObject : {"[1, 2]", "\"text\"", "null", "not json"}) {
            cases.emplace_back(operation, notAnObject, false);
        }
    }
    for (const auto& [operation, body, result] : cases) {
        EXPECT_EQ(apply(operation, body), result) << operation << " " << body;
        EXPECT_EQ(tracks("Track0") + "|" + tracks("Track1") + "|" + entries("c1 c2") + "|" +
                      located("t1") + "|" + located("f1", ServiceKind::Filter) + "|" +
                      located("mf1", ServiceKind::Filter),
                  "c1 c2 c3|v1|0-99|blank(100) 0-49|||100-200@maintractor")
            << operation << " " << body;
    }
}

TEST_F(EngineGraphTest, RefreshTellsTheServicesEachJumpCrossed) {
    // A transition written by the project loads with the freezes of a live edit.
    load(kMainTransition);
    EXPECT_EQ(entries("c1 c2") + "|" + located("t1"),
              "0-99 99-99x5|blank(90) 0-0x10 0-49|0/1 90-104@Track0");
    for (const char* clip : {"c1", "c2", "c3"}) {
        mlt_properties source = MLT_PRODUCER_PROPERTIES(mainSource(playlist(clip)));
        mlt_properties_set_int(source, "producer_open", 1);
        listen(source, "seek_position");
    }
    mlt_properties transition = MLT_SERVICE_PROPERTIES(find(ServiceKind::Transition, "t1"));
    listen(transition, "seek_position");
    listen(transition, "refresh_trans");
    listen(MLT_SERVICE_PROPERTIES(find(ServiceKind::Filter, "mf1")), "refresh_filter");
    auto jump = [&](int from, int to) {
        fired.clear();
        helper_->refresh(from, to);
        return fired;
    };
    const std::string toldForward =
        " seek_position@c1_p seek_position@c2_p seek_position@t1 refresh_trans@t1";
    // Forward: clips that ended by the new position, then everything planted on Track0.
    EXPECT_EQ(jump(50, 50) + "|" + jump(0, 100), "| seek_position@t1");
    EXPECT_EQ(jump(0, 150) + "|" + jump(0, 199), toldForward + "|" + toldForward);
    // At or past the end no clip is told; filters (mf1 ends at 200) and transitions are.
    EXPECT_EQ(jump(0, 200) + "|" + jump(0, 250),
              " refresh_trans@t1| refresh_filter@mf1 refresh_trans@t1");
    // Backward: clips whose blank now lies ahead, filters and transitions not yet reached.
    EXPECT_EQ(jump(199, 0),
              " seek_position@c2_p seek_position@c3_p refresh_filter@mf1 refresh_trans@t1");
    EXPECT_EQ(jump(199, 95) + "|" + jump(199, 150) + jump(300, 250),
              " seek_position@c3_p refresh_filter@mf1|");
}

TEST_F(EngineGraphTest, FindServiceReturnsTheServiceAndTheContainerItWasFoundIn) {
    EXPECT_EQ(
        located("maintractor", ServiceKind::Tractor) + " " + located("c2", ServiceKind::Playlist),
        "0-199@interface_tractor 0-149@Track0");
    // A producer matches any kind; a tractor is no playlist.
    EXPECT_EQ(located("c3_p", ServiceKind::Filter), "0-99@c3");
    EXPECT_EQ(located("Track1", ServiceKind::Playlist), "");
}

TEST(MltHelperPaths, QualifyPathJoinsRelativePathsAndTheDumpGoesBelowTheCachePath) {
    MltHelper cached(nullptr, "/cache"), uncached(nullptr, "");
    EXPECT_EQ(cached.qualifyPath("media/a.mp4") + " " + cached.qualifyPath("C:\\a.mp4") + " " +
                  cached.qualifyPath("/a.mp4") + " " + cached.qualifyPath("http://host/a.mp4"),
              "/cache/media/a.mp4 C:\\a.mp4 /a.mp4 http://host/a.mp4");
    EXPECT_EQ(uncached.qualifyPath("a.mp4") + " " + uncached.dumpPath() + " " + cached.dumpPath(),
              "a.mp4 logxml.txt /cache/Logs/logxml.xml");
}

}  // namespace
}  // namespace enginetest
