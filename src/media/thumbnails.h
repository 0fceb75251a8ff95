// The clip strip's thumbnail series: one JPEG picture per requested position,
// decoded straight from the file without the engine.
#pragma once

#include <string>
#include <vector>

#include "media/frame_grabber.h"

namespace cache {
class ResultCache;
}

// Size of the thumbnails and the frame rate in which the file's length is
// counted; members the client leaves out are 0.
struct PictureSpec {
    int width = 0;
    int height = 0;
    double frameRate = 0.0;
};

// Writes outDir/<position>.png for every position of the list (a JPEG picture
// whatever the extension). Positions are counted at 25 per second. A position
// that cannot be written is logged and skipped; the answer is false only for
// an empty list. With a cache, pictures it holds are written from it, and
// pictures decoded are kept in it.
bool snapMultiPicQuick(FrameGrabber& grabber, const std::vector<int>& positions,
                       const PictureSpec& spec, const std::string& fileName,
                       const std::string& outDir, cache::ResultCache* cache = nullptr);
