// The single-command and batch dispatchers: result texts, log lines, which
// steps run, and the two batch commands.
#include <gtest/gtest.h>

#include <mlt-7/framework/mlt.h>

#include "framework_fixture.h"
#include "messages/styled_json.h"
#include "support/test_media.h"

namespace fwtest {
namespace {

using CommandDispatchTest = FrameworkTest;

struct ResultCase {
    const char* command;
    std::string content;
    std::string expected;
};

TEST_F(CommandDispatchTest, AnswersEachResultKindInTheStyledText) {
    const ResultCase cases[] = {
        {"PRE_ISAUDIOVALID", "", kTrueText},
        {"PRE_ISEXPORTSTOP", "", kFalseText},
        {"PRE_GETFPS", "", "{\n   \"ReturnResultString\" : 0.0\n}\n"},
        {"PRE_GETCURRENTTIME", "", "{\n   \"ReturnResultString\" : 0.0\n}\n"},
        {"PRE_GETCURRENTPOS", "", "{\n   \"ReturnResultString\" : 0\n}\n"},
        {"PRE_GETTOTALFRAME", "", "{\n   \"ReturnResultString\" : 0\n}\n"},
        {"PRE_GETTOTALTIME_STR", "", stringResult("")},
        {"PRE_GETCURRENTTIME_STR", "", stringResult("")},
        {"GET_MLT_FILE", "", stringResult("")},
        {"PRE_STOP_CONSUMER", "", kFalseText},
        {"PRE_START_CONSUMER", "", kFalseText},
        {"CLOSE_MOVIE", "", kTrueText},
        {"ADD_TRACK", trackContent("Track0"), kTrueText},
        {"ADD_TRACK", trackContent("Track9", "text"), kFalseText},
        {"UPDATE_TEXTFILTER", R"({"FileName":"a.txt"})", kFalseText},
        {"ALTER_SCENE_RESOURSE", "{}", kTrueText},
        {"HW_DECODE_ACCEL_ENABLE", R"({"Enable":1})", kTrueText},
        {"HW_DECODE_ACCEL_ENABLE", R"({"Enable":true})", kFalseText},
        {"NO_SUCH_COMMAND", "", kFalseText},
        {"add_track", trackContent("Track1"), kFalseText},
    };
    for (const ResultCase& c : cases) {
        EXPECT_EQ(command(c.command, c.content), c.expected) << c.command << " " << c.content;
    }
}

TEST_F(CommandDispatchTest, BatchesAndEmptyMessagesAnswerTrue) {
    EXPECT_EQ(framework_->runCommandMessage(R"({"ID":"1","Action":[]})"), kTrueText);
    EXPECT_EQ(framework_->runCommandMessage("{"), kTrueText);
    EXPECT_EQ(framework_->runCommandMessage(
                  batch({{"ADD_TRACK", trackContent("X", "text")}, {"DELETE_TRACK", "{}"}})),
              kTrueText);
}

TEST_F(CommandDispatchTest, CommandLogsReceiveAndOkAtInfo) {
    LogCapture log;
    command("ADD_TRACK", trackContent("Track9", "text"));
    EXPECT_TRUE(log.has(kLogInfo, "Receive [ADD_TRACK] command"));
    // The Ok line follows the normal path even when the step failed.
    EXPECT_TRUE(log.has(kLogInfo, "Return [ADD_TRACK] command Ok"));
}

TEST_F(CommandDispatchTest, PollingQueriesAndUnknownNamesLeaveNoTrace) {
    LogCapture log;
    command("PRE_GETCURRENTPOS");
    command("PRE_GETTOTALTIME_STR");
    command("NO_SUCH_COMMAND");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(CommandDispatchTest, UnknownCommandInsideABatchIsSkippedSilently) {
    LogCapture log;
    EXPECT_EQ(framework_->runCommandMessage(batch({{"NO_SUCH_COMMAND", "{}"},
                                                   {"ADD_TRACK", trackContent("T0")},
                                                   {"PRE_GETFPS", ""},
                                                   {"UNDO_LAST_ACTION", ""}})),
              kTrueText);
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
    EXPECT_TRUE(log.has(kLogInfo, "Receive [ADD_TRACK] command"));
    EXPECT_TRUE(log.has(kLogInfo, "Return [ADD_TRACK] command Ok"));
    EXPECT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(history().size(), 1);
}

TEST_F(CommandDispatchTest, AddClipAnswersThePlayerStepWhileTheModelTakesTheClip) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    // Without a running preview the engine edit fails.
    EXPECT_EQ(command("ADD_CLIP", clipContent("c1", "Track0")), kFalseText);
    EXPECT_EQ(clipIds(), (std::vector<std::string>{"c1_p"}));
}

TEST_F(CommandDispatchTest, AddFilterAnswersTheModelStep) {
    EXPECT_EQ(command("ADD_FILTER", R"({"ID":"f1","Title":"t_bright","TrackID":"maintractor"})"),
              kTrueText);
    EXPECT_EQ(command("ADD_FILTER", R"({"ID":"f2","Title":"t_unknown","TrackID":"maintractor"})"),
              kFalseText);
    ASSERT_EQ(project().mainFilters().size(), 1u);
}

TEST_F(CommandDispatchTest, FilterEditsReachThePlayerOnlyAfterTheModelAcceptedThem) {
    const char kPlayerRefused[] = "mlt_consumer_stop m_producer or consumer is null";
    command("ADD_FILTER", R"({"ID":"f1","Title":"t_bright","TrackID":"maintractor"})");
    LogCapture log;
    EXPECT_EQ(command("ALTER_FILTER", R"({"ID":"f1","FilterID":"f1","Title":"t_bright",
                                         "TrackID":"NoTrack"})"),
              kFalseText);
    EXPECT_EQ(command("DELETE_FILTER", R"({"FilterID":"f1","TrackID":"NoTrack"})"), kFalseText);
    EXPECT_FALSE(log.has(kLogError, kPlayerRefused));
    EXPECT_EQ(project().mainFilters().size(), 1u);

