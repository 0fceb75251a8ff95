// Starts a quillavant-host process on a pipe in a folder of its own and
// waits for it to end: for tests, benchmarks and the demo.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class ServiceLauncher {
  public:
    ServiceLauncher() = default;
    ~ServiceLauncher();
    ServiceLauncher(const ServiceLauncher&) = delete;
    ServiceLauncher& operator=(const ServiceLauncher&) = delete;

    // Runs hostPath with pipeName, QUILLAVANT_PIPE_DIR=pipeDirectory and the
    // extra "NAME=value" settings, which replace inherited ones and earlier
    // ones of the same name; its standard error goes to stderrPath
    // (inherited when empty). A non-empty wrapper is a command that ends by
    // running the host with its arguments appended (the host then runs under
    // what the wrapper sets up).
    bool start(const std::string& hostPath, const std::string& pipeDirectory,
               const std::string& pipeName, const std::vector<std::string>& environment = {},
               const std::string& stderrPath = std::string(),
               const std::vector<std::string>& wrapper = {});

    // The exit status once it has ended, -1 on a time-out or a signal.
    int waitForExit(int timeoutMs);
    // Ends it by force (SIGKILL) if it is still running.
    void kill();

    pid_t pid() const { return pid_; }
    bool running() const { return pid_ > 0; }

  private:
    pid_t pid_ = -1;
    int exitStatus_ = -1;
};

// The resident memory of a process in kilobytes (VmRSS), or -1.
long residentMemoryKb(pid_t pid);
