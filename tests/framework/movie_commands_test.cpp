// OPEN_MOVIE's field kinds and what it stores before a missing field ends
// it, the client's timecode form, the temporary graph file of SAVE_MLT_FILE,
// and the log directory.
#include <gtest/gtest.h>

#include <regex>

#include "framework/command_handlers.h"
#include "framework_fixture.h"
#include "platform/module_path.h"
#include "support/test_media.h"

namespace fwtest {
namespace {

using MovieCommandsTest = FrameworkTest;

const char kUuidPattern[] = "[0-9a-f]{8}-[0-9a-f]{4}-1[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}";

struct PlayerSettings {
    std::string profile;
    int width;
    int height;
    int aspectNum;
    int aspectDen;
    int windowId;
};

PlayerSettings settingsOf(MePlayer& player) {
    return {player.profileName,      player.windowWidth,      player.windowHeight,
            player.displayAspectNum, player.displayAspectDen, player.windowId};
}

bool operator==(const PlayerSettings& a, const PlayerSettings& b) {
    return a.profile == b.profile && a.width == b.width && a.height == b.height &&
           a.aspectNum == b.aspectNum && a.aspectDen == b.aspectDen && a.windowId == b.windowId;
}

std::ostream& operator<<(std::ostream& out, const PlayerSettings& s) {
    return out << s.profile << " " << s.width << "x" << s.height << " " << s.aspectNum << ":"
               << s.aspectDen << " win " << s.windowId;
}

struct OpenMovieCase {
    const char* what;
    std::string content;
    bool answer;
    PlayerSettings stored;  // starting from 1280x720, 16:9, window 0, no profile
};

TEST_F(MovieCommandsTest, OpenMovieStoresEachFieldUntilTheFirstMissingOne) {
    const OpenMovieCase cases[] = {
        {"all fields",
         R"({"Profile":"hdv_720_25p","Width":800,"Height":450,"Display_Aspect_Num":4,
             "Display_Aspect_Den":3,"WindowID":77,"CachePath":""})",
         true,
         {"hdv_720_25p", 800, 450, 4, 3, 77}},
        {"no aspect keeps the previous one",
         R"({"Profile":"p","Width":800,"Height":450,"WindowID":5})",
         true,
         {"p", 800, 450, 16, 9, 5}},
        {"half an aspect keeps the previous one",
         R"({"Profile":"p","Width":800,"Height":450,"Display_Aspect_Num":4,"WindowID":5})",
         true,
         {"p", 800, 450, 16, 9, 5}},
        {"no window id after everything else",
         R"({"Profile":"p","Width":640,"Height":360,"Display_Aspect_Num":4,
             "Display_Aspect_Den":3})",
         false,
         {"p", 640, 360, 4, 3, 0}},
        {"width as a real number",
         R"({"Profile":"p","Width":1280.0,"Height":720,"WindowID":5})",
         false,
         {"p", 1280, 720, 16, 9, 0}},
        {"height missing stores neither size",
         R"({"Profile":"p","Width":640,"WindowID":5})",
         false,
         {"p", 1280, 720, 16, 9, 0}},
        {"profile as a number",
         R"({"Profile":1,"Width":640,"Height":360,"WindowID":5})",
         false,
         {"", 1280, 720, 16, 9, 0}},
    };
    for (const OpenMovieCase& c : cases) {
        framework_ = std::make_unique<CQuillavantFramework>();
        std::string answer = command("OPEN_MOVIE", c.content);
        EXPECT_EQ(answer, c.answer ? kTrueText : kFalseText) << c.what;
        EXPECT_EQ(settingsOf(player()), c.stored) << c.what;
    }
}

