// The engine suite's fixture: the standard timeline written by the project, loaded
// with MLT's "xml" producer, and an MltHelper on it. Track0 (main): c1 frames 0-99
// at 0, c2 0-49 at 100, c3 0-49 at 150; Track1: v1 0-49; AudioTrack0: a1 0-99 of a
// tone; maintractor: filter mf1 100-200. Playlists read back as "blank(90) 0-0x10 0-49".
#pragma once

#include <framework/mlt.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <sstream>

#include "messages/parse_json.h"
#include "project/mlt_helper.h"
#include "project/project.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace enginetest {

inline std::string property(mlt_service service, const char* name) {
    const char* value = service ? mlt_properties_get(MLT_SERVICE_PROPERTIES(service), name) : "";
    return value ? value : "(unset)";
}

inline std::string describePlaylist(mlt_playlist playlist) {
    std::string text;
    for (int i = 0; playlist && i < mlt_playlist_count(playlist); ++i) {
        mlt_playlist_clip_info info;
        mlt_playlist_get_clip_info(playlist, &info, i);
        text += mlt_playlist_is_blank(playlist, i)
                    ? " blank(" + std::to_string(info.frame_count) + ")"
                    : " " + std::to_string(info.frame_in) + "-" + std::to_string(info.frame_out) +
                          (info.repeat > 1 ? "x" + std::to_string(info.repeat) : "");
    }
    return playlist ? text.substr(text.empty() ? 0 : 1) : "(none)";
}

inline std::string describeTransitions(mlt_tractor tractor) {
    std::ostringstream text;
    for (mlt_service service = mlt_service_producer(MLT_TRACTOR_SERVICE(tractor)); service;
         service = mlt_service_producer(service)) {
        if (mlt_service_identify(service) == mlt_service_transition_type) {
            auto transition = static_cast<mlt_transition>(service->child);
            text << (text.tellp() > 0 ? " " : "") << property(service, "id") << " "
                 << mlt_transition_get_a_track(transition) << "/"
                 << mlt_transition_get_b_track(transition) << " "
                 << mlt_transition_get_in(transition) << "-" << mlt_transition_get_out(transition);
        }
    }
    return text.str();
}

// Filters attached to a service that carry an id: "f1 brightness 0-10".
inline std::string describeFilters(mlt_service service) {
    std::string text;
    for (int i = 0; service && i < mlt_service_filter_count(service); ++i) {
        mlt_service filter = MLT_FILTER_SERVICE(mlt_service_filter(service, i));
        if (property(filter, "id") != "(unset)") {
            text += (text.empty() ? "" : " ") + property(filter, "id") + " " +
                    property(filter, "mlt_service") + " " + property(filter, "in") + "-" +
                    property(filter, "out");
        }
    }
    return text;
}

// A line per playlist and tractor of an MLT XML file: children but properties, with their length,
// in, out, repeat, producer.
inline std::string outlineMltFile(const std::string& path) {
    std::string text = testsupport::readFile(path), outline;
    std::regex element(R"(<(playlist|tractor|entry|blank|track|transition|filter)\b([^>]*)>)");
    for (std::sregex_iterator it(text.begin(), text.end(), element), end; it != end; ++it) {
        std::string name = (*it)[1], attributes = (*it)[2];
        auto attribute = [&](const std::string& key) {
            std::smatch value;
            return std::regex_search(attributes, value, std::regex("\\b" + key + "=\"([^\"]*)\""))
                       ? " " + key + "=" + value[1].str()
                       : "";
        };
        if (name == "playlist" || name == "tractor") {
            outline +=
                (outline.empty() ? "" : "\n") + name + attribute("id").replace(0, 4, " ") + ":";
        } else {
            outline += " " + name + attribute("length") + attribute("in") + attribute("out") +
                       attribute("repeat") + attribute("producer");
        }
    }
    return outline.empty() ? "(unreadable)" : outline + "\n";
}

// The cut parent of a clip playlist's main entry.
inline mlt_producer mainSource(mlt_playlist playlist) {
    mlt_playlist_clip_info info;
    int main = MltHelper::mainEntryIndex(playlist);
    bool found = main >= 0 && mlt_playlist_get_clip_info(playlist, &info, main) == 0;
    return found ? mlt_producer_cut_parent(info.producer) : nullptr;
}

