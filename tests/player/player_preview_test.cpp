// The preview on a real "sdl2" consumer under a private X display: transport,
// seeks, steps, speed, volume, window and full screen, and a live edit while
// the preview plays.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "messages/parse_json.h"
#include "platform/platform.h"
#include "player/player.h"
#include "player_timeline.h"
#include "support/test_media.h"

namespace {

using Access = PlayerTestAccess;

// Long enough for the consumer to open its window and audio on a busy machine.
constexpr int kPatienceMs = 10000;

bool eventually(const std::function<bool()>& condition, int timeoutMs = kPatienceMs) {
    const uint64_t start = platform::tickCountMs();
    while (!condition()) {
        if (platform::tickCountMs() - start > static_cast<uint64_t>(timeoutMs)) {
            return false;
        }
        platform::sleepMilliseconds(20);
    }
    return true;
}

class PlayerPreview : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        playertest::preparePreviewEnvironment();
        directory_ = testsupport::makeTempDirectory("player-preview");
        // 100 frames of colour bars, then 50 red ones: 150 frames at 25 fps.
        timeline_ = playertest::writeTimeline(directory_ + "/timeline.xml",
                                              {{"bars", testsupport::colourBarsWithTone(4), 0, 99},
                                               {"red", playertest::solidColourClip("red"), 0, 49}});
    }

    static void TearDownTestSuite() { testsupport::runCommand("rm -rf '" + directory_ + "'"); }

    void SetUp() override {
        player_.profileName = playertest::kProfile;
        player_.setCachePath(cachePath());
        player_.initFactory();
    }

    void TearDown() override { player_.closeConsumer(); }

    static std::string cachePath() {
        // Live edits dump the graph below the cache path.
        testsupport::runCommand("mkdir -p '" + directory_ + "/Logs'");
        return directory_;
    }

    void playPaused(int position) { ASSERT_EQ(player_.play(position, false, timeline_), 0); }

    void playRunning() {
        ASSERT_EQ(player_.play(0, true, timeline_), 0);
        ASSERT_TRUE(isAdvancing());
    }

    // The playhead moves on from where it is now.
    bool isAdvancing() {
        const int from = player_.getCurrentPosition();
        return eventually([&] { return player_.getCurrentPosition() > from; });
    }

    // The playhead stays where it is for a while.
    bool isHolding() {
        const int at = player_.getCurrentPosition();
        platform::sleepMilliseconds(300);
        return player_.getCurrentPosition() == at;
    }

    static std::string directory_;
    static std::string timeline_;
    MePlayer player_;
};

std::string PlayerPreview::directory_;
std::string PlayerPreview::timeline_;

TEST_F(PlayerPreview, LengthRateAndTimecodesMatchTheEngine) {
    playPaused(0);
    EXPECT_EQ(player_.getTotalFrames(), 150);
    EXPECT_DOUBLE_EQ(player_.getFps(), 25.0);
    EXPECT_DOUBLE_EQ(player_.getTotalTime(), 6.0);
    EXPECT_EQ(player_.getTotalTimeString(), "00:00:06:00");

    player_.seekAndStop(37);
    EXPECT_EQ(player_.getCurrentPosition(), 37);
    EXPECT_DOUBLE_EQ(player_.getCurrentTime(), 37 / 25.0);
    EXPECT_EQ(player_.getCurrentTimeString(), "00:00:01:12");

    // The same texts as the engine's own timecode of an independent load.
    media::ProfilePtr profile(mlt_profile_init(playertest::kProfile));
    media::ProducerPtr own(mlt_factory_producer(profile.get(), "xml", timeline_.c_str()));
    ASSERT_TRUE(own);
    EXPECT_EQ(player_.getTotalTimeString(),
              mlt_producer_get_length_time(own.get(), mlt_time_smpte_ndf));
    EXPECT_EQ(
        player_.getCurrentTimeString(),
        mlt_properties_frames_to_time(MLT_PRODUCER_PROPERTIES(own.get()), 37, mlt_time_smpte_ndf));
}

TEST_F(PlayerPreview, PlayWithoutAutoPlayHoldsTheRequestedFrameSilently) {
    playPaused(30);
    EXPECT_EQ(player_.getCurrentPosition(), 30);
    EXPECT_TRUE(isHolding());
    EXPECT_EQ(Access::speed(player_), 0.0);
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.0);
    EXPECT_EQ(Access::consumerInt(player_, "scrub_audio"), 0);
    EXPECT_EQ(Access::consumerInt(player_, "slow_on_pause"), 1);
    EXPECT_EQ(player_.getMltFile(), timeline_);
}

