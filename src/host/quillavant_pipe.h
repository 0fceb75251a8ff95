// The pipe server: waits for the one client, then reads framed requests,
// hands each body to the command processor by its header type and writes the
// result text back behind the echoed header. A close request or any transport
// or framing failure ends the loop and, with it, the service.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "messages/message_head.h"
#include "platform/named_pipe.h"

class CQuillavantFramework;

class QuillavantPipe {
  public:
    // The process's one pipe object, made (with its framework) on the first
    // call; later calls ignore their arguments.
    static QuillavantPipe* getInstance(const std::u16string& pipeName, uint32_t headerSize);

    bool create(const std::string& name);
    bool connectClient();
    bool serve();
    bool processMessage(const std::string& body, std::string& result);
    // Runs the framework's deferred work each time the client has been quiet
    // a while; returns as soon as a request (or the client's end) arrives.
    void runIdleWorkWhileQuiet();
    void disconnectClient();
    // The handle's own disconnect: clears connected and logs when it succeeds.
    void disconnectHandle();
    void closeHandle();
    void freeReplyBuffer() {
        replyBuffer_.clear();
        replyBuffer_.shrink_to_fit();
    }

    bool isConnected() const { return connected_; }
    bool isRunning() const { return running_; }
    bool isHandleValid() const { return pipe_.isValid(); }
    const std::u16string& pipeName() const { return pipeName_; }
    CQuillavantFramework& framework() { return *framework_; }
    const tgMessageHead& header() const { return *header_; }

  private:
    QuillavantPipe(const std::u16string& pipeName, uint32_t headerSize);

    bool fail();

    platform::NamedPipe pipe_;
    std::u16string pipeName_;
    bool running_ = false;
    uint32_t headerSize_;
    std::shared_ptr<CQuillavantFramework> framework_;
    std::shared_ptr<tgMessageHead> header_;
    std::vector<unsigned char> replyBuffer_;
    bool connected_ = false;
};

// Runs on the server thread: accept, serve, and disconnect after a close request.
void ThreadHandlerFun(QuillavantPipe* pipe);
