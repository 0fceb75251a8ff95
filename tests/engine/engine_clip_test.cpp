// Clip edits on a loaded timeline: where clip playlists land, what their
// entries and producers hold afterwards, and how the main track is re-laid.
#include <unistd.h>

#include "engine_fixture.h"
#include "support/test_media.h"

namespace enginetest {
namespace {

const char* text(mlt_producer producer, const char* name) {
    const char* value = mlt_properties_get(MLT_PRODUCER_PROPERTIES(producer), name);
    return value ? value : "(unset)";
}

TEST_F(EngineGraphTest, AddClipInsertsTheClipPlaylistAtTheIndexOrAppends) {
    struct Case {
        int index;
        bool result;
        const char* tracks;
    } cases[] = {
        {-1, true, "v1 n1"}, {1, true, "v1 n1"},  // equal to the count
        {0, true, "n1 v1"},  {2, true, "v1"},     // beyond the count: nothing is created
        {-5, true, "v1"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.index);
        load(standardProject());
        CParseJson add = content(addClipJson("Track1", "n1", test.index, 0, 24));
        EXPECT_EQ(helper().addClip(add, profile()), test.result);
        EXPECT_EQ(tracks("Track1"), test.tracks);
    }
}

TEST_F(EngineGraphTest, AddClipOnTheMainTrackLaysEveryClipEndToEnd) {
    CParseJson append = content(addClipJson("Track0", "n1", -1, 0, 24, R"("BlankLength":"7")"));
    ASSERT_TRUE(helper().addClip(append, profile()));
    EXPECT_EQ(tracks("Track0"), "c1 c2 c3 n1");
    EXPECT_EQ(entries("n1"), "blank(200) 0-24");

    CParseJson first = content(addClipJson("Track0", "n2", 0, 0, 24, R"("BlankLength":"7")"));
    ASSERT_TRUE(helper().addClip(first, profile()));
    EXPECT_EQ(tracks("Track0"), "n2 c1 c2 c3 n1");
    EXPECT_EQ(entries("n2"), "0-24");  // the first clip never keeps a blank
    EXPECT_EQ(entries("c1"), "blank(25) 0-99");
    EXPECT_EQ(entries("c2"), "blank(125) 0-49");
    EXPECT_EQ(entries("c3"), "blank(175) 0-49");
    EXPECT_EQ(entries("n1"), "blank(225) 0-24");
}

TEST_F(EngineGraphTest, AddClipOnAnotherTrackKeepsItsBlankAndRepeats) {
    CParseJson add =
        content(addClipJson("Track1", "n1", -1, 0, 24, R"("BlankLength":"30","Repeat":"3")"));
    ASSERT_TRUE(helper().addClip(add, profile()));
    EXPECT_EQ(entries("n1"), "blank(30) 0-24x3");
    // A repeated entry is no main entry.
    EXPECT_EQ(MltHelper::mainEntryIndex(playlist("n1")), -1);
    EXPECT_EQ(entries("v1"), "0-49");
}

TEST_F(EngineGraphTest, AddClipBuildsTheProducerFromTheCommand) {
    CParseJson add = content(addClipJson("Track1", "n1", -1, 10, 34, R"(
        "Length":"80", "Type":"video",
        "Property":{"a":"x", "n":5, "luma":"lumas/l.pgm", "producer.resource":"/abs.png"},
        "SubClips":[{"Name":"t1", "Resource":"title.png", "Type":"image", "In":"0", "Out":"24",
                     "Start":"", "Profile":{"Width":640, "Height":360, "FrameRate":25}}])"));
    ASSERT_TRUE(helper().addClip(add, profile()));
    mlt_playlist clip = playlist("n1");
    ASSERT_NE(clip, nullptr);
    EXPECT_EQ(entries("n1"), "10-34");
    EXPECT_EQ(mlt_properties_get_int(MLT_PLAYLIST_PROPERTIES(clip), "hide"), 2);
    mlt_producer source = mainSource(clip);
    ASSERT_NE(source, nullptr);
    const std::pair<const char*, std::string> expected[] = {
        {"mlt_service", "avformat"},
        {"resource", media_},
        {"id", "(unset)"},
        {"length", "80"},
        {"cache", "10"},
        {"a", "x"},
        {"n", "5"},
        {"luma", cache_ + "/lumas/l.pgm"},
        {"producer.resource", "/abs.png"},
        {"producer.t1.resource", "title.png"},
        {"producer.t1.type", "image"},
        {"producer.t1.in", "0"},
        {"producer.t1.out", "24"},
        {"producer.t1.start", "(unset)"},
        {"producer.t1.end", "(unset)"},
        {"producer.t1.profile.width", "640"},
        {"producer.t1.profile.height", "360"},
        {"producer.t1.profile.fps", "25.000000"},
    };
    for (const auto& property : expected) {
        EXPECT_EQ(text(source, property.first), property.second) << property.first;
    }
}

TEST_F(EngineGraphTest, AddClipOpensARelativeResourceBelowTheCachePath) {
    ASSERT_EQ(mkdir((cache_ + "/media").c_str(), 0700), 0);
    ASSERT_EQ(symlink(media_.c_str(), (cache_ + "/media/bars.mp4").c_str()), 0);
    CParseJson add = content(R"({"TrackID":"Track1","ID":"n1","Index":-1,"MltService":"avformat",
        "Resource":"media/bars.mp4","In":"0","Out":"24"})");
    ASSERT_TRUE(helper().addClip(add, profile()));
    mlt_producer source = mainSource(playlist("n1"));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(std::string(text(source, "resource")), cache_ + "/media/bars.mp4");
    EXPECT_EQ(mlt_producer_get_length(source), 100);
}

TEST_F(EngineGraphTest, AddClipWithOldIdSharesTheOldClipsSource) {
    CParseJson add = content(addClipJson("Track1", "n1", -1, 0, 9, R"("OldID":"c2")"));
    ASSERT_TRUE(helper().addClip(add, profile()));
    EXPECT_EQ(mainSource(playlist("n1")), mainSource(playlist("c2")));
    EXPECT_EQ(entries("c2"), "blank(100) 0-49");
}

TEST_F(EngineGraphTest, AddClipWhoseProducerCannotBeMadeFailsAndLeavesTheEmptyPlaylist) {
    LogCapture log;
    CParseJson add = content(R"({"TrackID":"Track1","ID":"n1","Index":-1,"BlankLength":"10",
        "MltService":"no_such_service","Resource":"x","In":"0","Out":"9"})");
    EXPECT_FALSE(helper().addClip(add, profile()));
    EXPECT_TRUE(log.hasMessage("create producer failed"));
    EXPECT_EQ(tracks("Track1"), "v1 n1");
    EXPECT_EQ(entries("n1"), "blank(10)");
}

TEST_F(EngineGraphTest, AMainTrackPlaylistHoldingOnlyABlankKeepsOneBlank) {
    CParseJson failing = content(R"({"TrackID":"Track0","ID":"f1","Index":-1,"BlankLength":"10",
        "MltService":"no_such_service","Resource":"x","In":"0","Out":"9"})");
    EXPECT_FALSE(helper().addClip(failing, profile()));
    for (const char* id : {"n1", "n2"}) {
        CParseJson add = content(addClipJson("Track0", id, -1, 0, 24));
        ASSERT_TRUE(helper().addClip(add, profile()));
    }
    EXPECT_EQ(tracks("Track0"), "c1 c2 c3 f1 n1 n2");
    EXPECT_EQ(entries("f1"), "blank(200)");
    EXPECT_EQ(entries("n1"), "blank(200) 0-24");
    EXPECT_EQ(entries("n2"), "blank(225) 0-24");
}

