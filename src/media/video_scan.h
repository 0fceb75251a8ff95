// How a media file stores the pictures of one video stream, as FFmpeg's
// demuxer and parsers report it. MLT's avformat producer learns this only
// from its first decoded picture; an export plans its render before that.
#pragma once

#include <string>

namespace media {

struct VideoScan {
    bool found = false;        // the file opened and the stream is video
    bool progressive = false;  // whole frames, as opposed to fields or unknown
    bool fullRange = false;    // luma uses the full 0-255 range
};

VideoScan scanVideo(const std::string& path, int streamIndex);

}  // namespace media
