// The three seek primitives and the transport operations built on them.

#include <framework/mlt.h>
#include "engine/mlt_helper.h"
#include "log/log.h"
#include "player/player.h"
#include "player/player_names.h"
#include "player/waits.h"

namespace {

constexpr char kSyncSeekBegin[] = "syncSeek begin";
constexpr char kSyncSeekEnd[] = "syncSeek end";
constexpr char kSyncseekBegin[] = "syncseek begin";
constexpr char kSyncseekEnd[] = "syncseek end";
constexpr char kSyncStartBegin[] = "syncStart begin";
constexpr char kSyncStartEnd[] = "syncStart end";
constexpr char kSeekAndHoldBegin[] = "seekAndHold begin";
constexpr char kSeekAndHoldEnd[] = "seekAndHold end";
constexpr char kProducerSpeed[] = "mlt_producer_get_speed %d";
constexpr char kSeekAndStopBegin[] = "seekAndStop begin";
constexpr char kSeekAndStopEnd[] = "seekAndStop end";
constexpr char kNextFrameBegin[] = "nextFrame begin";
constexpr char kNextFrameEnd[] = "nextFrame end";
constexpr char kPreFrameBegin[] = "preFrame begin";
constexpr char kPreFrameEnd[] = "preFrame end";

}  // namespace

bool MePlayer::seekTransport(int position, int& oldPosition) {
    mlt_consumer consumer = transport();
    if (consumer == nullptr || position < 0 ||
        position >= mlt_producer_get_length(producer_.get())) {
        return false;
    }
    purgeTransport();
    oldPosition = mlt_producer_position(producer_.get());
    mlt_producer_seek(producer_.get(), position);
    gate_->recheck();
    return true;
}

void MePlayer::refreshTimeline(int from, int to) {
    MltHelper helper(producer_.get(), cachePath_);
    helper.refresh(from, to);
}

void MePlayer::syncSeek(int position) {
    writeLog(kLogInfo, "%s", kSyncSeekBegin);
    int oldPosition = 0;
    if (!seekTransport(position, oldPosition)) {
        return;
    }
    playerwait::waitForPosition(transport(), position);
    refreshTimeline(oldPosition, position);
    writeLog(kLogInfo, "%s", kSyncSeekEnd);
}

void MePlayer::syncseek(int position) {
    if (!producer_) {
        return;
    }
    writeLog(kLogInfo, "%s", kSyncseekBegin);
    int oldPosition = 0;
    if (!seekTransport(position, oldPosition)) {
        return;
    }
    playerwait::waitForSeek(transport(), position);
    writeLog(kLogInfo, "%s", kSyncseekEnd);
    refreshTimeline(oldPosition, position);
}

void MePlayer::syncStart(int position) {
    writeLog(kLogInfo, "%s", kSyncStartBegin);
    int oldPosition = 0;
    if (!seekTransport(position, oldPosition)) {
        return;
    }
    playerwait::waitForStart(transport(), position);
    refreshTimeline(oldPosition, position);
    writeLog(kLogInfo, "%s", kSyncStartEnd);
}

void MePlayer::seekAndHold(int position) {
    writeLog(kLogInfo, "%s", kSeekAndHoldBegin);
    if (!producer_) {
        return;
    }
    setTransportInt(playernames::kScrubAudio, 0);
    setTransportDouble(playernames::kVolume, 0.0);
    const double playing = producerSpeed();
    writeLog(kLogInfo, kProducerSpeed, static_cast<int>(playing));
    if (playing == 0.0) {
        syncseek(position);
    } else {
        // Hold the producer while the consumer catches up, then let it run on
        // from the frame after the one now showing.
        setProducerSpeed(0.0);
        syncseek(position);
        setProducerSpeed(playing);
        syncStart(position + 1);
        setTransportDouble(playernames::kVolume, volume);
        setTransportInt(playernames::kScrubAudio, 1);
    }
    writeLog(kLogInfo, "%s", kSeekAndHoldEnd);
}

void MePlayer::seekAndStop(int position) {
    writeLog(kLogInfo, "%s", kSeekAndStopBegin);
    if (!producer_) {
        return;
    }
    setTransportInt(playernames::kScrubAudio, 0);
    setTransportDouble(playernames::kVolume, 0.0);
    setProducerSpeed(0.0);
    syncSeek(position);
    writeLog(kLogInfo, "%s", kSeekAndStopEnd);
}

void MePlayer::stop() {
    if (!producer_) {
        return;
    }
    setTransportInt(playernames::kScrubAudio, 0);
    setTransportDouble(playernames::kVolume, 0.0);
    setProducerSpeed(0.0);
    syncSeek(0);
}

void MePlayer::pause() {
    if (!producer_ || producerSpeed() == 0.0) {
        return;
    }
    setTransportDouble(playernames::kVolume, 0.0);
    setTransportInt(playernames::kScrubAudio, 0);
    setProducerSpeed(0.0);
    if (mlt_consumer consumer = transport()) {
        syncSeek(mlt_consumer_position(consumer) + 1);
    }
}

void MePlayer::continuePlay() {
    if (!producer_) {
        return;
    }
    setTransportInt(playernames::kScrubAudio, 0);
    purgeTransport();
    mlt_consumer consumer = transport();
    setProducerSpeed(speed);
    if (consumer != nullptr) {
        syncStart(mlt_consumer_position(consumer) + 1);
    }
    setTransportDouble(playernames::kVolume, volume);
    setTransportInt(playernames::kScrubAudio, 1);
}

void MePlayer::stepFrame(int offset, const char* beginLine, const char* endLine) {
    writeLog(kLogInfo, "%s", beginLine);
    if (!producer_) {
        return;
    }
    if (producerSpeed() != 0.0) {
        setProducerSpeed(0.0);
    }
    // Sound the step briefly.
    setTransportInt(playernames::kScrubAudio, 1);
    setTransportDouble(playernames::kVolume, volume);
    if (mlt_consumer consumer = transport()) {
        syncSeek(mlt_consumer_position(consumer) + offset);
    }
    setTransportDouble(playernames::kVolume, 0.0);
    writeLog(kLogInfo, "%s", endLine);
}

void MePlayer::nextFrame() {
    stepFrame(1, kNextFrameBegin, kNextFrameEnd);
}

void MePlayer::preFrame() {
    stepFrame(-1, kPreFrameBegin, kPreFrameEnd);
}

void MePlayer::applyVolume() {
    // A paused preview stays silent and picks the volume up when it resumes.
    if (producerSpeed() != 0.0) {
        setTransportDouble(playernames::kVolume, volume);
    }
}

void MePlayer::setConsumerVolume(double value) {
    setTransportDouble(playernames::kVolume, value);
}

void MePlayer::setPlaybackSpeed(double value) {
    if (!producer_) {
        return;
    }
    speed = value;
    setProducerSpeed(value);
}

void MePlayer::resizeWindow(int width, int height) {
    if (!producer_) {
        return;
    }
    setTransportInt(playernames::kWindowWidth, width);
    setTransportInt(playernames::kWindowHeight, height);
    // A paused preview redraws at the new size with the frame it holds.
    gate_->refresh();
}

bool MePlayer::stopConsumer() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return false;
    }
    if (!mlt_consumer_is_stopped(consumer)) {
        mlt_consumer_stop(consumer);
    }
    return true;
}

bool MePlayer::startConsumer() {
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        return false;
    }
    if (mlt_consumer_is_stopped(consumer)) {
        mlt_consumer_start(consumer);
    }
    return true;
}
