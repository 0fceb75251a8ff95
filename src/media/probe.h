// The technical description of a media file as the engine's default loader
// sees it: the video and audio streams of a movie or sound file, or the size
// of a picture, as a styled JSON text for the client.
#pragma once

#include <framework/mlt_types.h>

#include <string>

struct VideoInfo {
    int index = 0;
    int length = 0;
    int width = 0;
    int height = 0;
    double frameRate = 0.0;
    std::string pixFmt;
    int bitRate = 0;
    std::string codecName;
};

struct AudioInfo {
    int index = 0;
    std::string sampleFmt;
    int length = 0;
    int sampleRate = 0;
    int channels = 0;
    int bitRate = 0;
    std::string codecName;
};

// Reads the producer's video stream; false (and an Info line) when it has none.
// A quarter-turn rotation swaps width and height, so they describe the picture
// as shown.
bool getVideoInfo(mlt_properties properties, VideoInfo& info);
// Reads the producer's audio stream; false (and an Info line) when it has none.
bool getAudioInfo(mlt_properties properties, AudioInfo& info);

// {"Audio": {...}, "Video": {...}} with the members the file has.
std::string getMediaInfo(mlt_properties properties);
// {"Picture": {"Height": h, "Width": w}}.
std::string getPictureInfo(mlt_properties properties);

// Opens fileName with the engine's default loader on the named profile (the
// default profile when empty) and describes it; fileType "picture" asks for
// the picture form. Empty when the profile or the producer cannot be made.
std::string getMediaProperty(const std::string& profileName, const std::string& fileName,
                             const std::string& fileType);