TEST_F(EngineGraphTest, AddClipWithAFieldMissingOrOfAnotherKindChangesNothing) {
    const char* bodies[] = {
        R"({"ID":"n1","Index":0,"MltService":"avformat","Resource":"r","In":"0","Out":"9"})",
        R"({"TrackID":"Track1","ID":"n1","MltService":"avformat","Resource":"r","In":"0","Out":"9"})",
        R"({"TrackID":"Track1","ID":"n1","Index":"0","MltService":"avformat","Resource":"r","In":"0","Out":"9"})",
        R"({"TrackID":"Track1","ID":"n1","Index":0,"MltService":"avformat","Resource":"r","In":0,"Out":"9"})",
        R"({"TrackID":"Track1","Index":0,"MltService":"avformat","Resource":"r","In":"0","Out":"9"})",
        R"([1, 2])",
    };
    for (const char* body : bodies) {
        CParseJson add = content(body);
        EXPECT_FALSE(helper().addClip(add, profile())) << body;
        EXPECT_EQ(tracks("Track1"), "v1");
    }
}

TEST_F(EngineGraphTest, AlterClipWithTheSameResourceResizesInPlaceAndTellsTheProducer) {
    LogCapture log;
    mlt_producer before = mainSource(playlist("c2"));
    events_.listen(MLT_PRODUCER_PROPERTIES(before), "subclip-changed");
    CParseJson alter = content(R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,
        "In":"10","Out":"39","Length":"90","MltService":"avformat","Resource":")" +
                               media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(alter, profile()));
    EXPECT_EQ(entries("c2"), "blank(100) 10-39");
    EXPECT_EQ(entries("c3"), "blank(130) 0-49");
    EXPECT_EQ(mainSource(playlist("c2")), before);
    EXPECT_EQ(mlt_properties_get_int(MLT_PRODUCER_PROPERTIES(before), "length"), 90);
    EXPECT_EQ(events_.fired(), std::vector<std::string>{"subclip-changed@c2_p"});
    EXPECT_TRUE(log.hasMessage("alter resize producer " + media_));
}

