// Clip, transition and filter edits, the main track's relayout and transition freezes.
#include <unistd.h>

#include "engine_fixture.h"

namespace enginetest {
namespace {

TEST_F(EngineGraphTest, AddClipInsertsAtTheIndexOrAppendsAndLaysTheMainTrackEndToEnd) {
    std::string placed;
    for (int index : {-1, 1, 0, 2, -5}) {  // -1 and the count append, others create nothing
        load(standardProject());
        EXPECT_TRUE(apply("addClip", addClipJson("Track1", "n1", index, 0, 24))) << index;
        placed += tracks("Track1") + "|";
    }
    EXPECT_EQ(placed, "v1 n1|v1 n1|n1 v1|v1|v1|");
    // On the main track every clip is laid end to end.
    ASSERT_TRUE(apply("addClip", addClipJson("Track0", "n1", -1, 0, 24, R"("BlankLength":"7")")));
    EXPECT_EQ(entries("n1"), "blank(200) 0-24");
    ASSERT_TRUE(apply("addClip", addClipJson("Track0", "n2", 0, 0, 24, R"("BlankLength":"7")")));
    EXPECT_EQ(tracks("Track0"), "n2 c1 c2 c3 n1");  // the first clip never keeps a blank
    EXPECT_EQ(entries("n2 c1 c3 n1"), "0-24|blank(25) 0-99|blank(175) 0-49|blank(225) 0-24");
}

TEST_F(EngineGraphTest, AddClipBuildsTheProducerFromTheCommand) {
    ASSERT_EQ(symlink(media_.c_str(), (cache_ + "/bars.mp4").c_str()), 0);  // a relative resource
    ASSERT_TRUE(apply("addClip", R"({"TrackID":"Track1","ID":"n1","Index":-1,"In":"10","Out":"34",
        "MltService":"avformat","Resource":"bars.mp4","Length":"80","Type":"video",
        "Property":{"a":"x", "n":5, "luma":"lumas/l.pgm", "producer.resource":"/abs.png"},
        "SubClips":[{"Name":"t1", "Resource":"title.png", "Type":"image", "In":"0", "Out":"24",
                     "Start":"", "Profile":{"Width":640, "Height":360, "FrameRate":25}}]})"));
    EXPECT_EQ(entries("n1") + " " + property(MLT_PLAYLIST_SERVICE(playlist("n1")), "hide"),
              "10-34 2");
    mlt_producer source = mainSource(playlist("n1"));
    ASSERT_NE(source, nullptr);
    std::string actual;
    for (const char* name :
         {"resource", "id", "length", "cache", "a", "n", "luma", "producer.resource",
          "producer.t1.resource", "producer.t1.type", "producer.t1.out", "producer.t1.start",
          "producer.t1.profile.width", "producer.t1.profile.fps"}) {
        actual += property(MLT_PRODUCER_SERVICE(source), name) + " ";
    }
    EXPECT_EQ(actual, cache_ + "/bars.mp4 (unset) 80 10 x 5 " + cache_ +
                          "/lumas/l.pgm /abs.png title.png image 24 (unset) 640 25.000000 ");
}

TEST_F(EngineGraphTest, ClipsWithAnOldIdARepeatOrNoProducerKeepTheirPlaylists) {
    ASSERT_TRUE(apply("addClip", addClipJson("Track1", "n1", -1, 0, 9, R"("OldID":"c2")")));
    EXPECT_EQ(mainSource(playlist("n1")), mainSource(playlist("c2")));
    ASSERT_TRUE(apply(
        "addClip", addClipJson("Track1", "n2", -1, 0, 24, R"("BlankLength":"30","Repeat":"3")")));
    EXPECT_EQ(entries("n2"), "blank(30) 0-24x3");
    EXPECT_FALSE(apply("alterClip", alterJson("Track1", "n2", 1, 1, 0, 4)));  // no main entry
    const std::string failing = R"(","Index":-1,"BlankLength":"10",
        "MltService":"no_such_service","Resource":"x","In":"0","Out":"9"})";
    EXPECT_FALSE(apply("addClip", R"({"TrackID":"Track1","ID":"f1)" + failing));
    EXPECT_EQ(tracks("Track1") + "|" + entries("f1"), "v1 n1 n2 f1|blank(10)");
    // On the main track such a playlist keeps one blank as long as the track.
    EXPECT_FALSE(apply("addClip", R"({"TrackID":"Track0","ID":"f2)" + failing));
    ASSERT_TRUE(apply("addClip", addClipJson("Track0", "n3", -1, 0, 24)));
    EXPECT_EQ(tracks("Track0") + "|" + entries("f2 n3"),
              "c1 c2 c3 f2 n3|blank(200)|blank(200) 0-24");
}

TEST_F(EngineGraphTest, AlterClipResizesOrReplacesAndTheProducersAreTold) {
    mlt_producer before = mainSource(playlist("c2"));
    events_.listen(MLT_PRODUCER_PROPERTIES(before), "subclip-changed");
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c2", 1, 1, 10, 39, R"("Length":"90")")));
    EXPECT_EQ(entries("c2 c3"), "blank(100) 10-39|blank(130) 0-49");
    EXPECT_EQ(mainSource(playlist("c2")), before);
    EXPECT_EQ(property(MLT_PRODUCER_SERVICE(before), "length"), "90");
    EXPECT_EQ(events_.fired, " subclip-changed@c2_p");

    std::string other = testsupport::colourBarsWithTone(2);
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c2", 1, 1, 0, 29, "", other)));
    mlt_service after = MLT_PRODUCER_SERVICE(mainSource(playlist("c2")));
    EXPECT_NE(after, MLT_PRODUCER_SERVICE(before));
    EXPECT_EQ(property(after, "resource") + " " + property(after, "id"), other + " c2");
    EXPECT_EQ(entries("c2 c3"), "blank(100) 0-29|blank(130) 0-49");
    EXPECT_EQ(events_.fired, " subclip-changed@c2_p");  // not told again
    events_.listen(MLT_PRODUCER_PROPERTIES(mainSource(playlist("c1"))), "scene-changed");
    ASSERT_TRUE(apply("alterSceneResource",
                      R"({"ID":"c1","Type":"text","Name":"title1","Para":"{\"size\":12}"})"));
    EXPECT_EQ(events_.fired, " subclip-changed@c2_p scene-changed@c1_p");
    EXPECT_EQ(events_.sceneTexts, (std::vector<std::string>{"text", "title1", "{\"size\":12}"}));
}

TEST_F(EngineGraphTest, AlterClipSetsHideAndTheBlankAndMovesEvenAnUnknownClip) {
    std::string hide, blanks;
    for (std::string type : {"video", "composite"}) {
        ASSERT_TRUE(apply("alterClip",
                          alterJson("Track1", "v1", 0, 0, 0, 49, R"("Type":")" + type + "\"")));
        hide += property(MLT_PLAYLIST_SERVICE(playlist("v1")), "hide") + " ";
    }
    EXPECT_EQ(hide, "2 0 ");
    for (std::string blank : {"12", "0", "-3", "8"}) {
        ASSERT_TRUE(apply("alterClip", alterJson("Track1", "v1", 0, 0, 0, 49,
                                                 R"("BlankLength":")" + blank + "\"")));
        blanks += entries("v1") + "|";
    }
    EXPECT_EQ(blanks, "blank(12) 0-49|0-49|0-49|blank(8) 0-49|");
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "zz", 0, 2, 5, 15)));
    EXPECT_EQ(tracks("Track0"), "c3 c1 c2");
    EXPECT_EQ(entries("c3 c1 c2"), "0-49|blank(50) 0-99|blank(150) 0-49");
}

