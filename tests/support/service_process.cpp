#include "support/service_process.h"

#include <unistd.h>

#include <atomic>
#include <sstream>
#include <vector>

#include "support/test_media.h"

namespace testsupport {

std::string binaryPath(const std::string& name) {
    return std::string(QV_BIN_DIR) + "/" + name;
}

ServiceProcess::ServiceProcess(const std::string& extraEnvironment,
                               const std::vector<std::string>& wrapper) {
    static std::atomic<int> counter{0};
    directory_ = makeTempDirectory("qv-service");
    pipeName_ = "qvtest" + std::to_string(getpid()) + "_" + std::to_string(counter++);
    socketPath_ = directory_ + "/" + pipeName_;
    stderrPath_ = directory_ + "/host.stderr";
    std::vector<std::string> environment = {"SDL_AUDIODRIVER=dummy",
                                            "QUILLAVANT_CACHE_DIR=" + directory_ + "/cache"};
    std::stringstream extras(extraEnvironment);
    std::string pair;
    while (std::getline(extras, pair, ';')) {
        if (!pair.empty()) {
            environment.push_back(pair);
        }
    }
    launcher_.start(binaryPath("quillavant-host"), directory_, pipeName_, environment, stderrPath_,
                    wrapper);
}

ServiceProcess::~ServiceProcess() {
    client_.disconnect();
    if (launcher_.waitForExit(5000) < 0) {
        launcher_.kill();
    }
    runCommand("rm -rf '" + directory_ + "'");
}

bool ServiceProcess::connect(int timeoutMs) {
    return client_.connectPath(socketPath_, timeoutMs);
}

std::string ServiceProcess::command(const std::string& name, const std::string& contentJson) {
    PipeReply reply;
    return client_.sendCommand(name, contentJson, &reply) ? reply.body : std::string();
}

std::string ServiceProcess::control(const std::string& name, const std::string& contentJson) {
    PipeReply reply;
    return client_.sendControl(name, contentJson, &reply) ? reply.body : std::string();
}

std::string ServiceProcess::commandResult(const std::string& name, const std::string& contentJson) {
    return resultValueText(command(name, contentJson));
}

int ServiceProcess::waitForExit(int timeoutMs) {
    return launcher_.waitForExit(timeoutMs);
}

int ServiceProcess::close(int timeoutMs) {
    client_.sendClose();
    int status = waitForExit(timeoutMs);
    client_.disconnect();
    return status;
}

std::string ServiceProcess::stderrText() const {
    return readFile(stderrPath_);
}

}  // namespace testsupport
