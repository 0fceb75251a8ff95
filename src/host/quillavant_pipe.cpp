#include "host/quillavant_pipe.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "framework/quillavant_framework.h"
#include "log/log.h"
#include "messages/parse_json.h"

namespace {
constexpr size_t kChunkSize = 4096;
// How long the client must be quiet before deferred work runs.
constexpr int kQuietBeforeIdleWorkMs = 500;
}  // namespace

QuillavantPipe* QuillavantPipe::getInstance(const std::u16string& pipeName, uint32_t headerSize) {
    static std::mutex creation;
    static QuillavantPipe* instance = nullptr;
    std::lock_guard<std::mutex> guard(creation);
    if (instance == nullptr) {
        // Lives until the process ends, like the framework it owns.
        instance = new QuillavantPipe(pipeName, headerSize);
    }
    return instance;
}

QuillavantPipe::QuillavantPipe(const std::u16string& pipeName, uint32_t headerSize)
    : pipeName_(pipeName),
      headerSize_(std::min<uint32_t>(headerSize, kMessageHeadSize)),
      framework_(std::make_shared<CQuillavantFramework>()),
      header_(std::make_shared<tgMessageHead>()) {}

bool QuillavantPipe::create(const std::string& name) {
    return pipe_.create(name);
}

bool QuillavantPipe::connectClient() {
    writeLog(kLogInfo, "Waiting for Client Connection......");
    if (!pipe_.connectClient()) {
        writeLog(kLogError, "Pipe Connection exception");
        return false;
    }
    connected_ = true;
    running_ = true;
    freeReplyBuffer();
    writeLog(kLogInfo, "link success");
    return true;
}

bool QuillavantPipe::fail() {
    disconnectClient();
    return false;
}

bool QuillavantPipe::serve() {
    std::vector<unsigned char> headBuffer(kChunkSize);
    std::vector<char> chunk(kChunkSize + 1);
    while (running_) {
        std::fill(headBuffer.begin(), headBuffer.end(), 0);
        std::fill(chunk.begin(), chunk.end(), 0);
        runIdleWorkWhileQuiet();
        // A short header read is completed by further reads: a client's
        // write may arrive in pieces.
        if (!pipe_.readFully(headBuffer.data(), headerSize_)) {
            writeLog(kLogError, "Failure to obtain data for the first time");
            return fail();
        }
        *header_ = decodeMessageHead(headBuffer.data());
        if (header_->flag == 1 && header_->length == 0) {
            writeLog(kLogDebug, "Close the server ");
            return true;
        }
        // The body is read as it arrives: a huge announced length costs
        // nothing until its bytes come.
        std::string body;
        size_t remaining = header_->length;
        while (remaining > 0) {
            size_t received = 0;
            if (!pipe_.read(chunk.data(), std::min(remaining, kChunkSize), &received)) {
                writeLog(kLogError, "The second read command failed ");
                return fail();
            }
            chunk[received] = '\0';
            body.append(chunk.data(), std::strlen(chunk.data()));
            std::fill(chunk.begin(), chunk.begin() + static_cast<long>(received), 0);
            remaining -= received;
        }
        writeLog(kLogDebug, "recv command........%s", body.c_str());
        std::string result;
        if (!processMessage(body, result)) {
            writeLog(kLogError, "Failure to obtain data for the second time");
            return fail();
        }
        header_->length = static_cast<uint32_t>(result.size());
        replyBuffer_.assign(kMessageHeadSize + result.size(), 0);
        encodeMessageHead(*header_, replyBuffer_.data());
        std::memcpy(replyBuffer_.data() + kMessageHeadSize, result.data(), result.size());
        if (!pipe_.write(replyBuffer_.data(), replyBuffer_.size())) {
            writeLog(kLogError, "Data transmission failure %d", pipe_.lastError());
            return fail();
        }
        writeLog(kLogDebug, "Send Result........%s", result.c_str());
        pipe_.flush();
        freeReplyBuffer();
    }
    return false;
}

void QuillavantPipe::runIdleWorkWhileQuiet() {
    // The work gives way as soon as the client speaks again.
    const auto clientQuiet = [this] { return !pipe_.waitReadable(0); };
    while (framework_->hasIdleWork() && !pipe_.waitReadable(kQuietBeforeIdleWorkMs)) {
        framework_->runIdleWork(clientQuiet);
    }
}

bool QuillavantPipe::processMessage(const std::string& body, std::string& result) {
    writeLog(kLogVerbose, "Receive message %s", body.c_str());
    Json::Value parsed;
    if (!parseJsonText(body, parsed)) {
        writeLog(kLogError, "Json data Exception");
        return false;
    }
    switch (header_->type) {
        case kCommandMessage:
            result = framework_->runCommandMessage(*header_, body);
            return true;
        case kControlMessage:
            result = framework_->runControlMessage(body);
            return true;
        default:
            writeLog(kLogError, "Command Exception");
            return false;
    }
}

void QuillavantPipe::disconnectHandle() {
    if (pipe_.isValid() && pipe_.disconnectClient()) {
        connected_ = false;
        writeLog(kLogDebug, "Disconnect Client Connection");
    }
}

void QuillavantPipe::disconnectClient() {
    disconnectHandle();
    freeReplyBuffer();
    running_ = false;
}

void QuillavantPipe::closeHandle() {
    if (pipe_.isValid()) {
        pipe_.close();
        writeLog(kLogDebug, "Close the Pipe");
    }
}

void ThreadHandlerFun(QuillavantPipe* pipe) {
    if (!pipe->connectClient()) {
        return;
    }
    if (pipe->serve()) {
        pipe->disconnectHandle();
        pipe->freeReplyBuffer();
    }
}
