// The player: with nothing loaded, and previewing on a real "sdl2" consumer

#include <framework/mlt.h>
// under a private X display (transport, window, full screen, a live edit).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "messages/parse_json.h"
#include "platform/platform.h"
#include "player/player.h"
#include "support/display_xvfb.h"
#include "support/export_log_capture.h"
#include "support/test_media.h"

// Reads the player's engine state for the assertions.
struct PlayerTestAccess {
    static mlt_consumer transport(const MePlayer& p) { return p.transport(); }
    static mlt_consumer windowed(const MePlayer& p) { return p.consumer_.get(); }
    static mlt_consumer fullScreen(const MePlayer& p) { return p.fullScreenConsumer_.get(); }
    static mlt_profile profile(const MePlayer& p) { return p.profile_.get(); }
    static bool isFullScreen(const MePlayer& p) { return p.isFullScreen_; }
    static double speed(const MePlayer& p) { return p.producerSpeed(); }
};

namespace {

using Access = PlayerTestAccess;
using Lines = std::vector<std::string>;

TEST(PlayerLog, WithoutPreviewTransportAndEditsDoNothingButLogAndEngineLogIsCut) {
    auto edit = [](bool (MePlayer::*operation)(CParseJson&)) {
        return [operation](MePlayer& p) {
            CParseJson content;
            ASSERT_TRUE(content.parse(R"({"TrackID":"Track0","ID":"x"})"));
            EXPECT_FALSE((p.*operation)(content));  // no preview to edit
        };
    };
    const std::pair<std::function<void(MePlayer&)>, Lines> transport[] = {
        {[](MePlayer& p) { p.seekAndHold(5); }, {"seekAndHold begin"}},
        {[](MePlayer& p) { p.seekAndStop(5); }, {"seekAndStop begin"}},
        {[](MePlayer& p) { p.nextFrame(); }, {"nextFrame begin"}},
        {[](MePlayer& p) { p.preFrame(); }, {"preFrame begin"}},
        {[](MePlayer& p) { p.setPlaybackSpeed(4.0); }, {}},
        {[](MePlayer& p) { p.fullScreen(true, 1920, 1080, 0, 0, ""); }, {}},
        {edit(&MePlayer::addClip), {"Fail............"}},
        {edit(&MePlayer::deleteFilter), {"mlt_consumer_stop m_producer or consumer is null"}},
        {edit(&MePlayer::addTransition), {}},
    };
    for (const auto& [call, logged] : transport) {
        MePlayer player;
        testsupport::LogCapture capture;
        call(player);
        EXPECT_EQ(capture.messages(), logged);
        EXPECT_TRUE(!player.hasProducer() && !Access::isFullScreen(player) && player.speed == 1);
    }
    MePlayer player;
    EXPECT_EQ(player.getTotalFrames() + player.getCurrentPosition(), 0);
    EXPECT_FALSE(player.stopConsumer() || player.startConsumer() || player.isExportStopped());

    // The engine's log reaches the log up to info, cut at 1000 characters.
    EXPECT_EQ(player.initFactory(), 0);
    testsupport::LogCapture capture;
    const std::string longText(1500, 'x');
    mlt_log(nullptr, MLT_LOG_WARNING, "engine warns %d", 7);
    mlt_log(nullptr, MLT_LOG_INFO, "%s", longText.c_str());
    mlt_log(nullptr, MLT_LOG_VERBOSE, "engine chatter");
    EXPECT_EQ(capture.messages(), (Lines{"engine warns 7", longText.substr(0, 1000)}));
}

// A 2 s, 25 fps clip of one flat colour with a tone.
std::string solidColourClip(const std::string& colour) {
    return testsupport::makeMedia(
        "player_" + colour + ".mp4",
        "-f lavfi -i color=c=" + colour +
            ":s=320x240:r=25:d=2 -f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 "
            "-c:v libx264 -pix_fmt yuv420p -c:a aac -shortest");
}

class PlayerPreview : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        setenv("SDL_AUDIODRIVER", "dummy", 0);
        testsupport::ensureDisplay();
        directory_ = testsupport::makeTempDirectory("player-preview");
        testsupport::runCommand("mkdir -p '" + directory_ + "/Logs'");  // for live edits' graphs
        // The project's layout: 100 frames of colour bars, then 50 red ones.
        timeline_ = directory_ + "/timeline.xml";
        std::ofstream(timeline_)
            << "<mlt><producer id=\"bars_p\"><property name=\"resource\">"
            << testsupport::colourBarsWithTone(4)
            << "</property><property name=\"mlt_service\">avformat</property></producer>"
            << "<producer id=\"red_p\"><property name=\"resource\">" << solidColourClip("red")
            << "</property><property name=\"mlt_service\">avformat</property></producer>"
            << R"(
<playlist id="bars"><entry producer="bars_p" in="0" out="99"/></playlist>
<playlist id="red"><blank length="100"/><entry producer="red_p" in="0" out="49"/></playlist>
<tractor id="Track0"><track producer="bars"/><track producer="red"/></tractor>
<tractor id="maintractor"><track producer="Track0"/></tractor>
<tractor id="interface_tractor" global_feed="1"><track producer="maintractor"/></tractor></mlt>)";
    }
    static void TearDownTestSuite() { testsupport::runCommand("rm -rf '" + directory_ + "'"); }

    void SetUp() override {
        player_.profileName = "atsc_720p_25";
        player_.setCachePath(directory_);
        player_.initFactory();
    }
    void TearDown() override { player_.closeConsumer(); }

    void play(int position, bool autoPlay) {
        ASSERT_EQ(player_.play(position, autoPlay, timeline_), 0);
        ASSERT_TRUE(!autoPlay || isAdvancing());
    }
    // Within 10 s: the consumer opens its window and audio slowly on a busy machine.
    bool isAdvancing() {
        const int from = player_.getCurrentPosition();
        const uint64_t start = platform::tickCountMs();
        while (player_.getCurrentPosition() <= from && platform::tickCountMs() - start < 10000) {
            platform::sleepMilliseconds(20);
        }
        return player_.getCurrentPosition() > from;
    }
    bool isHolding() {
        const int at = player_.getCurrentPosition();
        platform::sleepMilliseconds(300);
        return player_.getCurrentPosition() == at;
    }
    int consumerInt(const char* name) {
        return mlt_properties_get_int(MLT_CONSUMER_PROPERTIES(Access::transport(player_)), name);
    }
    // The producer's speed and the consumer's volume, as "x<speed> vol<volume>".
    std::string mode() {
        std::ostringstream text;
        text << "x" << Access::speed(player_) << " vol"
             << mlt_properties_get_double(MLT_CONSUMER_PROPERTIES(Access::transport(player_)),
                                          "volume");
        return text.str();
    }

    static std::string directory_;
    static std::string timeline_;
    MePlayer player_;
};

