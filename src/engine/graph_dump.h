// The diagnostic dump of the running graph (the text MLT's XML consumer
// writes for "maintractor") is wanted after every edit, but MLT's XML
// consumer grows faster than the graph, so the player defers it: edits only
// mark it due, and it is written once the client pauses, before the preview
// producer goes away, and when the service ends.
#pragma once

#include <framework/mlt_types.h>

#include <string>

#include "engine/graph_xml.h"

class GraphDumpSchedule {
  public:
    // An edit changed the graph; the dump goes below cachePath, as it would have then.
    void markChanged(const std::string& cachePath);
    bool isDue() const { return due_; }
    // Writes the dump of producer's graph when one is due. A dump that
    // keepGoing stopped stays due.
    void flush(mlt_producer producer, const graphxml::KeepGoing& keepGoing = {});

  private:
    bool due_ = false;
    std::string cachePath_;
};
