// What EXPORT_MOVIE asks for; every member is text as the client sent it.
#pragma once

#include <string>

struct ExportSettings {
    std::string preset;
    std::string fileName;
    std::string xmlFile;
    std::string videoEncoder;
    std::string videoWidth;
    std::string videoHeight;
    std::string videoFrameRate;
    std::string videoBitRate;
    std::string audioEncoder;
    std::string audioChannel;
    std::string audioSampleRate;
    std::string audioBitRate;
    std::string qualityLevel;
};
