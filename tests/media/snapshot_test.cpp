#include <gtest/gtest.h>

#include <string>

#include "media_fixtures.h"
#include "player/media_snapshot.h"
#include "support/test_media.h"

namespace {

TEST(SnapshotTest, WithoutAProfileThePictureKeepsTheMediaSizeAndShowsThePosition) {
    const std::string media = mediatest::counterVideo();
    const std::string path = testsupport::makeTempDirectory("media-snap") + "/snap.jpg";
    ASSERT_TRUE(snapPicture(50, "", media, path));
    EXPECT_EQ(mediatest::pictureSize(path), std::make_pair(320, 240));
    const std::vector<mediatest::GrayPicture> frames = mediatest::referenceFrames(media, 320, 240);
    EXPECT_EQ(mediatest::closestFrame(mediatest::decodeJpegGray(path, 320, 240), frames), 50);
}

TEST(SnapshotTest, ANamedProfileGivesThePictureTheProfileSize) {
    const std::string path = testsupport::makeTempDirectory("media-snap") + "/snap.jpg";
    ASSERT_TRUE(snapPicture(10, "atsc_720p_25", mediatest::counterVideo(), path));
    EXPECT_EQ(mediatest::pictureSize(path), std::make_pair(1280, 720));
}

TEST(SnapshotTest, AnOutputThatCannotBeCreatedStillAnswersTrue) {
    const std::string path =
        testsupport::makeTempDirectory("media-snap") + "/missing/directory/snap.jpg";
    EXPECT_TRUE(snapPicture(10, "", mediatest::counterVideo(), path));
    EXPECT_FALSE(testsupport::fileExists(path));
}

TEST(SnapshotTest, AMissingFileStillRendersThroughTheEngineAndAnswersTrue) {
    // The melt producer stands in an empty clip for a file it cannot load, so
    // only a profile or producer the engine cannot make answers false.
    mediatest::LogRecorder log;
    const std::string path = testsupport::makeTempDirectory("media-snap") + "/snap.jpg";
    EXPECT_TRUE(snapPicture(10, "", "/nonexistent/media.mp4", path));
    EXPECT_EQ(log.count("Info", "world null"), 0);
}

}  // namespace
