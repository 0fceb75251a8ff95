// Transitions and filters planted from the effect catalogue, and the freezes
// that make a transition between two clips of the main track.
#include "engine_fixture.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace enginetest {
namespace {

std::string transitionJson(const std::string& trackA, const std::string& trackB, int indexA,
                           int indexB, const std::string& in, const std::string& out,
                           const std::string& id, int trackType,
                           const std::string& title = "dissolve", const std::string& extra = "") {
    return R"({"TrackID_A":")" + trackA + R"(","TrackID_B":")" + trackB + R"(","Index_A":)" +
           std::to_string(indexA) + R"(,"Index_B":)" + std::to_string(indexB) + R"(,"Title":")" +
           title + R"(","In":")" + in + R"(","Out":")" + out + R"(","ID":")" + id +
           R"(","TrackType":)" + std::to_string(trackType) + (extra.empty() ? "" : "," + extra) +
           "}";
}

std::string property(mlt_service service, const char* name) {
    const char* value = mlt_properties_get(MLT_SERVICE_PROPERTIES(service), name);
    return value ? value : "(unset)";
}

class EngineEffectTest : public EngineGraphTest {
  protected:
    // The In 10 / Out 5 transition between c1 (ending at frame 100) and c2.
    void addMainTrackTransition() {
        CParseJson add = content(transitionJson("Track0", "Track0", 0, 1, "10", "5", "t1", 0));
        ASSERT_TRUE(helper().addTransition(add, profile()));
    }
};

TEST_F(EngineEffectTest, MainTrackTransitionHoldsTheFramesAroundTheCut) {
    LogCapture log;
    addMainTrackTransition();
    EXPECT_EQ(entries("c1"), "0-99 99-99x5");
    EXPECT_EQ(entries("c2"), "blank(90) 0-0x10 0-49");
    EXPECT_EQ(entries("c3"), "blank(150) 0-49");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "t1 0/1 90-104");
    EXPECT_TRUE(log.hasMessage("add transition parentID:Track0 iTrack_a:0 iTrack_b:1"));

    ServiceQuery query{ServiceKind::Transition, "t1"};
    ASSERT_TRUE(helper().findService(query));
    EXPECT_EQ(property(query.found, "mlt_service"), "luma");
    EXPECT_EQ(property(query.found, "in"), "90");
    EXPECT_EQ(property(query.found, "out"), "104");
    EXPECT_EQ(property(query.parent, "id"), "Track0");
    // Both freezes hold frames of the clips' own sources.
    mlt_playlist_clip_info tail;
    ASSERT_EQ(mlt_playlist_get_clip_info(playlist("c1"), &tail, 1), 0);
    EXPECT_EQ(mlt_producer_cut_parent(tail.producer), mainSource(playlist("c1")));
    mlt_playlist_clip_info head;
    ASSERT_EQ(mlt_playlist_get_clip_info(playlist("c2"), &head, 1), 0);
    EXPECT_EQ(mlt_producer_cut_parent(head.producer), mainSource(playlist("c2")));
}

TEST_F(EngineEffectTest, TheSavedGraphCarriesTheFreezesAndTheTransition) {
    addMainTrackTransition();
    helper().saveMltFile("/transition.mlt");
    std::string outline = outlineMltFile(cache_ + "/transition.mlt");
    EXPECT_EQ(outline.substr(0, outline.find("playlist v1")),
              "playlist c1: entry in=0 out=99 producer=c1_p "
              "entry in=99 out=99 repeat=5 producer=c1_p\n"
              "playlist c2: blank length=90 entry in=0 out=0 repeat=10 producer=c2_p "
              "entry in=0 out=49 producer=c2_p\n"
              "playlist c3: blank length=150 entry in=0 out=49 producer=c3_p\n"
              "tractor Track0: track producer=c1 track producer=c2 track producer=c3 "
              "transition in=90 out=104\n");
}

TEST_F(EngineEffectTest, DeletingTheMainTrackTransitionRemovesItsFreezes) {
    addMainTrackTransition();
    LogCapture log;
    CParseJson remove = content(R"({"TransitionID":"t1","TrackType":0})");
    ASSERT_TRUE(helper().deleteTransition(remove));
    EXPECT_EQ(entries("c1"), "0-99");
    EXPECT_EQ(entries("c2"), "blank(100) 0-49");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "");
    EXPECT_TRUE(log.hasMessage("delete transiont id:t1 "));
}

