#include "player/timeline_load.h"

#include <framework/mlt.h>

#include "player/player_names.h"

namespace {

// The scaler the "sdl2" consumer asks for, so the one opened here is the one it uses.
constexpr char kPreviewRescale[] = "nearest";

// Renders the frame at position as the preview consumer will (picture at the
// profile's size in its image format, and the sound), then leaves the
// producer where it found it.
void renderFirstFrame(mlt_producer producer, mlt_profile profile, int position) {
    const mlt_position start = mlt_producer_position(producer);
    mlt_producer_seek(producer, position);
    mlt_frame frame = nullptr;
    if (mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer), &frame, 0) == 0 && frame != nullptr) {
        mlt_properties_set(MLT_FRAME_PROPERTIES(frame), "consumer.rescale", kPreviewRescale);
        mlt_audio_format audioFormat = mlt_audio_s16;
        int frequency = 48000;
        int channels = 2;
        int samples = mlt_audio_calculate_frame_samples(mlt_profile_fps(profile), frequency, 0);
        void* audio = nullptr;
        mlt_frame_get_audio(frame, &audio, &audioFormat, &frequency, &channels, &samples);
        mlt_image_format imageFormat = mlt_image_yuv422;
        int width = profile->width;
        int height = profile->height;
        uint8_t* image = nullptr;
        mlt_frame_get_image(frame, &image, &imageFormat, &width, &height, 0);
        mlt_frame_close(frame);
    }
    mlt_producer_seek(producer, start);
}

}  // namespace

TimelineLoad::TimelineLoad(mlt_profile profile, const std::string& xmlPath, int position)
    : thread_([this, profile, xmlPath, position] {
          producer_ =
              mlt_factory_producer(profile, playernames::kTimelineProducer, xmlPath.c_str());
          if (producer_ != nullptr && position >= 0 &&
              position < mlt_producer_get_length(producer_)) {
              renderFirstFrame(producer_, profile, position);
          }
      }) {}

TimelineLoad::~TimelineLoad() {
    if (thread_.joinable()) {
        thread_.join();
    }
    mlt_producer_close(producer_);
}

mlt_producer TimelineLoad::take() {
    if (thread_.joinable()) {
        thread_.join();
    }
    mlt_producer producer = producer_;
    producer_ = nullptr;
    return producer;
}
