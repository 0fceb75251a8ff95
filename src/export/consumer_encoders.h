// What MLT 7.12's avformat consumer will encode with, read from its
// properties the way the consumer reads them when its render starts, and the
// formats it will hand those encoders. Nothing here opens an encoder.
#pragma once

#include <framework/mlt_types.h>

#include <string>

struct AVCodec;

struct ConsumerEncoders {
    const AVCodec* video = nullptr;  // null: the movie gets no video stream
    const AVCodec* audio = nullptr;  // null: the movie gets no audio stream
};

// "vcodec"/"acodec" by encoder name ("none", "vn" and "an" leave a stream
// out; an unknown name too), else the default codecs of the container the
// target file name (or "f") selects. Like the consumer, an AC-3 request uses
// the fixed-point AC-3 encoder when there is one.
ConsumerEncoders consumerEncoders(mlt_properties consumer);

// The MLT image format whose planes are exactly the pixel format the consumer
// converts pictures to for this encoder: "yuv420p" for encoders whose first
// pixel format is planar 4:2:0; empty otherwise.
std::string imageFormatFor(const AVCodec* video);

// The MLT audio format the consumer converts sound to for this encoder, when
// asking the engine for that format leaves the encoder's sample format as it
// is: "f32le", "s32le" or "u8"; empty for MLT's default 16-bit sound, for
// encoders that would then switch sample format, and without an encoder.
std::string audioFormatFor(const AVCodec* audio);
