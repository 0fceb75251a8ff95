// Whole-graph operations: telling services that the play position jumped, and
// writing the graph below "maintractor" as MLT XML (the dump after each edit
// and the file the client asks for).
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "engine/engine_names.h"
#include "engine/graph.h"
#include "engine/graph_dump.h"
#include "engine/graph_xml.h"
#include "engine/mlt_helper.h"
#include "log/log.h"
#include "media/mlt_handles.h"
#include "platform/durable_file.h"

using namespace mltnames;

namespace {

bool isOpen(mlt_producer source) {
    mlt_producer parent = source ? mlt_producer_cut_parent(source) : nullptr;
    return parent != nullptr &&
           mlt_properties_get_int(MLT_PRODUCER_PROPERTIES(parent), kPropProducerOpen) == 1;
}

// Walks the transitions (and, when filters is set, the filters) planted
// between a tractor and its multitrack; any other service ends the walk.
template <typename Visit>
void forEachPlanted(mlt_tractor tractor, bool filters, Visit visit) {
    mltgraph::forEachBelow(MLT_TRACTOR_SERVICE(tractor), [&](mlt_service service) {
        mlt_service_type type = mlt_service_identify(service);
        if (type == mlt_service_transition_type || (filters && type == mlt_service_filter_type)) {
            visit(service);
            return true;
        }
        return false;
    });
}

}  // namespace

void MltHelper::refresh(int from, int to) {
    if (from < to) {
        refreshClipsForward(from, to);
        refreshFiltersForward(from, to);
        refreshTransitionsForward(from, to);
    } else if (from > to) {
        refreshClipsBackward(from, to);
        refreshFiltersBackward(from, to);
        refreshTransitionsBackward(from, to);
    }
}

void MltHelper::refreshClipsForward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTrack);
    if (tractor == nullptr) {
        writeLog(kLogInfo, "%s", mltlog::kTractorServiceError);
        return;
    }
    int total = mlt_producer_get_length(MLT_TRACTOR_PRODUCER(tractor));
    if (to >= total) {
        writeLog(kLogInfo, mltlog::kRefreshOutOfRange, total);
        return;
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int count = mlt_multitrack_count(multitrack);
    for (int i = 0; i < count; ++i) {
        mlt_playlist playlist = mltgraph::trackPlaylist(multitrack, i);
        if (mltgraph::entryCount(playlist) == 0) {
            continue;
        }
        int length = mlt_producer_get_length(MLT_PLAYLIST_PRODUCER(playlist));
        int main = mainEntryIndex(playlist);
        // Only clips that ended at or before the new position are told.
        if (to < length || main < 0) {
            continue;
        }
        mlt_producer source = mltgraph::entrySource(playlist, main);
        if (!isOpen(source)) {
            continue;
        }
        if (mltgraph::entryIsBlank(playlist, 0)) {
            writeLog(kLogInfo, mltlog::kRefreshPreviousWithBlank, i + 1,
                     mltgraph::entryFrames(playlist, 0), from, to, length, count, total);
        } else {
            writeLog(kLogInfo, mltlog::kRefreshPrevious, i, from, to, length, count, total);
        }
        mltgraph::fireEvent(MLT_PRODUCER_PROPERTIES(mlt_producer_cut_parent(source)),
                            kEventSeekPosition);
    }
    forEachPlanted(tractor, true, [](mlt_service service) {
        mltgraph::fireEvent(MLT_SERVICE_PROPERTIES(service), kEventSeekPosition);
    });
}

void MltHelper::refreshClipsBackward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTrack);
    if (tractor == nullptr) {
        writeLog(kLogDebug, "%s", mltlog::kTractorServiceError);
        return;
    }
    int total = mlt_producer_get_length(MLT_TRACTOR_PRODUCER(tractor));
    if (to >= total) {
        writeLog(kLogInfo, mltlog::kRefreshOutOfRange, total);
        return;
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int count = mlt_multitrack_count(multitrack);
    for (int i = 0; i < count; ++i) {
        mlt_playlist playlist = mltgraph::trackPlaylist(multitrack, i);
        if (!mltgraph::entryIsBlank(playlist, 0)) {
            continue;
        }
        // Only clips that now start after the new position are told.
        int blank = mltgraph::entryFrames(playlist, 0);
        int main = mainEntryIndex(playlist);
        mlt_producer source = main >= 0 ? mltgraph::entrySource(playlist, main) : nullptr;
        if (to >= blank || !isOpen(source)) {
            continue;
        }
        writeLog(kLogInfo, mltlog::kRefreshBack, i, blank, from, to,
                 mlt_producer_get_length(MLT_PLAYLIST_PRODUCER(playlist)), count, total);
        mltgraph::fireEvent(MLT_PRODUCER_PROPERTIES(mlt_producer_cut_parent(source)),
                            kEventSeekPosition);
    }
}

