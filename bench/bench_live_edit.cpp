// How one live ADD_CLIP on the main track grows with the timeline: the time
// of MltHelper::addClip appending a clip to "Track0" (its playlist, the
// main-track re-layout and retiming, and the graph dump that ends every edit)
// on timelines of 10, 100 and 1,000 clips. The reference is the 10-clip
// timeline; the ratio 1,000 vs 10 shows how the edit scales. The dump alone
// (MLT's XML consumer) is timed too, since it grows faster than the edit.
//
// Clips are MLT "color" producers so that the figure measures the graph edit
// and not media decoding. Each timeline is built with MeProject and loaded
// with MLT's "xml" producer, as the preview loads it.
#include <framework/mlt.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "engine/mlt_helper.h"
#include "messages/parse_json.h"
#include "project/project.h"

namespace {

constexpr int kSamples = 15;
constexpr int kClipFrames = 50;

bool run(MeProject& project, bool (MeProject::*operation)(CParseJson&), const std::string& json) {
    CParseJson content;
    return content.parse(json) && (project.*operation)(content);
}

std::string clipJson(const std::string& id) {
    return R"({"TrackID":"Track0","ID":")" + id +
           R"(","Index":-1,"MltService":"color","Resource":"#ff336699","In":"0","Out":")" +
           std::to_string(kClipFrames - 1) + "\"}";
}

std::string writeTimeline(const std::string& folder, int clips) {
    MeProject project;
    run(project, &MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})");
    run(project, &MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})");
    for (int i = 0; i < clips; ++i) {
        run(project, &MeProject::addClip, clipJson("c" + std::to_string(i)));
    }
    std::string path = folder + "/timeline_" + std::to_string(clips) + ".xml";
    project.writeTimelineXml(path);
    return path;
}

double medianOf(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

template <typename Edit>
double milliseconds(Edit edit) {
    auto start = std::chrono::steady_clock::now();
    edit();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

struct Figures {
    double addClip = -1.0;  // median ms of one appended clip, dump included
    double dump = -1.0;     // median ms of the graph dump alone
};

Figures measure(const std::string& folder, mlt_profile profile, int clips) {
    Figures figures;
    std::string path = writeTimeline(folder, clips);
    mlt_producer producer = mlt_factory_producer(profile, "xml", path.c_str());
    if (producer == nullptr) {
        std::fprintf(stderr, "cannot load %s\n", path.c_str());
        return figures;
    }
    std::vector<double> adds;
    std::vector<double> dumps;
    for (int sample = 0; sample < kSamples; ++sample) {
        CParseJson content;
        content.parse(clipJson("added" + std::to_string(sample)));
        MltHelper helper(producer, folder);
        adds.push_back(milliseconds([&] {
            if (!helper.addClip(content, profile)) {
                std::fprintf(stderr, "addClip failed on %d clips\n", clips);
            }
        }));
        dumps.push_back(milliseconds([&] { helper.dumpGraph(); }));
    }
    mlt_producer_close(producer);
    figures.addClip = medianOf(adds);
    figures.dump = medianOf(dumps);
    return figures;
}

}  // namespace

int main() {
    char pattern[] = "/tmp/bench-live-edit-XXXXXX";
    const char* folder = mkdtemp(pattern);
    if (folder == nullptr) {
        return 1;
    }
    mkdir((std::string(folder) + "/Logs").c_str(), 0700);
    mlt_factory_init(nullptr);
    mlt_profile profile = mlt_profile_init(nullptr);

    std::printf("addClip on Track0 (append, re-layout, retiming, dump), median of %d\n", kSamples);
    Figures reference;
    for (int clips : {10, 100, 1000}) {
        Figures figures = measure(folder, profile, clips);
        if (clips == 10) {
            reference = figures;
        }
        std::printf(
            "%5d clips: addClip %9.3f ms (%6.1fx the 10-clip reference), of which the MLT XML "
            "dump %9.3f ms (%6.1fx)\n",
            clips, figures.addClip, figures.addClip / reference.addClip, figures.dump,
            figures.dump / reference.dump);
    }
    mlt_profile_close(profile);
    mlt_factory_close();
    return 0;
}
