// Clip, transition and filter edits, the main track's relayout and transition freezes.

#include <framework/mlt.h>
#include <unistd.h>

#include <cstdint>
#include <numeric>

#include "engine_fixture.h"

namespace enginetest {
namespace {

TEST_F(EngineGraphTest, AddClipPlacesTheClipAndBuildsOrSharesItsProducer) {
    std::string placed;
    for (int index : {-1, 1, 0, 2, -5}) {  // -1 and the count append, others create nothing
        load();
        EXPECT_TRUE(apply("addClip", clip("Track1", "n1", index, 0, 24))) << index;
        placed += tracks("Track1") + "|";
    }
    EXPECT_EQ(placed, "v1 n1|v1 n1|n1 v1|v1|v1|");
    // On the main track every clip is laid end to end; the first never keeps a blank.
    ASSERT_TRUE(apply("addClip", clip("Track0", "n1", -1, 0, 24, R"("BlankLength":"7")")));
    ASSERT_TRUE(apply("addClip", clip("Track0", "n2", 0, 0, 24, R"("BlankLength":"7")")));
    EXPECT_EQ(tracks("Track0") + "|" + entries("n2 c1 c3 n1"),
              "n2 c1 c2 c3 n1|0-24|blank(25) 0-99|blank(175) 0-49|blank(225) 0-24");

    ASSERT_EQ(symlink(media_.c_str(), (cache_ + "/bars.mp4").c_str()), 0);  // a relative resource
    ASSERT_TRUE(apply("addClip", R"({"TrackID":"Track1","ID":"p1","Index":-1,"In":"10","Out":"34",
        "MltService":"avformat","Resource":"bars.mp4","Length":"80","Type":"video",
        "Property":{"a":"x", "luma":"lumas/l.pgm"}, "SubClips":[{"Name":"t1", "In":"0", "Out":"24",
                     "Resource":"title.png", "Type":"image",
                     "Profile":{"Width":640, "Height":360, "FrameRate":25}}]})"));
    EXPECT_EQ(entries("p1") + " " + property(MLT_PLAYLIST_SERVICE(playlist("p1")), "hide"),
              "10-34 2");
    std::string actual;
    for (const char* name :
         {"resource", "length", "a", "luma", "producer.t1.resource", "producer.t1.profile.width"}) {
        actual += property(MLT_PRODUCER_SERVICE(mainSource(playlist("p1"))), name) + " ";
    }
    EXPECT_EQ(actual, cache_ + "/bars.mp4 80 x " + cache_ + "/lumas/l.pgm title.png 640 ");

    ASSERT_TRUE(apply("addClip", clip("Track1", "o1", -1, 0, 9, R"("OldID":"c2")")));
    EXPECT_EQ(mainSource(playlist("o1")), mainSource(playlist("c2")));
    // A source that cannot be opened leaves a playlist of the blank, on the main track as long
    // as the track.
    EXPECT_FALSE(
        apply("addClip", clip("Track0", "f2", -1, 0, 9, R"("BlankLength":"10")", "no.mp4")));
    ASSERT_TRUE(apply("addClip", clip("Track0", "n3", -1, 0, 24)));
    EXPECT_EQ(entries("f2 n3"), "blank(250)|blank(250) 0-24");
}

TEST_F(EngineGraphTest, AlterClipResizesReplacesHidesAndMovesAndDeleteClipRemoves) {
    mlt_producer before = mainSource(playlist("c2"));
    listen(MLT_PRODUCER_PROPERTIES(before), "subclip-changed");
    ASSERT_TRUE(apply("alterClip", clip("Track0", "c2", 1, 10, 39, R"("Length":"90")")));
    EXPECT_EQ(entries("c2 c3"), "blank(100) 10-39|blank(130) 0-49");
    EXPECT_TRUE(mainSource(playlist("c2")) == before &&
                property(MLT_PRODUCER_SERVICE(before), "length") == "90");
    std::string other = testsupport::colourBarsWithTone(2);
    ASSERT_TRUE(apply("alterClip", clip("Track0", "c2", 1, 0, 29, "", other)));
    mlt_service after = MLT_PRODUCER_SERVICE(mainSource(playlist("c2")));
    EXPECT_EQ(property(after, "resource") + " " + property(after, "id"), other + " c2");
    EXPECT_EQ(entries("c2 c3"), "blank(100) 0-29|blank(130) 0-49");
    listen(MLT_PRODUCER_PROPERTIES(mainSource(playlist("c1"))), "scene-changed");
    ASSERT_TRUE(apply("alterSceneResource",
                      R"({"ID":"c1","Type":"text","Name":"title1","Para":"{\"size\":12}"})"));
    // A replaced source is not told of the resize.
    EXPECT_EQ(fired, " subclip-changed@c2_p scene-changed@c1_p");
    EXPECT_EQ(sceneTexts, (std::vector<std::string>{"text", "title1", "{\"size\":12}"}));

    ASSERT_TRUE(
        apply("alterClip", clip("Track1", "v1", 0, 0, 49, R"("Type":"video","BlankLength":"12")")));
    EXPECT_EQ(property(MLT_PLAYLIST_SERVICE(playlist("v1")), "hide") + " " + entries("v1"),
              "2 blank(12) 0-49");
    ASSERT_TRUE(apply("alterClip", clip("Track1", "v1", 0, 0, 49, R"("BlankLength":"0")")));
    EXPECT_EQ(entries("v1"), "0-49");
    ASSERT_TRUE(apply("alterClip", clip("Track0", "zz", 0, 5, 15, "", "", 2)));  // moves even so
    EXPECT_EQ(tracks("Track0") + "|" + entries("c3 c1 c2"),
              "c3 c1 c2|0-49|blank(50) 0-99|blank(150) 0-29");
    for (auto [indexNew, indexOld] : {std::pair{3, 2}, {0, 3}}) {
        EXPECT_FALSE(apply("alterClip", clip("Track0", "c2", indexNew, 5, 15, "", "", indexOld)));
        EXPECT_EQ(tracks("Track0") + "|" + entries("c2"), "c3 c1 c2|blank(150) 5-15");
    }
    std::string left;
    for (const char* index : {"", R"(,"Index":-1)", R"(,"Index":0)"}) {
        load();
        EXPECT_TRUE(
            apply("deleteClip", R"({"ClipID":"c2","TrackID":"Track0")" + std::string(index) + "}"));
        left += tracks("Track0") + "|";
    }
    EXPECT_EQ(left, "c1 c3|c1 c3|c2 c3|");
    EXPECT_EQ(entries("c2 c3"), "0-49|blank(50) 0-49");  // the main track is re-laid
    ASSERT_TRUE(apply("deleteAllClip", R"({"TrackID":"Track1"})"));
    EXPECT_EQ(tracks("Track1"), "");
}

TEST_F(EngineGraphTest, MainTrackTransitionFollowsClipEditsAndTheGraphRendersAndSaves) {
    ASSERT_TRUE(apply("addTransition", kMainTransition));
    EXPECT_EQ(entries("c1 c2 c3") + "|" + located("t1") + " " +
                  property(find(ServiceKind::Transition, "t1"), "mlt_service"),
              "0-99 99-99x5|blank(90) 0-0x10 0-49|blank(150) 0-49|0/1 90-104@Track0 luma");
    ASSERT_TRUE(apply("alterClip", clip("Track0", "c1", 0, 0, 79)));
    EXPECT_EQ(entries("c1 c2 c3") + "|" + located("t1"),
              "0-79 79-79x5|blank(70) 0-0x10 0-49|blank(130) 0-49|0/1 70-84@Track0");
    // A clip sent without a blank gets it back in front of its head freeze, and a new
    // source takes the freezes over.
    ASSERT_TRUE(apply("alterClip", clip("Track0", "c2", 1, 0, 49, R"("BlankLength":"0")")));
    EXPECT_EQ(entries("c2"), "blank(70) 0-0x10 0-49");
    std::string other = testsupport::colourBarsWithTone(2);
    ASSERT_TRUE(apply("alterClip", clip("Track0", "c2", 1, 5, 45, "", other)));
    EXPECT_EQ(entries("c2") + "|" + located("t1"), "blank(70) 5-5x10 5-45|0/1 70-84@Track0");
    // Every edit rewrites the dump.
    EXPECT_NE(testsupport::readFile(cache_ + "/Logs/logxml.xml").find(other), std::string::npos);

    EXPECT_EQ(mlt_producer_get_length(producer_), 171);
    for (int position : {10, 78, 82, 100, 150, 170}) {  // around and on the freezes
        mlt_producer_seek(producer_, position);
        mlt_frame frame = nullptr;
        ASSERT_EQ(mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer_), &frame, 0), 0);
        mlt_image_format format = mlt_image_rgb;
        uint8_t* image = nullptr;
        int width = profile_->width, height = profile_->height, size = width * height * 3;
        ASSERT_EQ(mlt_frame_get_image(frame, &image, &format, &width, &height, 0), 0);
        ASSERT_TRUE(image && format == mlt_image_rgb && width * height * 3 == size) << position;
        EXPECT_GT(std::accumulate(image, image + size, uint64_t{0}) / size, 40u)  // colour bars
            << position;
        mlt_frame_close(frame);
    }

