// Names of the temporary MLT documents written for the preview, for
// SAVE_MLT_FILE and for an export. They are named with a fresh identifier,
// live in the cache directory (or beside the host executable when no cache
// is set) and are never deleted.
#pragma once

#include <string>

struct TempGraphFile {
    // Where the file lives.
    std::string path;
    // What to hand the player's saveMltFile so that the file lands on path:
    // the player puts its cache path in front of the name it is given, so
    // with a cache set this is path with the cache path taken off its front.
    std::string playerName;
};

// <cache dir, else module dir>/<prefix><identifier>.xml
TempGraphFile makeTempGraphFile(const std::string& cachePath, const std::string& prefix);

// The directory that temporary documents go to.
std::string tempGraphDirectory(const std::string& cachePath);
