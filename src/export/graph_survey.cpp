#include "export/graph_survey.h"

#include <framework/mlt.h>

#include <utility>

#include "engine/graph.h"

namespace {

constexpr char kServiceProperty[] = "mlt_service";
constexpr char kLoaderMark[] = "_loader";
constexpr char kNamelessService[] = "?";
const char* const kMediaFileServices[] = {"avformat", "avformat-novalidate"};

std::string serviceName(mlt_service service) {
    const char* name = mltgraph::text(service, kServiceProperty);
    return name ? name : kNamelessService;
}

bool isMediaFile(const std::string& name) {
    for (const char* media : kMediaFileServices) {
        if (name == media) {
            return true;
        }
    }
    return false;
}

// The avformat producer's description of one of its streams.
std::string streamKey(int stream, const char* part) {
    return "meta.media." + std::to_string(stream) + "." + part;
}

}  // namespace

GraphSurvey::GraphSurvey(mlt_producer top, bool scanFiles) : scanFiles_(scanFiles) {
    if (top != nullptr) {
        visit(MLT_PRODUCER_SERVICE(top));
    }
}

void GraphSurvey::visit(mlt_service service) {
    if (service == nullptr || !seen_.insert(service).second) {
        return;
    }
    noteAttachedFilters(service);
    switch (mlt_service_identify(service)) {
        case mlt_service_playlist_type:
            visitPlaylist(mltgraph::asPlaylist(service));
            return;
        case mlt_service_multitrack_type:
            visitMultitrack(mltgraph::asMultitrack(service));
            return;
        case mlt_service_transition_type:
        case mlt_service_filter_type:
            // Planted in a tractor's field, between its multitrack and the tractor.
            effects_.insert(serviceName(service));
            visit(mlt_service_producer(service));
            return;
        case mlt_service_tractor_type:
            visit(mlt_service_producer(service));
            return;
        case mlt_service_producer_type: {
            auto producer = static_cast<mlt_producer>(service->child);
            if (mlt_producer_is_cut(producer)) {
                visit(MLT_PRODUCER_SERVICE(mlt_producer_cut_parent(producer)));
            } else if (mlt_service_producer(service) != nullptr) {
                // A tractor the XML loader hands back as a plain producer.
                visit(mlt_service_producer(service));
            } else {
                visitLeaf(producer);
            }
            return;
        }
        default:
            // Chains, links and whatever else a later engine adds.
            otherProducers_.insert(serviceName(service));
            return;
    }
}

void GraphSurvey::visitPlaylist(mlt_playlist playlist) {
    for (int i = 0; i < mltgraph::entryCount(playlist); ++i) {
        mlt_playlist_clip_info entry;
        if (!mltgraph::readEntry(playlist, i, entry) || mlt_playlist_is_blank(playlist, i)) {
            continue;
        }
        visit(MLT_PRODUCER_SERVICE(entry.cut));
    }
}

void GraphSurvey::visitMultitrack(mlt_multitrack multitrack) {
    for (int i = 0; multitrack != nullptr && i < mlt_multitrack_count(multitrack); ++i) {
        mlt_producer track = mlt_multitrack_track(multitrack, i);
        if (track != nullptr) {
            visit(MLT_PRODUCER_SERVICE(track));
        }
    }
}

void GraphSurvey::visitLeaf(mlt_producer producer) {
    const std::string name = serviceName(MLT_PRODUCER_SERVICE(producer));
    if (isMediaFile(name)) {
        noteMediaFile(producer);
    } else {
        otherProducers_.insert(name);
    }
}

void GraphSurvey::noteAttachedFilters(mlt_service service) {
    for (int i = 0; i < mlt_service_filter_count(service); ++i) {
        mlt_filter filter = mlt_service_filter(service, i);
        if (filter == nullptr) {
            continue;
        }
        mlt_properties properties = MLT_FILTER_PROPERTIES(filter);
        const std::string name = serviceName(MLT_FILTER_SERVICE(filter));
        (mlt_properties_get_int(properties, kLoaderMark) ? normalisers_ : effects_).insert(name);
    }
}

void GraphSurvey::noteMediaFile(mlt_producer producer) {
    mlt_properties properties = MLT_PRODUCER_PROPERTIES(producer);
    MediaSource source;
    source.resource = mltgraph::orEmpty(mlt_properties_get(properties, "resource"));
    const int video = mlt_properties_get(properties, "video_index")
                          ? mlt_properties_get_int(properties, "video_index")
                          : -1;
    source.hasVideo =
        video >= 0 &&
        mltgraph::equals(mlt_properties_get(properties, streamKey(video, "stream.type").c_str()),
                         "video");
    if (source.hasVideo) {
        auto number = [&](const char* part) {
            return mlt_properties_get_int(properties, streamKey(video, part).c_str());
        };
        source.width = number("codec.width");
        source.height = number("codec.height");
        source.colorspace = number("codec.colorspace");
        source.rotation = number("codec.rotate");
        source.pixelFormat = mltgraph::orEmpty(
            mlt_properties_get(properties, streamKey(video, "codec.pix_fmt").c_str()));
        source.frameRate =
            mlt_properties_get_double(properties, streamKey(video, "stream.frame_rate").c_str());
        source.sampleAspectNum = mlt_properties_get_int(properties, "meta.media.sample_aspect_num");
        source.sampleAspectDen = mlt_properties_get_int(properties, "meta.media.sample_aspect_den");
        if (scanFiles_) {
            const media::VideoScan scan = scanOnce(source.resource, video);
            source.progressive = scan.progressive;
            source.fullRange = scan.fullRange;
        }
    }
    sources_.push_back(source);
}

media::VideoScan GraphSurvey::scanOnce(const std::string& path, int stream) {
    const auto key = std::make_pair(path, stream);
    auto known = scans_.find(key);
    if (known == scans_.end()) {
        known = scans_.emplace(key, media::scanVideo(path, stream)).first;
    }
    return known->second;
}
