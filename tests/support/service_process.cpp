#include "support/service_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "platform/platform.h"
#include "support/test_media.h"

namespace testsupport {

std::string binaryPath(const std::string& name) { return std::string(QV_BIN_DIR) + "/" + name; }

ServiceProcess::ServiceProcess(const std::string& extraEnvironment) {
    static std::atomic<int> counter{0};
    directory_ = makeTempDirectory("qv-service");
    pipeName_ = "qvtest" + std::to_string(getpid()) + "_" + std::to_string(counter++);
    socketPath_ = directory_ + "/" + pipeName_;
    stderrPath_ = directory_ + "/host.stderr";
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    environment.push_back("QUILLAVANT_PIPE_DIR=" + directory_);
    environment.push_back("SDL_AUDIODRIVER=dummy");
    std::stringstream extras(extraEnvironment);
    std::string pair;
    while (std::getline(extras, pair, ';')) {
        if (!pair.empty()) {
            environment.push_back(pair);
        }
    }
    std::vector<char*> envp;
    for (auto& text : environment) {
        envp.push_back(&text[0]);
    }
    envp.push_back(nullptr);
    std::string host = binaryPath("quillavant-host");
    pid_ = fork();
    if (pid_ == 0) {
        int err = open(stderrPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (err >= 0) {
            dup2(err, 2);
            close(err);
        }
        int null = open("/dev/null", O_RDWR);
        if (null >= 0) {
            dup2(null, 0);
            dup2(null, 1);
        }
        char* argv[] = {&host[0], &pipeName_[0], nullptr};
        execve(host.c_str(), argv, envp.data());
        _exit(127);
    }
}

ServiceProcess::~ServiceProcess() {
    client_.disconnect();
    if (pid_ > 0 && waitForExit(5000) < 0 && pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    runCommand("rm -rf '" + directory_ + "'");
}

bool ServiceProcess::connect(int timeoutMs) { return client_.connectPath(socketPath_, timeoutMs); }

std::string ServiceProcess::command(const std::string& name, const std::string& contentJson) {
    PipeReply reply;
    return client_.sendCommand(name, contentJson, &reply) ? reply.body : std::string();
}

std::string ServiceProcess::control(const std::string& name, const std::string& contentJson) {
    PipeReply reply;
    return client_.sendControl(name, contentJson, &reply) ? reply.body : std::string();
}

std::string ServiceProcess::commandResult(const std::string& name,
                                          const std::string& contentJson) {
    return resultValueText(command(name, contentJson));
}

int ServiceProcess::waitForExit(int timeoutMs) {
    if (pid_ <= 0) {
        return exitStatus_;
    }
    uint64_t deadline = platform::tickCountMs() + static_cast<uint64_t>(timeoutMs);
    for (;;) {
        int status = 0;
        pid_t done = waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            pid_ = -1;
            exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            return exitStatus_;
        }
        if (platform::tickCountMs() >= deadline) {
            return -1;
        }
        platform::sleepMilliseconds(10);
    }
}

int ServiceProcess::close(int timeoutMs) {
    client_.sendClose();
    int status = waitForExit(timeoutMs);
    client_.disconnect();
    return status;
}

std::string ServiceProcess::stderrText() const { return readFile(stderrPath_); }

}  // namespace testsupport
