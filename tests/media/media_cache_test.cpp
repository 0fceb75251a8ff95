// Pictures and level files through the result cache: a cached answer must be
// the bytes a fresh decode writes, for exactly the requests that would
// decode to them, and a request must fail, log and answer as it does without
// a cache.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>

#include "cache/result_cache.h"
#include "media/audio_waveform.h"
#include "media/snapshot.h"
#include "media/thumbnails.h"
#include "support/media_fixtures.h"

namespace {

using Outputs = std::vector<std::string>;  // the bytes of each file, "" for none

class MediaCacheTest : public ::testing::Test {
  protected:
    MediaCacheTest() : results_(settings()) {}
    void TearDown() override { testsupport::runCommand("rm -rf '" + root_ + "'"); }

    cache::CacheSettings settings() const {
        cache::CacheSettings settings;
        settings.folder = root_ + "/cache";
        settings.limitBytes = 64 * 1024 * 1024;
        return settings;
    }
    const cache::CacheStatistics& statistics() const { return results_.statistics(); }

    // The series' files, written to a new folder; cache null for none.
    Outputs series(FrameGrabber& grabber, const std::string& media,
                   const std::vector<int>& positions, const PictureSpec& spec,
                   cache::ResultCache* cache) {
        const std::string folder = newFolder();
        EXPECT_EQ(snapMultiPicQuick(grabber, positions, spec, media, folder, cache),
                  !positions.empty());
        Outputs outputs;
        for (int position : positions) {
            outputs.push_back(
                testsupport::readFile(folder + "/" + std::to_string(position) + ".png"));
        }
        return outputs;
    }
    std::string levels(const std::string& media, const std::string& profile,
                       cache::ResultCache* cache) {
        const std::string path = newFolder() + "/levels.txt";
        EXPECT_TRUE(makeAudioThumbFile(profile, media, path, cache));
        return testsupport::readFile(path);
    }
    std::string snapshot(const std::string& media, const std::string& profile,
                         const std::string& extension, cache::ResultCache* cache) {
        const std::string path = newFolder() + "/snap" + extension;
        EXPECT_TRUE(snapPicture(40, profile, media, path, cache));
        return testsupport::readFile(path);
    }

    std::string newFolder() {
        const std::string folder = root_ + "/out" + std::to_string(++folders_);
        mkdir(folder.c_str(), 0700);
        return folder;
    }

    std::string root_ = testsupport::makeTempDirectory("qv-media-cache");
    int folders_ = 0;
    cache::ResultCache results_;
};

std::string repeatedLine(const std::string& line, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += line + "\n";
    }
    return text;
}

TEST_F(MediaCacheTest, ARepeatedSeriesIsWrittenFromTheCacheWithTheBytesOfAFreshDecode) {
    const struct {
        std::string media;
        PictureSpec spec;
    } cases[] = {
        {mediatest::counterVideo(), {160, 120, 25.0}},
        {mediatest::counterVideo("ntsc"), {160, 120, 25.0}},
        {mediatest::intraOnlyMjpeg(), {160, 120, 25.0}},
        {mediatest::rotated("rotate", 90), {120, 160, 25.0}},
        {mediatest::rotated("ROTATE", 180), {160, 120, 25.0}},
    };
    // 260 is past the end of every file.
    const std::vector<int> positions = {0, 24, 25, 51, 137, 249, 260};
    const size_t pictures = positions.size() - 1;
    FrameGrabber grabber;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.media);
        const cache::CacheStatistics before = statistics();
        mediatest::LogRecorder log;
        const Outputs fresh = series(grabber, c.media, positions, c.spec, nullptr);
        const Outputs kept = series(grabber, c.media, positions, c.spec, &results_);
        EXPECT_EQ(statistics().stores, before.stores + pictures);
        const Outputs cached = series(grabber, c.media, positions, c.spec, &results_);
        EXPECT_EQ(statistics().hits, before.hits + pictures);
        EXPECT_EQ(fresh.back(), "");
        EXPECT_EQ(kept, fresh);
        EXPECT_EQ(cached, fresh);
        // The position past the end fails and logs each time, cache or not.
        EXPECT_EQ(log.count("Error"), 3);
        EXPECT_EQ(log.count("Info", "snapMultiPic_Quick end"), 3);
    }
}

TEST_F(MediaCacheTest, EverySizeRateAndPositionHasPicturesOfItsOwn) {
    const std::string media = mediatest::counterVideo();
    const std::vector<int> positions = {0, 100, 200};
    FrameGrabber grabber;
    series(grabber, media, positions, {160, 120, 25.0}, &results_);
    const struct {
        PictureSpec spec;
        std::vector<int> positions;
        uint64_t hits;
        std::vector<bool> written;
    } requests[] = {
        {{160, 120, 25.0}, {0, 100, 200, 150}, 3, {true, true, true, true}},
        {{80, 60, 25.0}, {0, 100}, 0, {true, true}},
        {{160, 90, 25.0}, {0}, 0, {true}},
        // At 5 per second the file holds 50 positions: the rest fail even
        // though pictures for them are cached.
        {{160, 120, 5.0}, {0, 100, 200}, 0, {true, false, false}},
    };
    for (const auto& request : requests) {
        SCOPED_TRACE(std::to_string(request.spec.width) + "x" +
                     std::to_string(request.spec.height) + "@" +
                     std::to_string(request.spec.frameRate));
        const uint64_t hits = statistics().hits;
        const Outputs fresh = series(grabber, media, request.positions, request.spec, nullptr);
        EXPECT_EQ(series(grabber, media, request.positions, request.spec, &results_), fresh);
        EXPECT_EQ(statistics().hits, hits + request.hits);
        for (size_t i = 0; i < fresh.size(); ++i) {
            EXPECT_EQ(!fresh[i].empty(), request.written[i]) << request.positions[i];
        }
    }
}

