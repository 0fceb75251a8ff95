// The export the suites ask for most: H.264 at 1500 kbit/s and 25 fps with
// stereo AAC, of xmlFile to movie at the given size.
#pragma once

#include <string>

#include "export/export_settings.h"

inline ExportSettings h264Settings(const std::string& xmlFile, const std::string& movie,
                                   const char* width, const char* height) {
    ExportSettings s;
    s.xmlFile = xmlFile;
    s.fileName = movie;
    s.videoEncoder = "libx264";
    s.videoWidth = width;
    s.videoHeight = height;
    s.videoFrameRate = "25";
    s.videoBitRate = "1500";
    s.audioEncoder = "aac";
    s.audioChannel = "2";
    s.audioSampleRate = "48000";
    s.audioBitRate = "128";
    return s;
}
