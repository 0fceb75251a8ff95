// Whether an FFmpeg video encoder accepts a picture: opened once with the
// settings MLT's avformat consumer would give it, then released. A hardware
// encoder without its device, or a 4:2:0 encoder asked for an odd size,
// fails here.
#pragma once

struct AVCodec;

struct PictureSettings {
    int width = 320;
    int height = 240;
    int frameRateNum = 25;
    int frameRateDen = 1;
};

// Opens the encoder in its first pixel format with the picture's size and
// frame rate (and a modest bit rate and group of pictures, which every
// encoder takes). False when it is null or does not open.
bool encoderOpens(const AVCodec* encoder, const PictureSettings& picture);
