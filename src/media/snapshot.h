// A single-frame snapshot rendered through the engine: the frame at position
// of fileName, written by the engine's avformat consumer to outFile in the
// format its extension names.
#pragma once

#include <string>

namespace cache {
class ResultCache;
}

// An empty profile takes the media's own size and rate. False only when the
// profile or the producer cannot be made; a file that cannot be written still
// answers true. With a cache, a picture it holds is written from it, and one
// rendered from a plain media file is kept in it.
bool snapPicture(int position, const std::string& profile, const std::string& fileName,
                 const std::string& outFile, cache::ResultCache* cache = nullptr);
