#include "engine_graph_view.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <sstream>

#include "host/log.h"

namespace enginetest {

namespace {

std::string textOf(mlt_properties properties, const char* name) {
    const char* value = mlt_properties_get(properties, name);
    return value ? value : "";
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : " ") + part;
    }
    return text;
}

}  // namespace

std::string describePlaylist(mlt_playlist playlist) {
    if (playlist == nullptr) {
        return "(none)";
    }
    std::vector<std::string> parts;
    for (int i = 0; i < mlt_playlist_count(playlist); ++i) {
        mlt_playlist_clip_info info;
        mlt_playlist_get_clip_info(playlist, &info, i);
        if (mlt_playlist_is_blank(playlist, i)) {
            parts.push_back("blank(" + std::to_string(info.frame_count) + ")");
            continue;
        }
        std::string part = std::to_string(info.frame_in) + "-" + std::to_string(info.frame_out);
        if (info.repeat > 1) {
            part += "x" + std::to_string(info.repeat);
        }
        parts.push_back(part);
    }
    return joined(parts);
}

std::string describeTracks(mlt_tractor tractor) {
    if (tractor == nullptr) {
        return "(none)";
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    std::vector<std::string> parts;
    for (int i = 0; i < mlt_multitrack_count(multitrack); ++i) {
        parts.push_back(textOf(MLT_PRODUCER_PROPERTIES(mlt_multitrack_track(multitrack, i)), "id"));
    }
    return joined(parts);
}

std::string describeTransitions(mlt_tractor tractor) {
    std::vector<std::string> parts;
    for (mlt_service service = mlt_service_producer(MLT_TRACTOR_SERVICE(tractor)); service;
         service = mlt_service_producer(service)) {
        if (mlt_service_identify(service) != mlt_service_transition_type) {
            continue;
        }
        auto transition = static_cast<mlt_transition>(service->child);
        std::ostringstream part;
        part << textOf(MLT_SERVICE_PROPERTIES(service), "id") << " "
             << mlt_transition_get_a_track(transition) << "/"
             << mlt_transition_get_b_track(transition) << " " << mlt_transition_get_in(transition)
             << "-" << mlt_transition_get_out(transition);
        parts.push_back(part.str());
    }
    return joined(parts);
}

std::string describeFilters(mlt_service service) {
    std::vector<std::string> parts;
    for (int i = 0; service && i < mlt_service_filter_count(service); ++i) {
        mlt_properties filter = MLT_FILTER_PROPERTIES(mlt_service_filter(service, i));
        std::string id = textOf(filter, "id");
        if (!id.empty()) {
            parts.push_back(id + " " + textOf(filter, "mlt_service") + " " + textOf(filter, "in") +
                            "-" + textOf(filter, "out"));
        }
    }
    return joined(parts);
}

std::string outlineMltFile(const std::string& path) {
    xmlDocPtr document = xmlReadFile(path.c_str(), nullptr, XML_PARSE_NOBLANKS);
    if (document == nullptr) {
        return "(unreadable)";
    }
    std::string outline;
    for (xmlNodePtr node = xmlDocGetRootElement(document)->children; node; node = node->next) {
        std::string name = reinterpret_cast<const char*>(node->name);
        if (name != "playlist" && name != "tractor") {
            continue;
        }
        xmlChar* id = xmlGetProp(node, BAD_CAST "id");
        outline += name + " " + reinterpret_cast<const char*>(id) + ":";
        xmlFree(id);
        for (xmlNodePtr child = node->children; child; child = child->next) {
            std::string childName = reinterpret_cast<const char*>(child->name);
            if (childName == "property") {
                continue;
            }
            outline += " " + childName;
            for (const char* attribute : {"length", "in", "out", "repeat", "producer"}) {
                if (xmlChar* value = xmlGetProp(child, BAD_CAST attribute)) {
                    outline +=
                        std::string(" ") + attribute + "=" + reinterpret_cast<const char*>(value);
                    xmlFree(value);
                }
            }
        }
        outline += "\n";
    }
    xmlFreeDoc(document);
    return outline;
}

mlt_tractor findTractor(MltHelper& helper, const std::string& id) {
    ServiceQuery query{ServiceKind::Tractor, id};
    if (!helper.findService(query)) {
        return nullptr;
    }
    return static_cast<mlt_tractor>(static_cast<mlt_producer>(query.found->child)->child);
}

mlt_playlist findPlaylist(MltHelper& helper, const std::string& id) {
    ServiceQuery query{ServiceKind::Playlist, id};
    if (!helper.findService(query) ||
        mlt_service_identify(query.found) != mlt_service_playlist_type) {
        return nullptr;
    }
    return static_cast<mlt_playlist>(static_cast<mlt_producer>(query.found->child)->child);
}

mlt_producer mainSource(mlt_playlist playlist) {
    int main = MltHelper::mainEntryIndex(playlist);
    if (main < 0) {
        return nullptr;
    }
    mlt_playlist_clip_info info;
    mlt_playlist_get_clip_info(playlist, &info, main);
    return mlt_producer_cut_parent(info.producer);
}

mlt_playlist trackPlaylist(mlt_tractor tractor, int index) {
    mlt_producer track = mlt_tractor_get_track(tractor, index);
    if (track == nullptr ||
        mlt_service_identify(MLT_PRODUCER_SERVICE(track)) != mlt_service_playlist_type) {
        return nullptr;
    }
    return static_cast<mlt_playlist>(track->child);
}

CParseJson content(const std::string& json) {
    CParseJson parsed;
    parsed.parse(json);
    return parsed;
}

void EventRecorder::listen(mlt_properties properties, const char* event) {
    bindings_.push_back(Binding{this, event});
    // Listening needs the event registered on the service first.
    mlt_events_register(properties, event);
    mlt_events_listen(properties, &bindings_.back(), event, &EventRecorder::onEvent);
}

void EventRecorder::onEvent(mlt_properties owner, void* data, mlt_event_data eventData) {
    auto* binding = static_cast<Binding*>(data);
    EventRecorder* recorder = binding->recorder;
    recorder->fired_.push_back(binding->event + "@" + textOf(owner, "id"));
    if (binding->event == "scene-changed") {
        auto texts = static_cast<const char**>(mlt_event_data_to_object(eventData));
        recorder->sceneTexts_.assign(texts, texts + 3);
    }
}

LogCapture::LogCapture() {
    setLogObserver([this](int, const std::string& line) {
        std::lock_guard<std::mutex> guard(lock_);
        lines_.push_back(line);
    });
}

LogCapture::~LogCapture() {
    setLogObserver(nullptr);
}

bool LogCapture::hasMessage(const std::string& message) const {
    std::lock_guard<std::mutex> guard(lock_);
    for (const std::string& line : lines_) {
        std::string ending = message + "\n";
        if (line.size() >= ending.size() &&
            line.compare(line.size() - ending.size(), ending.size(), ending) == 0) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> LogCapture::lines() const {
    std::lock_guard<std::mutex> guard(lock_);
    return lines_;
}

}  // namespace enginetest