// Runs the MltHelper operation of that name ("addClip", ...) on JSON text.
inline bool apply(MltHelper& h, const std::string& operation, const std::string& json,
                  mlt_profile p) {
    const std::map<std::string, bool (MltHelper::*)(CParseJson&, mlt_profile)> withProfile = {
        {"addClip", &MltHelper::addClip},
        {"alterClip", &MltHelper::alterClip},
        {"addTransition", &MltHelper::addTransition},
        {"addFilter", &MltHelper::addFilter}};
    const std::map<std::string, bool (MltHelper::*)(CParseJson&)> plain = {
        {"deleteClip", &MltHelper::deleteClip},
        {"deleteAllClip", &MltHelper::deleteAllClip},
        {"alterSceneResource", &MltHelper::alterSceneResource},
        {"deleteTransition", &MltHelper::deleteTransition},
        {"alterFilter", &MltHelper::alterFilter},
        {"deleteFilter", &MltHelper::deleteFilter}};
    CParseJson c;
    c.parse(json);
    return withProfile.count(operation) ? (h.*withProfile.at(operation))(c, p)
                                        : (h.*plain.at(operation))(c);
}

// Records "event@id" per firing, and the three texts "scene-changed" carries.
struct EventRecorder {
    void listen(mlt_properties properties, const char* event) {
        bindings.emplace_back(this, event);
        mlt_events_register(properties, event);  // listening needs the event registered
        mlt_events_listen(
            properties, &bindings.back(), event,
            [](mlt_properties owner, void* data, mlt_event_data eventData) {
                auto& [recorder, name] =
                    *static_cast<std::pair<EventRecorder*, std::string>*>(data);
                const char* id = mlt_properties_get(owner, "id");
                recorder->fired += " " + name + "@" + (id ? id : "");
                if (name == "scene-changed") {
                    auto texts = static_cast<const char**>(mlt_event_data_to_object(eventData));
                    recorder->sceneTexts.assign(texts, texts + 3);
                }
            });
    }
    std::string fired;  // " event@id" per firing
    std::vector<std::string> sceneTexts;
    std::list<std::pair<EventRecorder*, std::string>> bindings;
};