TEST_F(EngineEffectTest, ReLayoutMovesTheFreezesAndRetimesTheTransition) {
    addMainTrackTransition();
    CParseJson shorter = content(R"({"ID":"c1","TrackID":"Track0","IndexNew":0,"IndexOld":0,
        "In":"0","Out":"79","MltService":"avformat","Resource":")" +
                                 media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(shorter, profile()));
    EXPECT_EQ(entries("c1"), "0-79 79-79x5");
    EXPECT_EQ(entries("c2"), "blank(70) 0-0x10 0-49");
    EXPECT_EQ(entries("c3"), "blank(130) 0-49");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "t1 0/1 70-84");

    CParseJson append = content(addClipJson("Track0", "n1", -1, 0, 24));
    ASSERT_TRUE(helper().addClip(append, profile()));
    EXPECT_EQ(entries("n1"), "blank(180) 0-24");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "t1 0/1 70-84");
}

TEST_F(EngineEffectTest, AMainTrackClipGetsItsBlankBackInFrontOfItsHeadFreeze) {
    addMainTrackTransition();
    CParseJson noBlank = content(R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,
        "In":"0","Out":"49","BlankLength":"0","MltService":"avformat","Resource":")" +
                                 media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(noBlank, profile()));
    EXPECT_EQ(entries("c2"), "blank(90) 0-0x10 0-49");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "t1 0/1 90-104");
}

TEST_F(EngineEffectTest, ReplacingTheSourceCarriesTheFreezesOver) {
    addMainTrackTransition();
    std::string other = testsupport::colourBarsWithTone(2);
    CParseJson replace = content(R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,
        "In":"5","Out":"45","MltService":"avformat","Resource":")" +
                                 other + "\"}");
    ASSERT_TRUE(helper().alterClip(replace, profile()));
    mlt_playlist c2 = playlist("c2");
    EXPECT_EQ(entries("c2"), "blank(90) 5-5x10 5-45");
    mlt_producer source = mainSource(c2);
    mlt_playlist_clip_info head;
    ASSERT_EQ(mlt_playlist_get_clip_info(c2, &head, 1), 0);
    EXPECT_EQ(mlt_producer_cut_parent(head.producer), source);
    EXPECT_EQ(std::string(mlt_properties_get(MLT_PRODUCER_PROPERTIES(source), "resource")), other);
}

TEST_F(EngineEffectTest, ClipChangesDropFreezesNoTransitionUses) {
    addMainTrackTransition();
    // Deleted as a transition between tracks, t1 leaves the field but its freezes stay.
    CParseJson transitionOnly = content(R"({"TransitionID":"t1","TrackType":1})");
    ASSERT_TRUE(helper().deleteTransition(transitionOnly));
    EXPECT_EQ(describeTransitions(tractor("Track0")), "");
    EXPECT_EQ(entries("c1"), "0-99 99-99x5");
    EXPECT_EQ(entries("c2"), "blank(90) 0-0x10 0-49");

    CParseJson append = content(addClipJson("Track0", "n1", -1, 0, 24));
    ASSERT_TRUE(helper().addClip(append, profile()));
    EXPECT_EQ(entries("c1"), "0-99");
    EXPECT_EQ(entries("c2"), "blank(100) 0-49");
    EXPECT_EQ(entries("n1"), "blank(200) 0-24");
}

TEST_F(EngineEffectTest, TransitionBetweenTracksIsPlantedInTheMainTractorAsSent) {
    CParseJson add =
        content(transitionJson("Track0", "AudioTrack0", 4, 7, "5", "20", "t2", 1, "mix"));
    ASSERT_TRUE(helper().addTransition(add, profile()));
    EXPECT_EQ(describeTransitions(tractor("maintractor")), "t2 0/2 5-20");
    EXPECT_EQ(entries("c1"), "0-99");
    EXPECT_EQ(describeTransitions(tractor("Track0")), "");

    CParseJson remove = content(R"({"TransitionID":"t2","TrackType":1})");
    ASSERT_TRUE(helper().deleteTransition(remove));
    EXPECT_EQ(describeTransitions(tractor("maintractor")), "");
}

