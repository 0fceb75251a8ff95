// A client that vanishes in the middle of work (an editor that crashed or was
// killed): the service must notice, shut its engine down cleanly, remove its
// socket and end with 0 within a few seconds, whatever it was doing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "platform/platform.h"
#include "support/display_xvfb.h"
#include "support/export_fixtures.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

constexpr int kExitLimitMs = 5000;

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

std::string exportRequest(const std::string& fileName, const std::string& xmlFile) {
    return "{\"FileName\":" + q(fileName) + ",\"XmlFile\":" + q(xmlFile) +
           ",\"Video\":{\"Encoder\":\"libx264\",\"Width\":\"1280\",\"Height\":\"720\","
           "\"FrameRate\":\"25\",\"BitRate\":\"4000\"},\"Audio\":{\"Encoder\":\"aac\","
           "\"Channel\":\"2\",\"SampleRate\":\"48000\",\"BitRate\":\"128\"}}";
}

// Loads a timeline of one clip into the preview and starts it playing.
void startPreview(ServiceProcess& service, const std::string& cache, const std::string& media) {
    ASSERT_EQ(service.commandResult("OPEN_MOVIE",
                                    R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                                    R"("Display_Aspect_Num":16,"Display_Aspect_Den":9,)"
                                    R"("WindowID":0,"CachePath":)" +
                                        q(cache) + "}"),
              "true");
    ASSERT_EQ(
        service.commandResult("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"),
        "true");
    service.commandResult("ADD_CLIP", R"({"TrackID":"Track0","ID":"bars","MltService":"avformat",)"
                                      R"("Resource":)" +
                                          q(media) + R"(,"In":"0","Out":"99","Index":-1})");
    ASSERT_EQ(service.control("PRE_PLAY", R"({"AutoPlay":true,"Position":0,"Width":1280,)"
                                          R"("Height":720})"),
              "{\n   \"ReturnResultString\" : true\n}\n");
}

// Starts an export of a 30 s 1280x720 timeline and waits until it renders.
void startLongExport(ServiceProcess& service, const std::string& dir) {
    const testsupport::ExportTimeline timeline =
        testsupport::writeExportTimeline(dir, 750, 1280, 720);
    service.control("EXPORT_MOVIE", exportRequest(dir + "/vanish.mp4", timeline.path));
    for (int waited = 0; waited < 10000; waited += 50) {
        if (std::atoi(service.commandResult("PRE_GETEXPORTCURRENTPOS").c_str()) > 0) {
            return;
        }
        usleep(50000);
    }
    ADD_FAILURE() << "the export never started\n" << service.stderrText();
}

// Sends a control without waiting for its reply, then drops the connection
// while the service works on it.
void sendAndVanish(ServiceProcess& service, const std::string& control,
                   const std::string& content) {
    const std::string body = makeRequestBody("1", control, content);
    tgMessageHead head;
    head.type = kControlMessage;
    head.length = static_cast<uint32_t>(body.size());
    unsigned char bytes[kMessageHeadSize];
    encodeMessageHead(head, bytes);
    ASSERT_TRUE(service.client().writeBytes(bytes, sizeof(bytes)));
    ASSERT_TRUE(service.client().writeBytes(body.data(), body.size()));
    usleep(200000);
    service.client().disconnect();
}

void expectCleanEnd(ServiceProcess& service, const char* what) {
    const uint64_t begin = platform::tickCountMs();
    EXPECT_EQ(service.waitForExit(kExitLimitMs + 10000), 0) << what << "\n" << service.stderrText();
    EXPECT_LE(platform::tickCountMs() - begin, static_cast<uint64_t>(kExitLimitMs)) << what;
    EXPECT_FALSE(testsupport::fileExists(service.socketPath())) << what;
}

class ClientVanish : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(testsupport::ensureDisplay().empty());
        dir_ = testsupport::makeTempDirectory("client-vanish");
        ASSERT_TRUE(service_.connect());
    }
    void TearDown() override { testsupport::runCommand("rm -rf '" + dir_ + "'"); }

    std::string dir_;
    ServiceProcess service_{"SDL_AUDIODRIVER=dummy"};
};

TEST_F(ClientVanish, WhilePlayingAndExporting) {
    startPreview(service_, dir_, testsupport::colourBarsWithTone(4, 1280, 720));
    startLongExport(service_, dir_);
    service_.client().disconnect();
    expectCleanEnd(service_, "playing and exporting");
}

TEST_F(ClientVanish, WhileExporting) {
    startLongExport(service_, dir_);
    service_.client().disconnect();
    expectCleanEnd(service_, "exporting");
}

TEST_F(ClientVanish, WhilePlaying) {
    startPreview(service_, dir_, testsupport::colourBarsWithTone(4, 1280, 720));
    service_.client().disconnect();
    expectCleanEnd(service_, "playing");
}

TEST_F(ClientVanish, WhileMakingThumbnails) {
    const std::string media = testsupport::colourBarsWithTone(8, 1280, 720);
    std::string positions;
    for (int p = 0; p < 200; p += 5) {
        positions += (positions.empty() ? "" : ",") + std::to_string(p);
    }
    sendAndVanish(service_, "PRE_VIDEO_THUMB",
                  R"({"Profile":{"Width":320,"Height":180,"FrameRate":25.0},"FileName":)" +
                      q(media) + R"(,"Position":[)" + positions + R"(],"OutDir":)" + q(dir_) + "}");
    expectCleanEnd(service_, "making thumbnails");
}

TEST_F(ClientVanish, WhileMakingAudioLevels) {
    const std::string media = testsupport::colourBarsWithTone(8, 1280, 720);
    sendAndVanish(service_, "PRE_AUDIO_THUMB",
                  R"({"FileName":)" + q(media) + R"(,"OutFile":)" + q(dir_ + "/levels.txt") + "}");
    expectCleanEnd(service_, "making audio levels");
}

}  // namespace
