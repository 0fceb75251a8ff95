#include <gtest/gtest.h>

#include <sstream>

#include "media/audio_waveform.h"
#include "support/media_fixtures.h"

namespace {

// The level file made for media; a last line without its newline is left out.
std::vector<int> levelsOf(const std::string& media, const std::string& profile = "") {
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/levels.txt";
    EXPECT_TRUE(makeAudioThumbFile(profile, media, path));
    std::istringstream text(testsupport::readFile(path));
    std::vector<int> levels;
    for (std::string line; std::getline(text, line) && !text.eof();) {
        levels.push_back(std::stoi(line));
    }
    return levels;
}

TEST(WaveformFile, OneLevelPerVideoFrameOfTheDurationOnTheMeterScale) {
    using Levels = std::vector<int>;
    EXPECT_EQ(levelsOf(mediatest::squareWav(0)), Levels(100, 0));
    EXPECT_EQ(levelsOf(mediatest::squareWav(16384)), Levels(100, 90));
    EXPECT_EQ(levelsOf(mediatest::squareWav(32767)), Levels(100, 100));
    EXPECT_EQ(levelsOf(mediatest::squareWav(16384, 1, 96000)), Levels(100, 90));
    // More audio frames per second than a 50 fps profile has points.
    EXPECT_EQ(levelsOf(mediatest::squareWav(16384, 2, 96000), "atsc_720p_50"), Levels(200, 90));
    // Of two audio streams the last is measured.
    EXPECT_EQ(levelsOf(testsupport::makeMedia("media_silence_and_square.mka",
                                              "-i '" + mediatest::squareWav(0) + "' -i '" +
                                                  mediatest::squareWav(16384) +
                                                  "' -map 0:a -map 1:a -c copy")),
              Levels(100, 90));
}

TEST(WaveformFile, ACompressedStreamIsFittedToTheDuration) {
    const std::vector<int> levels = levelsOf(mediatest::counterVideo());
    ASSERT_EQ(levels.size(), 250u);
    // A steady sine at a tenth of full scale reads the same all along.
    EXPECT_GT(levels[125], 0);
    for (size_t i = 1; i + 1 < levels.size(); ++i) {
        EXPECT_NEAR(levels[i], levels[125], 2) << i;
    }
}

TEST(WaveformFile, NoAudioStreamOrAnUnwritableOutputGivesFalseAndNoFile) {
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/levels.txt";
    for (const std::string& media : {mediatest::intraOnlyMjpeg(), mediatest::stillPicture(),
                                     std::string("/nonexistent.wav")}) {
        EXPECT_FALSE(makeAudioThumbFile("", media, path)) << media;
        EXPECT_FALSE(testsupport::fileExists(path)) << media;
    }
    EXPECT_FALSE(makeAudioThumbFile("", mediatest::squareWav(0), path + "/missing/levels.txt"));
}

int levelOfRuns(int frameSamples, std::initializer_list<std::pair<int, int16_t>> runs) {
    std::vector<int16_t> samples;
    for (const auto& run : runs) {
        samples.insert(samples.end(), run.first, run.second);
    }
    return AudioWaveform::frameLevel(frameSamples, samples.data());
}

TEST(FrameLevel, APeakRunOrTheAverageOfTheFirst200SamplesFollowsTheMeterScale) {
    EXPECT_EQ(levelOfRuns(200, {{11, -16384}, {189, 0}}), 90);
    // A run of 4 to 10 counts as 41/42 of full level: about -0.2 dB.
    EXPECT_EQ(levelOfRuns(200, {{4, 16384}, {196, 0}}), 89);
    EXPECT_EQ(levelOfRuns(200, {{10, 16384}, {190, 0}}), 89);
    // Three are no run: the average of 3 x 128 over 200 is about -36.8 dB.
    EXPECT_EQ(levelOfRuns(200, {{3, 16384}, {197, 0}}), 17);
    EXPECT_EQ(levelOfRuns(220, {{200, 0}, {20, 16384}}), 0);
    // A frame shorter than 200 samples is measured on its own samples.
    EXPECT_EQ(levelOfRuns(50, {{50, 8192}, {150, 32767}}), 75);
}

std::vector<int> fitted(void (*fit)(const std::vector<int>&, std::vector<int>&),
                        const std::vector<int>& levels, size_t count) {
    std::vector<int> result(count, 0);
    fit(levels, result);
    return result;
}

TEST(FitLevels, ShrinkingAveragesBinsAndStretchingInterpolatesBetweenLevels) {
    // Ratio 7/3: bins {0}, {1,2}, {3,4}; the last two levels are dropped.
    EXPECT_EQ(fitted(AudioWaveform::shrinkLevels, {10, 20, 30, 40, 50, 60, 70}, 3),
              (std::vector<int>{10, 25, 45}));
    // Ratio 2.5: bins {0}, {1,2}; 1.5 truncates to 1.
    EXPECT_EQ(fitted(AudioWaveform::shrinkLevels, {0, 1, 2, 5, 7}, 2), (std::vector<int>{0, 1}));
    // Ratio 7/3: levels land on 0, 2 and 4; indices after the last stay 0.
    EXPECT_EQ(fitted(AudioWaveform::stretchLevels, {0, 10, 40}, 7),
              (std::vector<int>{0, 5, 10, 25, 40, 0, 0}));
    EXPECT_EQ(fitted(AudioWaveform::stretchLevels, {0, 100}, 7),
              (std::vector<int>{0, 33, 66, 100, 0, 0, 0}));
}

}  // namespace