TEST_F(MovieCommandsTest, OpenMovieLogsTheCachePathAndTheSettingsInTheirExactForm) {
    std::string cache = testsupport::makeTempDirectory("qv-fw-cache");
    LogCapture log;
    command("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":960,"Height":540,"WindowID":12,
                              "Display_Aspect_Num":16,"Display_Aspect_Den":9,"CachePath":")" +
                              cache + "\"}");
    EXPECT_EQ(player().getCachePath(), cache);
    EXPECT_TRUE(log.has(kLogInfo, "CachePath: " + cache));
    EXPECT_TRUE(log.has(kLogInfo,
                        "Open_Movie: width=960 height=540\t\t\t\t\t\t\t\t\t\t   \t\t\tWinID=12 "
                        "Aspect_Num=16 Aspect_Den=9,profile:atsc_720p_25"));
    EXPECT_TRUE(log.has(kLogInfo, "Return [OPEN_MOVIE] command Ok"));
}

TEST_F(MovieCommandsTest, OpenMovieWithoutAspectLogsZeroesAndAFailedOneLogsNoOk) {
    LogCapture log;
    command("OPEN_MOVIE", R"({"Profile":"","Width":1,"Height":2,"WindowID":3})");
    EXPECT_TRUE(log.has(kLogInfo,
                        "Open_Movie: width=1 height=2\t\t\t\t\t\t\t\t\t\t   \t\t\tWinID=3 "
                        "Aspect_Num=0 Aspect_Den=0,profile:"));
    EXPECT_TRUE(log.has(kLogInfo, "CachePath: "));
    log.clear();
    command("OPEN_MOVIE", R"({"Profile":"","Width":1,"Height":2})");
    EXPECT_TRUE(log.has(kLogInfo, "Receive [OPEN_MOVIE] command"));
    EXPECT_FALSE(log.has(kLogInfo, "Return [OPEN_MOVIE] command Ok"));
    EXPECT_TRUE(log.startingWith(kLogError, "").empty());
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(TimecodeForClient, MakesTheLastColonAPoint) {
    const std::pair<const char*, const char*> cases[] = {
        {"00:01:05:12", "00:01:05.12"},
        {"00:00:00:00", "00:00:00.00"},
        {"12", "12"},
        {"", ""},
        {"a:b", "a.b"},
        {"1:2:3.4", "1:2.3.4"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(timecodeForClient(c.first), c.second) << c.first;
    }
}

TEST_F(MovieCommandsTest, SaveMltFileAnswersATemporaryFileBesideTheHostWithoutACache) {
    std::string answer = command("SAVE_MLT_FILE");
    std::regex expected("\\{\n   \"ReturnResultString\" : \"" + platform::moduleDirectory() +
                        "/temp_" + kUuidPattern + "\\.xml\"\n\\}\n");
    EXPECT_TRUE(std::regex_match(answer, expected)) << answer;
}

TEST_F(MovieCommandsTest, SaveMltFileAnswersATemporaryFileInTheCache) {
    std::string cache = testsupport::makeTempDirectory("qv-fw-cache");
    command("OPEN_MOVIE",
            R"({"Profile":"","Width":640,"Height":360,"WindowID":0,"CachePath":")" + cache + "\"}");
    std::string first = command("SAVE_MLT_FILE");
    std::string second = command("SAVE_MLT_FILE");
    std::regex expected("\\{\n   \"ReturnResultString\" : \"" + cache + "/temp_" + kUuidPattern +
                        "\\.xml\"\n\\}\n");
    EXPECT_TRUE(std::regex_match(first, expected)) << first;
    EXPECT_NE(first, second);
}

TEST_F(MovieCommandsTest, EmptyLogDirectoryIsRefused) {
    LogCapture log;
    EXPECT_EQ(command("PRE_SET_LOGDIRECTORY", R"({"LogPath":""})"), kFalseText);
    EXPECT_EQ(command("PRE_SET_LOGDIRECTORY", "{}"), kFalseText);
    EXPECT_EQ(command("PRE_SET_LOGDIRECTORY", R"({"LogPath":5})"), kFalseText);
    EXPECT_EQ(log.count(kLogInfo, "strLogPath: "), 3);
    EXPECT_EQ(logDirectory(), "");
}

}  // namespace
}  // namespace fwtest
