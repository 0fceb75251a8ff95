// Cost of the project's XML forms for a large timeline: building the
// timeline XML the player loads, saving and loading the project document.
// Reference: libxml2 alone saving an already built tree of the same project
// document (xmlSaveFormatFileEnc) and reading it (xmlReadFile), so the ratios
// show what the model adds on top of the XML library.
#include <libxml/parser.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "project/project.h"
#include "timeline/xml_file.h"

namespace {

constexpr int kTracks = 4;
constexpr int kClipsPerTrack = 500;
constexpr int kRounds = 5;

double millisecondsOf(const std::function<void()>& work) {
    auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < kRounds; ++round) {
        work();
    }
    std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / kRounds;
}

void edit(MeProject& project, bool (MeProject::*operation)(CParseJson&), const std::string& text) {
    CParseJson content;
    content.parse(text);
    (project.*operation)(content);
}

void buildProject(MeProject& project) {
    for (int track = 0; track < kTracks; ++track) {
        const std::string trackId = "Track" + std::to_string(track);
        edit(project, &MeProject::addTrack,
             R"({"ID":")" + trackId + R"(","Type":"composite","Main":true})");
        for (int clip = 0; clip < kClipsPerTrack; ++clip) {
            const std::string id = trackId + "_c" + std::to_string(clip);
            edit(project, &MeProject::addClip,
                 R"({"TrackID":")" + trackId + R"(","ID":")" + id +
                     R"(","MltService":"avformat","Resource":"/media/)" + id +
                     R"(.mp4","In":"0","Out":"99","Index":-1})");
        }
    }
}

}  // namespace

int main() {
    MeProject project;
    buildProject(project);
    const std::string folder = "/tmp/qv-bench-project-" + std::to_string(::getpid());
    const std::string timeline = folder + "-timeline.xml";
    const std::string document = folder + "-project.xml";

    const double timelineMs = millisecondsOf([&] { project.writeTimelineXml(timeline); });
    const double saveMs = millisecondsOf([&] { project.saveProject(document); });
    const double loadMs = millisecondsOf([&] { MeProject().loadProject(document); });
    XmlDocument parsed = readXmlFile(document, 0);
    const double rawSaveMs =
        millisecondsOf([&] { xmlSaveFormatFileEnc(document.c_str(), parsed.get(), "utf-8", 1); });
    const double rawLoadMs = millisecondsOf([&] { readXmlFile(document, 0); });

    std::printf("project of %d tracks x %d clips\n", kTracks, kClipsPerTrack);
    std::printf("writeTimelineXml: %.2f ms\n", timelineMs);
    std::printf("saveProject:      %.2f ms  (%.2fx libxml2 save %.2f ms)\n", saveMs,
                saveMs / rawSaveMs, rawSaveMs);
    std::printf("loadProject:      %.2f ms  (%.2fx libxml2 read %.2f ms)\n", loadMs,
                loadMs / rawLoadMs, rawLoadMs);
    std::remove(timeline.c_str());
    std::remove(document.c_str());
    return 0;
}
