// The level curve of a clip's sound strip: every decoded audio frame of a
// file becomes one meter level from 0 to 100 on the IEC 60268-18 scale, and
// the list is fitted to one value per video frame of the file's duration.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "media/av_handles.h"

namespace cache {
class ResultCache;
}

class AudioWaveform {
  public:
    AudioWaveform() = default;
    AudioWaveform(const AudioWaveform&) = delete;
    AudioWaveform& operator=(const AudioWaveform&) = delete;

    // Opens the last audio stream of path with its decoder; false when there
    // is none that decodes.
    bool open(const std::string& path);
    void close();
    // Duration of the open file in microseconds; 0 when unknown.
    int64_t durationMicroseconds() const;
    // One level per decoded frame of the audio stream, in decoding order.
    std::vector<int> readLevels();
    // Whether the open file's demuxer has read other files (see av_handles.h).
    bool readsOtherFiles() const;

    // Level of a frame of frameSamples mono samples, measured on at most its
    // first 200.
    static int frameLevel(int frameSamples, const int16_t* samples);
    // Meter deflection from 0 to 1 for a level in dB.
    static double iecScale(double dB);
    // Averages levels into result.size() bins (fewer than levels).
    static void shrinkLevels(const std::vector<int>& levels, std::vector<int>& result);
    // Spreads levels over result.size() values (more than levels),
    // interpolating between them.
    static void stretchLevels(const std::vector<int>& levels, std::vector<int>& result);
    // One decimal value per line; false when path cannot be created.
    static bool writeLevels(const std::string& path, const std::vector<int>& result);

  private:
    media::InputFormatPtr format_;
    int audioStream_ = -1;
    media::CodecContextPtr codec_;
};

// Writes the level file of fileName to outFile with one value per frame of
// the named profile (25 per second when the name is empty). False, with no
// file written, when the file has no decodable audio or outFile cannot be made.
// With a cache, a level file it holds is written from it, and one computed is
// kept in it.
bool makeAudioThumbFile(const std::string& profileName, const std::string& fileName,
                        const std::string& outFile, cache::ResultCache* cache = nullptr);
