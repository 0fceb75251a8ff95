// A single-frame snapshot rendered through the engine: the frame at position
// of fileName, written by the engine's avformat consumer to outFile in the
// format its extension names.
#pragma once

#include <string>

// An empty profile takes the media's own size and rate. False only when the
// profile or the producer cannot be made; a file that cannot be written still
// answers true.
bool snapPicture(int position, const std::string& profile, const std::string& fileName,
                 const std::string& outFile);