TEST_F(EngineGraphTest, AlterClipWithAnotherResourceBuildsANewProducerNamedAfterTheClip) {
    LogCapture log;
    mlt_producer before = mainSource(playlist("c2"));
    events_.listen(MLT_PRODUCER_PROPERTIES(before), "subclip-changed");
    std::string other = testsupport::colourBarsWithTone(2);
    CParseJson alter = content(R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,
        "In":"0","Out":"29","MltService":"avformat","Resource":")" +
                               other + "\"}");
    ASSERT_TRUE(helper().alterClip(alter, profile()));
    mlt_producer after = mainSource(playlist("c2"));
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after, before);
    EXPECT_EQ(std::string(text(after, "resource")), other);
    EXPECT_STREQ(text(after, "id"), "c2");
    EXPECT_EQ(entries("c2"), "blank(100) 0-29");
    EXPECT_EQ(entries("c3"), "blank(130) 0-49");
    EXPECT_TRUE(events_.fired().empty());
    EXPECT_TRUE(log.hasMessage("alter new producer " + media_));
}

TEST_F(EngineGraphTest, AlterClipToCompositeRebuildsAnAvformatProducerAndShowsItsAudio) {
    CParseJson video = content(R"({"ID":"v1","TrackID":"Track1","IndexNew":0,"IndexOld":0,
        "In":"0","Out":"49","Type":"video","MltService":"avformat","Resource":")" +
                               media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(video, profile()));
    EXPECT_EQ(mlt_properties_get_int(MLT_PLAYLIST_PROPERTIES(playlist("v1")), "hide"), 2);
    mlt_producer before = mainSource(playlist("v1"));

    CParseJson composite = content(R"({"ID":"v1","TrackID":"Track1","IndexNew":0,"IndexOld":0,
        "In":"0","Out":"49","Type":"composite","MltService":"avformat","Resource":")" +
                                   media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(composite, profile()));
    EXPECT_EQ(mlt_properties_get_int(MLT_PLAYLIST_PROPERTIES(playlist("v1")), "hide"), 0);
    EXPECT_NE(mainSource(playlist("v1")), before);
}

