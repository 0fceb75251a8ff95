// The preview driven through the real socket, as the client drives it: open,
// build a timeline with editing commands, play, poll, seek, step, edit while
// playing, save the running graph, and refuse malformed controls.
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "support/display_xvfb.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

constexpr int kPatienceMs = 10000;

bool eventually(const std::function<bool()>& condition, int timeoutMs = kPatienceMs) {
    for (int waited = 0; !condition(); waited += 20) {
        if (waited > timeoutMs) {
            return false;
        }
        usleep(20000);
    }
    return true;
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

class PlayerSocket : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(testsupport::ensureDisplay().empty());
        cache_ = testsupport::makeTempDirectory("player-socket");
        testsupport::runCommand("mkdir -p '" + cache_ + "/Logs'");
        bars_ = testsupport::colourBarsWithTone(4);
        red_ = testsupport::makeMedia(
            "player_red.mp4",
            "-f lavfi -i color=c=red:s=320x240:r=25:d=2 -f lavfi -i "
            "sine=frequency=440:sample_rate=48000:duration=2 -c:v libx264 -pix_fmt yuv420p "
            "-c:a aac -shortest");
        service_.reset(new ServiceProcess());
        ASSERT_TRUE(service_->connect());
    }

    void TearDown() override {
        if (service_) {
            EXPECT_EQ(service_->close(), 0) << service_->stderrText();
        }
        testsupport::runCommand("rm -rf '" + cache_ + "'");
    }

    std::string result(const std::string& name, const std::string& content = "") {
        return service_->commandResult(name, content);
    }

    void control(const std::string& name, const std::string& content = "") {
        EXPECT_EQ(service_->control(name, content), "{\n   \"ReturnResultString\" : true\n}\n")
            << name;
    }

    int position() { return std::stoi(result("PRE_GETCURRENTPOS")); }
    int totalFrames() { return std::stoi(result("PRE_GETTOTALFRAME")); }

    bool isAdvancing() {
        const int from = position();
        return eventually([&] { return position() > from; });
    }

    bool isHolding() {
        const int at = position();
        usleep(300000);
        return position() == at;
    }

    void openMovie(const std::string& cachePath) {
        ASSERT_EQ(result("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                                       R"("Display_Aspect_Num":16,"Display_Aspect_Den":9,)"
                                       R"("WindowID":0,"CachePath":)" +
                                           quoted(cachePath) + "}"),
                  "true");
    }

    std::string clipContent(const std::string& id, const std::string& resource, int out) {
        return R"({"TrackID":"Track0","ID":)" + quoted(id) +
               R"(,"MltService":"avformat","Resource":)" + quoted(resource) +
               R"(,"In":"0","Out":")" + std::to_string(out) + R"(","Index":-1})";
    }

    // Colour bars with a moving box and a tone, 100 frames on the main track.
    void openTimeline(bool autoPlay) {
        openMovie(cache_);
        ASSERT_EQ(result("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"), "true");
        // Without a preview the engine half of the edit has nothing to change.
        EXPECT_EQ(result("ADD_CLIP", clipContent("bars", bars_, 99)), "false");
        control("PRE_PLAY", std::string(R"({"AutoPlay":)") + (autoPlay ? "true" : "false") +
                                R"(,"Position":0,"Width":1280,"Height":720})");
        ASSERT_EQ(totalFrames(), 100);
    }

    std::string cache_;
    std::string bars_;
    std::string red_;
    std::unique_ptr<ServiceProcess> service_;
};

TEST_F(PlayerSocket, PlayAnswersLengthRateAndTimecodeOfTheTimeline) {
    openTimeline(true);
    EXPECT_EQ(result("PRE_GETFPS"), "25.0");
    EXPECT_EQ(result("PRE_GETTOTALTIME"), "4.0");
    EXPECT_EQ(result("PRE_GETTOTALTIME_STR"), quoted("00:00:04.00"));
    EXPECT_TRUE(isAdvancing());
    const std::string played = result("GET_MLT_FILE");
    EXPECT_EQ(played.rfind("\"" + cache_ + "/temp_", 0), 0u) << played;
}

TEST_F(PlayerSocket, PauseSeekAndStepMoveThePlayheadExactly) {
    openTimeline(true);
    ASSERT_TRUE(isAdvancing());
    control("PRE_PAUSE");
    EXPECT_TRUE(isHolding());

    const struct {
        const char* control;
        const char* content;
        int expected;
    } steps[] = {
        {"PRE_SEEK_STOP", R"({"Position":60})", 60},
        {"PRE_NEXT_FRAME", "{}", 61},
        {"PRE_NEXT_FRAME", "{}", 62},
        {"PRE_LAST_FRAME", "{}", 61},
        {"PRE_SEEK", R"({"Position":30})", 30},
        {"PRE_SEEK_STOP", R"({"Position":100})", 30},
        {"PRE_SEEK_STOP", R"({"Position":-1})", 30},
        {"PRE_SEEK_STOP", R"({"Position":0})", 0},
        {"PRE_LAST_FRAME", "{}", 0},
        {"PRE_SEEK_STOP", R"({"Position":37})", 37},
    };
    for (const auto& s : steps) {
        control(s.control, s.content);
        EXPECT_EQ(position(), s.expected) << s.control << " " << s.content;
    }
    EXPECT_EQ(result("PRE_GETCURRENTTIME_STR"), quoted("00:00:01.12"));
    EXPECT_TRUE(isHolding());

    control("PRE_FASTORBACK", R"({"Speed":2.0})");
    control("PRE_CONTINUE");
    EXPECT_TRUE(isAdvancing());
    control("PRE_SEEK", R"({"Position":10})");
    EXPECT_GE(position(), 10);
    EXPECT_TRUE(isAdvancing());
}

