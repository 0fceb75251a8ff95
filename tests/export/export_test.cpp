// Export: the hardware encoder table, the argument vector, the consumer and
// profile made from it, and real renders of a multi-track timeline.
#include <framework/mlt.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "export/export_session.h"
#include "export/hw_accel.h"
#include "h264_settings.h"
#include "media/mlt_handles.h"
#include "media/transport.h"
#include "platform/platform.h"
#include "support/export_fixtures.h"
#include "support/export_log_capture.h"
#include "support/test_media.h"

namespace {

TEST(ExportHwAccel, TableTextFollowsNoHardwareAccelAndTheEngineValueComesFirst) {
    using Lines = std::vector<std::string>;
    for (const char* value :
         {static_cast<const char*>(nullptr), "true", "TRUE", "1", "", "false"}) {
        value ? setenv("NO_HARDWARE_ACCEL", value, 1) : unsetenv("NO_HARDWARE_ACCEL");
        const std::string text = value ? value : "(unset)";
        testsupport::LogCapture log;
        // Only exactly "true" disables; an absent value is not reported.
        EXPECT_EQ(getHwAccelAbility(), testsupport::expectedHwAccelTable(text != "true")) << text;
        EXPECT_EQ(log.messages(), value ? Lines{"NO_HARDWARE_ACCEL = " + text + "\n "} : Lines{});
    }
    media::ensureEngineFactory();
    setenv("NO_HARDWARE_ACCEL", "TRUE", 1);
    mlt_environment_set("NO_HARDWARE_ACCEL", "true");
    EXPECT_FALSE(isHardwareAccelAllowed());
    mlt_environment_set("NO_HARDWARE_ACCEL", nullptr);
    EXPECT_TRUE(isHardwareAccelAllowed());
    unsetenv("NO_HARDWARE_ACCEL");
}

class ExportTest : public ::testing::Test {
  protected:
    void SetUp() override {
        media::ensureEngineFactory();
        directory_ = testsupport::makeTempDirectory("export");
        timeline_ = testsupport::writeExportTimeline(directory_, 75);
    }
    // An H.264/AAC movie of the timeline at 640x360.
    ExportSettings movieSettings(const std::string& name) const {
        ExportSettings s = h264Settings(timeline_.path, directory_ + "/" + name, "640", "360");
        s.qualityLevel = "best";
        return s;
    }
    std::string directory_;
    testsupport::ExportTimeline timeline_;
};

TEST_F(ExportTest, ArgumentVectorHoldsDocumentConsumerAndOptionsInSlotOrder) {
    const std::pair<void (*)(ExportSettings&), const char*> cases[] = {
        {[](ExportSettings& s) { s.preset = "atsc_720p_25"; },
         "mlt_profile=atsc_720p_25 vcodec=libx264 r=25 vb=1500000 acodec=aac ac=2 ar=48000 "
         "ab=128000 g=25"},
        // No option for NULL or empty; NULL video keeps the stream; bit rates get 000 appended.
        {[](ExportSettings& s) {
             s.preset = s.audioEncoder = s.audioChannel = "NULL";
             s.videoEncoder = s.videoWidth = s.videoHeight = "NULL";
             s.videoFrameRate = "";
             s.videoBitRate = "fast";
             s.audioBitRate = "0.5";
         },
         "vb=fast000 ar=48000 ab=0.5000 g=25"},
        // Empty video fields add vn=1 before g=25.
        {[](ExportSettings& s) {
             s.videoEncoder = s.videoWidth = s.videoHeight = s.videoBitRate = "";
         },
         "r=25 acodec=aac ac=2 ar=48000 ab=128000 vn=1 g=25"},
    };
    auto joined = [](const ExportSettings& s) {
        std::string text;
        for (const std::string& argument : ExportSession::buildExportArguments(s)) {
            text += (text.empty() ? "" : " ") + argument;
        }
        return text;
    };
    for (const auto& [change, options] : cases) {
        ExportSettings s = movieSettings("movie.mp4");
        change(s);
        EXPECT_EQ(joined(s),
                  "orbelink " + s.xmlFile + " -consumer avformat:" + s.fileName + " " + options);
    }
    EXPECT_EQ(joined(ExportSettings()), "orbelink  -consumer avformat: vn=1 g=25");
}

TEST_F(ExportTest, ProfileSizeAndScalerFollowTheSettings) {
    // dv_pal is 720x576 with a 4:3 display; a size needs both numbers.
    // Width, height, display aspect; is_explicit: not the document's own profile.
    const std::tuple<const char*, const char*, std::vector<int>> sizes[] = {
        {"1920", "1080", {1920, 1080, 16, 9, 1}}, {"720", "480", {720, 480, 3, 2, 1}},
        {"1920", "", {720, 576, 4, 3, 1}},        {"0", "1080", {720, 576, 4, 3, 1}},
        {"NULL", "NULL", {720, 576, 4, 3, 1}},
    };
    for (const auto& [width, height, expected] : sizes) {
        ExportSettings settings = movieSettings("size.mp4");
        settings.videoWidth = width;
        settings.videoHeight = height;
        ExportSession session;
        session.start(settings, "dv_pal");
        mlt_profile p = session.profile();
        ASSERT_NE(p, nullptr);
        EXPECT_EQ((std::vector<int>{p->width, p->height, p->display_aspect_num,
                                    p->display_aspect_den, p->is_explicit}),
                  expected)
            << width << "x" << height;
    }
    // Only exactly "best" scales bicubic; renders are progressive, video_off without video.
    for (const auto& [quality, audioOnly, rescale] :
         {std::make_tuple("best", false, "bicubic"), std::make_tuple("Best", false, "bilinear"),
          std::make_tuple("best ", false, "bilinear"), std::make_tuple("best", true, "bicubic")}) {
        ExportSettings settings = movieSettings("quality.mp4");
        settings.qualityLevel = quality;
        if (audioOnly) {
            settings.videoEncoder = settings.videoWidth = settings.videoHeight =
                settings.videoBitRate = "";
        }
        ExportSession session;
        session.start(settings, "");
        ASSERT_NE(session.consumer(), nullptr);
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(session.consumer());
        EXPECT_STREQ(mlt_properties_get(properties, "rescale"), rescale) << quality;
        EXPECT_EQ(mlt_properties_get_int(properties, "progressive"), 1);
        EXPECT_EQ(mlt_properties_get_int(properties, "video_off"), audioOnly) << quality;
    }
}

TEST_F(ExportTest, StartLogsWhetherTheRenderStarted) {
    const std::string notMlt = directory_ + "/notes.xml", missing = directory_ + "/missing.xml";
    std::ofstream(notMlt) << "just some text\n";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {timeline_.path, {"Start to Export File " + directory_ + "/logged.mp4"}},
        {missing, {"Failed to open xml " + missing}},
        {notMlt, {}},  // MLT loads nothing: an empty render that never starts
    };
    for (const auto& [xmlFile, expectedLog] : cases) {
        ExportSettings settings = movieSettings("logged.mp4");
        settings.xmlFile = xmlFile;
        testsupport::LogCapture log;
        ExportSession session;
        session.start(settings, "");
        EXPECT_EQ(log.messages(), expectedLog) << xmlFile;
        EXPECT_EQ(session.consumer() == nullptr, xmlFile == missing) << xmlFile;
        if (xmlFile == notMlt) {
            EXPECT_EQ(session.totalFrames() + session.currentPosition(""), 0);
            EXPECT_TRUE(session.isStopped());  // so a polling client ends
        }
    }
}

