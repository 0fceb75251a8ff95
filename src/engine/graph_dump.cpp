#include "engine/graph_dump.h"

#include "engine/mlt_helper.h"

void GraphDumpSchedule::markChanged(const std::string& cachePath) {
    due_ = true;
    cachePath_ = cachePath;
}

void GraphDumpSchedule::flush(mlt_producer producer, const graphxml::KeepGoing& keepGoing) {
    if (due_) {
        due_ = producer != nullptr && !MltHelper(producer, cachePath_).dumpGraph(keepGoing);
    }
}
