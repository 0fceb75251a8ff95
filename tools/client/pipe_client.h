// The client end of the engine's pipe: connects to a running service, sends
// framed requests and reads framed replies. Used by the command-line client,
// the tests and the benchmarks.
#pragma once

#include <string>

#include "messages/message_head.h"

struct PipeReply {
    tgMessageHead head;
    std::string body;
};

class PipeClient {
  public:
    PipeClient() = default;
    ~PipeClient();
    PipeClient(const PipeClient&) = delete;
    PipeClient& operator=(const PipeClient&) = delete;

    // Connects to the service's socket, retrying until timeoutMs has passed.
    bool connect(const std::string& pipeName, int timeoutMs = 5000);
    bool connectPath(const std::string& socketPath, int timeoutMs = 5000);
    bool isConnected() const { return fd_ >= 0; }
    void disconnect();

    // Sends one header and body and reads the reply. False when the service
    // closed the connection instead of answering.
    bool request(const tgMessageHead& head, const std::string& body, PipeReply* reply);
    // A command (type 1) or control (type 2) message holding one entry.
    bool sendCommand(const std::string& command, const std::string& contentJson, PipeReply* reply);
    bool sendControl(const std::string& control, const std::string& contentJson, PipeReply* reply);
    // The close request: flag 1, length 0. No reply comes back.
    bool sendClose();

    // Raw access for protocol tests.
    bool writeBytes(const void* data, size_t size);
    bool readReply(PipeReply* reply);
    // True when the service has closed its end (a read sees end of file).
    bool waitForClose(int timeoutMs);

    const std::string& lastError() const { return lastError_; }

  private:
    bool readExactly(void* data, size_t size);

    int fd_ = -1;
    unsigned requestCounter_ = 0;
    std::string lastError_;
};

// {"ID":id,"Action":[{"Command":command,"Content":content}]}; an empty
// contentJson leaves "Content" out.
std::string makeRequestBody(const std::string& id, const std::string& command,
                            const std::string& contentJson);

// The "ReturnResultString" value of a reply body as compact JSON text
// (true, 25, 25.50, "text"), or empty when the body is not a result.
std::string resultValueText(const std::string& body);
