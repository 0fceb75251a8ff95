// The preview driven through the real socket, as the client drives it: build
// a timeline, play, poll, pause, seek, step, edit while playing and save the
// running graph.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/display_xvfb.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

std::string jsonText(const std::string& text) {
    return "\"" + text + "\"";
}

TEST(PlayerSocket, PlaySeekStepLiveEditAndSaveTheRunningGraph) {
    ASSERT_FALSE(testsupport::ensureDisplay().empty());
    std::string cache = testsupport::makeTempDirectory("player-socket");
    std::string red = testsupport::makeMedia(
        "player_red.mp4",
        "-f lavfi -i color=c=red:s=320x240:r=25:d=2 -f lavfi -i "
        "sine=frequency=440:sample_rate=48000:duration=2 -c:v libx264 -pix_fmt yuv420p "
        "-c:a aac -shortest");
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    auto result = [&](const std::string& name, const std::string& content = "") {
        return service.commandResult(name, content);
    };
    auto control = [&](const std::string& name, const std::string& content = "") {
        EXPECT_EQ(service.control(name, content), "{\n   \"ReturnResultString\" : true\n}\n")
            << name;
    };
    auto position = [&] { return std::stoi(result("PRE_GETCURRENTPOS")); };
    auto totalFrames = [&] { return std::stoi(result("PRE_GETTOTALFRAME")); };
    auto isAdvancing = [&] {
        const int from = position();
        for (int waited = 0; waited < 10000; waited += 20) {
            if (position() > from) {
                return true;
            }
            usleep(20000);
        }
        return false;
    };
    auto isHolding = [&] {
        const int at = position();
        usleep(300000);
        return position() == at;
    };
    auto clip = [](const std::string& id, const std::string& resource, int out) {
        return R"({"TrackID":"Track0","ID":)" + jsonText(id) +
               R"(,"MltService":"avformat","Resource":)" + jsonText(resource) +
               R"(,"In":"0","Out":")" + std::to_string(out) + R"(","Index":-1})";
    };

    ASSERT_EQ(result("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                                   R"("Display_Aspect_Num":16,"Display_Aspect_Den":9,)"
                                   R"("WindowID":0,"CachePath":)" +
                                       jsonText(cache) + "}"),
              "true");
    ASSERT_EQ(result("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"), "true");
    // Without a preview the engine half of the edit has nothing to change.
    EXPECT_EQ(result("ADD_CLIP", clip("bars", testsupport::colourBarsWithTone(4), 99)), "false");
    control("PRE_PLAY", R"({"AutoPlay":true,"Position":0,"Width":1280,"Height":720})");
    ASSERT_EQ(totalFrames(), 100);
    EXPECT_EQ(result("PRE_GETFPS"), "25.0");
    EXPECT_EQ(result("PRE_GETTOTALTIME"), "4.0");
    EXPECT_EQ(result("PRE_GETTOTALTIME_STR"), jsonText("00:00:04.00"));
    EXPECT_EQ(result("GET_MLT_FILE").rfind("\"" + cache + "/temp_", 0), 0u);
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
        {"PRE_SEEK", "{}", 30},
        {"PRE_SEEK_STOP", R"({"Position":"10"})", 30},
        {"PRE_SEEK_STOP", R"({"Position":0})", 0},
        {"PRE_LAST_FRAME", "{}", 0},
        {"PRE_SEEK_STOP", R"({"Position":99})", 99},
        {"PRE_NEXT_FRAME", "{}", 99},  // a step past the end
        {"PRE_SEEK", R"({"Position":100})", 99},
        {"PRE_SEEK_STOP", R"({"Position":37})", 37},
    };
    for (const auto& s : steps) {
        control(s.control, s.content);
        EXPECT_EQ(position(), s.expected) << s.control << " " << s.content;
    }
    EXPECT_EQ(result("PRE_GETCURRENTTIME_STR"), jsonText("00:00:01.12"));
    EXPECT_TRUE(isHolding());
    control("PRE_FASTORBACK", R"({"Speed":2.0})");
    control("PRE_CONTINUE");
    EXPECT_TRUE(isAdvancing());

    // Live edits reach the running preview, which keeps playing.
    EXPECT_EQ(result("ADD_CLIP", clip("red", red, 49)), "true");
    EXPECT_EQ(totalFrames(), 150);
    EXPECT_EQ(result("ADD_FILTER", R"({"TrackID":"Track0","ID":"grey","Title":"greyscale",)"
                                   R"("Index":0})"),
              "true");
    EXPECT_EQ(result("ADD_TRANSITION", R"({"ID":"cut","Title":"dissolve","TrackID_A":"Track0",)"
                                       R"("TrackID_B":"Track0","Index_A":0,"Index_B":1,)"
                                       R"("In":"10","Out":"5","TrackType":0})"),
              "true");
    EXPECT_TRUE(isAdvancing());
    const std::string saved = result("SAVE_MLT_FILE");
    ASSERT_EQ(saved.rfind("\"" + cache + "/temp_", 0), 0u) << saved;
    const std::string graph = testsupport::readFile(saved.substr(1, saved.size() - 2));
    for (const char* part : {"\"red\"", "\"grey\"", "\"cut\"", "maintractor"}) {
        EXPECT_NE(graph.find(part), std::string::npos) << part << "\n" << graph;
    }
    EXPECT_EQ(result("DELETE_TRANSITION", R"({"TransitionID":"cut","TrackType":0})"), "true");
    EXPECT_EQ(result("DELETE_CLIP", R"({"TrackID":"Track0","ClipID":"red"})"), "true");
    EXPECT_EQ(totalFrames(), 100);
    EXPECT_TRUE(isAdvancing());
    EXPECT_EQ(service.close(), 0) << service.stderrText();
    testsupport::runCommand("rm -rf '" + cache + "'");
}

}  // namespace
