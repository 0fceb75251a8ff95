// Bad input gets the answer each operation gives for it and never crashes:
// no graph at all, a graph without "maintractor", contents that are not
// objects, unknown identifiers.
#include <functional>

#include "engine_fixture.h"
#include "support/test_media.h"

namespace enginetest {
namespace {

using Operation = std::function<bool(MltHelper&, CParseJson&, mlt_profile)>;

struct OperationCase {
    const char* name;
    Operation run;
    const char* body;  // a well-formed content for the standard timeline
};

const OperationCase kOperations[] = {
    {"addClip", [](MltHelper& h, CParseJson& c, mlt_profile p) { return h.addClip(c, p); },
     R"({"TrackID":"Track0","ID":"n1","Index":-1,"MltService":"color","Resource":"red",)"
     R"("In":"0","Out":"9"})"},
    {"alterClip", [](MltHelper& h, CParseJson& c, mlt_profile p) { return h.alterClip(c, p); },
     R"({"ID":"c1","TrackID":"Track0","IndexNew":0,"IndexOld":0,"In":"0","Out":"9",)"
     R"("MltService":"color","Resource":"red"})"},
    {"deleteClip", [](MltHelper& h, CParseJson& c, mlt_profile) { return h.deleteClip(c); },
     R"({"ClipID":"c1","TrackID":"Track0"})"},
    {"deleteAllClip", [](MltHelper& h, CParseJson& c, mlt_profile) { return h.deleteAllClip(c); },
     R"({"TrackID":"Track0"})"},
    {"alterSceneResource",
     [](MltHelper& h, CParseJson& c, mlt_profile) { return h.alterSceneResource(c); },
     R"({"ID":"c1","Type":"t","Name":"n","Para":"p"})"},
    {"addTransition",
     [](MltHelper& h, CParseJson& c, mlt_profile p) { return h.addTransition(c, p); },
     R"({"TrackID_A":"Track0","TrackID_B":"AudioTrack0","Index_A":0,"Index_B":0,)"
     R"("Title":"mix","In":"0","Out":"9","ID":"t1","TrackType":1})"},
    {"deleteTransition",
     [](MltHelper& h, CParseJson& c, mlt_profile) { return h.deleteTransition(c); },
     R"({"TransitionID":"t1","TrackType":1})"},
    {"addFilter", [](MltHelper& h, CParseJson& c, mlt_profile p) { return h.addFilter(c, p); },
     R"({"TrackID":"maintractor","ID":"f1","Title":"bright","Index":-1,"In":"0","Out":"9"})"},
    {"alterFilter", [](MltHelper& h, CParseJson& c, mlt_profile) { return h.alterFilter(c); },
     R"({"ID":"mf1","In":"0","Out":"9"})"},
    {"deleteFilter", [](MltHelper& h, CParseJson& c, mlt_profile) { return h.deleteFilter(c); },
     R"({"FilterID":"mf1","TrackID":"maintractor"})"},
};

TEST_F(EngineGraphTest, WithoutAGraphOnlyTheOperationsThatNeedNoServiceSucceed) {
    // addClip, the deletions of transitions and filters and the scene change
    // answer true when nothing is found; everything that needs a tractor fails.
    const std::map<std::string, bool> expected = {
        {"addClip", true},          {"alterClip", false},         {"deleteClip", false},
        {"deleteAllClip", false},   {"alterSceneResource", true}, {"addTransition", false},
        {"deleteTransition", true}, {"addFilter", false},         {"alterFilter", false},
        {"deleteFilter", true},
    };
    MltHelper empty(nullptr, cache_);
    for (const OperationCase& operation : kOperations) {
        CParseJson body = content(operation.body);
        EXPECT_EQ(operation.run(empty, body, profile()), expected.at(operation.name))
            << operation.name;
    }
    LogCapture log;
    empty.refresh(0, 10);
    empty.refresh(10, 0);
    empty.dumpGraph();
    empty.saveMltFile("/nothing.mlt");
    EXPECT_TRUE(log.hasMessage("tractor_service error"));
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/Logs/logxml.xml"));
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/nothing.mlt"));
}

TEST_F(EngineGraphTest, ContentsThatAreNotObjectsAreRefused) {
    for (const char* body : {"[1, 2]", "\"text\"", "null", "not json"}) {
        for (const OperationCase& operation : kOperations) {
            CParseJson bad = content(body);
            EXPECT_FALSE(operation.run(helper(), bad, profile())) << operation.name << " " << body;
        }
    }
    EXPECT_EQ(tracks("Track0"), "c1 c2 c3");
    EXPECT_EQ(entries("c1"), "0-99");
}

TEST_F(EngineGraphTest, UnknownIdentifiersAndIndexesLeaveTheGraphAsItWas) {
    struct Case {
        const char* operation;
        const char* body;
        bool result;
    } cases[] = {
        {"addClip",
         R"({"TrackID":"Track9","ID":"n1","Index":0,"MltService":"color","Resource":"red",)"
         R"("In":"0","Out":"9"})",
         true},
        {"addClip",
         R"({"TrackID":"Track0","ID":"n1","Index":4,"MltService":"color","Resource":"red",)"
         R"("In":"0","Out":"9"})",
         true},
        {"alterClip",
         R"({"ID":"c1","TrackID":"Track9","IndexNew":0,"IndexOld":0,"In":"0","Out":"99",)"
         R"("MltService":"avformat","Resource":"MEDIA"})",
         false},
        {"deleteClip", R"({"ClipID":"c1","TrackID":"Track0","Index":-7})", false},
        {"deleteClip", R"({"ClipID":"c1","TrackID":"Track0","Index":3})", false},
        {"deleteAllClip", R"({"TrackID":"c1"})", false},
        {"addTransition",
         R"({"TrackID_A":"c1","TrackID_B":"c1","Index_A":0,"Index_B":1,"Title":"dissolve",)"
         R"("In":"10","Out":"5","ID":"t1","TrackType":0})",
         false},
        {"deleteTransition", R"({"TransitionID":"Track0","TrackType":0})", true},
        {"addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":-3})", true},
        {"deleteFilter", R"({"FilterID":"Track0","TrackID":"Track0"})", true},
        // A producer carrying the identifier is found, but it is no transition or filter.
        {"deleteTransition", R"({"TransitionID":"c1_p","TrackType":0})", true},
        {"deleteTransition", R"({"TransitionID":"c2_p","TrackType":1})", true},
        {"alterFilter", R"({"ID":"c1_p","In":"1","Out":"2","Property":{"x":"1"}})", false},
        {"deleteFilter", R"({"FilterID":"c1_p","TrackID":"Track0"})", true},
    };
    mlt_producer source = mainSource(playlist("c1"));
    const int sourceOut = mlt_producer_get_out(source);
    for (const Case& test : cases) {
        SCOPED_TRACE(test.body);
        std::string body = test.body;
        size_t media = body.find("MEDIA");
        if (media != std::string::npos) {
            body.replace(media, 5, media_);
        }
        for (const OperationCase& operation : kOperations) {
            if (std::string(operation.name) == test.operation) {
                CParseJson parsed = content(body);
                EXPECT_EQ(operation.run(helper(), parsed, profile()), test.result);
            }
        }
        EXPECT_EQ(tracks("Track0"), "c1 c2 c3");
        EXPECT_EQ(entries("c1"), "0-99");
        EXPECT_EQ(entries("c2"), "blank(100) 0-49");
        EXPECT_EQ(describeTransitions(tractor("Track0")), "");
        EXPECT_EQ(describeFilters(MLT_PRODUCER_SERVICE(mainSource(playlist("c1")))), "");
        EXPECT_EQ(mainSource(playlist("c1")), source);
        EXPECT_EQ(mlt_producer_get_out(source), sourceOut);
        EXPECT_EQ(mlt_properties_get(MLT_PRODUCER_PROPERTIES(source), "x"), nullptr);
    }
}

TEST_F(EngineGraphTest, AGraphWithoutTheMainTractorStillTakesClipEdits) {
    loadXml(R"(<?xml version="1.0" encoding="utf-8"?>
<mlt>
  <producer id="c1_p"><property name="resource">)" +
            media_ + R"(</property><property name="mlt_service">avformat</property></producer>
  <playlist id="c1"><entry producer="c1_p" in="0" out="99"/></playlist>
  <tractor id="Track0"><track producer="c1"/></tractor>
  <tractor id="interface_tractor" global_feed="1"><track producer="Track0"/></tractor>
</mlt>
)");
    ServiceQuery query{ServiceKind::Tractor, "maintractor"};
    EXPECT_FALSE(helper().findService(query));

    const std::map<std::string, bool> expected = {
        {"addClip", true},          {"alterClip", true},          {"deleteClip", true},
        {"deleteAllClip", true},    {"alterSceneResource", true}, {"addTransition", false},
        {"deleteTransition", true}, {"addFilter", false},         {"alterFilter", false},
        {"deleteFilter", true},
    };
    LogCapture log;
    for (const OperationCase& operation : kOperations) {
        CParseJson body = content(operation.body);
        EXPECT_EQ(operation.run(helper(), body, profile()), expected.at(operation.name))
            << operation.name;
    }
    EXPECT_TRUE(log.hasMessage("find transiont id:t1 failed"));
    EXPECT_EQ(tracks("Track0"), "");
    helper().refresh(0, 50);
    helper().refresh(50, 0);
    // With nothing to serialise, neither the dump nor the saved file is written.
    helper().saveMltFile("/saved.mlt");
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/Logs/logxml.xml"));
    EXPECT_FALSE(testsupport::fileExists(cache_ + "/saved.mlt"));
}

}  // namespace
}  // namespace enginetest
