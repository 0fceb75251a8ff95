// Timelines for the engine suite: built with the project's own editing
// operations, written with MeProject::writeTimelineXml and loaded with MLT's
// "xml" producer, exactly as the player loads them for the preview.
#pragma once

#include <framework/mlt.h>

#include <string>

#include "project/project.h"

namespace enginetest {

// Starts the MLT factory once per process.
void initEngine();

// A project fed with command contents given as JSON text.
class TimelineProject {
  public:
    using Operation = bool (MeProject::*)(CParseJson&);
    // Runs one project operation; false when the content does not parse or
    // the operation refuses it.
    bool run(Operation operation, const std::string& json);
    bool writeTimelineXml(const std::string& path) const { return project_.writeTimelineXml(path); }

  private:
    MeProject project_;
};

// A loaded timeline: the player's profile and preview producer.
class LoadedTimeline {
  public:
    explicit LoadedTimeline(const std::string& xmlPath);
    ~LoadedTimeline();
    LoadedTimeline(const LoadedTimeline&) = delete;
    LoadedTimeline& operator=(const LoadedTimeline&) = delete;

    mlt_profile profile() const { return profile_; }
    mlt_producer producer() const { return producer_; }

  private:
    mlt_profile profile_ = nullptr;
    mlt_producer producer_ = nullptr;
};

}  // namespace enginetest