    // An accepted deletion goes on to the player, which has no preview.
    EXPECT_EQ(command("DELETE_FILTER", R"({"FilterID":"f1","TrackID":"maintractor"})"), kFalseText);
    EXPECT_TRUE(project().mainFilters().empty());
    EXPECT_TRUE(log.has(kLogError, kPlayerRefused));
}

TEST_F(CommandDispatchTest, BatchRunsFilterPlayerStepsWhateverTheModelAnswered) {
    const char kPlayerRefused[] = "mlt_consumer_stop m_producer or consumer is null";
    LogCapture log;
    framework_->runCommandMessage(batch({{"DELETE_FILTER", R"({"FilterID":"f","TrackID":"No"})"},
                                         {"ADD_TRACK", trackContent("T0")}}));
    EXPECT_TRUE(log.has(kLogError, kPlayerRefused));
}

TEST_F(CommandDispatchTest, DeleteBatchTransClipDeletesByTypeAndReportsOthers) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    command("ADD_TRACK", trackContent("Track1"));
    command("ADD_CLIP", clipContent("c1", "Track0"));
    command("ADD_TRANSITION",
            R"({"ID":"tr1","Title":"t_dissolve","TrackID_A":"Track0","TrackID_B":"Track1"})");
    ASSERT_EQ(project().transitions().size(), 1u);
    int points = history().size();

    const std::string content = R"([{"Type":"1","TrackID":"Track0","ClipID":"c1"},)"
                                R"({"Type":"7","TrackID":"Track0"},)"
                                R"({"Type":"0","TransitionID":"tr1"}])";
    LogCapture log;
    EXPECT_EQ(command("DELETE_BATCH_TRANSCLIP", content), kTrueText);

    EXPECT_TRUE(clipIds().empty());
    EXPECT_TRUE(project().findTrack("Track0")->mediaIds().empty());
    EXPECT_TRUE(project().transitions().empty());
    Json::Value parsed;
    ASSERT_TRUE(parseJsonText(content, parsed));
    EXPECT_EQ(log.count(kLogError, "Type Exception " + toStyledJson(parsed)), 1);
    EXPECT_TRUE(log.has(kLogInfo, "received DELETE_BATCH_TRANSCLIP"));
    EXPECT_FALSE(log.has(kLogInfo, "Receive [DELETE_BATCH_TRANSCLIP] command"));
    EXPECT_TRUE(log.has(kLogInfo, "Return [DELETE_BATCH_TRANSCLIP] command Ok"));
    EXPECT_EQ(history().size(), points + 1);
}

TEST_F(CommandDispatchTest, AddBatchClipAddsEveryElement) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    LogCapture log;
    EXPECT_EQ(command("ADD_BATCH_CLIP",
                      "[" + clipContent("c1", "Track0") + "," + clipContent("c2", "Track0") + "]"),
              kTrueText);
    EXPECT_EQ(clipIds(), (std::vector<std::string>{"c1_p", "c2_p"}));
    EXPECT_EQ(project().findTrack("Track0")->mediaIds(),
              (std::vector<std::string>{"c1_p", "c2_p"}));
    EXPECT_TRUE(log.has(kLogInfo, "received ADD_BATCH_CLIP"));
    EXPECT_EQ(history().size(), 2);
}

TEST_F(CommandDispatchTest, BatchCommandsRefuseContentThatIsNotAnArray) {
    for (const char* name : {"ADD_BATCH_CLIP", "DELETE_BATCH_TRANSCLIP"}) {
        LogCapture log;
        int points = history().size();
        EXPECT_EQ(command(name, clipContent("c1", "Track0")), kTrueText) << name;
        EXPECT_EQ(log.count(kLogError, "Not an array element "), 1) << name;
        EXPECT_EQ(history().size(), points + 1) << name;
    }
    EXPECT_TRUE(clipIds().empty());
    // An absent content is an empty batch.
    LogCapture log;
    EXPECT_EQ(command("ADD_BATCH_CLIP"), kTrueText);
    EXPECT_FALSE(log.has(kLogError, "Not an array element "));
}

