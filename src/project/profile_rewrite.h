// Fixes up an MLT XML file that the engine wrote from the running graph: the
// profile gets the export's fixed values and the first audio track's tracks
// stay audio-only when the file is loaded again.
#pragma once

#include <string>

// Rewrites the file in place; an unreadable file or one whose root is not
// "mlt" is logged and left unchanged.
void rewriteMltProfile(const std::string& path, int width, int height);