std::string PlayerPreview::directory_;
std::string PlayerPreview::timeline_;

TEST_F(PlayerPreview, PausedPreviewTimecodesSeeksAndSteps) {
    // A timeline the engine cannot load answers zero and plays nothing.
    const std::string broken = directory_ + "/broken.xml";
    std::ofstream(broken) << "<mlt><tractor";
    EXPECT_EQ(player_.play(0, true, broken), 0);
    EXPECT_EQ(player_.getTotalFrames() + player_.getCurrentPosition(), 0);
    play(30, false);
    EXPECT_EQ(player_.getCurrentPosition(), 30);
    EXPECT_TRUE(isHolding());
    EXPECT_EQ(mode(), "x0 vol0");
    EXPECT_EQ(consumerInt("scrub_audio"), 0);
    EXPECT_EQ(player_.getTotalFrames(), 150);
    EXPECT_EQ(player_.getTotalTimeString(), "00:00:06:00");
    player_.seekAndStop(37);
    EXPECT_EQ(player_.getCurrentTimeString(), "00:00:01:12");

    const std::pair<std::function<void(MePlayer&)>, int> cases[] = {
        {[](MePlayer& p) { p.seekAndStop(70); }, 70},
        {[](MePlayer& p) { p.seekAndHold(20); }, 20},
        {[](MePlayer& p) { p.nextFrame(); }, 21},
        {[](MePlayer& p) { p.preFrame(); }, 20},
        {[](MePlayer& p) { p.seekAndStop(149); }, 149},
        {[](MePlayer& p) { p.seekAndStop(150); }, 149},  // the length itself
        {[](MePlayer& p) { p.nextFrame(); }, 149},       // a step past the end
        {[](MePlayer& p) { p.seekAndHold(-1); }, 149},
        {[](MePlayer& p) { p.seekAndHold(5000); }, 149},
        {[](MePlayer& p) { p.stop(); }, 0},
        {[](MePlayer& p) { p.preFrame(); }, 0},
    };
    for (const auto& [act, expected] : cases) {
        act(player_);
        EXPECT_EQ(player_.getCurrentPosition(), expected);
        EXPECT_EQ(mode(), "x0 vol0") << expected;
    }
}

