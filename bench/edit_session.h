// A host started for a benchmark and fed timed editing commands over its
// socket, and the helpers the editing benchmarks share.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_timing.h"

#include "client/pipe_client.h"
#include "client/service_launcher.h"

namespace bench {

inline std::string trackContent() {
    return R"({"ID":"Track0","Type":"composite","Main":true})";
}

inline std::string clipContent(int number) {
    char id[16];
    std::snprintf(id, sizeof(id), "c%05d", number);
    return std::string(R"({"ID":")") + id +
           R"(","TrackID":"Track0","Index":-1,"MltService":"avformat",)"
           R"("Resource":"/media/clip.mp4","In":"0","Out":"49","Length":"250"})";
}

class EditSession {
  public:
    // Starts the host on pipeName in directory, where its journal goes too
    // unless environment says otherwise.
    bool start(const std::string& directory, const std::string& pipeName,
               std::vector<std::string> environment = {}) {
        environment.insert(environment.begin(), "QUILLAVANT_RECOVERY_DIR=" + directory);
        if (!service_.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipeName,
                            environment, directory + "/" + pipeName + ".stderr")) {
            return false;
        }
        return client_.connectPath(directory + "/" + pipeName, 10000);
    }

    // The time to the reply; a request that goes unanswered ends the benchmark.
    double timedCommand(const std::string& name, const std::string& content) {
        PipeReply reply;
        auto start = Clock::now();
        if (!client_.sendCommand(name, content, &reply)) {
            std::fprintf(stderr, "%s failed: %s\n", name.c_str(), client_.lastError().c_str());
            std::exit(1);
        }
        return millisecondsSince(start);
    }

    long residentKb() const { return residentMemoryKb(service_.pid()); }

    void close() {
        client_.sendClose();
        service_.waitForExit(30000);
    }

  private:
    ServiceLauncher service_;
    PipeClient client_;
};

}  // namespace bench
