// What an export's MLT graph is made of, read once after the document has
// loaded and before the render starts: the media files it plays and the
// engine services between them and the consumer. The survey only records;
// the render plan judges what the records allow.
#pragma once

#include <framework/mlt_types.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "media/video_scan.h"

// One media file producer of the graph, as its producer and the file report it.
struct MediaSource {
    std::string resource;
    bool hasVideo = false;
    int width = 0;
    int height = 0;
    std::string pixelFormat;  // FFmpeg's name, "yuv420p"
    int sampleAspectNum = 1;
    int sampleAspectDen = 1;
    double frameRate = 0.0;
    int colorspace = 0;  // 601, 709, ...
    int rotation = 0;    // degrees the picture is turned when shown
    // Read from the file itself, and only when the survey is asked to.
    bool progressive = false;
    bool fullRange = false;
};

class GraphSurvey {
  public:
    // Walks everything below top: containers (tractors, multitracks,
    // playlists and their cuts), planted transitions and filters, attached
    // filters and the producers at the leaves. scanFiles also opens each
    // media file once to read how its pictures are stored.
    GraphSurvey(mlt_producer top, bool scanFiles);

    const std::vector<MediaSource>& sources() const { return sources_; }
    // Service names of the filters and transitions a user placed: every
    // filter and transition except the normalisers the engine's loader attaches.
    const std::set<std::string>& effects() const { return effects_; }
    // Service names of the normalisers the loader attached to producers.
    const std::set<std::string>& normalisers() const { return normalisers_; }
    // Service names of leaf producers that are not media files ("consumer",
    // "colour", ...); a nameless one reads as "?".
    const std::set<std::string>& otherProducers() const { return otherProducers_; }

  private:
    void visit(mlt_service service);
    void visitPlaylist(mlt_playlist playlist);
    void visitMultitrack(mlt_multitrack multitrack);
    void visitLeaf(mlt_producer producer);
    void noteAttachedFilters(mlt_service service);
    void noteMediaFile(mlt_producer producer);
    // A file is scanned once however many producers play it.
    media::VideoScan scanOnce(const std::string& path, int stream);

    bool scanFiles_;
    std::set<mlt_service> seen_;
    std::vector<MediaSource> sources_;
    std::set<std::string> effects_;
    std::set<std::string> normalisers_;
    std::set<std::string> otherProducers_;
    std::map<std::pair<std::string, int>, media::VideoScan> scans_;
};
