// Which messages record a history point, and what stepping back and forward
// restores: the containers of a recorded state, sharing the timeline objects
// with the live project.
#include <gtest/gtest.h>

#include "framework_fixture.h"

namespace fwtest {
namespace {

using UndoHistoryTest = FrameworkTest;

struct PointCase {
    const char* what;
    std::string body;
    int pointsAdded;
};

TEST_F(UndoHistoryTest, EachKindOfMessageRecordsItsNumberOfPoints) {
    const PointCase cases[] = {
        {"single editing command", body("ADD_TRACK", trackContent("Track0")), 1},
        {"failing editing command", body("ADD_TRACK", trackContent("T9", "text")), 1},
        {"two failing commands in a batch",
         batch({{"ADD_TRACK", trackContent("A", "text")}, {"DELETE_TRACK", "{}"}}), 1},
        {"empty action list", R"({"ID":"1","Action":[]})", 1},
        {"message without ID", R"({"Action":[{"Command":"ADD_TRACK","Content":{}}]})", 1},
        {"body that is not JSON", "not json", 1},
        {"compose clip", body("ADD_COMPOSE_CLIP", clipContent("cc", "Track0")), 0},
        {"compose clip alteration", body("ALTER_COMPOSE_CLIP", clipContent("cc", "Track0")), 0},
        {"save without file name", body("SAVE_PROJECT", "{}"), 1},
        {"load without file name", body("LOAD_PROJECT", "{}"), 1},
        {"clear", body("CLEAR_PROJECT"), 1},
        {"batch clip with an object", body("ADD_BATCH_CLIP", "{}"), 1},
        {"query", body("PRE_GETFPS"), 0},
        {"open movie", body("OPEN_MOVIE", R"({"Profile":""})"), 0},
        {"unknown command", body("NO_SUCH_COMMAND"), 0},
    };
    for (const PointCase& c : cases) {
        int before = history().size();
        framework_->runCommandMessage(c.body);
        EXPECT_EQ(history().size() - before, c.pointsAdded) << c.what;
        EXPECT_EQ(history().index(), history().size() - 1) << c.what;
    }
}

TEST_F(UndoHistoryTest, UndoAndRedoWithoutPointsAnswerTrueAndChangeNothing) {
    EXPECT_EQ(command("UNDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(command("REDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(history().index(), -1);
    EXPECT_EQ(history().size(), 0);
}

TEST_F(UndoHistoryTest, UndoStopsAtTheFirstPointWhichHoldsTheFirstEdit) {
    command("ADD_TRACK", trackContent("T0"));
    command("ADD_TRACK", trackContent("T1"));
    command("ADD_TRACK", trackContent("T2"));
    ASSERT_EQ(history().index(), 2);

    EXPECT_EQ(command("UNDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0", "T1"}));
    EXPECT_EQ(command("UNDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
    EXPECT_EQ(history().index(), 0);

    EXPECT_EQ(command("UNDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
    EXPECT_EQ(history().index(), 0);

    EXPECT_EQ(command("REDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(command("REDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0", "T1", "T2"}));
    EXPECT_EQ(history().index(), 2);
    EXPECT_EQ(history().size(), 3);
}

TEST_F(UndoHistoryTest, RecordingAfterUndoCutsTheRedoBranch) {
    command("ADD_TRACK", trackContent("T0"));
    command("ADD_TRACK", trackContent("T1"));
    command("ADD_TRACK", trackContent("T2"));
    command("UNDO_LAST_ACTION");
    command("UNDO_LAST_ACTION");

    command("ADD_TRACK", trackContent("T3"));
    EXPECT_EQ(history().size(), 2);
    EXPECT_EQ(history().index(), 1);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0", "T3"}));

    command("REDO_LAST_ACTION");
    EXPECT_EQ(history().index(), 1);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0", "T3"}));
    command("UNDO_LAST_ACTION");
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
}

TEST_F(UndoHistoryTest, UndoAfterComposeClipAlsoUndoesTheLastRecordedEdit) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    command("ADD_CLIP", clipContent("c1", "Track0"));
    ASSERT_EQ(history().index(), 1);
    command("ADD_COMPOSE_CLIP", clipContent("c2", "Track0"));
    EXPECT_EQ(clipIds(), (std::vector<std::string>{"c1_p", "c2_p"}));
    EXPECT_EQ(history().size(), 2);

    command("UNDO_LAST_ACTION");
    EXPECT_TRUE(clipIds().empty());
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"Track0"}));
}

TEST_F(UndoHistoryTest, ObjectsChangedInPlaceStayChangedInEarlierPoints) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    command("ADD_CLIP", clipContent("c1", "Track0"));
    command("UNDO_LAST_ACTION");

    // The clip leaves the clips map, but the track object is the one the
    // first point shares, and it keeps the placement ADD_CLIP gave it.
    EXPECT_TRUE(clipIds().empty());
    std::shared_ptr<MeTractor> track = project().findTrack("Track0");
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mediaIds(), (std::vector<std::string>{"c1_p"}));
}

TEST_F(UndoHistoryTest, ClearAndLoadRecordPointsThatUndoCanStepBackOver) {
    command("ADD_TRACK", trackContent("T0"));
    command("CLEAR_PROJECT");
    EXPECT_TRUE(videoTrackIds().empty());
    command("LOAD_PROJECT", R"({"FileName":"/nonexistent/project.xml"})");
    EXPECT_EQ(history().size(), 3);

    command("UNDO_LAST_ACTION");
    command("UNDO_LAST_ACTION");
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
}

TEST_F(UndoHistoryTest, UndoLogsItsCommandLinesAtInfo) {
    LogCapture log;
    command("UNDO_LAST_ACTION");
    command("REDO_LAST_ACTION");
    EXPECT_TRUE(log.has(kLogInfo, "Receive [UNDO_LAST_ACTION] command"));
    EXPECT_TRUE(log.has(kLogInfo, "Return [UNDO_LAST_ACTION] command Ok"));
    EXPECT_TRUE(log.has(kLogInfo, "Receive [REDO_LAST_ACTION] command"));
    EXPECT_TRUE(log.has(kLogInfo, "Return [REDO_LAST_ACTION] command Ok"));
}

}  // namespace
}  // namespace fwtest
