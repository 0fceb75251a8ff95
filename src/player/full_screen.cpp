// Switching the preview between the client's window and a full-screen

#include <framework/mlt.h>
// consumer. The producer keeps playing through the switch; only the consumer
// its transport link names changes.
#include "media/transport.h"
#include "player/player.h"
#include "player/player_names.h"

namespace {

// The profile size a preview returns to when it leaves full screen.
constexpr int kWindowedProfileWidth = 800;
constexpr int kWindowedProfileHeight = 450;

bool isRunning(mlt_consumer consumer) {
    return !mlt_consumer_is_stopped(consumer);
}

// Leaves the producer without a consumer until the next one is linked, so no
// transport operation reaches a consumer that was just closed.
void unlinkTransport(mlt_producer producer) {
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, nullptr, 0,
                            nullptr, nullptr);
}

}  // namespace

void MePlayer::fullScreen(bool on, int width, int height, int position, int windowId,
                          const std::string& /*profile: the preview keeps its own*/) {
    if (on && !isFullScreen_) {
        enterFullScreen(width, height, position, windowId);
    } else if (!on && isFullScreen_) {
        leaveFullScreen(position);
    }
}

void MePlayer::enterFullScreen(int width, int height, int position, int targetWindow) {
    if (!producer_) {
        // Nothing is previewing, so there is nothing to show full screen.
        return;
    }
    // A stopped windowed consumer is kept and picked up again on the way back.
    if (consumer_ && isRunning(consumer_.get())) {
        media::retireConsumer(consumer_, true);
        unlinkTransport(producer_.get());
    }
    ensureProfile();
    profile_->width = fullScreenWidth;
    profile_->height = fullScreenHeight;
    fullScreenConsumer_ = media::ConsumerHandle::adopt(
        mlt_factory_consumer(profile_.get(), playernames::kPreviewService, nullptr));
    if (fullScreenConsumer_) {
        mlt_consumer consumer = fullScreenConsumer_.get();
        linkTransport(consumer, producer_.get());
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
        mlt_properties_set_int(properties, playernames::kWindowId, targetWindow);
        mlt_properties_set_int(properties, playernames::kDisplayAspectNum, displayAspectNum);
        mlt_properties_set_int(properties, playernames::kDisplayAspectDen, displayAspectDen);
        mlt_properties_set_int(properties, playernames::kWindowWidth, width);
        mlt_properties_set_int(properties, playernames::kWindowHeight, height);
        showOn(consumer, position);
    }
    isFullScreen_ = true;
}

void MePlayer::leaveFullScreen(int position) {
    if (!producer_ || !profile_) {
        // The preview was closed while in full screen: it is windowed again.
        fullScreenConsumer_.reset();
        isFullScreen_ = false;
        return;
    }
    profile_->width = kWindowedProfileWidth;
    profile_->height = kWindowedProfileHeight;
    if (fullScreenConsumer_) {
        // A stopped full-screen consumer is of no further use either.
        media::retireConsumer(fullScreenConsumer_, isRunning(fullScreenConsumer_.get()));
        unlinkTransport(producer_.get());
    }
    if (!consumer_) {
        consumer_ = media::ConsumerHandle::adopt(
            createConsumer(profile_.get(), playernames::kPreviewService));
        if (!consumer_) {
            isFullScreen_ = false;
            return;
        }
    } else {
        linkTransport(consumer_.get(), producer_.get());
    }
    showOn(consumer_.get(), position);
    isFullScreen_ = false;
}

void MePlayer::showOn(mlt_consumer consumer, int position) {
    connectPreview(consumer);
    mlt_producer_seek(producer_.get(), position);
    setConsumerVolume(volume);
    if (mlt_consumer_start(consumer) == 0) {
        seekAndHold(position);
    }
}