    // The saved file is an MLT graph of its own, with the freezes and the timeline filter.
    const std::string edited = entries("c1 c2 c3 v1 a1") + "|" + located("t1");
    helper_->saveMltFile("/saved.mlt");
    EXPECT_NE(testsupport::readFile(cache_ + "/saved.mlt").find(R"(<filter id="mf1")"),
              std::string::npos);
    ASSERT_TRUE(apply("deleteTransition", R"({"TransitionID":"t1","TrackType":0})"));
    EXPECT_EQ(entries("c1 c2") + "|" + located("t1"), "0-79|blank(80) 5-45|");
    loadFile(cache_ + "/saved.mlt");
    EXPECT_EQ(entries("c1 c2 c3 v1 a1") + "|" + located("t1"), edited);
}

TEST_F(EngineGraphTest, TransitionsBetweenTracksAndFiltersAreAddedAlteredAndDeleted) {
    ASSERT_TRUE(apply("addTransition", R"({"TrackID_A":"Track0","TrackID_B":"AudioTrack0",
        "Index_A":4,"Index_B":7,"Title":"dissolve","In":"5","Out":"20","ID":"t2","TrackType":1})"));
    EXPECT_EQ(located("t2"), "0/2 5-20@maintractor");
    ASSERT_TRUE(apply("deleteTransition", R"({"TransitionID":"t2","TrackType":1})"));
    EXPECT_EQ(located("t2"), "");
    // A clip's filter goes on its source, with relative paths made absolute.
    ASSERT_TRUE(apply("addFilter", R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":1,
        "In":"5","Out":"20","Property":{"level":"0.5","filename":"lumas/a.pgm"}})"));
    mlt_service filter = find(ServiceKind::Filter, "f1");
    EXPECT_EQ(located("f1", ServiceKind::Filter) + " " + property(filter, "level") + " " +
                  property(filter, "filename"),
              "5-20@c2_p 0.5 " + cache_ + "/lumas/a.pgm");
    ASSERT_TRUE(
        apply("alterFilter", R"({"ID":"f1","In":"1","Out":"2","Property":{"av.file":"b.png"}})"));
    EXPECT_EQ(located("f1", ServiceKind::Filter) + " " + property(filter, "av.file"),
              "1-2@c2_p " + cache_ + "/b.png");
    ASSERT_TRUE(apply("deleteFilter", R"({"FilterID":"f1","TrackID":"Track0","Index":7})"));
    EXPECT_EQ(located("f1", ServiceKind::Filter), "");
    // A track's filter goes on its tractor and needs its times.
    const std::string track = R"({"TrackID":"Track1","ID":"f2","Title":"bright","Index":-1)";
    EXPECT_FALSE(apply("addFilter", track + "}"));
    ASSERT_TRUE(apply("addFilter", track + R"(,"In":"0","Out":"50"})"));
    EXPECT_EQ(located("f2", ServiceKind::Filter), "0-50@Track1");
}

}  // namespace
}  // namespace enginetest
