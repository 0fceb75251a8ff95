#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "media_fixtures.h"
#include "player/media_frame_grabber.h"
#include "player/media_thumbnails.h"
#include "support/test_media.h"

namespace {

using mediatest::GrayPicture;

std::string thumbnailPath(const std::string& directory, int position) {
    return directory + "/" + std::to_string(position) + ".png";
}

// The stream frame a position counted at 25 per second lands on.
int streamFrameAt(int position, double streamRate) {
    return static_cast<int>(position / 25.0 * streamRate + 0.5);
}

struct SeriesCase {
    const char* name;
    std::string (*media)();
    double streamRate;
    int width;
    int height;
    // ffmpeg filter that turns the reference upright when ffmpeg itself does not.
    const char* referenceFilter;
};

std::string rotateTag90() {
    return mediatest::counterVideoRotateTag(90);
}
std::string displayMatrixMinus90() {
    return mediatest::counterVideoDisplayMatrix(-90);
}
std::string displayMatrix90() {
    return mediatest::counterVideoDisplayMatrix(90);
}
std::string displayMatrix180() {
    return mediatest::counterVideoDisplayMatrix(180);
}

class ThumbnailSeriesTest : public ::testing::TestWithParam<SeriesCase> {};

TEST_P(ThumbnailSeriesTest, EachThumbnailShowsTheFrameAtItsPositionUprightAndAtTheRequestedSize) {
    const SeriesCase& series = GetParam();
    const std::string media = series.media();
    const std::vector<GrayPicture> frames =
        mediatest::referenceFrames(media, series.width, series.height, series.referenceFilter);
    ASSERT_GE(frames.size(), 240u);
    const std::string directory = testsupport::makeTempDirectory("media-series");
    // Key frames fall every 50 stream frames: both sides of the first boundaries.
    const std::vector<int> positions = {0, 1, 24, 25, 49, 50, 51, 100, 137, 200, 230};

    FrameGrabber grabber;
    PictureSpec spec;
    spec.width = series.width;
    spec.height = series.height;
    spec.frameRate = 25.0;
    EXPECT_TRUE(snapMultiPicQuick(grabber, positions, spec, media, directory));

    std::vector<std::string> paths;
    for (int position : positions) {
        paths.push_back(thumbnailPath(directory, position));
        EXPECT_EQ(mediatest::jpegSize(paths.back()), std::make_pair(series.width, series.height))
            << position;
    }
    const std::vector<GrayPicture> pictures =
        mediatest::decodeJpegSeries(paths, series.width, series.height);
    ASSERT_EQ(pictures.size(), positions.size());
    for (size_t i = 0; i < positions.size(); ++i) {
        SCOPED_TRACE("position " + std::to_string(positions[i]));
        const int expected = streamFrameAt(positions[i], series.streamRate);
        EXPECT_EQ(mediatest::closestFrame(pictures[i], frames), expected);
        EXPECT_LT(mediatest::meanDifference(pictures[i], frames[expected]), 4.0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, ThumbnailSeriesTest,
    ::testing::Values(SeriesCase{"H264At25", mediatest::counterVideo, 25.0, 160, 120, ""},
                      SeriesCase{"H264At2997", mediatest::counterVideo2997, 30000.0 / 1001.0, 160,
                                 120, ""},
                      SeriesCase{"H264At50", mediatest::counterVideo50, 50.0, 160, 120, ""},
                      SeriesCase{"IntraOnlyMjpeg", mediatest::counterMjpeg, 25.0, 160, 120, ""},
                      SeriesCase{"RotateTag90", rotateTag90, 25.0, 120, 160, "transpose=clock"},
                      SeriesCase{"DisplayMatrixMinus90", displayMatrixMinus90, 25.0, 120, 160, ""},
                      SeriesCase{"DisplayMatrix90", displayMatrix90, 25.0, 120, 160, ""},
                      SeriesCase{"DisplayMatrix180", displayMatrix180, 25.0, 160, 120, ""}),
    [](const ::testing::TestParamInfo<SeriesCase>& info) { return info.param.name; });

struct RotationCase {
    const char* name;
    std::string (*media)();
    double degrees;
    bool filtered;
};

std::string plainVideo() {
    return mediatest::counterVideo();
}
std::string rotateTag45() {
    return mediatest::counterVideoRotateTag(45);
}
std::string rotateTag180() {
    return mediatest::counterVideoRotateTag(180);
}

class RotationTest : public ::testing::TestWithParam<RotationCase> {};

TEST_P(RotationTest, RotationIsReadFromTheTagOrTheDisplayMatrixAndOnlyQuarterTurnsAreFiltered) {
    const RotationCase& rotation = GetParam();
    FrameGrabber grabber;
    ASSERT_TRUE(grabber.openMedia(rotation.media(), 25.0));
    EXPECT_NEAR(grabber.getRotation(), rotation.degrees, 1e-6);
    EXPECT_EQ(grabber.hasRotationFilter(), rotation.filtered);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, RotationTest,
    ::testing::Values(RotationCase{"None", plainVideo, 0.0, false},
                      RotationCase{"Tag90", rotateTag90, 90.0, true},
                      RotationCase{"Tag180", rotateTag180, 180.0, true},
                      RotationCase{"Tag45", rotateTag45, 45.0, false},
                      RotationCase{"MatrixMinus90", displayMatrixMinus90, 90.0, true},
                      RotationCase{"Matrix90", displayMatrix90, 270.0, true},
                      RotationCase{"Matrix180", displayMatrix180, 180.0, true}),
    [](const ::testing::TestParamInfo<RotationCase>& info) { return info.param.name; });

TEST(DisplayMatrixMedia, GeneratedMatricesTurnTheWayTheirNamesSay) {
    for (int degrees : {-90, 90, 180}) {
        const Json::Value stream = mediatest::firstStream(
            mediatest::probeFile(mediatest::counterVideoDisplayMatrix(degrees)), "video");
        const Json::Value sideData = stream["side_data_list"][0];
        EXPECT_EQ(sideData["side_data_type"].asString(), "Display Matrix");
        EXPECT_EQ(std::abs(sideData["rotation"].asInt()), std::abs(degrees));
    }
}

TEST(FrameGrabberTest, OpenMediaCountsPositionsInTheRequestedRate) {
    FrameGrabber grabber;
    ASSERT_TRUE(grabber.openMedia(mediatest::counterVideo2997(), 25.0));
    EXPECT_EQ(grabber.totalFrames(), 250);
    EXPECT_DOUBLE_EQ(grabber.positionRate(), 25.0);
    EXPECT_NEAR(grabber.streamRate(), 30000.0 / 1001.0, 1e-9);
    EXPECT_EQ(grabber.width(), 320);
    EXPECT_EQ(grabber.height(), 240);
    EXPECT_EQ(grabber.startTime(), 0);

    ASSERT_TRUE(grabber.openMedia(mediatest::counterVideo50(), 50.0));
    EXPECT_EQ(grabber.totalFrames(), 500);
    EXPECT_DOUBLE_EQ(grabber.streamRate(), 50.0);
}

TEST(FrameGrabberTest, ATargetPastTheLastFrameGivesTheLastPicture) {
    const std::string media = mediatest::counterVideo();
    const std::vector<GrayPicture> frames = mediatest::referenceFrames(media, 160, 120);
    ASSERT_EQ(frames.size(), 250u);
    const std::string directory = testsupport::makeTempDirectory("media-last");
    const std::string path = directory + "/last.jpg";

    FrameGrabber grabber;
    ASSERT_TRUE(grabber.openMedia(media, 25.0));
    ASSERT_TRUE(grabber.seekToFrame(400));
    media::FramePtr picture = grabber.decodeFrame(400);
    ASSERT_TRUE(picture);
    ASSERT_TRUE(grabber.saveFrame(*picture, path, 160, 120));
    EXPECT_EQ(mediatest::closestFrame(mediatest::decodeJpegGray(path, 160, 120), frames), 249);
}

TEST(FrameGrabberTest, WithoutAVideoStreamOrAFileThereIsNoDecoder) {
    FrameGrabber grabber;
    EXPECT_FALSE(grabber.openMedia(mediatest::squareWav("media_silence.wav", 0, 100, 4), 25.0));
    EXPECT_FALSE(grabber.hasDecoder());
    EXPECT_FALSE(grabber.seekToFrame(0));
    EXPECT_FALSE(grabber.decodeFrame(0));

    EXPECT_TRUE(grabber.openMedia("/nonexistent/media.mp4", 25.0));
    EXPECT_FALSE(grabber.hasDecoder());
    EXPECT_FALSE(grabber.seekToFrame(0));
}

struct FailureCase {
    const char* name;
    std::vector<int> positions;
    double frameRate;
    bool useMissingFile;
    bool useMissingDirectory;
    bool answer;
    std::vector<int> written;
    std::vector<int> failed;
};

class ThumbnailFailureTest : public ::testing::TestWithParam<FailureCase> {};

TEST_P(ThumbnailFailureTest, FailedPositionsAreLoggedAndLeaveNoFile) {
    const FailureCase& failure = GetParam();
    const std::string media =
        failure.useMissingFile ? std::string("/nonexistent/media.mp4") : mediatest::counterVideo();
    const std::string root = testsupport::makeTempDirectory("media-failure");
    const std::string directory = failure.useMissingDirectory ? root + "/missing" : root;
    PictureSpec spec;
    spec.width = 64;
    spec.height = 48;
    spec.frameRate = failure.frameRate;

    FrameGrabber grabber;
    mediatest::LogRecorder log;
    testing::internal::CaptureStdout();
    const bool answer = snapMultiPicQuick(grabber, failure.positions, spec, media, directory);
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_EQ(answer, failure.answer);
    EXPECT_EQ(log.count("Info", "snapMultiPic_Quick end"), 1);
    for (int position : failure.written) {
        EXPECT_TRUE(testsupport::fileExists(thumbnailPath(directory, position))) << position;
    }
    for (int position : failure.failed) {
        const std::string path = thumbnailPath(directory, position);
        EXPECT_FALSE(testsupport::fileExists(path)) << position;
        EXPECT_EQ(log.count("Error", "snap " + path + " is not sucess"), 1) << position;
    }
    int errors = 0;
    for (const std::string& line : log.lines()) {
        errors += line.find("] [Error] [") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(errors, static_cast<int>(failure.failed.size()));
    if (failure.useMissingDirectory) {
        EXPECT_NE(printed.find("Couldn't open output file.\n"), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ThumbnailFailureTest,
    ::testing::Values(FailureCase{"PositionsAtOrPastTheEnd",
                                  {249, 250, 300},
                                  25.0,
                                  false,
                                  false,
                                  true,
                                  {249},
                                  {250, 300}},
                      FailureCase{"EmptyList", {}, 25.0, false, false, false, {}, {}},
                      FailureCase{"MissingFile", {0, 10}, 25.0, true, false, true, {}, {0, 10}},
                      FailureCase{
                          "MissingOutputDirectory", {0, 10}, 25.0, false, true, true, {}, {0, 10}},
                      FailureCase{"ZeroFrameRate", {0, 10}, 0.0, false, false, true, {}, {0, 10}}),
    [](const ::testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

TEST(ThumbnailReuseTest, AGrabberReusedForAnotherFileDecodesTheNewFile) {
    const std::string directory = testsupport::makeTempDirectory("media-reuse");
    FrameGrabber grabber;
    PictureSpec spec;
    spec.width = 120;
    spec.height = 160;
    spec.frameRate = 25.0;
    ASSERT_TRUE(snapMultiPicQuick(grabber, {10}, spec, rotateTag90(), directory));
    spec.width = 160;
    spec.height = 120;
    ASSERT_TRUE(snapMultiPicQuick(grabber, {20}, spec, mediatest::counterVideo(), directory));
    EXPECT_FALSE(grabber.hasRotationFilter());
    const std::vector<GrayPicture> frames =
        mediatest::referenceFrames(mediatest::counterVideo(), 160, 120);
    EXPECT_EQ(mediatest::closestFrame(
                  mediatest::decodeJpegGray(thumbnailPath(directory, 20), 160, 120), frames),
              20);
}

}  // namespace