TEST_F(EngineEffectTest, TransitionPropertiesChangeTheCatalogueEntryForLaterTransitions) {
    CParseJson first = content(transitionJson("Track0", "Track1", 0, 1, "0", "10", "w1", 1, "wipe",
                                              R"("Property":{"softness":"0.5"})"));
    ASSERT_TRUE(helper().addTransition(first, profile()));
    EXPECT_EQ(MeEffectCatalogue::instance().findEffect("wipe")->properties()["softness"], "0.5");

    CParseJson second =
        content(transitionJson("Track0", "Track1", 0, 1, "0", "10", "w2", 1, "wipe"));
    ASSERT_TRUE(helper().addTransition(second, profile()));
    ServiceQuery query{ServiceKind::Transition, "w2"};
    ASSERT_TRUE(helper().findService(query));
    EXPECT_EQ(property(query.found, "softness"), "0.5");
}

TEST_F(EngineEffectTest, TransitionBetweenMissingClipPlaylistsKeepsTheCommandsTimes) {
    LogCapture log;
    CParseJson add = content(transitionJson("Track0", "Track0", 0, 9, "10", "5", "t3", 0));
    ASSERT_TRUE(helper().addTransition(add, profile()));
    EXPECT_TRUE(log.hasMessage("update transition track  failed, a track:0,b track 9"));
    EXPECT_EQ(describeTransitions(tractor("Track0")), "t3 0/9 10-5");
    EXPECT_EQ(entries("c1"), "0-99");
}

TEST_F(EngineEffectTest, AddTransitionRefusesMissingFieldsUnknownTitlesAndTracks) {
    const std::string refused[] = {
        transitionJson("Track0", "Track0", 0, 1, "10", "5", "t1", 0, "no_such_effect"),
        transitionJson("Track9", "Track9", 0, 1, "10", "5", "t1", 0),
        R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1,"Title":"dissolve",)"
        R"("In":"10","Out":"5","ID":"t1"})",
        R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":"0","Index_B":1,)"
        R"("Title":"dissolve","In":"10","Out":"5","ID":"t1","TrackType":0})",
        R"({"TrackID_B":"Track0","Index_A":0,"Index_B":1,"Title":"dissolve",)"
        R"("In":"10","Out":"5","ID":"t1","TrackType":0})",
    };
    for (const std::string& body : refused) {
        CParseJson add = content(body);
        EXPECT_FALSE(helper().addTransition(add, profile())) << body;
    }
    EXPECT_EQ(describeTransitions(tractor("Track0")), "");
    EXPECT_EQ(entries("c1"), "0-99");
}

TEST_F(EngineEffectTest, DeleteTransitionAnswersPerTheIdentifierItFinds) {
    struct Case {
        const char* body;
        bool result;
        const char* message;
    } cases[] = {
        {R"({"TransitionID":"zz","TrackType":0})", true, "find transiont id:zz failed"},
        {R"({"TrackType":0})", false, "deleteTransition get ID failed"},
        {R"({"TransitionID":"zz"})", false, "deleteTransition get ID failed"},
    };
    for (const Case& test : cases) {
        LogCapture log;
        CParseJson remove = content(test.body);
        EXPECT_EQ(helper().deleteTransition(remove), test.result) << test.body;
        EXPECT_TRUE(log.hasMessage(test.message)) << test.body;
    }
}

