// Live edits of a loaded preview over the real socket: the window shows the
// edited picture without a seek, and a long burst of edits leaves the service
// answering, the position held and the whole graph dumped on close.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/display_xvfb.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";

// A colour clip on the main track; colours are "#AARRGGBB".
std::string colourClip(const std::string& id, const std::string& colour, int out) {
    return R"({"TrackID":"Track0","ID":")" + id +
           R"(","Index":-1,"MltService":"color","Resource":")" + colour + R"(","In":"0","Out":")" +
           std::to_string(out) + "\"}";
}

std::string alteredClip(const std::string& id, int index, const std::string& colour, int out) {
    return R"({"TrackID":"Track0","ID":")" + id + R"(","IndexNew":)" + std::to_string(index) +
           R"(,"IndexOld":)" + std::to_string(index) + R"(,"MltService":"color","Resource":")" +
           colour + R"(","In":"0","Out":")" + std::to_string(out) + "\"}";
}

class LivePreview : public ::testing::Test {
  protected:
    // Before any fixture starts its service, which opens its window on this display.
    static void SetUpTestSuite() { testsupport::ensureDisplay(); }

    void SetUp() override {
        ASSERT_FALSE(std::getenv("DISPLAY") == nullptr);
        testsupport::runCommand("mkdir -p '" + cache_ + "/Logs'");  // where the dump goes
        ASSERT_TRUE(service_.connect());
        ASSERT_EQ(result("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                                       R"("WindowID":0,"CachePath":")" +
                                           cache_ + "\"}"),
                  "true");
        ASSERT_EQ(result("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"), "true");
    }
    void TearDown() override { testsupport::runCommand("rm -rf '" + cache_ + "'"); }

    std::string result(const std::string& name, const std::string& content = "") {
        return service_.commandResult(name, content);
    }
    void playPaused(int position) {
        ASSERT_EQ(service_.control("PRE_PLAY", R"({"AutoPlay":false,"Position":)" +
                                                   std::to_string(position) +
                                                   R"(,"Width":1280,"Height":720})"),
                  kTrueText);
    }
    int position() { return std::stoi(result("PRE_GETCURRENTPOS")); }

    std::string cache_ = testsupport::makeTempDirectory("qv-e2e-live");
    ServiceProcess service_;
};

TEST_F(LivePreview, PausedWindowShowsTheEditedPicture) {
    ASSERT_EQ(result("ADD_BATCH_CLIP", "[" + colourClip("only", "#ffff0000", 49) + "]"), "true");
    playPaused(10);
    using testsupport::Pixel;
    const struct {
        const char* colour;  // the clip's colour after the step
        bool (*shows)(const Pixel&);
        const char* picture;
    } steps[] = {
        {"#ffff0000", [](const Pixel& p) { return p.red > 180 && p.green < 60 && p.blue < 60; },
         "live_preview_red.png"},
        {"#ff0000ff", [](const Pixel& p) { return p.blue > 180 && p.red < 60 && p.green < 60; },
         "live_preview_blue.png"},
        {"#ff00ff00", [](const Pixel& p) { return p.green > 180 && p.red < 60 && p.blue < 60; },
         "live_preview_green.png"},
    };
    const std::string pictures = std::string(QV_BIN_DIR) + "/../test-output";
    testsupport::runCommand("mkdir -p '" + pictures + "'");
    for (const auto& step : steps) {
        if (step.colour != steps[0].colour) {
            EXPECT_EQ(result("ALTER_CLIP", alteredClip("only", 0, step.colour, 49)), "true");
        }
        EXPECT_EQ(position(), 10) << step.picture;
        // The window shows the picture a moment after the reply.
        const std::string png = pictures + "/" + step.picture;
        testsupport::Image screen;
        for (int waited = 0; waited <= 3000; waited += 100) {
            ASSERT_TRUE(testsupport::takeScreenshot(png) && testsupport::readImage(png, screen));
            if (step.shows(screen.at(screen.width / 2, screen.height / 2))) {
                break;
            }
            usleep(100000);
        }
        EXPECT_GT(screen.count(step.shows), screen.width * screen.height / 2) << step.picture;
    }
    EXPECT_EQ(service_.close(), 0) << service_.stderrText();
}

TEST_F(LivePreview, BurstOfAThousandEditsThenCloseLeavesTheWholeGraphDumped) {
    std::string batch = "[";
    for (int i = 0; i < 10; ++i) {
        batch += (i ? "," : "") + colourClip("c" + std::to_string(i), "#ff336699", 49);
    }
    ASSERT_EQ(result("ADD_BATCH_CLIP", batch + "]"), "true");
    playPaused(120);
    // Four edits a round, sent back to back: two appended clips, the sixth clip
    // re-timed, and the oldest appended clip deleted.
    constexpr int kRounds = 250;
    int answeredTrue = 0;
    for (int round = 0; round < kRounds; ++round) {
        const std::string requests[][2] = {
            {"ADD_CLIP", colourClip("e" + std::to_string(2 * round), "#ff996633", 24)},
            {"ADD_CLIP", colourClip("e" + std::to_string(2 * round + 1), "#ff996633", 24)},
            {"ALTER_CLIP", alteredClip("c5", 5, "#ff336699", 40 + round % 2)},
            {"DELETE_CLIP", R"({"TrackID":"Track0","ClipID":"e)" + std::to_string(round) + "\"}"},
        };
        for (const auto& request : requests) {
            answeredTrue += result(request[0], request[1]) == "true" ? 1 : 0;
        }
    }
    EXPECT_EQ(answeredTrue, 4 * kRounds);
    EXPECT_EQ(position(), 120);
    // Nine clips of 50 frames, the re-timed one of 42 and 250 appended of 25.
    EXPECT_EQ(std::stoi(result("PRE_GETTOTALFRAME")), 9 * 50 + 42 + 250 * 25);
    EXPECT_EQ(service_.close(60000), 0) << service_.stderrText();

    const std::string dump = testsupport::readFile(cache_ + "/Logs/logxml.xml");
    EXPECT_NE(dump.find("</mlt>"), std::string::npos);
    for (const char* kept : {"\"c0\"", "\"c9\"", "\"e250\"", "\"e499\""}) {
        EXPECT_NE(dump.find(kept), std::string::npos) << kept;
    }
    for (const char* deleted : {"\"e0\"", "\"e249\""}) {
        EXPECT_EQ(dump.find(deleted), std::string::npos) << deleted;
    }
}

}  // namespace
