// The standard timeline written by the project, loaded with MLT's "xml" producer, and an
// MltHelper on it. Track0 (main): c1 frames 0-99 at 0, c2 0-49 at 100, c3 0-49 at 150;
// Track1: v1 0-49; AudioTrack0: a1 0-99 of a tone; maintractor: filter mf1 100-200.
#pragma once

#include <framework/mlt.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <utility>

#include "engine/mlt_helper.h"
#include "messages/parse_json.h"
#include "project/project.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace enginetest {

inline std::string property(mlt_service service, const char* name) {
    const char* value = service ? mlt_properties_get(MLT_SERVICE_PROPERTIES(service), name) : "";
    return value ? value : "(unset)";
}

// The cut parent of a clip playlist's main entry.
inline mlt_producer mainSource(mlt_playlist playlist) {
    mlt_playlist_clip_info info;
    int main = MltHelper::mainEntryIndex(playlist);
    bool found = main >= 0 && mlt_playlist_get_clip_info(playlist, &info, main) == 0;
    return found ? mlt_producer_cut_parent(info.producer) : nullptr;
}

// " event@id" per firing of the events listened to, and the texts "scene-changed" carried.
inline std::string fired;
inline std::vector<std::string> sceneTexts;
inline void listen(mlt_properties properties, const char* event) {  // event: a literal
    mlt_events_register(properties, event);  // listening needs the event registered
    mlt_events_listen(properties, const_cast<char*>(event), event,
                      [](mlt_properties owner, void* name, mlt_event_data data) {
                          fired += " " + std::string(static_cast<char*>(name)) + "@" +
                                   mlt_properties_get(owner, "id");
                          if (std::string(static_cast<char*>(name)) == "scene-changed") {
                              auto texts =
                                  static_cast<const char**>(mlt_event_data_to_object(data));
                              sceneTexts.assign(texts, texts + 3);
                          }
                      });
}

// The In 10 / Out 5 transition between c1 (ending at frame 100) and c2.
inline const char* kMainTransition = R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,
    "Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"t1","TrackType":0})";

