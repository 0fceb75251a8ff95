// What the client polls: lengths, rates, times and positions.

#include <framework/mlt.h>
#include <algorithm>

#include "player/player.h"
#include "player/player_names.h"

namespace {

std::string textOrEmpty(const char* text) {
    return text != nullptr ? text : std::string();
}

}  // namespace

int MePlayer::getTotalFrames() {
    return producer_ ? mlt_producer_get_length(producer_.get()) : 0;
}

double MePlayer::getTotalTime() {
    if (!producer_) {
        return 0.0;
    }
    return mlt_producer_get_length(producer_.get()) / mlt_producer_get_fps(producer_.get());
}

double MePlayer::getCurrentTime() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return 0.0;
    }
    return std::max(mlt_consumer_position(consumer), 0) / mlt_producer_get_fps(producer_.get());
}

double MePlayer::getFps() {
    return producer_ ? mlt_producer_get_fps(producer_.get()) : 0.0;
}

std::string MePlayer::getTotalTimeString() {
    if (!producer_) {
        return std::string();
    }
    return textOrEmpty(mlt_producer_get_length_time(producer_.get(), mlt_time_smpte_ndf));
}

std::string MePlayer::getCurrentTimeString() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return std::string();
    }
    return textOrEmpty(mlt_properties_frames_to_time(MLT_PRODUCER_PROPERTIES(producer_.get()),
                                                     std::max(mlt_consumer_position(consumer), 0),
                                                     mlt_time_smpte_ndf));
}

bool MePlayer::isAudioValid() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return true;
    }
    return mlt_properties_get_int(MLT_CONSUMER_PROPERTIES(consumer), playernames::kAudioOff) == 0;
}

int MePlayer::getCurrentPosition() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return 0;
    }
    const int position = std::max(mlt_consumer_position(consumer), 0);
    // The client polls this while playing, so the timeline follows the playhead.
    if (position != lastPosition_) {
        refreshTimeline(lastPosition_, position);
        lastPosition_ = position;
    }
    return position;
}