TEST_F(PlayerSocket, LiveEditsDuringPlaybackReachTheRunningPreview) {
    openTimeline(true);
    ASSERT_TRUE(isAdvancing());

    EXPECT_EQ(result("ADD_CLIP", clipContent("red", red_, 49)), "true");
    EXPECT_EQ(totalFrames(), 150);
    EXPECT_TRUE(isAdvancing());

    EXPECT_EQ(result("ADD_FILTER", R"({"TrackID":"Track0","ID":"grey","Title":"greyscale",)"
                                   R"("Index":0})"),
              "true");
    EXPECT_TRUE(isAdvancing());

    EXPECT_EQ(result("ADD_TRANSITION", R"({"ID":"cut","Title":"dissolve","TrackID_A":"Track0",)"
                                       R"("TrackID_B":"Track0","Index_A":0,"Index_B":1,)"
                                       R"("In":"10","Out":"5","TrackType":0})"),
              "true");
    EXPECT_TRUE(isAdvancing());

    // The running graph now holds all three.
    const std::string saved = result("SAVE_MLT_FILE");
    const std::string graph = testsupport::readFile(saved.substr(1, saved.size() - 2));
    for (const char* id : {"\"red\"", "\"grey\"", "\"cut\""}) {
        EXPECT_NE(graph.find(id), std::string::npos) << id << "\n" << graph;
    }

    EXPECT_EQ(result("DELETE_TRANSITION", R"({"TransitionID":"cut","TrackType":0})"), "true");
    EXPECT_EQ(result("DELETE_CLIP", R"({"TrackID":"Track0","ClipID":"red"})"), "true");
    EXPECT_EQ(totalFrames(), 100);
    EXPECT_TRUE(isAdvancing());
}

TEST_F(PlayerSocket, SavedGraphCarriesTheRewrittenProfileAndRendersAgain) {
    control("PRE_FULLSCREENBOUND", R"({"Width":1024,"Height":576})");
    openTimeline(false);
    const std::string saved = result("SAVE_MLT_FILE");
    ASSERT_EQ(saved.rfind("\"" + cache_ + "/temp_", 0), 0u) << saved;
    const std::string path = saved.substr(1, saved.size() - 2);
    const std::string graph = testsupport::readFile(path);
    for (const char* attribute : {"width=\"1024\"", "height=\"576\"", "frame_rate_num=\"25\"",
                                  "display_aspect_num=\"16\"", "maintractor"}) {
        EXPECT_NE(graph.find(attribute), std::string::npos) << attribute << "\n" << graph;
    }
    // The engine reads the saved graph back: an export of it has the
    // preview's length.
    control("EXPORT_MOVIE", R"({"XmlFile":)" + quoted(path) + R"(,"FileName":)" +
                                quoted(cache_ + "/again.mp4") + "}");
    EXPECT_EQ(result("PRE_GETEXPORTTOTALFRAME"), "100");
    control("PRE_RESET_EXPORT");
}

TEST_F(PlayerSocket, ControlsWithMissingOrMistypedFieldsChangeNothing) {
    openTimeline(false);
    control("PRE_SEEK_STOP", R"({"Position":40})");
    ASSERT_EQ(position(), 40);
    const std::string played = result("GET_MLT_FILE");

    const struct {
        const char* control;
        const char* content;
    } bad[] = {
        {"PRE_SEEK", "{}"},
        {"PRE_SEEK_STOP", R"({"Position":"10"})"},
        {"PRE_PLAY", R"({"AutoPlay":true,"Position":0})"},
        {"PRE_FASTORBACK", R"({"Speed":"2"})"},
        {"PRE_VOLUME", R"({"Volume":0.5})"},
        {"PRE_RESIZE_WIN", R"({"Width":640})"},
        {"PRE_FULL_SCREEN", R"({"FullScreen":true})"},
    };
    for (const auto& b : bad) {
        control(b.control, b.content);
        EXPECT_EQ(position(), 40) << b.control;
        EXPECT_EQ(totalFrames(), 100) << b.control;
    }
    EXPECT_EQ(result("GET_MLT_FILE"), played);
    // Still paused: nothing set the preview running.
    EXPECT_TRUE(isHolding());
    const std::string log = service_->stderrText();
    EXPECT_NE(log.find("Return [PRE_SEEK] control Error"), std::string::npos);
    EXPECT_NE(log.find("Return [PRE_PLAY] control Error"), std::string::npos);
}

TEST_F(PlayerSocket, TimelineTheEngineCannotLoadPlaysNothingAndTheServiceGoesOn) {
    // The timeline document cannot be written there, so the engine finds none.
    openMovie("/nonexistent/quillavant");
    ASSERT_EQ(result("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"), "true");
    result("ADD_CLIP", clipContent("bars", bars_, 99));
    control("PRE_PLAY", R"({"AutoPlay":true,"Position":0,"Width":1280,"Height":720})");
    EXPECT_EQ(totalFrames(), 0);
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(result("PRE_GETTOTALTIME_STR"), quoted(""));
    control("PRE_SEEK_STOP", R"({"Position":10})");
    EXPECT_EQ(position(), 0);

    openMovie(cache_);
    control("PRE_PLAY", R"({"AutoPlay":false,"Position":20,"Width":1280,"Height":720})");
    EXPECT_EQ(totalFrames(), 100);
    EXPECT_EQ(position(), 20);
}

}  // namespace
