// Timeline edits applied to the running preview graph. The preview consumer
// must not render while MltHelper rewires the graph: a running consumer keeps
// running while the edit holds the preview gate (no frame fetched, none in
// flight), and its queued frames of the old graph are dropped before it
// fetches again. A stopped consumer is started after the edits that always
// left it running; the batch forms leave that to the caller's stopConsumer /
// startConsumer bracket.
#include <framework/mlt.h>

#include "engine/mlt_helper.h"
#include "log/log.h"
#include "player/player.h"

struct PlayerLiveEdit {
    bool restarts;                      // the consumer runs after the edit
    bool reportsResult;                 // answer the helper's result rather than true
    const char* beginLine = nullptr;    // Debug, before the edit
    const char* endLine = nullptr;      // Debug, after the edit
    const char* missingLine = nullptr;  // Error, without producer or consumer
    bool beginsBeforeCheck = false;
};

namespace {

constexpr char kAddClipsBegin[] = "add clips begin";
constexpr char kAddClipsEnd[] = "add clips end";
constexpr char kAddClipsMissing[] = "Fail............";
constexpr char kUpdateClipsBegin[] = "update clips begin";
constexpr char kUpdateClipsEnd[] = "update clips end";
constexpr char kDeleteFilterMissing[] = "mlt_consumer_stop m_producer or consumer is null";

using LiveEdit = PlayerLiveEdit;
const LiveEdit kAddClip{true, false, kAddClipsBegin, kAddClipsEnd, kAddClipsMissing};
const LiveEdit kAddBatchClip{false, false};
const LiveEdit kAlterClip{true, true, kUpdateClipsBegin, kUpdateClipsEnd, nullptr, true};
const LiveEdit kDeleteClip{true, false};
const LiveEdit kDeleteBatchClip{false, false};
const LiveEdit kDeleteAllClip{true, true};
const LiveEdit kAddFilter{true, false};
const LiveEdit kAlterFilter{true, false};
const LiveEdit kDeleteFilter{true, true, nullptr, nullptr, kDeleteFilterMissing};
const LiveEdit kDeleteBatchFilter{false, true};
const LiveEdit kAddTransition{true, false};
const LiveEdit kDeleteTransition{true, true};
const LiveEdit kDeleteBatchTransition{false, true};
const LiveEdit kAlterSceneResource{false, true};

void logIfSet(int level, const char* line) {
    if (line != nullptr) {
        writeLog(level, "%s", line);
    }
}

}  // namespace

bool MePlayer::runLiveEdit(const PlayerLiveEdit& edit, const EditOperation& operation) {
    if (edit.beginsBeforeCheck) {
        logIfSet(kLogDebug, edit.beginLine);
    }
    mlt_consumer consumer = transport();
    if (consumer == nullptr) {
        logIfSet(kLogError, edit.missingLine);
        return false;
    }
    if (!edit.beginsBeforeCheck) {
        logIfSet(kLogDebug, edit.beginLine);
    }
    MltHelper helper(producer_.get(), cachePath_, &graphDumps_);
    bool result = false;
    if (!mlt_consumer_is_stopped(consumer)) {
        media::PreviewGate::Exclusive exclusive(*gate_);
        const bool hadQueue = !gate_->isSettled();
        result = operation(helper);
        if (hadQueue) {
            mlt_consumer_purge(consumer);
        }
    } else {
        result = operation(helper);
        if (edit.restarts) {
            connectPreview(consumer);
            mlt_consumer_start(consumer);
        }
    }
    logIfSet(kLogDebug, edit.endLine);
    return edit.reportsResult ? result : true;
}

bool MePlayer::addClip(CParseJson& content) {
    return runLiveEdit(kAddClip, [&](MltHelper& h) { return h.addClip(content, profile_.get()); });
}

bool MePlayer::addBatchClip(CParseJson& content) {
    return runLiveEdit(kAddBatchClip,
                       [&](MltHelper& h) { return h.addClip(content, profile_.get()); });
}

bool MePlayer::alterClip(CParseJson& content) {
    return runLiveEdit(kAlterClip,
                       [&](MltHelper& h) { return h.alterClip(content, profile_.get()); });
}

bool MePlayer::deleteClip(CParseJson& content) {
    return runLiveEdit(kDeleteClip, [&](MltHelper& h) { return h.deleteClip(content); });
}

bool MePlayer::deleteBatchClip(CParseJson& content) {
    return runLiveEdit(kDeleteBatchClip, [&](MltHelper& h) { return h.deleteClip(content); });
}

bool MePlayer::deleteAllClip(CParseJson& content) {
    return runLiveEdit(kDeleteAllClip, [&](MltHelper& h) { return h.deleteAllClip(content); });
}

bool MePlayer::addFilter(CParseJson& content) {
    return runLiveEdit(kAddFilter,
                       [&](MltHelper& h) { return h.addFilter(content, profile_.get()); });
}

bool MePlayer::alterFilter(CParseJson& content) {
    return runLiveEdit(kAlterFilter, [&](MltHelper& h) { return h.alterFilter(content); });
}

bool MePlayer::deleteFilter(CParseJson& content) {
    return runLiveEdit(kDeleteFilter, [&](MltHelper& h) { return h.deleteFilter(content); });
}

bool MePlayer::deleteBatchFilter(CParseJson& content) {
    return runLiveEdit(kDeleteBatchFilter, [&](MltHelper& h) { return h.deleteFilter(content); });
}

bool MePlayer::addTransition(CParseJson& content) {
    return runLiveEdit(kAddTransition,
                       [&](MltHelper& h) { return h.addTransition(content, profile_.get()); });
}

bool MePlayer::deleteTransition(CParseJson& content) {
    return runLiveEdit(kDeleteTransition,
                       [&](MltHelper& h) { return h.deleteTransition(content); });
}

bool MePlayer::deleteBatchTransition(CParseJson& content) {
    return runLiveEdit(kDeleteBatchTransition,
                       [&](MltHelper& h) { return h.deleteTransition(content); });
}

bool MePlayer::alterSceneResource(CParseJson& content) {
    return runLiveEdit(kAlterSceneResource,
                       [&](MltHelper& h) { return h.alterSceneResource(content); });
}

bool MePlayer::hasIdleWork() const {
    return graphDumps_.isDue();
}

void MePlayer::runIdleWork(const std::function<bool()>& keepGoing) {
    // The dump reads every property of the graph by index, which MLT does not
    // lock against a render thread adding properties: no frame is in flight
    // while it runs.
    mlt_consumer consumer = transport();
    if (gate_ && consumer != nullptr && !mlt_consumer_is_stopped(consumer)) {
        media::PreviewGate::Exclusive exclusive(*gate_);
        graphDumps_.flush(producer_.get(), keepGoing);
        return;
    }
    graphDumps_.flush(producer_.get(), keepGoing);
}

void MePlayer::saveMltFile(const std::string& path) {
    if (!producer_) {
        return;
    }
    MltHelper helper(producer_.get(), cachePath_);
    helper.saveMltFile(path);
}
