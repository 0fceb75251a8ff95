// Cost of the project's XML forms, in-process, for a project of 1,000 clips
// and then, in the same run, of 10,000: four main tracks whose neighbouring
// placements are all joined by transitions, with a filter on every tenth
// placement. Figures: the timeline XML the player loads, and saving and
// loading the project document, each beside its target with its growth from
// the small to the large project. Reference at each size: libxml2 alone
// reading the same document (xmlReadFile) and saving the tree it read
// (xmlSaveFormatFileEnc), so the ratios show what the model adds on top of
// the XML library (our writers also sync the file; libxml2's save does not).
#include <unistd.h>

#include <cstdio>
#include <string>

#include "bench_figures.h"
#include "libxml2_reference.h"
#include "project/project.h"
#include "timeline/effect_catalogue.h"

namespace {

using bench::Growth;
using bench::Target;

constexpr int kTracks = 4;
constexpr int kSmallProject = 1000;
constexpr int kLargeProject = 10000;
constexpr int kRounds = 5;
constexpr int kFilterEvery = 10;

const Target kSaveTarget{Growth::Linear, 40.0};
const Target kLinearTarget{Growth::Linear};

void edit(MeProject& project, bool (MeProject::*operation)(CParseJson&), const std::string& text) {
    CParseJson content;
    content.parse(text);
    (project.*operation)(content);
}

void buildProject(MeProject& project, int clips) {
    const int clipsPerTrack = clips / kTracks;
    for (int track = 0; track < kTracks; ++track) {
        const std::string trackId = "Track" + std::to_string(track);
        edit(project, &MeProject::addTrack,
             R"({"ID":")" + trackId + R"(","Type":"composite","Main":true})");
        for (int clip = 0; clip < clipsPerTrack; ++clip) {
            const std::string id = trackId + "_c" + std::to_string(clip);
            const std::string index = std::to_string(clip);
            edit(project, &MeProject::addClip,
                 R"({"TrackID":")" + trackId + R"(","ID":")" + id +
                     R"(","MltService":"avformat","Resource":"/media/)" + id +
                     R"(.mp4","In":"0","Out":"99","Index":-1})");
            if (clip > 0) {
                edit(project, &MeProject::addTransition,
                     R"({"ID":")" + id +
                         R"(_x","Title":"dissolve","In":"5","Out":"5","TrackID_A":")" + trackId +
                         R"(","TrackID_B":")" + trackId + R"(","Index_A":)" +
                         std::to_string(clip - 1) + R"(,"Index_B":)" + index + "}");
            }
            if (clip % kFilterEvery == 0) {
                edit(project, &MeProject::addFilter,
                     R"({"ID":")" + id + R"(_f","TrackID":")" + trackId +
                         R"(","Title":"brightness","In":"0","Out":"9","Index":)" + index + "}");
            }
        }
    }
}

struct Figures {
    double timelineMs = 0.0;
    double saveMs = 0.0;
    double loadMs = 0.0;
    bench::LibxmlTimes timelineReference;
    bench::LibxmlTimes projectReference;
};

Figures measure(int clips, const std::string& folder) {
    MeProject project;
    buildProject(project, clips);
    const std::string timeline = folder + "-timeline.xml";
    const std::string document = folder + "-project.xml";
    Figures figures;
    figures.timelineMs = bench::medianMs(kRounds, [&] { project.writeTimelineXml(timeline); });
    figures.saveMs = bench::medianMs(kRounds, [&] { project.saveProject(document); });
    figures.loadMs = bench::medianMs(kRounds, [&] { MeProject().loadProject(document); });
    figures.timelineReference = bench::libxml2Times(timeline, kRounds);
    figures.projectReference = bench::libxml2Times(document, kRounds);
    std::remove(timeline.c_str());
    std::remove(document.c_str());
    return figures;
}

void printRatios(int clips, const Figures& figures) {
    std::printf("at %d clips, beside libxml2 alone on the same documents\n", clips);
    bench::Report::ratio("writeTimelineXml (synced)", figures.timelineMs,
                         figures.timelineReference.saveMs, "libxml2 save (not synced)");
    bench::Report::ratio("saveProject (synced)", figures.saveMs, figures.projectReference.saveMs,
                         "libxml2 save (not synced)");
    bench::Report::ratio("loadProject", figures.loadMs, figures.projectReference.readMs,
                         "libxml2 read");
}

}  // namespace

int main() {
    // The effect catalogues beside the host give the transitions and filters
    // their properties.
    MeEffectCatalogue::instance().loadCatalogues(
        std::string(QV_BIN_DIR) + "/Configs/Effect.xml",
        std::string(QV_BIN_DIR) + "/Configs/MultiEffect.xml");
    const std::string folder = "/tmp/qv-bench-project-" + std::to_string(::getpid());
    const Figures small = measure(kSmallProject, folder);
    const Figures large = measure(kLargeProject, folder);

    const bench::Report report(kSmallProject, kLargeProject);
    report.heading("project of 4 main tracks, a transition at every cut (median, in-process)");
    report.figure("writeTimelineXml", small.timelineMs, large.timelineMs, kLinearTarget);
    report.figure("saveProject", small.saveMs, large.saveMs, kSaveTarget);
    report.figure("loadProject", small.loadMs, large.loadMs, kLinearTarget);
    printRatios(kSmallProject, small);
    printRatios(kLargeProject, large);
    return 0;
}
