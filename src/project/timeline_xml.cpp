// The timeline XML: the MLT document the player loads, generated from the
// project. Clips come first, then the tracks, then "maintractor", which
// stacks the tracks, and "interface_tractor", the root the player plays.
#include "project/project.h"
#include "timeline/model_names.h"
#include "timeline/service.h"
#include "timeline/xml_file.h"
#include "timeline/xml_tree.h"

namespace {

// A track's engine number: its place among the video tracks, then the audio
// tracks, each in identifier order; -1 for an unknown track.
int trackNumber(const MeProject& project, const std::string& trackId) {
    int number = 0;
    for (const MeProject::Tracks* tracks : {&project.videoTracks(), &project.audioTracks()}) {
        for (const auto& entry : *tracks) {
            if (entry.first == trackId) {
                return number;
            }
            ++number;
        }
    }
    return -1;
}

xmlNodePtr writeFixedTractor(xmlNodePtr root, const char* id, bool global) {
    MeService tractor(mltxml::kTractor);
    tractor.setId(id);
    tractor.setGlobal(global);
    return tractor.writeMltElement(root, false);
}

}  // namespace

bool MeProject::writeEmptyTimelineXml(const std::string& path) {
    return MeProject().writeTimelineXml(path);
}

void MeProject::writeMultiFilterTimelines() const {
    for (const Tracks* tracks : {&videoTracks_, &audioTracks_}) {
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
    XmlDocument document = newXmlDocument(mltxml::kRoot);
    xmlNodePtr root = xmlDocGetRootElement(document.get());
    for (const auto& entry : clips_) {
        entry.second->writeMltXml(root);
    }
    for (const Tracks* tracks : {&videoTracks_, &audioTracks_}) {
        for (const auto& entry : *tracks) {
            if (entry.second->visible()) {
                entry.second->writeMltXml(root);
            }
        }
    }
    xmlNodePtr mainTractor = writeFixedTractor(root, mltxml::kMainTractorId, false);
    xmlNodePtr interfaceTractor = writeFixedTractor(root, mltxml::kInterfaceTractorId, true);
    MeTractor::writeTrackReference(interfaceTractor, mltxml::kMainTractorId, std::string());

    // A hidden video track is still stacked; a hidden audio track is not.
    for (const auto& entry : videoTracks_) {
        MeTractor::writeTrackReference(mainTractor, entry.first, entry.second->trackType());
    }
    for (const auto& entry : audioTracks_) {
        if (entry.second->visible()) {
            MeTractor::writeTrackReference(mainTractor, entry.first, entry.second->trackType());
        }
    }
    for (const auto& entry : transitions_) {
        MeTransition transition = *entry.second;
        transition.setTracks(trackNumber(*this, transition.trackIdA()),
                             trackNumber(*this, transition.trackIdB()));
        transition.writeMltXml(mainTractor);
    }
    for (const auto& filter : mainFilters_) {
        filter->writeMltXml(mainTractor, true);
    }
    writeXmlDocument(document.get(), path);
    return true;
}