TEST_F(PlayerPreview, PositionAdvancesWhilePlayingAndHoldsWhenPaused) {
    player_.volume = 0.75;
    playRunning();
    EXPECT_EQ(Access::speed(player_), 1.0);
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.75);

    player_.pause();
    EXPECT_EQ(Access::speed(player_), 0.0);
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.0);
    EXPECT_TRUE(isHolding());

    // Pausing a paused preview changes nothing.
    const int held = player_.getCurrentPosition();
    player_.pause();
    EXPECT_EQ(player_.getCurrentPosition(), held);

    player_.continuePlay();
    EXPECT_TRUE(isAdvancing());
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.75);
    EXPECT_EQ(Access::consumerInt(player_, "scrub_audio"), 1);
}

TEST_F(PlayerPreview, SeeksLandOnTheRequestedFrameAndIgnoreFramesOutsideTheTimeline) {
    playPaused(0);
    const struct {
        const char* name;
        std::function<void(MePlayer&)> seek;
        int expected;
    } cases[] = {
        {"seek and stop", [](MePlayer& p) { p.seekAndStop(70); }, 70},
        {"seek and hold while paused", [](MePlayer& p) { p.seekAndHold(20); }, 20},
        {"last frame", [](MePlayer& p) { p.seekAndStop(149); }, 149},
        {"the length itself", [](MePlayer& p) { p.seekAndStop(150); }, 149},
        {"a negative frame", [](MePlayer& p) { p.seekAndHold(-1); }, 149},
        {"far beyond the end", [](MePlayer& p) { p.seekAndHold(5000); }, 149},
        {"back to the start", [](MePlayer& p) { p.stop(); }, 0},
    };
    for (const auto& c : cases) {
        c.seek(player_);
        EXPECT_EQ(player_.getCurrentPosition(), c.expected) << c.name;
        EXPECT_EQ(Access::speed(player_), 0.0) << c.name;
    }
}

TEST_F(PlayerPreview, FrameStepsMoveByOneAndStopAtTheStart) {
    playPaused(10);
    const struct {
        void (MePlayer::*step)();
        int expected;
    } steps[] = {
        {&MePlayer::nextFrame, 11},
        {&MePlayer::nextFrame, 12},
        {&MePlayer::preFrame, 11},
    };
    for (const auto& s : steps) {
        (player_.*s.step)();
        EXPECT_EQ(player_.getCurrentPosition(), s.expected);
    }
    player_.seekAndStop(0);
    player_.preFrame();
    EXPECT_EQ(player_.getCurrentPosition(), 0);
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.0);
}

TEST_F(PlayerPreview, StepWhilePlayingPausesOnTheNextFrame) {
    playRunning();
    player_.nextFrame();
    EXPECT_EQ(Access::speed(player_), 0.0);
    EXPECT_TRUE(isHolding());
}

TEST_F(PlayerPreview, SeekWhilePlayingKeepsPlayingFromTheNewPosition) {
    playRunning();
    player_.seekAndHold(100);
    EXPECT_GE(player_.getCurrentPosition(), 100);
    EXPECT_EQ(Access::speed(player_), 1.0);
    EXPECT_TRUE(isAdvancing());

    player_.seekAndStop(40);
    EXPECT_EQ(player_.getCurrentPosition(), 40);
    EXPECT_EQ(Access::speed(player_), 0.0);
    EXPECT_TRUE(isHolding());
}

TEST_F(PlayerPreview, SpeedIsAppliedAtOnceAndKeptForContinue) {
    playRunning();
    player_.setPlaybackSpeed(2.0);
    EXPECT_EQ(player_.speed, 2.0);
    EXPECT_EQ(Access::speed(player_), 2.0);
    player_.pause();
    player_.continuePlay();
    EXPECT_EQ(Access::speed(player_), 2.0);
    EXPECT_TRUE(isAdvancing());
}

TEST_F(PlayerPreview, VolumeReachesThePausedConsumerOnlyWhenItResumes) {
    playPaused(0);
    player_.volume = 0.5;
    player_.applyVolume();
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.0);
    player_.continuePlay();
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.5);
    player_.volume = 0.25;
    player_.applyVolume();
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.25);
    player_.setConsumerVolume(0.125);
    EXPECT_EQ(Access::consumerDouble(player_, "volume"), 0.125);
}