TEST_F(PlayerPreview, PlayPauseContinueSpeedAndSeeksWhilePlaying) {
    player_.volume = 0.75;
    play(0, true);
    EXPECT_EQ(mode(), "x1 vol0.75");
    player_.pause();
    EXPECT_EQ(mode(), "x0 vol0");
    EXPECT_TRUE(isHolding());
    player_.continuePlay();
    EXPECT_TRUE(isAdvancing());
    EXPECT_EQ(mode(), "x1 vol0.75");

    // A seek while playing goes on playing; seekAndStop pauses.
    player_.seekAndHold(100);
    EXPECT_GE(player_.getCurrentPosition(), 100);
    EXPECT_TRUE(isAdvancing());
    EXPECT_EQ(mode(), "x1 vol0.75");
    player_.seekAndStop(40);
    EXPECT_EQ(player_.getCurrentPosition(), 40);
    EXPECT_EQ(mode(), "x0 vol0");

    // The speed applies at once and is kept for continue; a step pauses.
    player_.continuePlay();
    player_.setPlaybackSpeed(2.0);
    player_.pause();
    player_.continuePlay();
    EXPECT_EQ(mode(), "x2 vol0.75");
    EXPECT_TRUE(isAdvancing());
    player_.nextFrame();
    EXPECT_EQ(mode(), "x0 vol0");
    EXPECT_TRUE(isHolding());
}

