// A player with nothing to preview: every transport operation is a silent
// no-op, every query answers its neutral value, and the live edits refuse
// with their own log line. Also the engine start and its log routing.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "host/log.h"
#include "messages/parse_json.h"
#include "player/player.h"
#include "player_timeline.h"
#include "support/export_log_capture.h"

namespace {

using Lines = std::vector<std::string>;

TEST(PlayerIdle, TransportBeforePlayChangesNothingAndLogsOnlyItsBeginLine) {
    const struct {
        const char* name;
        std::function<void(MePlayer&)> call;
        Lines logged;
    } cases[] = {
        {"seekAndHold", [](MePlayer& p) { p.seekAndHold(5); }, {"seekAndHold begin"}},
        {"seekAndStop", [](MePlayer& p) { p.seekAndStop(5); }, {"seekAndStop begin"}},
        {"nextFrame", [](MePlayer& p) { p.nextFrame(); }, {"nextFrame begin"}},
        {"preFrame", [](MePlayer& p) { p.preFrame(); }, {"preFrame begin"}},
        {"stop", [](MePlayer& p) { p.stop(); }, {}},
        {"pause", [](MePlayer& p) { p.pause(); }, {}},
        {"continuePlay", [](MePlayer& p) { p.continuePlay(); }, {}},
        {"applyVolume", [](MePlayer& p) { p.applyVolume(); }, {}},
        {"setConsumerVolume", [](MePlayer& p) { p.setConsumerVolume(0.5); }, {}},
        {"setPlaybackSpeed", [](MePlayer& p) { p.setPlaybackSpeed(4.0); }, {}},
        {"resizeWindow", [](MePlayer& p) { p.resizeWindow(640, 360); }, {}},
        {"fullScreen on", [](MePlayer& p) { p.fullScreen(true, 1920, 1080, 0, 0, ""); }, {}},
        {"fullScreen off", [](MePlayer& p) { p.fullScreen(false, 1920, 1080, 0, 0, ""); }, {}},
        {"saveMltFile", [](MePlayer& p) { p.saveMltFile("/nonexistent/never.xml"); }, {}},
    };
    for (const auto& c : cases) {
        MePlayer player;
        testsupport::LogCapture capture;
        c.call(player);
        EXPECT_EQ(capture.messages(), c.logged) << c.name;
        EXPECT_FALSE(player.hasProducer()) << c.name;
        EXPECT_FALSE(PlayerTestAccess::isFullScreen(player)) << c.name;
        EXPECT_EQ(player.speed, 1.0) << c.name;
        EXPECT_EQ(player.windowWidth, 1280) << c.name;
    }
}

TEST(PlayerIdle, QueriesAnswerTheirNeutralValues) {
    MePlayer player;
    EXPECT_EQ(player.getTotalFrames(), 0);
    EXPECT_EQ(player.getExportTotalFrames(), 0);
    EXPECT_FALSE(player.isExportStopped());
    EXPECT_EQ(player.getTotalTime(), 0.0);
    EXPECT_EQ(player.getCurrentTime(), 0.0);
    EXPECT_EQ(player.getFps(), 0.0);
    EXPECT_EQ(player.getTotalTimeString(), "");
    EXPECT_EQ(player.getCurrentTimeString(), "");
    EXPECT_TRUE(player.isAudioValid());
    EXPECT_EQ(player.getCurrentPosition(), 0);
    EXPECT_EQ(player.getExportCurrentPosition(), 0);
    EXPECT_FALSE(player.stopConsumer());
    EXPECT_FALSE(player.startConsumer());
    EXPECT_EQ(player.getMltFile(), "");
}

TEST(PlayerIdle, SettingsAreKeptAsGiven) {
    MePlayer player;
    player.setCachePath("/tmp/cache");
    EXPECT_EQ(player.getCachePath(), "/tmp/cache");
    player.closeConsumer();
    EXPECT_EQ(player.getCachePath(), "/tmp/cache");
}

TEST(PlayerIdle, LiveEditsWithoutPreviewAnswerFalseWithTheirErrorLine) {
    const struct {
        const char* name;
        bool (MePlayer::*edit)(CParseJson&);
        Lines logged;
    } cases[] = {
        {"addClip", &MePlayer::addClip, {"Fail............"}},
        {"addBatchClip", &MePlayer::addBatchClip, {}},
        {"alterClip", &MePlayer::alterClip, {}},
        {"deleteClip", &MePlayer::deleteClip, {}},
        {"deleteBatchClip", &MePlayer::deleteBatchClip, {}},
        {"deleteAllClip", &MePlayer::deleteAllClip, {}},
        {"addFilter", &MePlayer::addFilter, {}},
        {"alterFilter", &MePlayer::alterFilter, {}},
        {"deleteFilter",
         &MePlayer::deleteFilter,
         {"mlt_consumer_stop m_producer or consumer is null"}},
        {"deleteBatchFilter", &MePlayer::deleteBatchFilter, {}},
        {"addTransition", &MePlayer::addTransition, {}},
        {"deleteTransition", &MePlayer::deleteTransition, {}},
        {"deleteBatchTransition", &MePlayer::deleteBatchTransition, {}},
        {"alterSceneResource", &MePlayer::alterSceneResource, {}},
    };
    for (const auto& c : cases) {
        MePlayer player;
        CParseJson content;
        ASSERT_TRUE(content.parse(R"({"TrackID":"Track0","ID":"x"})"));
        testsupport::LogCapture capture;
        EXPECT_FALSE((player.*c.edit)(content)) << c.name;
        EXPECT_EQ(capture.messages(), c.logged) << c.name;
    }
}

TEST(PlayerEngine, EngineLogReachesTheLogUpToInfoAndCutAt1000Characters) {
    MePlayer player;
    EXPECT_EQ(player.initFactory(), 0);
    EXPECT_EQ(player.initFactory(), 0);
    EXPECT_EQ(mlt_log_get_level(), MLT_LOG_INFO);

    testsupport::LogCapture capture;
    const std::string longText(1500, 'x');
    mlt_log(nullptr, MLT_LOG_WARNING, "engine warns %d", 7);
    mlt_log(nullptr, MLT_LOG_INFO, "%s", longText.c_str());
    mlt_log(nullptr, MLT_LOG_VERBOSE, "engine chatter");
    mlt_log(nullptr, MLT_LOG_DEBUG, "engine details");
    const Lines expected = {"engine warns 7", longText.substr(0, 1000)};
    EXPECT_EQ(capture.messages(), expected);
}

}  // namespace
