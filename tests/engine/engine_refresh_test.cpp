// refresh: which services hear about a jump of the play position. The
// timeline carries a transition between c1 and c2 written by the project, so
// its freezes and times come from the timeline XML itself.
#include "engine_fixture.h"

namespace enginetest {
namespace {

using Fired = std::vector<std::string>;

class EngineRefreshTest : public EngineGraphTest {
  protected:
    void SetUp() override {
        EngineGraphTest::SetUp();
        TimelineProject project = standardProject();
        ASSERT_TRUE(
            project.run(&MeProject::addTransition,
                        R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,)"
                        R"("Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"tr1"})"));
        load(project);
        for (const char* clip : {"c1", "c2", "c3"}) {
            mlt_properties source = MLT_PRODUCER_PROPERTIES(mainSource(playlist(clip)));
            mlt_properties_set_int(source, "producer_open", 1);
            events_.listen(source, "seek_position");
        }
        ServiceQuery transition{ServiceKind::Transition, "tr1"};
        ASSERT_TRUE(helper().findService(transition));
        events_.listen(MLT_SERVICE_PROPERTIES(transition.found), "seek_position");
        events_.listen(MLT_SERVICE_PROPERTIES(transition.found), "refresh_trans");
        ServiceQuery filter{ServiceKind::Filter, "mf1"};
        ASSERT_TRUE(helper().findService(filter));
        events_.listen(MLT_SERVICE_PROPERTIES(filter.found), "refresh_filter");
    }
};

TEST_F(EngineRefreshTest, TheProjectsTransitionLoadsWithTheSameFreezesAsALiveEdit) {
    EXPECT_EQ(entries("c1"), "0-99 99-99x5");
    EXPECT_EQ(entries("c2"), "blank(90) 0-0x10 0-49");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "tr1 0/1 90-104");
    EXPECT_EQ(mlt_producer_get_length(MLT_TRACTOR_PRODUCER(tractor("Track0"))), 200);
}

TEST_F(EngineRefreshTest, EachJumpFiresOnTheServicesItCrossed) {
    struct Case {
        int from;
        int to;
        Fired fired;
    } cases[] = {
        {50, 50, {}},
        // Forward: clips that ended by the new position, then everything planted on Track0.
        {0, 100, {"seek_position@tr1"}},
        {0,
         150,
         {"seek_position@c1_p", "seek_position@c2_p", "seek_position@tr1", "refresh_trans@tr1"}},
        {0,
         199,
         {"seek_position@c1_p", "seek_position@c2_p", "seek_position@tr1", "refresh_trans@tr1"}},
        // At or past the end no clip is told; filters and transitions still are
        // (mf1 ends at 200, so only a position beyond it counts).
        {0, 200, {"refresh_trans@tr1"}},
        {0, 250, {"refresh_filter@mf1", "refresh_trans@tr1"}},
        // Backward: clips whose blank now lies ahead, filters and transitions not yet reached.
        {199,
         0,
         {"seek_position@c2_p", "seek_position@c3_p", "refresh_filter@mf1", "refresh_trans@tr1"}},
        {199, 95, {"seek_position@c3_p", "refresh_filter@mf1"}},
        {199, 150, {}},
        {300, 250, {}},
    };
    for (const Case& test : cases) {
        events_.clear();
        helper().refresh(test.from, test.to);
        EXPECT_EQ(events_.fired(), test.fired) << test.from << " -> " << test.to;
    }
}

TEST_F(EngineRefreshTest, ProducersThatAreNotOpenAreNotTold) {
    mlt_properties_set_int(MLT_PRODUCER_PROPERTIES(mainSource(playlist("c2"))), "producer_open", 0);
    mlt_properties_set(MLT_PRODUCER_PROPERTIES(mainSource(playlist("c3"))), "producer_open",
                       nullptr);
    helper().refresh(0, 160);
    EXPECT_EQ(events_.fired(),
              (Fired{"seek_position@c1_p", "seek_position@tr1", "refresh_trans@tr1"}));
    events_.clear();
    helper().refresh(199, 0);
    EXPECT_EQ(events_.fired(), (Fired{"refresh_filter@mf1", "refresh_trans@tr1"}));
}

TEST_F(EngineRefreshTest, EachToldClipIsLogged) {
    LogCapture log;
    helper().refresh(0, 160);
    helper().refresh(199, 0);
    helper().refresh(0, 230);
    const char* messages[] = {
        "RefreshPrevious playlist 0 currentPosition:0 newPosition:160, length:105 ,total "
        "playlist count 3 total frames 200",
        "RefreshPrevious playlist 2 blankInfo 90 currentPosition:0 newPosition:160, length:150 "
        ",total playlist count 3 total frames 200",
        "RefreshBack playlist 1 blankInfo 90 currentPosition:199 newPosition:0, length:150, total "
        "playlist count 3 total frames 200",
        "RefreshBack playlist 2 blankInfo 150 currentPosition:199 newPosition:0, length:200, "
        "total playlist count 3 total frames 200",
        "Refresh out Producers range200 ",
    };
    for (const char* message : messages) {
        EXPECT_TRUE(log.hasMessage(message)) << message;
    }
}

}  // namespace
}  // namespace enginetest
