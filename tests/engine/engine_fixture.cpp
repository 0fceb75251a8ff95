#include "engine_fixture.h"

#include <sys/stat.h>

#include <fstream>
#include <mutex>

#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace enginetest {

void loadTestCatalogue() {
    static std::once_flag loaded;
    std::call_once(loaded, [] {
        std::string folder = testsupport::makeTempDirectory("engine-catalogue");
        std::string path = folder + "/Effect.xml";
        std::ofstream(path) << R"(<?xml version="1.0" encoding="utf-8"?>
<effects>
  <effect name="dissolve" type="transition">
    <property name="mlt_service">luma</property>
    <property name="a_track">0</property>
    <property name="b_track">1</property>
  </effect>
  <effect name="wipe" type="transition">
    <property name="mlt_service">luma</property>
    <property name="softness">0.1</property>
    <property name="a_track">0</property>
    <property name="b_track">1</property>
  </effect>
  <effect name="mix" type="transition">
    <property name="mlt_service">mix</property>
    <property name="a_track">0</property>
    <property name="b_track">1</property>
  </effect>
  <effect name="bright" type="filter">
    <property name="mlt_service">brightness</property>
    <property name="level">1.0</property>
  </effect>
</effects>
)";
        MeEffectCatalogue::instance().loadCatalogues(path, "");
    });
}

void EngineGraphTest::SetUp() {
    initEngine();
    loadTestCatalogue();
    cache_ = testsupport::makeTempDirectory("engine-cache");
    mkdir((cache_ + "/Logs").c_str(), 0700);
    media_ = testsupport::colourBarsWithTone(4);
    tone_ = testsupport::toneWav(4);
    load(standardProject());
}

TimelineProject EngineGraphTest::standardProject() const {
    TimelineProject project;
    bool built =
        project.run(&MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})") &&
        project.run(&MeProject::addTrack, R"({"ID":"Track1","Type":"composite"})") &&
        project.run(&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})") &&
        project.run(&MeProject::addClip, addClipJson("Track0", "c1", -1, 0, 99)) &&
        project.run(&MeProject::addClip, addClipJson("Track0", "c2", -1, 0, 49)) &&
        project.run(&MeProject::addClip, addClipJson("Track0", "c3", -1, 0, 49)) &&
        project.run(&MeProject::addClip, addClipJson("Track1", "v1", -1, 0, 49)) &&
        project.run(&MeProject::addClip,
                    R"({"TrackID":"AudioTrack0","ID":"a1","Index":-1,"MltService":"avformat",)"
                    R"("Resource":")" +
                        tone_ + R"(","In":"0","Out":"99"})") &&
        project.run(&MeProject::addFilter, R"({"TrackID":"maintractor","ID":"mf1",)"
                                           R"("Title":"bright","In":"100","Out":"200"})");
    EXPECT_TRUE(built);
    return project;
}

void EngineGraphTest::load(const TimelineProject& project) {
    std::string path = cache_ + "/timeline.xml";
    ASSERT_TRUE(project.writeTimelineXml(path));
    loadFile(path);
}

void EngineGraphTest::loadXml(const std::string& xml) {
    std::string path = cache_ + "/handmade.xml";
    std::ofstream(path) << xml;
    loadFile(path);
}

void EngineGraphTest::loadFile(const std::string& path) {
    helper_.reset();
    timeline_.reset();
    timeline_ = std::make_unique<LoadedTimeline>(path);
    ASSERT_NE(timeline_->producer(), nullptr);
    helper_ = std::make_unique<MltHelper>(timeline_->producer(), cache_);
}

std::string EngineGraphTest::addClipJson(const std::string& trackId, const std::string& id,
                                         int index, int in, int out,
                                         const std::string& extra) const {
    return R"({"TrackID":")" + trackId + R"(","ID":")" + id + R"(","Index":)" +
           std::to_string(index) + R"(,"MltService":"avformat","Resource":")" + media_ +
           R"(","In":")" + std::to_string(in) + R"(","Out":")" + std::to_string(out) + "\"" +
           (extra.empty() ? "" : "," + extra) + "}";
}

}  // namespace enginetest
