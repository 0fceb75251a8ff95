#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "media_fixtures.h"
#include "player/media_audio_waveform.h"
#include "support/test_media.h"

namespace {

std::vector<int> levelsOf(const std::string& path) {
    std::vector<int> levels;
    for (const std::string& line : mediatest::readLines(path)) {
        levels.push_back(std::stoi(line));
    }
    return levels;
}

struct WaveformCase {
    const char* name;
    std::string (*media)();
    std::string profile;
    size_t lines;
    int level;
};

std::string silentWav() {
    return mediatest::squareWav("media_silence.wav", 0, 100, 4);
}
std::string halfScaleSquare() {
    return mediatest::squareWav("media_square_16384.wav", 16384, 100, 4);
}
std::string fullScaleSquare() {
    return mediatest::squareWav("media_square_32767.wav", 32767, 100, 4);
}
// More frames per second than a 50 fps profile has points.
std::string fastHalfScaleSquare() {
    return mediatest::squareWav("media_square_16384_96k.wav", 16384, 100, 4, 2, 96000);
}
std::string monoHalfScaleSquare() {
    return mediatest::squareWav("media_square_16384_mono.wav", 16384, 100, 4, 1, 96000);
}

class WaveformFileTest : public ::testing::TestWithParam<WaveformCase> {};

TEST_P(WaveformFileTest, WritesOneLevelPerVideoFrameOfTheDuration) {
    const WaveformCase& waveform = GetParam();
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/levels.txt";
    ASSERT_TRUE(makeAudioThumbFile(waveform.profile, waveform.media(), path));
    const std::string text = testsupport::readFile(path);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(levelsOf(path), std::vector<int>(waveform.lines, waveform.level));
}

INSTANTIATE_TEST_SUITE_P(
    Sources, WaveformFileTest,
    ::testing::Values(WaveformCase{"Silence", silentWav, "", 100, 0},
                      WaveformCase{"HalfScaleSquare", halfScaleSquare, "", 100, 90},
                      WaveformCase{"FullScaleSquare", fullScaleSquare, "", 100, 100},
                      WaveformCase{"MonoHalfScaleSquare", monoHalfScaleSquare, "", 100, 90},
                      WaveformCase{"ProfileRate", fastHalfScaleSquare, "atsc_720p_50", 200, 90},
                      WaveformCase{"SecondOfTwoStreams", mediatest::silenceThenSquare, "", 100,
                                   90}),
    [](const ::testing::TestParamInfo<WaveformCase>& info) { return info.param.name; });

TEST(WaveformFileFailure, NoAudioStreamGivesFalseAndNoFile) {
    const std::string directory = testsupport::makeTempDirectory("media-wave");
    for (const std::string& media :
         {mediatest::counterMjpeg(), mediatest::stillPicture(), std::string("/nonexistent.wav")}) {
        const std::string path = directory + "/levels.txt";
        EXPECT_FALSE(makeAudioThumbFile("", media, path)) << media;
        EXPECT_FALSE(testsupport::fileExists(path)) << media;
    }
}

TEST(WaveformFileFailure, AnOutputThatCannotBeCreatedGivesFalse) {
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/missing/levels.txt";
    EXPECT_FALSE(makeAudioThumbFile("", silentWav(), path));
}

TEST(WaveformFile, ACompressedStreamIsFittedToTheDuration) {
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/levels.txt";
    ASSERT_TRUE(makeAudioThumbFile("", mediatest::counterVideo(), path));
    const std::vector<int> levels = levelsOf(path);
    ASSERT_EQ(levels.size(), 250u);
    // A steady sine at a tenth of full scale reads the same all along.
    for (size_t i = 1; i + 1 < levels.size(); ++i) {
        EXPECT_NEAR(levels[i], levels[levels.size() / 2], 2) << i;
    }
    EXPECT_GT(levels[levels.size() / 2], 0);
}

struct FrameLevelCase {
    const char* name;
    std::vector<int16_t> samples;
    int frameSamples;
    int level;
};

std::vector<int16_t> repeated(std::initializer_list<std::pair<int, int16_t>> runs) {
    std::vector<int16_t> samples;
    for (const auto& run : runs) {
        samples.insert(samples.end(), run.first, run.second);
    }
    return samples;
}

class FrameLevelTest : public ::testing::TestWithParam<FrameLevelCase> {};

TEST_P(FrameLevelTest, LevelFollowsTheMeterScale) {
    const FrameLevelCase& frame = GetParam();
    EXPECT_EQ(AudioWaveform::frameLevel(frame.frameSamples, frame.samples.data()), frame.level);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FrameLevelTest,
    ::testing::Values(
        FrameLevelCase{"Silence", repeated({{200, 0}}), 200, 0},
        FrameLevelCase{"ElevenAtHalfScale", repeated({{11, 16384}, {189, 0}}), 200, 90},
        FrameLevelCase{"ElevenNegativeAtHalfScale", repeated({{11, -16384}, {189, 0}}), 200, 90},
        // A run of 4 to 10 counts as 41/42 of full level: about -0.2 dB.
        FrameLevelCase{"FourAtHalfScale", repeated({{4, 16384}, {196, 0}}), 200, 89},
        FrameLevelCase{"TenAtHalfScale", repeated({{10, 16384}, {190, 0}}), 200, 89},
        // Three are no run: the average of 3 x 128 over 200 is about -36.8 dB.
        FrameLevelCase{"ThreeAtHalfScaleIsAveraged", repeated({{3, 16384}, {197, 0}}), 200, 17},
        FrameLevelCase{"FullScale", repeated({{200, 32767}}), 200, 100},
        // Only the first 200 samples count.
        FrameLevelCase{"RunAfterTheFirst200", repeated({{200, 0}, {20, 16384}}), 220, 0},
        // A frame shorter than 200 samples is measured on its own samples.
        FrameLevelCase{"ShortFrame", repeated({{50, 8192}, {150, 32767}}), 50, 75}),
    [](const ::testing::TestParamInfo<FrameLevelCase>& info) { return info.param.name; });

TEST(IecScaleTest, EachBandUsesItsSlope) {
    const struct {
        double dB;
        double deflection;
    } cases[] = {{-80.0, 0.0},    {-70.0, 0.0},   {-65.0, 0.0125}, {-55.0, 0.05},
                 {-45.0, 0.1125}, {-35.0, 0.225}, {-25.0, 0.4},    {-20.0, 0.5},
                 {-10.0, 0.75},   {-0.0005, 1.0}, {0.0, 1.0},      {-0.01, 0.99975}};
    for (const auto& c : cases) {
        EXPECT_NEAR(AudioWaveform::iecScale(c.dB), c.deflection, 1e-6) << c.dB;
    }
}

struct FitCase {
    const char* name;
    std::vector<int> levels;
    size_t count;
    std::vector<int> expected;
};

class ShrinkLevelsTest : public ::testing::TestWithParam<FitCase> {};

TEST_P(ShrinkLevelsTest, EachValueIsTheTruncatedAverageOfItsBin) {
    const FitCase& fit = GetParam();
    std::vector<int> result(fit.count, 0);
    AudioWaveform::shrinkLevels(fit.levels, result);
    EXPECT_EQ(result, fit.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShrinkLevelsTest,
    ::testing::Values(
        // ratio 7/3: bins {0}, {1,2}, {3,4}; the last two levels are dropped.
        FitCase{"SevenIntoThree", {10, 20, 30, 40, 50, 60, 70}, 3, {10, 25, 45}},
        // ratio 2.5: bins {0}, {1,2}; 1.5 truncates to 1.
        FitCase{"Truncates", {0, 1, 2, 5, 7}, 2, {0, 1}},
        FitCase{"Halves", {8, 9, 4, 6, 1, 3}, 3, {8, 6, 3}}),
    [](const ::testing::TestParamInfo<FitCase>& info) { return info.param.name; });

class StretchLevelsTest : public ::testing::TestWithParam<FitCase> {};

TEST_P(StretchLevelsTest, LevelsLandOnTheirIndexAndTheGapsAreInterpolated) {
    const FitCase& fit = GetParam();
    std::vector<int> result(fit.count, 0);
    AudioWaveform::stretchLevels(fit.levels, result);
    EXPECT_EQ(result, fit.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, StretchLevelsTest,
                         ::testing::Values(
                             // ratio 7/3: levels at 0, 2, 4; indices after the last stay 0.
                             FitCase{"ThreeIntoSeven", {0, 10, 40}, 7, {0, 5, 10, 25, 40, 0, 0}},
                             FitCase{"TwoIntoSeven", {0, 100}, 7, {0, 33, 66, 100, 0, 0, 0}},
                             FitCase{"Falling", {90, 0, 30}, 6, {90, 45, 0, 15, 30, 0}}),
                         [](const ::testing::TestParamInfo<FitCase>& info) {
                             return info.param.name;
                         });

TEST(WriteLevelsTest, OneDecimalValuePerLine) {
    const std::string path = testsupport::makeTempDirectory("media-wave") + "/levels.txt";
    ASSERT_TRUE(AudioWaveform::writeLevels(path, {0, 7, 100}));
    EXPECT_EQ(testsupport::readFile(path), "0\n7\n100\n");
    EXPECT_FALSE(AudioWaveform::writeLevels(path + "/inside-a-file", {1}));
}

}  // namespace
