// What the preview window really shows: screenshots of the private display
// after seeks to frames of differently coloured clips.
#include <gtest/gtest.h>

#include <string>

#include "player/player.h"
#include "player_timeline.h"
#include "support/display_xvfb.h"
#include "support/test_media.h"

namespace {

using testsupport::Image;
using testsupport::Pixel;

bool isRed(const Pixel& p) {
    return p.red > 180 && p.green < 60 && p.blue < 60;
}
bool isBlue(const Pixel& p) {
    return p.blue > 180 && p.red < 60 && p.green < 60;
}

// Where people look at what the preview drew.
std::string outputPath(const std::string& name) {
    const std::string directory = std::string(QV_BIN_DIR) + "/../test-output";
    testsupport::runCommand("mkdir -p '" + directory + "'");
    return directory + "/" + name;
}

TEST(PlayerScreen, PreviewWindowShowsTheFrameAtThePlayhead) {
    playertest::preparePreviewEnvironment();
    const std::string directory = testsupport::makeTempDirectory("player-screen");
    const std::string timeline = playertest::writeTimeline(
        directory + "/timeline.xml", {{"red", playertest::solidColourClip("red"), 0, 49},
                                      {"blue", playertest::solidColourClip("blue"), 0, 49}});
    MePlayer player;
    player.profileName = playertest::kProfile;
    player.initFactory();
    ASSERT_EQ(player.play(0, false, timeline), 0);

    const struct {
        int position;
        const char* picture;
        bool (*shows)(const Pixel&);
        bool (*other)(const Pixel&);
    } cases[] = {
        {20, "player_preview_red.png", isRed, isBlue},
        {70, "player_preview_blue.png", isBlue, isRed},
    };
    for (const auto& c : cases) {
        player.seekAndStop(c.position);
        ASSERT_EQ(player.getCurrentPosition(), c.position);
        const std::string png = outputPath(c.picture);
        ASSERT_TRUE(testsupport::takeScreenshot(png)) << png;
        Image screen;
        ASSERT_TRUE(testsupport::readImage(png, screen)) << png;
        // The 4:3 picture fills the middle of the window; the centre and most
        // of the screen carry the clip's colour, none carries the other's.
        const int area = screen.width * screen.height;
        EXPECT_TRUE(c.shows(screen.at(screen.width / 2, screen.height / 2))) << c.picture;
        EXPECT_GT(screen.count(c.shows), area / 2) << c.picture;
        EXPECT_EQ(screen.count(c.other), 0) << c.picture;
    }
    player.closeConsumer();
    testsupport::runCommand("rm -rf '" + directory + "'");
}

}  // namespace