void MltHelper::refreshFiltersForward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTractor);
    if (tractor == nullptr) {
        writeLog(kLogDebug, "%s", mltlog::kTractorServiceError);
        return;
    }
    mlt_service service = MLT_TRACTOR_SERVICE(tractor);
    int count = mlt_service_filter_count(service);
    for (int i = 0; i < count; ++i) {
        mlt_properties filter = MLT_FILTER_PROPERTIES(mlt_service_filter(service, i));
        if (mlt_properties_get_int(filter, kPropOut) < to) {
            mltgraph::fireEvent(filter, kEventRefreshFilter);
        }
    }
}

void MltHelper::refreshFiltersBackward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTractor);
    if (tractor == nullptr) {
        writeLog(kLogDebug, "%s", mltlog::kTractorServiceError);
        return;
    }
    mlt_service service = MLT_TRACTOR_SERVICE(tractor);
    int count = mlt_service_filter_count(service);
    for (int i = 0; i < count; ++i) {
        mlt_properties filter = MLT_FILTER_PROPERTIES(mlt_service_filter(service, i));
        if (mlt_properties_get_int(filter, kPropIn) > to) {
            mltgraph::fireEvent(filter, kEventRefreshFilter);
        }
    }
}

void MltHelper::refreshTransitionsForward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTrack);
    if (tractor == nullptr) {
        writeLog(kLogDebug, "%s", mltlog::kTractorServiceError);
        return;
    }
    forEachPlanted(tractor, false, [to](mlt_service service) {
        mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
        if (mlt_properties_get_int(properties, kPropOut) < to) {
            mltgraph::fireEvent(properties, kEventRefreshTrans);
        }
    });
}

void MltHelper::refreshTransitionsBackward(int from, int to) {
    mlt_tractor tractor = findTractor(kMainTrack);
    if (tractor == nullptr) {
        writeLog(kLogDebug, "%s", mltlog::kTractorServiceError);
        return;
    }
    forEachPlanted(tractor, false, [to](mlt_service service) {
        mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
        if (mlt_properties_get_int(properties, kPropIn) > to) {
            mltgraph::fireEvent(properties, kEventRefreshTrans);
        }
    });
}

void MltHelper::writeGraph(const std::string& target) {
    // Without the main tractor there is nothing to serialise; a consumer
    // started alone would only leave its frame-buffer size in "buffer".
    mlt_tractor tractor = findTractor(kMainTractor);
    if (tractor == nullptr) {
        return;
    }
    media::ConsumerHandle consumer =
        media::ConsumerHandle::adopt(mlt_factory_consumer(nullptr, kServiceXml, target.c_str()));
    if (!consumer) {
        return;
    }
    mlt_service_connect_producer(MLT_CONSUMER_SERVICE(consumer.get()), MLT_TRACTOR_SERVICE(tractor),
                                 0);
    mlt_consumer_start(consumer.get());
    media::retireConsumer(consumer);
}

bool MltHelper::dumpGraph(const graphxml::KeepGoing& keepGoing) {
    mlt_tractor tractor = findTractor(kMainTractor);
    if (tractor == nullptr) {
        return true;
    }
    std::optional<std::string> dumped =
        graphxml::serialise(MLT_TRACTOR_SERVICE(tractor), keepGoing);
    if (!dumped) {
        return false;
    }
    const std::string& text = *dumped;
    if (text.empty()) {
        return true;
    }
    // A diagnostic file: whole after a crash is enough, so no sync.
    const std::string target = dumpPath();
    const std::string temporary = platform::temporaryPathBeside(target);
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file << text;
        if (!file.flush()) {
            file.close();
            std::remove(temporary.c_str());
            return true;
        }
    }
    if (std::rename(temporary.c_str(), target.c_str()) != 0) {
        std::remove(temporary.c_str());
    }
    return true;
}

void MltHelper::graphChanged() {
    if (dumps_ != nullptr) {
        dumps_->markChanged(cachePath_);
    } else {
        dumpGraph();
    }
}

void MltHelper::saveMltFile(const std::string& name) {
    // The client is promised a whole file: MLT writes beside it, then the
    // synced copy replaces it in one rename.
    const std::string target = cachePath_.empty() ? name : cachePath_ + name;
    const std::string temporary = platform::temporaryPathBeside(target);
    writeGraph(temporary);
    if (access(temporary.c_str(), F_OK) == 0) {
        platform::commitTemporaryFile(temporary, target);
    }
}
