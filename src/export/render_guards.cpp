#include "export/render_guards.h"

#include <framework/mlt.h>

#include "export/consumer_encoders.h"
#include "export/encoder_trial.h"

FrameRate frameRateOf(mlt_profile profile) {
    return profile ? FrameRate{profile->frame_rate_num, profile->frame_rate_den} : FrameRate();
}

void keepValidFrameRate(mlt_consumer consumer, mlt_profile profile, FrameRate before) {
    if (frameRateOf(profile).isValid() || !before.isValid()) {
        return;
    }
    // The consumer hands both numbers on to its profile.
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    mlt_properties_set_int(properties, "frame_rate_num", before.num);
    mlt_properties_set_int(properties, "frame_rate_den", before.den);
}

bool leaveOutRefusedVideo(mlt_consumer consumer, mlt_profile profile) {
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    const AVCodec* video = consumerEncoders(properties).video;
    if (video == nullptr) {
        return false;
    }
    PictureSettings picture;
    picture.width = profile->width;
    picture.height = profile->height;
    picture.frameRateNum = profile->frame_rate_num;
    picture.frameRateDen = profile->frame_rate_den;
    if (encoderOpens(video, picture)) {
        return false;
    }
    mlt_properties_set_int(properties, "vn", 1);
    mlt_properties_set_int(properties, "video_off", 1);
    return true;
}
