// One background render of an MLT XML document to a media file. The render is
// described the way MLT's command-line tool describes one: an argument vector
// of the document, "-consumer", "avformat:" + output file and name=value
// options. MLT's "melt" producer reads the document part; the consumer part is
// parsed here. Only one export exists at a time: starting a new one releases
// the previous one, and the engine renders on its own consumer thread while
// the client polls.
#pragma once

#include <framework/mlt_types.h>

#include <memory>
#include <string>
#include <vector>

#include "export/export_settings.h"
#include "export/render_plan.h"
#include "media/consumer_stops.h"
#include "media/mlt_handles.h"

class ExportSession {
  public:
    ExportSession() = default;
    ~ExportSession();
    ExportSession(const ExportSession&) = delete;
    ExportSession& operator=(const ExportSession&) = delete;

    // Releases any previous export, builds the render from settings with the
    // MLT profile profileName (empty: MLT's default) and starts it. The log
    // lines say whether it started.
    void start(const ExportSettings& settings, const std::string& profileName);
    // Stops and releases the export; nothing happens without one.
    void close();

    // The document's length in frames; 0 without an export.
    int totalFrames() const;
    // True once the consumer has stopped (finished, failed or never started);
    // false without an export consumer.
    bool isStopped();
    // The consumer's position (0 without an export consumer). A position that
    // moved since the last call refreshes the timeline of the export
    // producer, with relative resources resolved against cachePath.
    int currentPosition(const std::string& cachePath);

    // Whether start() may replace the engine's default render where the
    // graph allows (on by default); off, every export renders MLT's own way.
    void allowFastPaths(bool allowed) { fastPathsAllowed_ = allowed; }
    // How the current export renders; MLT's own way without one.
    const RenderPlan& renderPlan() const { return plan_; }

    mlt_producer producer() const { return producer_.get(); }
    mlt_consumer consumer() const { return consumer_.get(); }
    mlt_profile profile() const { return profile_.get(); }

    // The render's argument vector, from the program-name placeholder on.
    static std::vector<std::string> buildExportArguments(const ExportSettings& settings);
    // True when the export carries no video stream ("vn=1" is in the vector).
    static bool isAudioOnly(const ExportSettings& settings);

  private:
    void applyVideoSize(const ExportSettings& settings);
    void makeConsumer(const std::vector<std::string>& arguments);
    void startRender(const ExportSettings& settings);
    void planRenderOfGraph();
    // Polls start the render again when the engine lost its start.
    void restartIfStartWasLost();

    media::ProfileHandle profile_;
    media::ProducerHandle producer_;
    media::ConsumerHandle consumer_;
    std::unique_ptr<media::ConsumerStops> stops_;
    int lastPosition_ = 0;
    bool fastPathsAllowed_ = true;
    RenderPlan plan_;
};

// Walks the argument vector from slot 1 on. Each "-consumer" slot replaces the
// stored consumer with one made from the next slot ("service" or
// "service:target", linked with producer), and the name=value slots that
// follow it are applied to that consumer up to the first slot without "=".
// Every other slot belongs to the "melt" producer and is skipped.
void parseConsumerArgs(media::ConsumerHandle& consumer, mlt_profile profile, mlt_producer producer,
                       const std::vector<std::string>& arguments);
