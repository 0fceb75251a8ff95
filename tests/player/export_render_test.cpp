// Real renders of a multi-track timeline: what lands in the file, how the
// progress queries follow the render, and how a render is abandoned.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/platform.h"
#include "player/export_session.h"
#include "support/export_fixtures.h"
#include "support/test_media.h"

namespace {

// Only a guard against a render that never ends, not a speed requirement.
constexpr uint64_t kRenderDeadlineMs = 300000;

struct Progress {
    std::vector<int> positionsWhileRunning;
    int finalPosition = -1;
    bool stopped = false;
};

Progress followUntilStopped(ExportSession& session) {
    Progress progress;
    uint64_t begin = platform::tickCountMs();
    while (platform::tickCountMs() - begin < kRenderDeadlineMs) {
        // Position first: a stop seen afterwards means the position was taken while running.
        int position = session.currentPosition("");
        if (session.isStopped()) {
            progress.stopped = true;
            break;
        }
        progress.positionsWhileRunning.push_back(position);
        platform::sleepMilliseconds(5);
    }
    progress.finalPosition = session.currentPosition("");
    return progress;
}

// 0 when the file holds no decodable video (an abandoned MP4 has no index yet).
long decodedVideoFrames(const std::string& path) {
    testsupport::ProbedFile file = testsupport::probeFile(path);
    const testsupport::ProbedStream* video = file.stream("video");
    return video != nullptr ? video->decodedFrames : 0;
}

struct CleanupCounter {
    int fired = 0;
    static void onCleanup(mlt_properties, void* self, mlt_event_data) {
        ++static_cast<CleanupCounter*>(self)->fired;
    }
    void listenTo(mlt_consumer consumer) {
        mlt_events_listen(MLT_CONSUMER_PROPERTIES(consumer), this, "consumer-cleanup",
                          reinterpret_cast<mlt_listener>(&CleanupCounter::onCleanup));
    }
};

class ExportRenderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        directory_ = testsupport::makeTempDirectory("export-render");
        timeline_ = testsupport::writeExportTimeline(directory_, 75);
    }

    ExportSettings h264Settings(const std::string& name) const {
        ExportSettings settings;
        settings.xmlFile = timeline_.path;
        settings.fileName = directory_ + "/" + name;
        settings.videoEncoder = "libx264";
        settings.videoWidth = "640";
        settings.videoHeight = "360";
        settings.videoFrameRate = "25";
        settings.videoBitRate = "1500";
        settings.audioEncoder = "aac";
        settings.audioChannel = "2";
        settings.audioSampleRate = "48000";
        settings.audioBitRate = "128";
        settings.qualityLevel = "best";
        return settings;
    }

    std::string directory_;
    testsupport::ExportTimeline timeline_;
};

TEST_F(ExportRenderTest, H264AacMovieHasTheRequestedStreamsAndTheTimelinesLength) {
    ExportSettings settings = h264Settings("movie.mp4");
    ExportSession session;
    session.start(settings, "atsc_720p_25");
    EXPECT_EQ(session.totalFrames(), timeline_.frames);
    Progress progress = followUntilStopped(session);
    ASSERT_TRUE(progress.stopped);
    ASSERT_FALSE(progress.positionsWhileRunning.empty());
    for (size_t i = 1; i < progress.positionsWhileRunning.size(); ++i) {
        EXPECT_LE(progress.positionsWhileRunning[i - 1], progress.positionsWhileRunning[i]);
    }
    // The consumer's position is the last frame it rendered.
    EXPECT_EQ(progress.finalPosition, timeline_.frames - 1);
    EXPECT_TRUE(session.isStopped());
    session.close();

    testsupport::ProbedFile file = testsupport::probeFile(settings.fileName);
    ASSERT_TRUE(file.readable) << settings.fileName;
    ASSERT_EQ(file.streams.size(), 2u);
    const testsupport::ProbedStream* video = file.stream("video");
    ASSERT_NE(video, nullptr);
    EXPECT_EQ(video->codecName, "h264");
    EXPECT_EQ(video->width, 640);
    EXPECT_EQ(video->height, 360);
    EXPECT_EQ(video->frameRate, "25/1");
    EXPECT_EQ(video->decodedFrames, timeline_.frames);
    EXPECT_NEAR(video->duration, timeline_.frames / 25.0, 0.001);
    EXPECT_GT(video->bitRate, 1500000 / 4);
    EXPECT_LT(video->bitRate, 1500000 * 2);
    const testsupport::ProbedStream* audio = file.stream("audio");
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->codecName, "aac");
    EXPECT_EQ(audio->sampleRate, 48000);
    EXPECT_EQ(audio->channels, 2);
    EXPECT_GT(audio->bitRate, 128000 / 2);
    EXPECT_LT(audio->bitRate, 128000 * 3 / 2);
    EXPECT_NEAR(audio->duration, timeline_.frames / 25.0, 0.05);
}

