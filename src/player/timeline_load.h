// Loads the timeline document the preview plays on a thread of its own and
// renders the frame the preview starts at, so that its decoders and scalers
// are open by the time the consumer asks for it. Meanwhile the server thread
// opens the preview window, which costs about as much again.
#pragma once

#include <framework/mlt_types.h>

#include <string>
#include <thread>

class TimelineLoad {
  public:
    TimelineLoad(mlt_profile profile, const std::string& xmlPath, int position);
    // Waits for the thread; a producer nobody took is closed.
    ~TimelineLoad();
    TimelineLoad(const TimelineLoad&) = delete;
    TimelineLoad& operator=(const TimelineLoad&) = delete;

    // Waits for the load and hands over the producer (null when the document
    // could not be loaded).
    mlt_producer take();

  private:
    std::thread thread_;
    mlt_producer producer_ = nullptr;
};
