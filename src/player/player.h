// The one owner of every engine object outside the timeline model: the
// preview profile, producer and consumers, the export objects, and the
// thumbnail grabber. All calls arrive on the server thread, one at a time.
#pragma once

#include <framework/mlt_types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cache/result_cache.h"
#include "engine/graph_dump.h"
#include "export/export_session.h"
#include "export/export_settings.h"
#include "media/frame_grabber.h"
#include "media/mlt_handles.h"
#include "media/preview_gate.h"
#include "media/thumbnails.h"
#include "messages/parse_json.h"

class MltHelper;
struct PlayerLiveEdit;  // one row of the live-edit table

class MePlayer {
  public:
    MePlayer();
    virtual ~MePlayer();
    MePlayer(const MePlayer&) = delete;
    MePlayer& operator=(const MePlayer&) = delete;

    // Plain settings written by the dispatchers.
    int windowId = 0;
    int windowWidth = 1280;
    int windowHeight = 720;
    int fullScreenWidth = 1280;
    int fullScreenHeight = 720;
    int displayAspectNum = 16;
    int displayAspectDen = 9;
    std::string profileName;
    double volume = 1.0;
    double speed = 1.0;

    void setCachePath(const std::string& path);
    std::string getCachePath() const;
    std::string getMltFile() const;

    // Engine start-up: factory, environment report, engine log routing.
    int initFactory();

    // Preview and transport.
    int play(int position, bool autoPlay, const std::string& xmlPath);
    void stop();
    void pause();
    void continuePlay();
    void seekAndHold(int position);
    void seekAndStop(int position);
    void nextFrame();
    void preFrame();
    void applyVolume();
    void setConsumerVolume(double value);
    // PRE_FASTORBACK: stored and applied only while a producer exists.
    void setPlaybackSpeed(double value);
    void resizeWindow(int width, int height);
    void fullScreen(bool on, int width, int height, int position, int windowId,
                    const std::string& profile);
    void closeConsumer();
    bool stopConsumer();
    bool startConsumer();
    bool hasProducer() const;

    // Queries.
    int getTotalFrames();
    int getExportTotalFrames();
    bool isExportStopped();
    double getTotalTime();
    double getCurrentTime();
    double getFps();
    std::string getTotalTimeString();
    std::string getCurrentTimeString();
    bool isAudioValid();
    int getCurrentPosition();
    int getExportCurrentPosition();

    // Live edits of the running preview graph.
    bool addClip(CParseJson& content);
    bool addBatchClip(CParseJson& content);
    bool alterClip(CParseJson& content);
    bool deleteClip(CParseJson& content);
    bool deleteBatchClip(CParseJson& content);
    bool deleteAllClip(CParseJson& content);
    bool addFilter(CParseJson& content);
    bool alterFilter(CParseJson& content);
    bool deleteFilter(CParseJson& content);
    bool deleteBatchFilter(CParseJson& content);
    bool addTransition(CParseJson& content);
    bool deleteTransition(CParseJson& content);
    bool deleteBatchTransition(CParseJson& content);
    bool alterSceneResource(CParseJson& content);
    void saveMltFile(const std::string& path);

    // Work deferred until the client pauses: the dump of the edited graph.
    // keepGoing is asked now and then; false leaves the work for later.
    bool hasIdleWork() const;
    void runIdleWork(const std::function<bool()>& keepGoing);

    // Export.
    void exportMovie(const ExportSettings& settings);
    void closeExport();
    std::string getHwAccelAbility();

    // Pictures, probing and audio levels. Pictures and levels go through the
    // media cache the environment describes.
    bool snapPic(int position, const std::string& profile, const std::string& fileName,
                 const std::string& outFile);
    bool snapMultiPic_Quick(const std::vector<int>& positions, const PictureSpec& spec,
                            const std::string& fileName, const std::string& outDir);
    bool makeAudioThumb(const std::string& fileName, const std::string& outFile);
    std::string getProperty(const std::string& fileName, const std::string& fileType);

  private:
    // The tests read engine state (consumer properties, profile size) through it.
    friend struct PlayerTestAccess;

    using EditOperation = std::function<bool(MltHelper&)>;

    // The consumer the producer's transport link names (windowed or full
    // screen); null without a producer.
    mlt_consumer transport() const;
    void setTransportInt(const char* name, int value);
    void setTransportDouble(const char* name, double value);
    double producerSpeed() const;
    void setProducerSpeed(double value);

    mlt_consumer createConsumer(mlt_profile profile, const std::string& id);
    // Connects a preview consumer to the producer, through the gate.
    void connectPreview(mlt_consumer consumer);
    // Drops the frames the transport consumer has queued, unless it has none:
    // then a purge would only drop the fresh frame that comes next.
    void purgeTransport();
    void ensureFactory();
    void ensureProfile();
    int startPreview(int position, bool autoPlay);
    // Stops, disconnects and closes the preview consumers, then the producer.
    void releasePreview();

    // Seeks that wait for the consumer to show the frame; see seek.cpp.
    void syncSeek(int position);
    void syncseek(int position);
    void syncStart(int position);
    bool seekTransport(int position, int& oldPosition);
    void refreshTimeline(int from, int to);
    void stepFrame(int offset, const char* beginLine, const char* endLine);

    bool runLiveEdit(const PlayerLiveEdit& edit, const EditOperation& operation);

    void enterFullScreen(int width, int height, int position, int windowId);
    void leaveFullScreen(int position);
    void showOn(mlt_consumer consumer, int position);

    // Opened on the first picture or level request, so a service that makes
    // none leaves no folder behind and logs nothing about it.
    cache::ResultCache* mediaCache();

    media::ProducerHandle producer_;
    // In front of producer_ whenever it exists; consumers connect to it.
    std::unique_ptr<media::PreviewGate> gate_;
    media::ConsumerHandle consumer_;
    media::ProfileHandle profile_;
    mlt_repository repository_ = nullptr;  // the engine's, never released here
    std::string xmlPath_;
    std::string cachePath_;
    ExportSession export_;
    FrameGrabber grabber_;
    std::unique_ptr<cache::ResultCache> mediaCache_;
    media::ConsumerHandle fullScreenConsumer_;
    GraphDumpSchedule graphDumps_;
    bool isFullScreen_ = false;
    int lastPosition_ = 0;
};