TEST_F(CommandDispatchTest, ProjectFilesInsideABatchAreOnlyChecked) {
    std::string folder = testsupport::makeTempDirectory("qv-fw-batch");
    std::string file = folder + "/batch.xml";
    command("ADD_TRACK", trackContent("T0"));
    LogCapture log;
    framework_->runCommandMessage(batch({{"SAVE_PROJECT", R"({"FileName":")" + file + "\"}"},
                                         {"LOAD_PROJECT", "{}"},
                                         {"SAVE_PROJECT", "{}"}}));
    EXPECT_FALSE(testsupport::fileExists(file));
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"T0"}));
    EXPECT_EQ(log.count(kLogError, "Return [LOAD_PROJECT] command Error"), 1);
    EXPECT_EQ(log.count(kLogError, "Return [SAVE_PROJECT] command Error"), 1);
    EXPECT_FALSE(log.has(kLogInfo, "Return [SAVE_PROJECT] command Ok"));
    EXPECT_FALSE(log.has(kLogInfo, "Return [LOAD_PROJECT] command Ok"));
}

TEST_F(CommandDispatchTest, SaveAndLoadProjectRoundTrip) {
    std::string folder = testsupport::makeTempDirectory("qv-fw-project");
    std::string file = folder + "/project.xml";
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    command("ADD_CLIP", clipContent("c1", "Track0"));
    EXPECT_EQ(command("SAVE_PROJECT", R"({"FileName":")" + file + "\"}"), kTrueText);
    std::string saved = testsupport::readFile(file);
    EXPECT_NE(saved.find("<Quillavant>"), std::string::npos);

    command("CLEAR_PROJECT");
    EXPECT_TRUE(clipIds().empty());
    EXPECT_EQ(command("LOAD_PROJECT", R"({"FileName":")" + file + "\"}"), kTrueText);
    EXPECT_EQ(clipIds(), (std::vector<std::string>{"c1_p"}));
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"Track0"}));
}

struct MissingFieldCase {
    const char* command;
    const char* errorLine;  // nullptr: no line at all
    bool okLine;
};

TEST_F(CommandDispatchTest, MissingFileFieldsEndWithTheirOwnLines) {
    const MissingFieldCase cases[] = {
        {"SAVE_PROJECT", nullptr, false},
        {"LOAD_PROJECT", "Return [LOAD_PROJECT] command Error", false},
        {"UPDATE_TEXTFILTER", "Return [UPDATE_TEXTFILTER] command Error", false},
        {"HW_DECODE_ACCEL_ENABLE", "Return [HW_DECODE_ACCEL_ENABLE] command Error", false},
    };
    for (const MissingFieldCase& c : cases) {
        LogCapture log;
        EXPECT_EQ(command(c.command, "{}"), kFalseText) << c.command;
        EXPECT_TRUE(log.has(kLogInfo, std::string("Receive [") + c.command + "] command"));
        EXPECT_EQ(log.has(kLogInfo, std::string("Return [") + c.command + "] command Ok"), c.okLine)
            << c.command;
        EXPECT_EQ(log.startingWith(kLogError, "").size(), c.errorLine ? 1u : 0u) << c.command;
        if (c.errorLine) {
            EXPECT_TRUE(log.has(kLogError, c.errorLine)) << c.command;
        }
    }
}

TEST_F(CommandDispatchTest, UpdateTextFilterWithAFileNameWritesNoOkLine) {
    LogCapture log;
    command("UPDATE_TEXTFILTER", R"({"FileName":"a.txt"})");
    EXPECT_FALSE(log.has(kLogInfo, "Return [UPDATE_TEXTFILTER] command Ok"));
    EXPECT_TRUE(log.startingWith(kLogError, "").empty());
}

TEST_F(CommandDispatchTest, HardwareDecodingSwitchSetsTheEngineGlobalProperty) {
    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    EXPECT_EQ(command("HW_DECODE_ACCEL_ENABLE", R"({"Enable":1})"), kTrueText);
    EXPECT_EQ(mlt_properties_get_int(mlt_global_properties(), "hwaccel_enable"), 1);
    EXPECT_EQ(command("HW_DECODE_ACCEL_ENABLE", R"({"Enable":0})"), kTrueText);
    EXPECT_EQ(mlt_properties_get_int(mlt_global_properties(), "hwaccel_enable"), 0);
    EXPECT_EQ(command("HW_DECODE_ACCEL_ENABLE", R"({"Enable":1.0})"), kFalseText);
    EXPECT_EQ(mlt_properties_get_int(mlt_global_properties(), "hwaccel_enable"), 0);
}

}  // namespace
}  // namespace fwtest
