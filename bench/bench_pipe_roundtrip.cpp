// Round trips of a small query through a running service: the latency a
// client sees for one request (median, 99th percentile) and the request rate.
// Targets: median under 50 us, over 20,000 requests per second.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "client/service_launcher.h"

int main(int argc, char** argv) {
    int count = argc > 1 ? std::atoi(argv[1]) : 20000;
    char pattern[] = "/tmp/qv-bench-XXXXXX";
    std::string directory = mkdtemp(pattern);
    std::string pipeName = "bench" + std::to_string(getpid());
    ServiceLauncher service;
    if (!service.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipeName, {},
                       directory + "/host.stderr")) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    PipeClient client;
    if (!client.connectPath(directory + "/" + pipeName, 10000)) {
        std::fprintf(stderr, "%s\n", client.lastError().c_str());
        return 1;
    }
    // A query with a small fixed answer: the cost measured is the protocol's.
    std::string body = makeRequestBody("1", "PRE_GETCURRENTPOS", "");
    tgMessageHead head;
    head.type = kCommandMessage;
    head.length = static_cast<uint32_t>(body.size());
    PipeReply reply;
    for (int i = 0; i < 500; ++i) {
        client.request(head, body, &reply);
    }
    std::vector<double> micros;
    micros.reserve(count);
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        auto before = std::chrono::steady_clock::now();
        if (!client.request(head, body, &reply)) {
            std::fprintf(stderr, "request failed: %s\n", client.lastError().c_str());
            return 1;
        }
        auto after = std::chrono::steady_clock::now();
        micros.push_back(std::chrono::duration<double, std::micro>(after - before).count());
    }
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    client.sendClose();
    service.waitForExit(10000);
    std::sort(micros.begin(), micros.end());
    double median = micros[micros.size() / 2];
    double p99 = micros[micros.size() * 99 / 100];
    double rate = count / seconds;
    std::printf("pipe round trip (%d x PRE_GETCURRENTPOS)\n", count);
    std::printf("  median   %8.1f us   (target 50 us: %.2fx of target)\n", median, median / 50.0);
    std::printf("  p99      %8.1f us\n", p99);
    std::printf("  rate     %8.0f requests/s   (target 20000: %.2fx)\n", rate, rate / 20000.0);
    std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