TEST_F(MediaCacheTest, RepeatedLevelFilesAreWrittenFromTheCacheOnePerFrameRate) {
    const struct {
        std::string media;
        std::string profile;
        size_t lines;
    } cases[] = {
        {mediatest::squareWav(16384), "", 100},
        // The same file at another profile rate is another level file.
        {mediatest::squareWav(16384), "atsc_720p_50", 200},
        {mediatest::counterVideo(), "", 250},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.media + " " + c.profile);
        const std::string fresh = levels(c.media, c.profile, nullptr);
        EXPECT_EQ(static_cast<size_t>(std::count(fresh.begin(), fresh.end(), '\n')), c.lines);
        const uint64_t hits = statistics().hits;
        EXPECT_EQ(levels(c.media, c.profile, &results_), fresh);
        EXPECT_EQ(levels(c.media, c.profile, &results_), fresh);
        EXPECT_EQ(statistics().hits, hits + 1);
    }
}

TEST_F(MediaCacheTest, ARepeatedSnapshotIsWrittenFromTheCacheForItsProfileAndFormat) {
    const std::string media = mediatest::counterVideo();
    const struct {
        std::string profile;
        std::string extension;
        std::string size;
    } cases[] = {
        {"", ".jpg", "320x240\n"},
        {"atsc_720p_25", ".jpg", "1280x720\n"},
        // Another extension may be another muxer and encoder.
        {"", ".png", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.profile + c.extension);
        const std::string fresh = snapshot(media, c.profile, c.extension, nullptr);
        ASSERT_FALSE(fresh.empty());
        const uint64_t hits = statistics().hits;
        EXPECT_EQ(snapshot(media, c.profile, c.extension, &results_), fresh);
        const std::string cached = snapshot(media, c.profile, c.extension, &results_);
        EXPECT_EQ(cached, fresh);
        EXPECT_EQ(statistics().hits, hits + 1);
        if (!c.size.empty()) {
            const std::string path = newFolder() + "/snap.jpg";
            ASSERT_TRUE(platform::writeFileInPlace(path, cached));
            EXPECT_EQ(mediatest::jpegSizes({path}), c.size);
        }
    }
    // An output that cannot be written still answers true, and keeps nothing.
    const uint64_t stores = statistics().stores;
    EXPECT_TRUE(snapPicture(40, "", media, root_ + "/missing/snap.jpg", &results_));
    EXPECT_EQ(statistics().stores, stores);
}

TEST_F(MediaCacheTest, AReplacedOrTouchedMediaFileIsDecodedAgain) {
    const std::string clip = root_ + "/clip.mp4";
    const std::string sound = root_ + "/sound.wav";
    const auto copy = [](const std::string& from, const std::string& to) {
        // Written beside the name and renamed over it, as editors save.
        ASSERT_EQ(testsupport::runCommand("cp '" + from + "' '" + to + ".new' && mv '" + to +
                                          ".new' '" + to + "'"),
                  0);
    };
    const std::string negated =
        mediatest::counterVariant("media_cache_negated.mp4", "-vf negate -c:a copy");
    const std::vector<int> positions = {0, 60, 130};
    const PictureSpec spec = {160, 120, 25.0};
    FrameGrabber grabber;
    copy(mediatest::counterVideo(), clip);
    copy(mediatest::squareWav(0), sound);
    const Outputs original = series(grabber, clip, positions, spec, &results_);
    EXPECT_EQ(levels(sound, "", &results_), repeatedLine("0", 100));

    copy(negated, clip);
    copy(mediatest::squareWav(16384), sound);
    const Outputs replaced = series(grabber, clip, positions, spec, &results_);
    EXPECT_EQ(replaced, series(grabber, negated, positions, spec, nullptr));
    EXPECT_NE(replaced, original);
    EXPECT_EQ(levels(sound, "", &results_), repeatedLine("90", 100));

    // Touched: the same pictures, but decoded anew.
    const uint64_t stores = statistics().stores;
    ASSERT_TRUE(platform::touchFile(clip));
    EXPECT_EQ(series(grabber, clip, positions, spec, &results_), replaced);
    EXPECT_EQ(statistics().stores, stores + positions.size());
}

// A playlist's pictures and levels come from its parts, and an MLT
// document's picture from the files it names: none of them is kept, since
// the parts may change while the named file stays as it was.
TEST_F(MediaCacheTest, MediaMadeOfOtherFilesIsNeverKept) {
    const std::string playlist = root_ + "/stream.m3u8";
    ASSERT_EQ(
        testsupport::runCommand("ffmpeg -nostdin -loglevel error -i '" + mediatest::counterVideo() +
                                "' -c copy -f hls -hls_time 2 -hls_list_size 0 '" + playlist + "'"),
        0);
    const std::string document = root_ + "/timeline.mlt";
    ASSERT_TRUE(platform::writeFileInPlace(
        document, "<mlt><producer id=\"p\"><property name=\"resource\">" +
                      mediatest::counterVideo() +
                      "</property></producer><playlist id=\"l\"><entry producer=\"p\"/>"
                      "</playlist></mlt>\n"));
    FrameGrabber grabber;
    const Outputs pictures = series(grabber, playlist, {0, 100}, {160, 120, 25.0}, &results_);
    EXPECT_FALSE(pictures[0].empty());
    EXPECT_FALSE(pictures[1].empty());
    EXPECT_FALSE(levels(playlist, "", &results_).empty());
    EXPECT_FALSE(snapshot(document, "", ".jpg", &results_).empty());
    EXPECT_EQ(statistics().stores, 0u);
}

}  // namespace