struct CleanupCounter {
    int fired = 0;
    explicit CleanupCounter(mlt_consumer consumer) {
        mlt_events_listen(MLT_CONSUMER_PROPERTIES(consumer), this, "consumer-cleanup",
                          reinterpret_cast<mlt_listener>(&CleanupCounter::onCleanup));
    }
    static void onCleanup(mlt_properties, void* self, mlt_event_data) {
        ++static_cast<CleanupCounter*>(self)->fired;
    }
};

TEST_F(ExportTest, SecondStartReleasesTheFirstRenderAndTheSecondWritesTheWholeTimeline) {
    ExportSettings settings = movieSettings("first.mp4");
    ExportSession session;
    session.start(settings, "atsc_720p_25");
    ASSERT_NE(session.consumer(), nullptr);
    CleanupCounter cleanup(session.consumer());
    settings.fileName = directory_ + "/movie.mp4";
    session.start(settings, "atsc_720p_25");
    EXPECT_EQ(cleanup.fired, 1);
    EXPECT_EQ(session.totalFrames(), timeline_.frames);

    // Bounded: a guard against a render that never ends, not a speed requirement.
    std::vector<int> positions;
    bool stopped = false;
    for (const uint64_t begin = platform::tickCountMs();
         !stopped && platform::tickCountMs() - begin < 300000; platform::sleepMilliseconds(5)) {
        // Position first: a stop seen afterwards means it was taken while running.
        const int position = session.currentPosition("");
        stopped = session.isStopped();
        positions.push_back(position);
    }
    ASSERT_TRUE(stopped);
    positions.pop_back();
    EXPECT_TRUE(!positions.empty() && std::is_sorted(positions.begin(), positions.end()));
    EXPECT_EQ(session.currentPosition(""), timeline_.frames - 1);  // the last frame rendered
    session.close();
    EXPECT_TRUE(!session.consumer() && !session.producer() && !session.profile());
    EXPECT_EQ(session.totalFrames() + session.currentPosition(""), 0);
    EXPECT_FALSE(session.isStopped());
    testsupport::ProbedFile file = testsupport::probeFile(directory_ + "/first.mp4");
    EXPECT_TRUE(!file.stream("video") || file.stream("video")->decodedFrames < timeline_.frames);
    file = testsupport::probeFile(settings.fileName);
    ASSERT_EQ(file.streams.size(), 2u) << settings.fileName;
    const testsupport::ProbedStream* video = file.stream("video");
    const testsupport::ProbedStream* audio = file.stream("audio");
    ASSERT_TRUE(video != nullptr && audio != nullptr);
    EXPECT_EQ(video->codecName, "h264");
    EXPECT_EQ(video->width, 640);
    EXPECT_EQ(video->height, 360);
    EXPECT_EQ(video->frameRate, "25/1");
    EXPECT_EQ(video->decodedFrames, timeline_.frames);
    EXPECT_NEAR(video->duration, timeline_.frames / 25.0, 0.001);
    EXPECT_TRUE(video->bitRate > 1500000 / 4 && video->bitRate < 1500000 * 2) << video->bitRate;
    EXPECT_EQ(audio->codecName, "aac");
    EXPECT_EQ(audio->sampleRate, 48000);
    EXPECT_EQ(audio->channels, 2);
    EXPECT_TRUE(audio->bitRate > 128000 / 2 && audio->bitRate < 128000 * 3 / 2) << audio->bitRate;
    EXPECT_NEAR(audio->duration, timeline_.frames / 25.0, 0.05);
}

