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

namespace {

// Journals go to a memory-backed folder where there is one: the tests run
// every write and sync of the journal, and the syncs, which only a disk makes
// slow, cost nothing. What a power cut would do is beyond any test.
std::string makeRecoveryFolder(const std::string& fallbackParent) {
    char pattern[] = "/dev/shm/qv-recovery-XXXXXX";
    const char* made = ::mkdtemp(pattern);
    return made ? std::string(made) : fallbackParent + "/recovery";
}

}  // namespace

ServiceProcess::ServiceProcess(const std::string& extraEnvironment,
                               const std::vector<std::string>& wrapper) {
    static std::atomic<int> counter{0};
    directory_ = makeTempDirectory("qv-service");
    pipeName_ = "qvtest" + std::to_string(getpid()) + "_" + std::to_string(counter++);
    socketPath_ = directory_ + "/" + pipeName_;
    recoveryFolder_ = makeRecoveryFolder(directory_);
    stderrPath_ = directory_ + "/host.stderr";
    // Edit journals and media caches stay with the test's own files unless a
    // test says otherwise.
    std::vector<std::string> environment = {"SDL_AUDIODRIVER=dummy",
                                            "QUILLAVANT_RECOVERY_DIR=" + recoveryFolder(),
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
    runCommand("rm -rf '" + directory_ + "' '" + recoveryFolder_ + "'");
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