TEST_F(PlayerPreview, FullScreenWindowSizeVolumeConsumerStopStartAndClose) {
    player_.fullScreenWidth = 1024;
    player_.fullScreenHeight = 576;
    play(0, false);
    player_.fullScreen(true, 1280, 720, 40, 0, "ignored");
    mlt_consumer full = Access::fullScreen(player_);
    ASSERT_TRUE(Access::isFullScreen(player_) && full != nullptr);
    EXPECT_TRUE(Access::transport(player_) == full && Access::windowed(player_) == nullptr);
    EXPECT_EQ(Access::profile(player_)->width, 1024);
    EXPECT_EQ(Access::profile(player_)->height, 576);
    EXPECT_EQ(consumerInt("window_width"), 1280);
    EXPECT_EQ(player_.getCurrentPosition(), 40);
    player_.fullScreen(true, 1280, 720, 90, 0, "");  // already full screen: nothing changes
    EXPECT_TRUE(Access::fullScreen(player_) == full && player_.getCurrentPosition() == 40);

    player_.fullScreen(false, 1280, 720, 60, 0, "");
    ASSERT_TRUE(!Access::isFullScreen(player_) && !Access::fullScreen(player_) &&
                Access::windowed(player_));
    EXPECT_EQ(Access::transport(player_), Access::windowed(player_));
    EXPECT_EQ(Access::profile(player_)->width, 800);
    EXPECT_EQ(Access::profile(player_)->height, 450);
    EXPECT_EQ(player_.getCurrentPosition(), 60);

    player_.volume = 0.5;
    player_.applyVolume();
    EXPECT_EQ(mode(), "x0 vol0");  // a paused consumer gets it when it resumes
    player_.continuePlay();
    EXPECT_EQ(mode(), "x1 vol0.5");
    player_.setConsumerVolume(0.125);
    EXPECT_EQ(mode(), "x1 vol0.125");

    player_.resizeWindow(640, 360);
    EXPECT_EQ(consumerInt("window_width"), 640);
    EXPECT_EQ(consumerInt("window_height"), 360);
    EXPECT_EQ(player_.windowWidth, 1280);  // the stored size stays

    EXPECT_TRUE(player_.stopConsumer());
    EXPECT_TRUE(mlt_consumer_is_stopped(Access::transport(player_)));
    EXPECT_TRUE(player_.stopConsumer());
    EXPECT_TRUE(player_.startConsumer());
    EXPECT_FALSE(mlt_consumer_is_stopped(Access::transport(player_)));

    player_.closeConsumer();
    EXPECT_TRUE(!player_.hasProducer() && player_.getTotalFrames() == 0);
    EXPECT_EQ(player_.getMltFile(), timeline_);
}

TEST_F(PlayerPreview, ClipAddedWhilePlayingIsPlayedAndShownInTheWindow) {
    play(0, true);
    CParseJson content;
    ASSERT_TRUE(content.parse(R"({"TrackID":"Track0","MltService":"avformat","Resource":")" +
                              solidColourClip("blue") +
                              R"(","In":"0","Out":"24","ID":"blue","Index":-1})"));
    EXPECT_TRUE(player_.addClip(content));
    EXPECT_EQ(player_.getTotalFrames(), 175);
    EXPECT_FALSE(mlt_consumer_is_stopped(Access::transport(player_)));
    EXPECT_TRUE(isAdvancing());

    // Screenshots of the display, kept where people look at what the preview drew.
    const std::string pictures = std::string(QV_BIN_DIR) + "/../test-output";
    testsupport::runCommand("mkdir -p '" + pictures + "'");
    using testsupport::Pixel;
    auto only = [](int Pixel::*channel) {  // that channel high, the other two low
        return [channel](const Pixel& p) {
            return p.*channel > 180 && (p.red < 60) + (p.green < 60) + (p.blue < 60) == 2;
        };
    };
    const std::tuple<int, std::string, int Pixel::*, int Pixel::*> cases[] = {
        {120, "player_preview_red.png", &Pixel::red, &Pixel::blue},
        {170, "player_preview_blue.png", &Pixel::blue, &Pixel::red},
    };
    for (const auto& [position, name, colour, otherColour] : cases) {
        const auto shows = only(colour), other = only(otherColour);
        player_.seekAndStop(position);
        ASSERT_EQ(player_.getCurrentPosition(), position);
        const std::string png = pictures + "/" + name;
        // The window shows the seeked frame a moment after the position reads right.
        testsupport::Image screen;
        for (int waited = 0; waited <= 3000; waited += 100) {
            ASSERT_TRUE(testsupport::takeScreenshot(png) && testsupport::readImage(png, screen));
            if (shows(screen.at(screen.width / 2, screen.height / 2))) {
                break;
            }
            platform::sleepMilliseconds(100);
        }
        // The 4:3 picture fills the middle of the window, in the clip's colour only.
        EXPECT_TRUE(shows(screen.at(screen.width / 2, screen.height / 2))) << name;
        EXPECT_GT(screen.count(shows), screen.width * screen.height / 2) << name;
        EXPECT_EQ(screen.count(other), 0) << name;
    }
}

}  // namespace
