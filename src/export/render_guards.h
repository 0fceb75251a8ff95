// Settings MLT 7.12's avformat consumer does not survive, caught before the
// render starts. The consumer carries on with a video encoder that refused to
// open (its check of the open's result always passes) and then crashes or
// never ends; a frame rate option it cannot read leaves the profile at zero
// frames per second, and the render never ends either.
#pragma once

#include <framework/mlt_types.h>

struct FrameRate {
    int num = 0;
    int den = 0;
    bool isValid() const { return num > 0 && den > 0; }
};

FrameRate frameRateOf(mlt_profile profile);

// Gives the consumer (and so the profile) back the frame rate it had before
// its options, when they left it without a positive one: the option is
// ignored the way the consumer ignores a size it cannot read.
void keepValidFrameRate(mlt_consumer consumer, mlt_profile profile, FrameRate before);

// Leaves the video stream out when the consumer's video encoder does not open
// for the profile's picture (a 4:2:0 encoder asked for an odd size), as the
// consumer means to do with such an encoder; the rest still renders. True
// when it did.
bool leaveOutRefusedVideo(mlt_consumer consumer, mlt_profile profile);