class EngineGraphTest : public ::testing::Test {
  protected:
    void SetUp() override {
        static std::once_flag once;
        std::call_once(once, [] {
            mlt_factory_init(nullptr);
            std::string path = testsupport::makeTempDirectory("engine-catalogue") + "/Effect.xml";
            std::ofstream(path) << R"(<?xml version="1.0" encoding="utf-8"?><effects>
  <effect name="dissolve" type="transition"><property name="mlt_service">luma</property>
    <property name="a_track">0</property><property name="b_track">1</property></effect>
  <effect name="wipe" type="transition"><property name="mlt_service">luma</property>
    <property name="softness">0.1</property>
    <property name="a_track">0</property><property name="b_track">1</property></effect>
  <effect name="bright" type="filter"><property name="mlt_service">brightness</property>
    <property name="level">1.0</property></effect></effects>)";
            MeEffectCatalogue::instance().loadCatalogues(path, "");
        });
        cache_ = testsupport::makeTempDirectory("engine-cache");
        mkdir((cache_ + "/Logs").c_str(), 0700);
        media_ = testsupport::colourBarsWithTone(4);  // 100 frames of colour bars with a tone
        load(standardProject());
    }
    void TearDown() override { loadFile(""); }

    // The standard project, with a transition given as JSON text when there is one.
    MeProject standardProject(const std::string& transition = "") const {
        MeProject project;
        const std::pair<bool (MeProject::*)(CParseJson&), std::string> steps[] = {
            {&MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})"},
            {&MeProject::addTrack, R"({"ID":"Track1","Type":"composite"})"},
            {&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})"},
            {&MeProject::addClip, addClipJson("Track0", "c1", -1, 0, 99)},
            {&MeProject::addClip, addClipJson("Track0", "c2", -1, 0, 49)},
            {&MeProject::addClip, addClipJson("Track0", "c3", -1, 0, 49)},
            {&MeProject::addClip, addClipJson("Track1", "v1", -1, 0, 49)},
            {&MeProject::addClip, R"({"TrackID":"AudioTrack0","ID":"a1","Index":-1,"Resource":")" +
                                      testsupport::toneWav(4) +
                                      R"(","MltService":"avformat","In":"0","Out":"99"})"},
            {&MeProject::addFilter, R"({"TrackID":"maintractor","ID":"mf1","Title":"bright",)"
                                    R"("In":"100","Out":"200"})"},
            {&MeProject::addTransition, transition}};
        for (const auto& [operation, json] : steps) {
            CParseJson content;
            EXPECT_TRUE(json.empty() || (content.parse(json) && (project.*operation)(content)))
                << json;
        }
        return project;
    }
    void load(const MeProject& project) {
        ASSERT_TRUE(project.writeTimelineXml(cache_ + "/timeline.xml"));
        loadFile(cache_ + "/timeline.xml");
    }
    void loadFile(const std::string& path) {  // "" only closes the loaded timeline
        helper_.reset();
        if (producer_ != nullptr) {
            mlt_producer_close(producer_);
            mlt_profile_close(profile_);
            producer_ = nullptr;
        }
        if (!path.empty()) {
            profile_ = mlt_profile_init(nullptr);
            producer_ = mlt_factory_producer(profile_, "xml", path.c_str());
            ASSERT_NE(producer_, nullptr);
            helper_ = std::make_unique<MltHelper>(producer_, cache_);
        }
    }

    MltHelper& helper() { return *helper_; }
    bool apply(const std::string& operation, const std::string& json) {
        return enginetest::apply(*helper_, operation, json, profile_);
    }
    mlt_service find(ServiceKind kind, const std::string& id) {
        ServiceQuery query{kind, id};
        return helper_->findService(query) ? query.found : nullptr;
    }
    mlt_tractor tractor(const std::string& id) {
        mlt_service found = find(ServiceKind::Tractor, id);
        return found ? static_cast<mlt_tractor>(static_cast<mlt_producer>(found->child)->child)
                     : nullptr;
    }
    mlt_playlist playlist(const std::string& id) {
        mlt_service found = find(ServiceKind::Playlist, id);
        return found && mlt_service_identify(found) == mlt_service_playlist_type
                   ? static_cast<mlt_playlist>(static_cast<mlt_producer>(found->child)->child)
                   : nullptr;
    }
    std::string transitions(const std::string& id) { return describeTransitions(tractor(id)); }
    // The track ids of a tractor: "c1 c2 c3".
    std::string tracks(const std::string& id) {
        std::string text;
        mlt_multitrack multitrack = tractor(id) ? mlt_tractor_multitrack(tractor(id)) : nullptr;
        for (int i = 0; multitrack && i < mlt_multitrack_count(multitrack); ++i) {
            text += (i > 0 ? " " : "") +
                    property(MLT_PRODUCER_SERVICE(mlt_multitrack_track(multitrack, i)), "id");
        }
        return text;
    }
    // The entries of the playlists named, "|" between them.
    std::string entries(const std::string& ids) {
        std::istringstream names(ids);
        std::string id, text;
        while (names >> id) {
            text += (text.empty() ? "" : "|") + describePlaylist(playlist(id));
        }
        return text;
    }
    // ADD_CLIP / ALTER_CLIP contents, of the standard media unless another is given.
    std::string addClipJson(const std::string& track, const std::string& id, int index, int in,
                            int out, const std::string& extra = "") const {
        return R"({"TrackID":")" + track + R"(","ID":")" + id + R"(","Index":)" +
               std::to_string(index) + clipTail(in, out, extra, media_);
    }
    std::string alterJson(const std::string& track, const std::string& id, int indexNew,
                          int indexOld, int in, int out, const std::string& extra = "",
                          const std::string& resource = "") const {
        return R"({"TrackID":")" + track + R"(","ID":")" + id + R"(","IndexNew":)" +
               std::to_string(indexNew) + R"(,"IndexOld":)" + std::to_string(indexOld) +
               clipTail(in, out, extra, resource.empty() ? media_ : resource);
    }
    static std::string clipTail(int in, int out, const std::string& extra,
                                const std::string& resource) {
        return R"(,"MltService":"avformat","Resource":")" + resource + R"(","In":")" +
               std::to_string(in) + R"(","Out":")" + std::to_string(out) + "\"" +
               (extra.empty() ? "" : "," + extra) + "}";
    }

    std::string cache_, media_;
    EventRecorder events_;  // outlives the timeline
    mlt_profile profile_ = nullptr;
    mlt_producer producer_ = nullptr;
    std::unique_ptr<MltHelper> helper_;
};

}  // namespace enginetest