TEST_F(EngineGraphTest, AlterClipBlankLengthSetsOrRemovesTheLeadingBlank) {
    struct Case {
        const char* blank;
        const char* entries;
    } cases[] = {{"12", "blank(12) 0-49"}, {"5", "blank(5) 0-49"}, {"0", "0-49"}, {"0", "0-49"},
                 {"-3", "0-49"},           {"8", "blank(8) 0-49"}};
    for (const Case& test : cases) {
        CParseJson alter = content(R"({"ID":"v1","TrackID":"Track1","IndexNew":0,"IndexOld":0,
            "In":"0","Out":"49","MltService":"avformat","BlankLength":")" +
                                   std::string(test.blank) + R"(","Resource":")" + media_ + "\"}");
        ASSERT_TRUE(helper().alterClip(alter, profile()));
        EXPECT_EQ(entries("v1"), test.entries) << test.blank;
    }
}

TEST_F(EngineGraphTest, AlterClipMovesTheClipPlaylistAndKeepsTheOthersInOrder) {
    for (const char* id : {"n1", "n2"}) {
        CParseJson add = content(addClipJson("Track1", id, -1, 0, 9));
        ASSERT_TRUE(helper().addClip(add, profile()));
    }
    CParseJson move = content(R"({"ID":"n2","TrackID":"Track1","IndexNew":0,"IndexOld":2,
        "In":"0","Out":"9","MltService":"avformat","Resource":")" +
                              media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(move, profile()));
    EXPECT_EQ(tracks("Track1"), "n2 v1 n1");
}

TEST_F(EngineGraphTest, AlterClipToAnIndexNotBelowTheCountFailsAfterChangingTheSource) {
    struct Case {
        int indexNew;
        int indexOld;
        const char* message;
    } cases[] = {
        {3, 1, "alter producer new index 3,is bigger than multitrack count "},
        {0, 3, "alter producer old index 3,is bigger than multitrack count "},
    };
    for (const Case& test : cases) {
        load(standardProject());
        LogCapture log;
        CParseJson alter = content(
            R"({"ID":"c2","TrackID":"Track0","IndexNew":)" + std::to_string(test.indexNew) +
            R"(,"IndexOld":)" + std::to_string(test.indexOld) +
            R"(,"In":"5","Out":"15","MltService":"avformat","Resource":")" + media_ + "\"}");
        EXPECT_FALSE(helper().alterClip(alter, profile()));
        EXPECT_TRUE(log.hasMessage(test.message));
        EXPECT_EQ(tracks("Track0"), "c1 c2 c3");
        EXPECT_EQ(entries("c2"), "blank(100) 5-15");
    }
}

TEST_F(EngineGraphTest, AlterClipOfAnUnknownClipOnlyMoves) {
    CParseJson alter = content(R"({"ID":"zz","TrackID":"Track0","IndexNew":0,"IndexOld":2,
        "In":"5","Out":"15","MltService":"avformat","Resource":")" +
                               media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(alter, profile()));
    EXPECT_EQ(tracks("Track0"), "c3 c1 c2");
    EXPECT_EQ(entries("c3"), "0-49");
    EXPECT_EQ(entries("c1"), "blank(50) 0-99");
    EXPECT_EQ(entries("c2"), "blank(150) 0-49");
}

TEST_F(EngineGraphTest, AlterClipWithAFieldMissingFailsWithItsMessage) {
    LogCapture log;
    CParseJson alter = content(R"({"ID":"c2","TrackID":"Track0","IndexNew":1,"IndexOld":1,
        "In":"5","MltService":"avformat","Resource":"x"})");
    EXPECT_FALSE(helper().alterClip(alter, profile()));
    EXPECT_TRUE(log.hasMessage("alter producer get property failed"));
    EXPECT_EQ(entries("c2"), "blank(100) 0-49");
}

TEST_F(EngineGraphTest, AlterClipOfAPlaylistWithoutAMainEntryFails) {
    CParseJson add = content(addClipJson("Track1", "n1", -1, 0, 9, R"("Repeat":"2")"));
    ASSERT_TRUE(helper().addClip(add, profile()));
    LogCapture log;
    CParseJson alter = content(R"({"ID":"n1","TrackID":"Track1","IndexNew":1,"IndexOld":1,
        "In":"0","Out":"4","MltService":"avformat","Resource":")" +
                               media_ + "\"}");
    EXPECT_FALSE(helper().alterClip(alter, profile()));
    EXPECT_TRUE(log.hasMessage("alter producer get producer failed"));
}

