#include <gtest/gtest.h>

#include "media/snapshot.h"
#include "support/media_fixtures.h"

namespace {

TEST(Snapshot, ShowsThePositionAtTheMediaSizeOrTheNamedProfileSize) {
    const std::string media = mediatest::counterVideo();
    const std::string path = testsupport::makeTempDirectory("media-snap") + "/snap.jpg";
    ASSERT_TRUE(snapPicture(50, "", media, path));
    EXPECT_EQ(mediatest::jpegSizes({path}), "320x240\n");
    // The engine's own colour conversion leaves it further from ffmpeg's frames.
    EXPECT_EQ(mediatest::matchingFrame(mediatest::jpegFrames({path}, 320, 240).at(0),
                                       mediatest::grayFrames(media, 320, 240), 16.0),
              50);
    ASSERT_TRUE(snapPicture(10, "atsc_720p_25", media, path));
    EXPECT_EQ(mediatest::jpegSizes({path}), "1280x720\n");
}

TEST(Snapshot, AnUnwritableOutputOrAMissingFileStillAnswersTrue) {
    // The melt producer stands in an empty clip for a file it cannot load, so
    // only a profile or producer the engine cannot make answers false.
    const std::string directory = testsupport::makeTempDirectory("media-snap");
    mediatest::LogRecorder log;
    EXPECT_TRUE(snapPicture(10, "", mediatest::counterVideo(), directory + "/missing/snap.jpg"));
    EXPECT_FALSE(testsupport::fileExists(directory + "/missing/snap.jpg"));
    EXPECT_TRUE(snapPicture(10, "", "/nonexistent/media.mp4", directory + "/snap.jpg"));
    EXPECT_EQ(log.count("Info", "world null"), 0);
}

}  // namespace