TEST_F(PlayerPreview, ResizeSetsTheConsumerWindowAndKeepsTheStoredSize) {
    playPaused(0);
    player_.resizeWindow(640, 360);
    EXPECT_EQ(Access::consumerInt(player_, "window_width"), 640);
    EXPECT_EQ(Access::consumerInt(player_, "window_height"), 360);
    EXPECT_EQ(player_.windowWidth, 1280);
    EXPECT_EQ(player_.windowHeight, 720);
}

TEST_F(PlayerPreview, FullScreenSwitchesConsumerAndLeavesItAt800By450) {
    player_.fullScreenWidth = 1024;
    player_.fullScreenHeight = 576;
    playPaused(0);
    player_.fullScreen(true, 1280, 720, 40, 0, "ignored");
    ASSERT_TRUE(Access::isFullScreen(player_));
    mlt_consumer full = Access::fullScreen(player_);
    ASSERT_NE(full, nullptr);
    EXPECT_EQ(Access::transport(player_), full);
    EXPECT_EQ(Access::windowed(player_), nullptr);
    EXPECT_EQ(Access::profile(player_)->width, 1024);
    EXPECT_EQ(Access::profile(player_)->height, 576);
    EXPECT_EQ(Access::consumerInt(player_, "window_width"), 1280);
    EXPECT_EQ(player_.getCurrentPosition(), 40);

    // Asking again for the state it is in changes nothing.
    player_.fullScreen(true, 1280, 720, 90, 0, "");
    EXPECT_EQ(Access::fullScreen(player_), full);
    EXPECT_EQ(player_.getCurrentPosition(), 40);

    player_.fullScreen(false, 1280, 720, 60, 0, "");
    EXPECT_FALSE(Access::isFullScreen(player_));
    EXPECT_EQ(Access::fullScreen(player_), nullptr);
    ASSERT_NE(Access::windowed(player_), nullptr);
    EXPECT_EQ(Access::transport(player_), Access::windowed(player_));
    EXPECT_EQ(Access::profile(player_)->width, 800);
    EXPECT_EQ(Access::profile(player_)->height, 450);
    EXPECT_EQ(player_.getCurrentPosition(), 60);
}

TEST_F(PlayerPreview, ConsumerStopsAndStartsOnRequest) {
    playPaused(0);
    EXPECT_TRUE(player_.stopConsumer());
    EXPECT_TRUE(mlt_consumer_is_stopped(Access::transport(player_)));
    EXPECT_TRUE(player_.stopConsumer());
    EXPECT_TRUE(player_.startConsumer());
    EXPECT_FALSE(mlt_consumer_is_stopped(Access::transport(player_)));
}

TEST_F(PlayerPreview, AddClipWhilePlayingLengthensTheTimelineAndPlaybackGoesOn) {
    playRunning();
    CParseJson content;
    ASSERT_TRUE(content.parse(
        playertest::addClipContent("blue", playertest::solidColourClip("blue"), 0, 24)));
    EXPECT_TRUE(player_.addClip(content));
    EXPECT_EQ(player_.getTotalFrames(), 175);
    EXPECT_FALSE(mlt_consumer_is_stopped(Access::transport(player_)));
    EXPECT_TRUE(isAdvancing());
    // The new frames are reachable.
    player_.seekAndStop(170);
    EXPECT_EQ(player_.getCurrentPosition(), 170);
}

TEST_F(PlayerPreview, CloseReturnsToIdleAndKeepsTheTimelinePath) {
    playPaused(0);
    player_.closeConsumer();
    EXPECT_FALSE(player_.hasProducer());
    EXPECT_EQ(player_.getTotalFrames(), 0);
    EXPECT_EQ(player_.getCurrentTimeString(), "");
    EXPECT_EQ(player_.getMltFile(), timeline_);
}

TEST_F(PlayerPreview, TimelineTheEngineCannotLoadAnswersZeroAndPlaysNothing) {
    const std::string broken = directory_ + "/broken.xml";
    testsupport::runCommand("printf '<mlt><tractor' > '" + broken + "'");
    for (const std::string& path : {broken, directory_ + "/missing.xml"}) {
        EXPECT_EQ(player_.play(0, true, path), 0) << path;
        EXPECT_EQ(player_.getTotalFrames(), 0) << path;
        EXPECT_EQ(player_.getCurrentPosition(), 0) << path;
    }
}

}  // namespace