class EngineGraphTest : public ::testing::Test {
  protected:
    void SetUp() override {
        [[maybe_unused]] static bool catalogued = [] {
            mlt_factory_init(nullptr);
            std::string path = testsupport::makeTempDirectory("engine-catalogue") + "/Effect.xml";
            std::ofstream(path) << R"(<?xml version="1.0" encoding="utf-8"?><effects>
  <effect name="dissolve" type="transition"><property name="mlt_service">luma</property>
    <property name="a_track">0</property><property name="b_track">1</property></effect>
  <effect name="bright" type="filter"><property name="mlt_service">brightness</property>
    <property name="level">1.0</property></effect></effects>)";
            return MeEffectCatalogue::instance().loadCatalogues(path, ""), true;
        }();
        fired.clear();
        cache_ = testsupport::makeTempDirectory("engine-cache");
        mkdir((cache_ + "/Logs").c_str(), 0700);
        media_ = testsupport::colourBarsWithTone(4);  // 100 frames of colour bars with a tone
        load();
    }
    void TearDown() override {
        helper_.reset();
        mlt_producer_close(std::exchange(producer_, nullptr));
        mlt_profile_close(std::exchange(profile_, nullptr));
    }

    // Writes and loads the standard project, with a transition given as JSON when there is one.
    void load(const std::string& transition = "") {
        MeProject project;
        const std::pair<bool (MeProject::*)(CParseJson&), std::string> steps[] = {
            {&MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})"},
            {&MeProject::addTrack, R"({"ID":"Track1","Type":"composite"})"},
            {&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})"},
            {&MeProject::addClip, clip("Track0", "c1", -1, 0, 99)},
            {&MeProject::addClip, clip("Track0", "c2", -1, 0, 49)},
            {&MeProject::addClip, clip("Track0", "c3", -1, 0, 49)},
            {&MeProject::addClip, clip("Track1", "v1", -1, 0, 49)},
            {&MeProject::addClip,
             clip("AudioTrack0", "a1", -1, 0, 99, "", testsupport::toneWav(4))},
            {&MeProject::addFilter, R"({"TrackID":"maintractor","ID":"mf1","Title":"bright",)"
                                    R"("In":"100","Out":"200"})"},
            {&MeProject::addTransition, transition}};
        for (const auto& [operation, json] : steps) {
            CParseJson content;
            ASSERT_TRUE(json.empty() || (content.parse(json) && (project.*operation)(content)))
                << json;
        }
        ASSERT_TRUE(project.writeTimelineXml(cache_ + "/timeline.xml"));
        loadFile(cache_ + "/timeline.xml");
    }
    void loadFile(const std::string& path) {
        TearDown();
        profile_ = mlt_profile_init(nullptr);
        producer_ = mlt_factory_producer(profile_, "xml", path.c_str());
        ASSERT_NE(producer_, nullptr);
        helper_ = std::make_unique<MltHelper>(producer_, cache_);
    }

    // Runs the MltHelper operation of that name ("addClip", ...) on JSON text.
    bool apply(const std::string& operation, const std::string& json, MltHelper* other = nullptr) {
        MltHelper& h = other ? *other : *helper_;
        CParseJson c;
        c.parse(json);
        return operation == "addClip"              ? h.addClip(c, profile_)
               : operation == "alterClip"          ? h.alterClip(c, profile_)
               : operation == "deleteClip"         ? h.deleteClip(c)
               : operation == "deleteAllClip"      ? h.deleteAllClip(c)
               : operation == "alterSceneResource" ? h.alterSceneResource(c)
               : operation == "addTransition"      ? h.addTransition(c, profile_)
               : operation == "deleteTransition"   ? h.deleteTransition(c)
               : operation == "addFilter"          ? h.addFilter(c, profile_)
               : operation == "alterFilter"        ? h.alterFilter(c)
                                                   : h.deleteFilter(c);
    }
    mlt_service find(ServiceKind kind, const std::string& id) {
        ServiceQuery query{kind, id};
        return helper_->findService(query) ? query.found : nullptr;
    }
    // The tractor or playlist below the producer of that id.
    void* object(ServiceKind kind, const std::string& id) {
        mlt_service found = find(kind, id);
        return found ? static_cast<mlt_producer>(found->child)->child : nullptr;
    }
    mlt_playlist playlist(const std::string& id) {
        return static_cast<mlt_playlist>(object(ServiceKind::Playlist, id));
    }
    // Where a transition or filter is: "0/1 90-104@Track0" (the tracks only for a transition).
    std::string located(const std::string& id, ServiceKind kind = ServiceKind::Transition) {
        ServiceQuery query{kind, id};
        mlt_service s = helper_->findService(query) ? query.found : nullptr;
        std::string ab = property(s, "a_track") + "/" + property(s, "b_track") + " ";
        return !s ? ""
                  : (kind == ServiceKind::Transition ? ab : "") + property(s, "in") + "-" +
                        property(s, "out") + "@" + property(query.parent, "id");
    }
    // The track ids of a tractor: "c1 c2 c3".
    std::string tracks(const std::string& id) {
        std::string text;
        auto tractor = static_cast<mlt_tractor>(object(ServiceKind::Tractor, id));
        mlt_multitrack multitrack = tractor ? mlt_tractor_multitrack(tractor) : nullptr;
        for (int i = 0; multitrack && i < mlt_multitrack_count(multitrack); ++i) {
            text += (i > 0 ? " " : "") +
                    property(MLT_PRODUCER_SERVICE(mlt_multitrack_track(multitrack, i)), "id");
        }
        return text;
    }
    // The entries of the playlists named, "|" between them: "0-99 99-99x5|blank(90) 0-0x10".
    std::string entries(const std::string& ids) {
        std::istringstream names(ids);
        std::string id, text;
        while (names >> id) {
            mlt_playlist list = playlist(id);
            text += text.empty() ? "" : "|";
            for (int i = 0; list && i < mlt_playlist_count(list); ++i) {
                mlt_playlist_clip_info info;
                mlt_playlist_get_clip_info(list, &info, i);
                text +=
                    (i > 0 ? " " : "") +
                    (mlt_playlist_is_blank(list, i)
                         ? "blank(" + std::to_string(info.frame_count) + ")"
                         : std::to_string(info.frame_in) + "-" + std::to_string(info.frame_out) +
                               (info.repeat > 1 ? "x" + std::to_string(info.repeat) : ""));
            }
        }
        return text;
    }
    // ADD_CLIP and ALTER_CLIP contents at once (each reads its own index fields), of the
    // standard media unless another is given. An old index below 0 is the index itself.
    std::string clip(const std::string& track, const std::string& id, int index, int in, int out,
                     const std::string& extra = "", const std::string& resource = "",
                     int indexOld = -1) const {
        std::string i = std::to_string(index),
                    old = std::to_string(indexOld < 0 ? index : indexOld);
        return R"({"TrackID":")" + track + R"(","ID":")" + id + R"(","Index":)" + i +
               R"(,"IndexNew":)" + i + R"(,"IndexOld":)" + old +
               R"(,"MltService":"avformat","Resource":")" + (resource.empty() ? media_ : resource) +
               R"(","In":")" + std::to_string(in) + R"(","Out":")" + std::to_string(out) + "\"" +
               (extra.empty() ? "" : "," + extra) + "}";
    }

    std::string cache_, media_;
    mlt_profile profile_ = nullptr;
    mlt_producer producer_ = nullptr;
    std::unique_ptr<MltHelper> helper_;
};

}  // namespace enginetest