TEST_F(EngineGraphTest, AlterClipToIndexesNotBelowTheCountFailsAndDeleteClipRemoves) {
    for (const auto& [indexNew, indexOld, name] :
         {std::tuple{3, 1, "new"}, std::tuple{0, 3, "old"}}) {
        load(standardProject());
        EXPECT_FALSE(apply("alterClip", alterJson("Track0", "c2", indexNew, indexOld, 5, 15)));
        EXPECT_EQ(tracks("Track0") + "|" + entries("c2"), "c1 c2 c3|blank(100) 5-15");
    }
    std::string left;
    for (const char* index : {"", R"(,"Index":-1)", R"(,"Index":0)"}) {
        load(standardProject());
        EXPECT_TRUE(
            apply("deleteClip", R"({"ClipID":"c2","TrackID":"Track0")" + std::string(index) + "}"));
        left += tracks("Track0") + "|";
    }
    EXPECT_EQ(left, "c1 c3|c1 c3|c2 c3|");
    EXPECT_EQ(entries("c2 c3"), "0-49|blank(50) 0-49");  // the main track is re-laid
    ASSERT_TRUE(apply("deleteAllClip", R"({"TrackID":"Track1"})"));
    EXPECT_EQ(tracks("Track1"), "");
}

// The In 10 / Out 5 transition between c1 (ending at frame 100) and c2.
const char* kMainTransition = R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,
    "Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"t1","TrackType":0})";

TEST_F(EngineGraphTest, MainTrackTransitionHoldsTheFramesAroundTheCutUntilDeleted) {
    ASSERT_TRUE(apply("addTransition", kMainTransition));
    EXPECT_EQ(entries("c1 c2 c3"), "0-99 99-99x5|blank(90) 0-0x10 0-49|blank(150) 0-49");
    EXPECT_EQ(transitions("Track0"), "t1 0/1 90-104");
    EXPECT_EQ(property(find(ServiceKind::Transition, "t1"), "mlt_service"), "luma");
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

    ASSERT_TRUE(apply("deleteTransition", R"({"TransitionID":"t1","TrackType":0})"));
    EXPECT_EQ(entries("c1 c2"), "0-99|blank(100) 0-49");
    EXPECT_EQ(transitions("Track0"), "");
}

