// The graph dump: the text MLT's own "xml" consumer writes for "maintractor",
// after every kind of edit, and written when a deferred dump is flushed.

#include <framework/mlt.h>
#include <unistd.h>

#include "engine/graph_dump.h"
#include "engine/graph_xml.h"
#include "engine_fixture.h"

namespace enginetest {
namespace {

// What MLT's consumer writes into its "buffer" property for the service.
std::string mltConsumerText(mlt_service service) {
    mlt_consumer consumer = mlt_factory_consumer(nullptr, "xml", "buffer");
    mlt_service_connect_producer(MLT_CONSUMER_SERVICE(consumer), service, 0);
    mlt_consumer_start(consumer);
    const char* text = mlt_properties_get(MLT_CONSUMER_PROPERTIES(consumer), "buffer");
    std::string copy = text ? text : "";
    mlt_consumer_stop(consumer);
    mlt_consumer_close(consumer);
    return copy;
}

class GraphDump : public EngineGraphTest {
  protected:
    std::string dumpFile() { return cache_ + "/Logs/logxml.xml"; }
    std::string expected() { return mltConsumerText(find(ServiceKind::Tractor, "maintractor")); }
};

TEST_F(GraphDump, IsTheTextOfMltsXmlConsumerAfterEveryKindOfEdit) {
    const std::string subClip = R"("Property":{"a":"x"},"SubClips":[{"Name":"t1","In":"0",
        "Out":"24","Resource":"title.png","Type":"image","Profile":{"Width":640,"Height":360,
        "FrameRate":25}}])";
    const struct {
        const char* operation;
        std::string content;
    } edits[] = {
        {"addClip", clip("Track0", "n1", -1, 0, 24, R"("BlankLength":"7")")},
        {"addClip", clip("Track1", "n2", -1, 5, 30, R"("BlankLength":"12",)" + subClip)},
        {"addTransition", kMainTransition},
        {"addTransition", R"({"TrackID_A":"Track0","TrackID_B":"Track1","Title":"dissolve",
            "In":"20","Out":"60","ID":"t2","TrackType":1})"},
        {"addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":2,"In":"0",
            "Out":"20","Property":{"level":"0.5"}})"},
        {"addFilter", R"({"TrackID":"Track1","ID":"f2","Title":"bright","Index":-1,"In":"5",
            "Out":"50"})"},
        {"alterClip", clip("Track0", "c2", 1, 10, 39, R"("Length":"90")")},
        {"alterFilter", R"({"ID":"f1","In":"1","Out":"2","Property":{"level":"0.8"}})"},
        {"deleteFilter", R"({"FilterID":"f2","TrackID":"Track1","Index":-1})"},
        {"deleteTransition", R"({"TransitionID":"t1","TrackType":0})"},
        {"deleteClip", R"({"TrackID":"Track0","Index":0,"ClipID":"c1"})"},
    };
    for (const auto& edit : edits) {
        apply(edit.operation, edit.content);
        EXPECT_EQ(testsupport::readFile(dumpFile()), expected()) << edit.operation;
    }
    // Resources below the working folder are written relative to it, as the root says.
    char* previous = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(cache_.c_str()), 0);
    ASSERT_EQ(symlink(media_.c_str(), (cache_ + "/bars.mp4").c_str()), 0);
    apply("addClip", clip("Track1", "r1", -1, 0, 9, "", cache_ + "/bars.mp4"));
    const std::string dumped = testsupport::readFile(dumpFile());
    EXPECT_EQ(dumped, expected());
    EXPECT_NE(dumped.find(">bars.mp4<"), std::string::npos);
    ASSERT_EQ(chdir(previous), 0);
    free(previous);
}

TEST_F(GraphDump, ADeferredDumpWaitsForItsFlushAndThenHoldsTheCurrentGraph) {
    GraphDumpSchedule schedule;
    MltHelper deferred(producer_, cache_, &schedule);
    unlink(dumpFile().c_str());
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(apply("addClip", clip("Track0", "d" + std::to_string(i), -1, 0, 9), &deferred));
    }
    EXPECT_TRUE(schedule.isDue());
    EXPECT_EQ(access(dumpFile().c_str(), F_OK), -1);
    schedule.flush(producer_);
    EXPECT_FALSE(schedule.isDue());
    EXPECT_EQ(testsupport::readFile(dumpFile()), expected());
    // Nothing due, nothing written; a failed edit marks nothing.
    unlink(dumpFile().c_str());
    schedule.flush(producer_);
    EXPECT_FALSE(apply("addClip", R"({"TrackID":"Track0"})", &deferred));
    EXPECT_FALSE(schedule.isDue());
    EXPECT_EQ(access(dumpFile().c_str(), F_OK), -1);
}

TEST(GraphXml, AnEmptyTractorWritesAsMltWouldAndALongNetworkStopsWhenAsked) {
    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    mlt_profile profile = mlt_profile_init(nullptr);
    mlt_tractor tractor = mlt_tractor_new();
    mlt_properties_set(MLT_TRACTOR_PROPERTIES(tractor), "id", "maintractor");
    EXPECT_EQ(graphxml::serialise(MLT_TRACTOR_SERVICE(tractor)).value_or("(stopped)"),
              mltConsumerText(MLT_TRACTOR_SERVICE(tractor)));
    EXPECT_EQ(graphxml::serialise(nullptr).value_or("(stopped)"), "");

    // 600 clips of one colour, each a producer of its own.
    mlt_playlist playlist = mlt_playlist_new(profile);
    for (int i = 0; i < 600; ++i) {
        mlt_producer colour = mlt_factory_producer(profile, "color", "#336699");
        mlt_playlist_append_io(playlist, colour, 0, 4);
        mlt_producer_close(colour);
    }
    mlt_tractor_set_track(tractor, MLT_PLAYLIST_PRODUCER(playlist), 0);
    int asked = 0;
    EXPECT_FALSE(graphxml::serialise(MLT_TRACTOR_SERVICE(tractor), [&] { return ++asked < 2; }));
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(graphxml::serialise(MLT_TRACTOR_SERVICE(tractor), [] { return true; }).value(),
              mltConsumerText(MLT_TRACTOR_SERVICE(tractor)));
    mlt_playlist_close(playlist);
    mlt_tractor_close(tractor);
    mlt_profile_close(profile);
}

}  // namespace
}  // namespace enginetest
