#include "media/video_scan.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include "media/av_handles.h"

namespace media {

VideoScan scanVideo(const std::string& path, int streamIndex) {
    VideoScan scan;
    InputFormatPtr input = openInput(path);
    if (!input || streamIndex < 0 || streamIndex >= static_cast<int>(input->nb_streams)) {
        return scan;
    }
    const AVCodecParameters* parameters = input->streams[streamIndex]->codecpar;
    if (parameters->codec_type != AVMEDIA_TYPE_VIDEO) {
        return scan;
    }
    scan.found = true;
    scan.progressive = parameters->field_order == AV_FIELD_PROGRESSIVE;
    // The "j" formats carry full range in the format itself.
    scan.fullRange =
        parameters->color_range == AVCOL_RANGE_JPEG || parameters->format == AV_PIX_FMT_YUVJ420P ||
        parameters->format == AV_PIX_FMT_YUVJ422P || parameters->format == AV_PIX_FMT_YUVJ444P;
    return scan;
}

}  // namespace media
