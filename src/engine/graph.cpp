#include "engine/graph.h"

#include <cstdlib>
#include <cstring>

#include "engine/engine_names.h"

namespace mltgraph {

const char* text(mlt_properties properties, const char* name) {
    return properties ? mlt_properties_get(properties, name) : nullptr;
}

const char* text(mlt_service service, const char* name) {
    return service ? text(MLT_SERVICE_PROPERTIES(service), name) : nullptr;
}

bool equals(const char* value, const char* expected) {
    return value != nullptr && std::strcmp(value, expected) == 0;
}

std::string orEmpty(const char* value) {
    return value ? value : "";
}

mlt_tractor asTractor(mlt_service service) {
    if (service == nullptr) {
        return nullptr;
    }
    // A tractor made by the factory's "tractor" service reports itself as a
    // plain producer, so the service name counts too.
    mlt_service_type type = mlt_service_identify(service);
    if (type != mlt_service_tractor_type &&
        !equals(text(service, mltnames::kPropMltService), mltnames::kServiceTractor)) {
        return nullptr;
    }
    auto producer = static_cast<mlt_producer>(service->child);
    return producer ? static_cast<mlt_tractor>(producer->child) : nullptr;
}

mlt_multitrack asMultitrack(mlt_service service) {
    if (service == nullptr || mlt_service_identify(service) != mlt_service_multitrack_type) {
        return nullptr;
    }
    auto producer = static_cast<mlt_producer>(service->child);
    return producer ? static_cast<mlt_multitrack>(producer->child) : nullptr;
}

mlt_playlist asPlaylist(mlt_service service) {
    if (service == nullptr || mlt_service_identify(service) != mlt_service_playlist_type) {
        return nullptr;
    }
    auto producer = static_cast<mlt_producer>(service->child);
    return producer ? static_cast<mlt_playlist>(producer->child) : nullptr;
}

mlt_playlist asPlaylist(mlt_producer producer) {
    return producer ? asPlaylist(MLT_PRODUCER_SERVICE(producer)) : nullptr;
}

mlt_transition asTransition(mlt_service service) {
    if (service == nullptr || mlt_service_identify(service) != mlt_service_transition_type) {
        return nullptr;
    }
    return static_cast<mlt_transition>(service->child);
}

mlt_filter asFilter(mlt_service service) {
    if (service == nullptr || mlt_service_identify(service) != mlt_service_filter_type) {
        return nullptr;
    }
    return static_cast<mlt_filter>(service->child);
}

bool readEntry(mlt_playlist playlist, int index, mlt_playlist_clip_info& info) {
    info = mlt_playlist_clip_info{};
    if (playlist == nullptr || index < 0 || index >= mlt_playlist_count(playlist)) {
        return false;
    }
    return mlt_playlist_get_clip_info(playlist, &info, index) == 0;
}

int entryRepeat(mlt_playlist playlist, int index) {
    mlt_playlist_clip_info info;
    return readEntry(playlist, index, info) ? info.repeat : 0;
}

int entryFrames(mlt_playlist playlist, int index) {
    mlt_playlist_clip_info info;
    return readEntry(playlist, index, info) ? info.frame_count : 0;
}

mlt_producer entrySource(mlt_playlist playlist, int index) {
    mlt_playlist_clip_info info;
    if (!readEntry(playlist, index, info) || info.producer == nullptr) {
        return nullptr;
    }
    return mlt_producer_cut_parent(info.producer);
}

bool entryIsBlank(mlt_playlist playlist, int index) {
    mlt_producer source = entrySource(playlist, index);
    return source != nullptr &&
           equals(text(MLT_PRODUCER_PROPERTIES(source), mltnames::kPropMltService),
                  mltnames::kServiceBlank);
}

int entryCount(mlt_playlist playlist) {
    return playlist ? mlt_playlist_count(playlist) : 0;
}

mlt_playlist trackPlaylist(mlt_multitrack multitrack, int index) {
    if (multitrack == nullptr || index < 0 || index >= mlt_multitrack_count(multitrack)) {
        return nullptr;
    }
    return asPlaylist(mlt_multitrack_track(multitrack, index));
}

void fireEvent(mlt_properties properties, const char* name, mlt_event_data data) {
    if (properties == nullptr) {
        return;
    }
    mlt_events_register(properties, name);
    mlt_events_fire(properties, name, data);
}

void fireEvent(mlt_properties properties, const char* name) {
    fireEvent(properties, name, mlt_event_data_none());
}

int frames(const std::string& value) {
    return std::atoi(value.c_str());
}

bool scalarText(const Json::Value& value, std::string& out) {
    switch (value.type()) {
        case Json::stringValue:
        case Json::intValue:
        case Json::uintValue:
        case Json::realValue:
        case Json::booleanValue:
            out = value.asString();
            return true;
        default:
            return false;
    }
}

}  // namespace mltgraph
