// A real quillavant-host process on a private socket folder, with a client
// connected to it: what end-to-end tests talk to.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "client/service_launcher.h"

namespace testsupport {

class ServiceProcess {
  public:
    // Starts the host with a unique pipe name, its edit journal in
    // recoveryFolder(); extraEnvironment holds "NAME=value" pairs separated
    // by ';', which replace those defaults. Each host keeps its media cache in
    // a fresh folder of its own unless extraEnvironment names one, so no test
    // finds results another test or an earlier run left. wrapper is a command
    // the host runs under (see ServiceLauncher::start).
    explicit ServiceProcess(const std::string& extraEnvironment = std::string(),
                            const std::vector<std::string>& wrapper = {});
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    // Connects the client (retrying while the service starts).
    bool connect(int timeoutMs = 10000);
    PipeClient& client() { return client_; }

    // Sends a command or control and returns the reply body ("" on failure).
    std::string command(const std::string& name, const std::string& contentJson = "");
    std::string control(const std::string& name, const std::string& contentJson = "");
    // The "ReturnResultString" value of a command's reply as compact text.
    std::string commandResult(const std::string& name, const std::string& contentJson = "");

    // Waits for the process to end; returns its exit status, or -1 on a
    // time-out or a signal.
    int waitForExit(int timeoutMs = 15000);
    // Sends the close request and waits for the process.
    int close(int timeoutMs = 15000);

    const std::string& pipeName() const { return pipeName_; }
    const std::string& socketPath() const { return socketPath_; }
    const std::string& stderrPath() const { return stderrPath_; }
    const std::string& recoveryFolder() const { return recoveryFolder_; }
    std::string stderrText() const;
    pid_t pid() const { return launcher_.pid(); }

  private:
    std::string directory_;
    std::string pipeName_;
    std::string socketPath_;
    std::string stderrPath_;
    std::string recoveryFolder_;
    ServiceLauncher launcher_;
    PipeClient client_;
};

// Path of a built program (quillavant-host, quillavant-cli).
std::string binaryPath(const std::string& name);

}  // namespace testsupport