TEST_F(EngineGraphTest, ClipEditsMoveOrCarryOverTheFreezesAndRetimeTheTransition) {
    ASSERT_TRUE(apply("addTransition", kMainTransition));
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c1", 0, 0, 0, 79)));
    EXPECT_EQ(entries("c1 c2 c3"), "0-79 79-79x5|blank(70) 0-0x10 0-49|blank(130) 0-49");
    EXPECT_EQ(transitions("Track0"), "t1 0/1 70-84");
    ASSERT_TRUE(apply("addClip", addClipJson("Track0", "n1", -1, 0, 24)));
    EXPECT_EQ(entries("n1"), "blank(180) 0-24");
    // A clip sent without a blank gets it back in front of its head freeze.
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c2", 1, 1, 0, 49, R"("BlankLength":"0")")));
    EXPECT_EQ(entries("c2"), "blank(70) 0-0x10 0-49");
    std::string other = testsupport::colourBarsWithTone(2);
    ASSERT_TRUE(apply("alterClip", alterJson("Track0", "c2", 1, 1, 5, 45, "", other)));
    EXPECT_EQ(entries("c2"), "blank(70) 5-5x10 5-45");  // the new source takes the freezes over
    mlt_playlist_clip_info head;
    ASSERT_EQ(mlt_playlist_get_clip_info(playlist("c2"), &head, 1), 0);
    EXPECT_EQ(mlt_producer_cut_parent(head.producer), mainSource(playlist("c2")));
    EXPECT_EQ(transitions("Track0"), "t1 0/1 70-84");
}

TEST_F(EngineGraphTest, TransitionsBetweenTracksAndCataloguePropertiesForLaterOnes) {
    ASSERT_TRUE(apply("addTransition", R"({"TrackID_A":"Track0","TrackID_B":"AudioTrack0",
        "Index_A":4,"Index_B":7,"Title":"dissolve","In":"5","Out":"20","ID":"t2","TrackType":1})"));
    EXPECT_EQ(transitions("maintractor"), "t2 0/2 5-20");
    ASSERT_TRUE(apply("deleteTransition", R"({"TransitionID":"t2","TrackType":1})"));
    EXPECT_EQ(transitions("maintractor"), "");
    // Properties sent with a transition change the catalogue entry for later ones.
    const std::string wipe = R"({"TrackID_A":"Track0","TrackID_B":"Track1","Index_A":0,
        "Index_B":1,"Title":"wipe","In":"0","Out":"10","TrackType":1,"ID":)";
    ASSERT_TRUE(apply("addTransition", wipe + R"("w1","Property":{"softness":"0.5"}})"));
    ASSERT_TRUE(apply("addTransition", wipe + R"("w2"})"));
    EXPECT_EQ(property(find(ServiceKind::Transition, "w2"), "softness"), "0.5");
}

TEST_F(EngineGraphTest, FiltersGoToTheClipsSourceOrTheTrackTractor) {
    ASSERT_TRUE(apply("addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":1,
        "In":"5","Out":"20","Property":{"level":"0.5","filename":"lumas/a.pgm"}})"));
    mlt_service source = MLT_PRODUCER_SERVICE(mainSource(playlist("c2")));
    EXPECT_EQ(describeFilters(source), "f1 brightness 5-20");
    mlt_service filter = find(ServiceKind::Filter, "f1");
    EXPECT_EQ(property(filter, "level") + " " + property(filter, "filename"),
              "0.5 " + cache_ + "/lumas/a.pgm");
    ASSERT_TRUE(
        apply("alterFilter",
              R"({"ID":"f1","In":"1","Out":"2","Property":{"level":"0.25","av.file":"b.png"}})"));
    EXPECT_EQ(describeFilters(source), "f1 brightness 1-2");
    EXPECT_EQ(property(filter, "level") + " " + property(filter, "av.file"),
              "0.25 " + cache_ + "/b.png");
    ASSERT_TRUE(apply("deleteFilter", R"({"FilterID":"f1","TrackID":"Track0","Index":7})"));
    EXPECT_EQ(describeFilters(source), "");

    const std::string track = R"({"TrackID":"Track1","ID":"f2","Title":"bright","Index":-1)";
    EXPECT_FALSE(apply("addFilter", track + "}"));  // a track filter needs its times
    ASSERT_TRUE(apply("addFilter", track + R"(,"In":"0","Out":"50"})"));
    EXPECT_EQ(describeFilters(MLT_TRACTOR_SERVICE(tractor("Track1"))), "f2 brightness 0-50");
}

}  // namespace
}  // namespace enginetest
