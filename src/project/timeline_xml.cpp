// The timeline XML: the MLT document the player loads, generated from the
// project. Clips come first, then the tracks, then "maintractor", which
// stacks the tracks, and "interface_tractor", the root the player plays.
#include <unordered_map>

#include "project/project.h"
#include "timeline/model_names.h"
#include "timeline/service.h"
#include "timeline/xml_file.h"

namespace {

// The engine numbers of the tracks: their places among the video tracks,
// then the audio tracks, each in identifier order.
class TrackNumbers {
  public:
    explicit TrackNumbers(const MeProject& project) {
        int number = 0;
        for (const MeProject::Tracks* tracks : {&project.videoTracks(), &project.audioTracks()}) {
            for (const auto& entry : *tracks) {
                // A video and an audio track of one identifier: the video one counts.
                numbers_.emplace(entry.first, number++);
            }
        }
    }

    // -1 for an unknown track.
    int of(const std::string& trackId) const {
        auto found = numbers_.find(trackId);
        return found == numbers_.end() ? -1 : found->second;
    }

  private:
    std::unordered_map<std::string, int> numbers_;
};

void beginFixedTractor(XmlSink& sink, const char* id, bool global) {
    MeService tractor(mltxml::kTractor);
    tractor.setId(id);
    tractor.setGlobal(global);
    tractor.writeMltElement(sink, false);
}

}  // namespace

bool MeProject::writeEmptyTimelineXml(const std::string& path) {
    return MeProject().writeTimelineXml(path);
}

void MeProject::writeMultiFilterTimelines() const {
    for (const Tracks* tracks : {&videoTracks(), &audioTracks()}) {
        for (const auto& entry : *tracks) {
            if (!entry.second->visible()) {
                continue;
            }
            for (const auto& placement : entry.second->placements()) {
                for (const auto& multi : placement->multiFilters()) {
                    if (!multi.second.xmlFile().empty()) {
                        writeEmptyTimelineXml(multi.second.xmlFile());
                    }
                }
            }
        }
    }
}

bool MeProject::writeTimelineXml(const std::string& path) const {
    writeMultiFilterTimelines();
    writeXmlFile(path, [this](XmlSink& document) {
        document.begin(mltxml::kRoot);
        for (const auto& entry : clips()) {
            entry.second->writeMltXml(document);
        }
        for (const Tracks* tracks : {&videoTracks(), &audioTracks()}) {
            for (const auto& entry : *tracks) {
                if (entry.second->visible()) {
                    entry.second->writeMltXml(document);
                }
            }
        }
        writeMainTractor(document);
        beginFixedTractor(document, mltxml::kInterfaceTractorId, true);
        MeTractor::writeTrackReference(document, mltxml::kMainTractorId, std::string());
        document.end();
        document.end();
    });
    return true;
}

void MeProject::writeMainTractor(XmlSink& document) const {
    beginFixedTractor(document, mltxml::kMainTractorId, false);
    // A hidden video track is still stacked; a hidden audio track is not.
    for (const auto& entry : videoTracks()) {
        MeTractor::writeTrackReference(document, entry.first, entry.second->trackType());
    }
    for (const auto& entry : audioTracks()) {
        if (entry.second->visible()) {
            MeTractor::writeTrackReference(document, entry.first, entry.second->trackType());
        }
    }
    const TrackNumbers trackNumbers(*this);
    for (const auto& entry : transitions()) {
        MeTransition transition = *entry.second;
        transition.setTracks(trackNumbers.of(transition.trackIdA()),
                             trackNumbers.of(transition.trackIdB()));
        transition.writeMltXml(document);
    }
    for (const auto& filter : mainFilters_) {
        filter->writeMltXml(document, true);
    }
    document.end();
}