TEST_F(ExportRenderTest, EmptyVideoFieldsRenderAnAudioOnlyFile) {
    ExportSettings settings;
    settings.xmlFile = timeline_.path;
    settings.fileName = directory_ + "/sound.mp3";
    settings.audioEncoder = "libmp3lame";
    settings.audioChannel = "1";
    settings.audioSampleRate = "44100";
    settings.audioBitRate = "96";
    ExportSession session;
    session.start(settings, "");
    ASSERT_TRUE(followUntilStopped(session).stopped);
    session.close();

    testsupport::ProbedFile file = testsupport::probeFile(settings.fileName);
    ASSERT_TRUE(file.readable) << settings.fileName;
    ASSERT_EQ(file.streams.size(), 1u);
    const testsupport::ProbedStream* audio = file.stream("audio");
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->codecName, "mp3");
    EXPECT_EQ(audio->sampleRate, 44100);
    EXPECT_EQ(audio->channels, 1);
    EXPECT_GT(audio->bitRate, 96000 / 2);
    EXPECT_LT(audio->bitRate, 96000 * 3 / 2);
    EXPECT_NEAR(file.duration, timeline_.frames / 25.0, 0.1);
}

TEST_F(ExportRenderTest, SecondStartStopsAndReleasesTheRunningRender) {
    ExportSettings first = h264Settings("first.mp4");
    ExportSession session;
    session.start(first, "");
    ASSERT_NE(session.consumer(), nullptr);
    mlt_consumer firstConsumer = session.consumer();
    CleanupCounter cleanup;
    cleanup.listenTo(firstConsumer);

    ExportSettings second = h264Settings("second.mp4");
    session.start(second, "");
    EXPECT_EQ(cleanup.fired, 1);
    ASSERT_TRUE(followUntilStopped(session).stopped);
    session.close();

    EXPECT_EQ(decodedVideoFrames(second.fileName), timeline_.frames);
    EXPECT_LT(decodedVideoFrames(first.fileName), timeline_.frames);
}

TEST_F(ExportRenderTest, CloseAbandonsTheRenderAndForgetsTheExport) {
    ExportSettings settings = h264Settings("abandoned.mp4");
    ExportSession session;
    session.start(settings, "");
    ASSERT_NE(session.consumer(), nullptr);
    EXPECT_FALSE(session.isStopped());
    CleanupCounter cleanup;
    cleanup.listenTo(session.consumer());

    session.close();
    EXPECT_EQ(cleanup.fired, 1);
    EXPECT_EQ(session.consumer(), nullptr);
    EXPECT_EQ(session.producer(), nullptr);
    EXPECT_EQ(session.profile(), nullptr);
    EXPECT_EQ(session.totalFrames(), 0);
    EXPECT_FALSE(session.isStopped());
    EXPECT_EQ(session.currentPosition(""), 0);
    EXPECT_LT(decodedVideoFrames(settings.fileName), timeline_.frames);
    // A second close has nothing left to release.
    session.close();
    EXPECT_EQ(cleanup.fired, 1);
}

}  // namespace