// The engine can lose a start: its render thread ends at once and the late
// "running" mark then never clears. Marking a finished render running again
// stands in for that; the polls must render the timeline again.
TEST_F(ExportTest, PollsRenderAgainWhenTheEngineLostTheStart) {
    ExportSettings settings = movieSettings("sound.m4a");
    settings.videoEncoder = settings.videoWidth = settings.videoHeight = "";
    settings.videoBitRate = "";
    ExportSession session;
    auto renderEnds = [&session] {
        const uint64_t begin = platform::tickCountMs();
        while (!session.isStopped() && platform::tickCountMs() - begin < 60000) {
            platform::sleepMilliseconds(10);
        }
        return session.isStopped();
    };
    session.start(settings, "atsc_720p_25");
    ASSERT_TRUE(renderEnds());
    std::remove(settings.fileName.c_str());
    mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(session.consumer()), "running", 1);
    EXPECT_FALSE(session.isStopped());
    ASSERT_TRUE(renderEnds());
    EXPECT_EQ(session.currentPosition(""), timeline_.frames - 1);
    const testsupport::ProbedFile file = testsupport::probeFile(settings.fileName);
    ASSERT_NE(file.stream("audio"), nullptr);
    EXPECT_NEAR(file.stream("audio")->duration, timeline_.frames / 25.0, 0.05);
}

}  // namespace
