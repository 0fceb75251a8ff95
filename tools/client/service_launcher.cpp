#include "client/service_launcher.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "platform/platform.h"

ServiceLauncher::~ServiceLauncher() {
    if (running() && waitForExit(5000) < 0) {
        kill();
    }
}

bool ServiceLauncher::start(const std::string& hostPath, const std::string& pipeDirectory,
                            const std::string& pipeName,
                            const std::vector<std::string>& environment,
                            const std::string& stderrPath,
                            const std::vector<std::string>& wrapper) {
    std::vector<std::string> settings;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        settings.emplace_back(*entry);
    }
    // A setting replaces an inherited one of the same name: the first of two
    // is the one a process sees.
    std::vector<std::string> overrides = {"QUILLAVANT_PIPE_DIR=" + pipeDirectory};
    overrides.insert(overrides.end(), environment.begin(), environment.end());
    for (const std::string& setting : overrides) {
        const std::string name = setting.substr(0, setting.find('=') + 1);
        settings.erase(std::remove_if(settings.begin(), settings.end(),
                                      [&name](const std::string& entry) {
                                          return entry.compare(0, name.size(), name) == 0;
                                      }),
                       settings.end());
        settings.push_back(setting);
    }
    std::vector<char*> envp;
    for (auto& text : settings) {
        envp.push_back(&text[0]);
    }
    envp.push_back(nullptr);
    std::vector<std::string> arguments = wrapper;
    arguments.push_back(hostPath);
    arguments.push_back(pipeName);
    std::vector<char*> argv;
    for (auto& argument : arguments) {
        argv.push_back(&argument[0]);
    }
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ < 0) {
        return false;
    }
    if (pid_ == 0) {
        if (!stderrPath.empty()) {
            int err = open(stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (err >= 0) {
                dup2(err, 2);
                close(err);
            }
        }
        int null = open("/dev/null", O_RDWR);
        if (null >= 0) {
            dup2(null, 0);
            dup2(null, 1);
        }
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    return true;
}

int ServiceLauncher::waitForExit(int timeoutMs) {
    if (pid_ <= 0) {
        return exitStatus_;
    }
    uint64_t deadline = platform::tickCountMs() + static_cast<uint64_t>(timeoutMs);
    for (;;) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            return exitStatus_;
        }
        if (platform::tickCountMs() >= deadline) {
            return -1;
        }
        platform::sleepMilliseconds(5);
    }
}

void ServiceLauncher::kill() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

long residentMemoryKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    while (status >> key) {
        if (key == "VmRSS:") {
            long kb = -1;
            status >> kb;
            return kb;
        }
        status.ignore(1 << 16, '\n');
    }
    return -1;
}
