#include "engine_timeline.h"

#include <mutex>

namespace enginetest {

void initEngine() {
    static std::once_flag started;
    std::call_once(started, [] { mlt_factory_init(nullptr); });
}

bool TimelineProject::run(Operation operation, const std::string& json) {
    CParseJson content;
    return content.parse(json) && (project_.*operation)(content);
}

LoadedTimeline::LoadedTimeline(const std::string& xmlPath) {
    initEngine();
    profile_ = mlt_profile_init(nullptr);
    producer_ = mlt_factory_producer(profile_, "xml", xmlPath.c_str());
}

LoadedTimeline::~LoadedTimeline() {
    if (producer_ != nullptr) {
        mlt_producer_close(producer_);
    }
    mlt_profile_close(profile_);
}

}  // namespace enginetest
