#include "export/encoder_trial.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "media/av_handles.h"

bool encoderOpens(const AVCodec* encoder, const PictureSettings& picture) {
    if (encoder == nullptr || picture.frameRateNum <= 0 || picture.frameRateDen <= 0) {
        return false;
    }
    media::CodecContextPtr context(avcodec_alloc_context3(encoder));
    if (!context) {
        return false;
    }
    context->codec_type = AVMEDIA_TYPE_VIDEO;
    context->pix_fmt = encoder->pix_fmts != nullptr ? encoder->pix_fmts[0] : AV_PIX_FMT_NONE;
    context->width = picture.width;
    context->height = picture.height;
    context->time_base = AVRational{picture.frameRateDen, picture.frameRateNum};
    context->framerate = AVRational{picture.frameRateNum, picture.frameRateDen};
    context->bit_rate = 400000;
    context->gop_size = 10;
    return avcodec_open2(context.get(), encoder, nullptr) >= 0;
}
