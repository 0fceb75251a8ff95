#include <gtest/gtest.h>

#include "media/thumbnails.h"
#include "support/media_fixtures.h"

namespace {

std::string thumbnailPath(const std::string& directory, int position) {
    return directory + "/" + std::to_string(position) + ".png";
}

TEST(ThumbnailSeries, EachShowsTheFrameAtItsPositionUprightAndAtTheRequestedSize) {
    const struct {
        std::string media;
        double streamRate;
        int width, height;
        // Turns ffmpeg's reference upright where ffmpeg itself does not.
        std::string referenceFilter;
    } cases[] = {
        {mediatest::counterVideo(), 25.0, 160, 120, ""},
        {mediatest::counterVideo("ntsc"), 30000.0 / 1001.0, 160, 120, ""},
        {mediatest::intraOnlyMjpeg(), 25.0, 160, 120, ""},
        {mediatest::rotated("ROTATE", 90), 25.0, 120, 160, "transpose=clock,"},
        // Only quarter turns are corrected.
        {mediatest::rotated("ROTATE", 45), 25.0, 160, 120, ""},
        {mediatest::rotated("rotate", 90), 25.0, 120, 160, ""},
        {mediatest::rotated("rotate", 180), 25.0, 160, 120, ""},
    };
    // Key frames fall every 50 stream frames: both sides of the first boundaries.
    const std::vector<int> positions = {0, 1, 24, 25, 49, 50, 51, 100, 137, 200, 230};
    // One grabber serves every file, as in the service: no rotation may carry over.
    FrameGrabber grabber;
    for (const auto& series : cases) {
        SCOPED_TRACE(series.media);
        const std::string directory = testsupport::makeTempDirectory("media-series");
        EXPECT_TRUE(snapMultiPicQuick(grabber, positions, {series.width, series.height, 25.0},
                                      series.media, directory));
        std::vector<std::string> paths;
        std::string sizes;
        for (int position : positions) {
            paths.push_back(thumbnailPath(directory, position));
            sizes += std::to_string(series.width) + "x" + std::to_string(series.height) + "\n";
        }
        EXPECT_EQ(mediatest::jpegSizes(paths), sizes);
        const auto frames = mediatest::grayFrames(series.media, series.width, series.height,
                                                  series.referenceFilter);
        const auto pictures = mediatest::jpegFrames(paths, series.width, series.height);
        ASSERT_EQ(pictures.size(), positions.size());
        for (size_t i = 0; i < positions.size(); ++i) {
            // Positions are counted at 25 per second whatever the stream's rate.
            EXPECT_EQ(mediatest::matchingFrame(pictures[i], frames),
                      static_cast<int>(positions[i] / 25.0 * series.streamRate + 0.5))
                << positions[i];
        }
    }
}

// An MPEG program stream has no index: a seek lands on whatever packet holds
// the time, often one whose reference pictures lie before it. Every position
// still gets a picture; the very last, which the decoder gives up only when
// drained, shows the picture before it as any drained picture does.
TEST(ThumbnailSeries, TheLastFramesOfAProgramStreamWithBFrames) {
    const std::string media = mediatest::mpeg2ProgramStream();
    const std::vector<int> positions = {0, 1, 100, 185, 186, 187, 188, 189};
    FrameGrabber grabber;
    const std::string directory = testsupport::makeTempDirectory("media-mpeg2");
    EXPECT_TRUE(snapMultiPicQuick(grabber, positions, {160, 120, 25.0}, media, directory));
    std::vector<std::string> paths;
    for (int position : positions) {
        paths.push_back(thumbnailPath(directory, position));
        EXPECT_TRUE(testsupport::fileExists(paths.back())) << position;
    }
    const auto frames = mediatest::grayFrames(media, 160, 120);
    ASSERT_EQ(frames.size(), 190u);
    const auto pictures = mediatest::jpegFrames(paths, 160, 120);
    ASSERT_EQ(pictures.size(), positions.size());
    for (size_t i = 0; i < positions.size(); ++i) {
        const int expected = positions[i] == 189 ? 188 : positions[i];
        EXPECT_EQ(mediatest::matchingFrame(pictures[i], frames), expected) << positions[i];
    }
}

TEST(ThumbnailFailure, FailedPositionsAreLoggedAndLeaveNoFile) {
    const std::string video = mediatest::counterVideo();
    const struct {
        std::string media;
        std::vector<int> positions;
        double frameRate;
        std::string subdirectory;
        // How many of the first positions get a picture; the others fail.
        size_t written;
    } cases[] = {
        {video, {249, 250, 300}, 25.0, "", 1},  // at or past the end
        {video, {}, 25.0, "", 0},
        {"/nonexistent/media.mp4", {0, 10}, 25.0, "", 0},
        {mediatest::squareWav(0), {0, 10}, 25.0, "", 0},  // no video stream
        {video, {0, 10}, 25.0, "/missing", 0},
        {video, {0, 10}, 0.0, "", 0},
    };
    for (const auto& failure : cases) {
        SCOPED_TRACE("case " + std::to_string(&failure - cases) + ": " + failure.media);
        const std::string directory =
            testsupport::makeTempDirectory("media-failure") + failure.subdirectory;
        FrameGrabber grabber;
        mediatest::LogRecorder log;
        EXPECT_EQ(snapMultiPicQuick(grabber, failure.positions, {64, 48, failure.frameRate},
                                    failure.media, directory),
                  !failure.positions.empty());  // only an empty list answers false
        EXPECT_EQ(log.count("Info", "snapMultiPic_Quick end"), 1);
        for (size_t i = 0; i < failure.positions.size(); ++i) {
            const std::string path = thumbnailPath(directory, failure.positions[i]);
            EXPECT_EQ(testsupport::fileExists(path), i < failure.written) << path;
            EXPECT_EQ(log.count("Error", "snap " + path + " is not sucess"),
                      i < failure.written ? 0 : 1);
        }
        EXPECT_EQ(log.count("Error"), static_cast<int>(failure.positions.size() - failure.written));
    }
}

}  // namespace