TEST_F(EngineGraphTest, DeleteClipRemovesTheNamedPlaylistOrTheGivenPosition) {
    struct Case {
        const char* body;
        bool result;
        const char* tracks;
        const char* firstEntries;
    } cases[] = {
        // Without "Index" the playlist's own position is used.
        {R"({"ClipID":"c2","TrackID":"Track0"})", true, "c1 c3", "0-99"},
        {R"({"ClipID":"c2","TrackID":"Track0","Index":-1})", true, "c1 c3", "0-99"},
        // With "Index" that position goes, whichever clip it holds.
        {R"({"ClipID":"c3","TrackID":"Track0","Index":0})", true, "c2 c3", "0-49"},
        {R"({"ClipID":"zz","TrackID":"Track0"})", false, "c1 c2 c3", "0-99"},
        {R"({"ClipID":"c2","TrackID":"Track0","Index":3})", false, "c1 c2 c3", "0-99"},
        {R"({"ClipID":"c2","TrackID":"Track9"})", false, "c1 c2 c3", "0-99"},
        {R"({"TrackID":"Track0"})", false, "c1 c2 c3", "0-99"},
        {R"({"ClipID":"c2"})", false, "c1 c2 c3", "0-99"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.body);
        load(standardProject());
        CParseJson remove = content(test.body);
        EXPECT_EQ(helper().deleteClip(remove), test.result);
        EXPECT_EQ(tracks("Track0"), test.tracks);
        EXPECT_EQ(describePlaylist(trackPlaylist(tractor("Track0"), 0)), test.firstEntries);
    }
    // The main track is re-laid: the clip after the removed one moves up.
    load(standardProject());
    CParseJson remove = content(R"({"ClipID":"c2","TrackID":"Track0"})");
    ASSERT_TRUE(helper().deleteClip(remove));
    EXPECT_EQ(entries("c3"), "blank(100) 0-49");
}

TEST_F(EngineGraphTest, DeleteAllClipEmptiesTheTrack) {
    CParseJson add = content(addClipJson("Track1", "n1", -1, 0, 9));
    ASSERT_TRUE(helper().addClip(add, profile()));
    CParseJson removeAll = content(R"({"TrackID":"Track1"})");
    ASSERT_TRUE(helper().deleteAllClip(removeAll));
    EXPECT_EQ(tracks("Track1"), "");
    EXPECT_EQ(tracks("Track0"), "c1 c2 c3");

    for (const char* body : {R"({"TrackID":"Track9"})", R"({})", R"({"TrackID":1})"}) {
        CParseJson bad = content(body);
        EXPECT_FALSE(helper().deleteAllClip(bad)) << body;
    }
}

TEST_F(EngineGraphTest, AlterSceneResourceHandsTheThreeTextsToTheClipsProducer) {
    events_.listen(MLT_PRODUCER_PROPERTIES(mainSource(playlist("c1"))), "scene-changed");
    CParseJson scene =
        content(R"({"ID":"c1","Type":"text","Name":"title1","Para":"{\"size\":12}"})");
    ASSERT_TRUE(helper().alterSceneResource(scene));
    EXPECT_EQ(events_.fired(), std::vector<std::string>{"scene-changed@c1_p"});
    EXPECT_EQ(events_.sceneTexts(), (std::vector<std::string>{"text", "title1", "{\"size\":12}"}));

    events_.clear();
    CParseJson unknown = content(R"({"ID":"zz","Type":"t","Name":"n","Para":"p"})");
    EXPECT_TRUE(helper().alterSceneResource(unknown));
    EXPECT_TRUE(events_.fired().empty());

    LogCapture log;
    CParseJson missing = content(R"({"ID":"c1","Type":"t","Name":"n"})");
    EXPECT_FALSE(helper().alterSceneResource(missing));
    EXPECT_TRUE(log.hasMessage("alter Scene Resource  failed"));
    EXPECT_TRUE(events_.fired().empty());
}

}  // namespace
}  // namespace enginetest