TEST_F(EngineEffectTest, ClipFilterIsAttachedToTheClipsSource) {
    CParseJson add = content(R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":1,
        "In":"5","Out":"20","Property":{"level":"0.5","filename":"lumas/a.pgm"}})");
    ASSERT_TRUE(helper().addFilter(add, profile()));
    mlt_producer source = mainSource(playlist("c2"));
    EXPECT_EQ(describeFilters(MLT_PRODUCER_SERVICE(source)), "f1 brightness 5-20");
    ServiceQuery query{ServiceKind::Filter, "f1"};
    ASSERT_TRUE(helper().findService(query));
    EXPECT_EQ(query.parent, MLT_PRODUCER_SERVICE(source));
    EXPECT_EQ(property(query.found, "level"), "0.5");
    EXPECT_EQ(property(query.found, "filename"), cache_ + "/lumas/a.pgm");

    CParseJson alter =
        content(R"({"ID":"f1","In":"1","Out":"2","Property":{"level":"0.25","av.file":"b.png"}})");
    ASSERT_TRUE(helper().alterFilter(alter));
    EXPECT_EQ(describeFilters(MLT_PRODUCER_SERVICE(source)), "f1 brightness 1-2");
    EXPECT_EQ(property(query.found, "level"), "0.25");
    EXPECT_EQ(property(query.found, "av.file"), cache_ + "/b.png");

    CParseJson remove = content(R"({"FilterID":"f1","TrackID":"Track0","Index":7})");
    ASSERT_TRUE(helper().deleteFilter(remove));
    EXPECT_EQ(describeFilters(MLT_PRODUCER_SERVICE(source)), "");
    EXPECT_FALSE(helper().findService(query));
}

TEST_F(EngineEffectTest, TrackFilterNeedsItsTimesAndIsAttachedToTheTrackTractor) {
    CParseJson noTimes = content(R"({"TrackID":"Track1","ID":"f2","Title":"bright","Index":-1})");
    EXPECT_FALSE(helper().addFilter(noTimes, profile()));
    CParseJson add = content(
        R"({"TrackID":"Track1","ID":"f2","Title":"bright","Index":-1,"In":"0","Out":"50"})");
    ASSERT_TRUE(helper().addFilter(add, profile()));
    EXPECT_EQ(describeFilters(MLT_TRACTOR_SERVICE(tractor("Track1"))), "f2 brightness 0-50");
}

TEST_F(EngineEffectTest, FilterOnAPlaylistWithoutAClipAttachesNothing) {
    CParseJson blankOnly = content(R"({"TrackID":"Track1","ID":"n1","Index":-1,"BlankLength":"10",
        "MltService":"no_such_service","Resource":"x","In":"0","Out":"9"})");
    EXPECT_FALSE(helper().addClip(blankOnly, profile()));
    ASSERT_EQ(entries("n1"), "blank(10)");
    for (int index : {1, 5}) {
        CParseJson add = content(R"({"TrackID":"Track1","ID":"f3","Title":"bright","Index":)" +
                                 std::to_string(index) + "}");
        EXPECT_TRUE(helper().addFilter(add, profile()));
        ServiceQuery query{ServiceKind::Filter, "f3"};
        EXPECT_FALSE(helper().findService(query));
    }
}

TEST_F(EngineEffectTest, FilterEditsAnswerForUnknownAndMissingIdentifiers) {
    struct Case {
        const char* operation;
        const char* body;
        bool result;
        const char* message;
    } cases[] = {
        {"add", R"({"TrackID":"Track0","ID":"f","Title":"no_such_effect","Index":0})", false, ""},
        {"add", R"({"TrackID":"Track9","ID":"f","Title":"bright","Index":0})", false, ""},
        {"add", R"({"TrackID":"Track0","Title":"bright","Index":0})", false, ""},
        {"alter", R"({"ID":"zz","In":"1","Out":"2"})", false, ""},
        {"alter", R"({"In":"1","Out":"2"})", false, ""},
        {"delete", R"({"FilterID":"zz","TrackID":"Track0"})", true, ""},
        {"delete", R"({"TrackID":"Track0"})", false,
         "MltHelper::deleteFilter failed to get FilterID [{\n   \"TrackID\" : \"Track0\"\n}\n]"},
        {"delete", R"({"FilterID":"mf1"})", false,
         "MltHelper::deleteFilter failed to get TrackID [{\n   \"FilterID\" : \"mf1\"\n}\n]"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.body);
        LogCapture log;
        CParseJson body = content(test.body);
        std::string operation = test.operation;
        bool result = operation == "add"     ? helper().addFilter(body, profile())
                      : operation == "alter" ? helper().alterFilter(body)
                                             : helper().deleteFilter(body);
        EXPECT_EQ(result, test.result);
        if (*test.message != '\0') {
            EXPECT_TRUE(log.hasMessage(test.message));
        }
    }
    EXPECT_EQ(describeFilters(MLT_TRACTOR_SERVICE(tractor("maintractor"))),
              "mf1 brightness 100-200");
}

}  // namespace
}  // namespace enginetest
