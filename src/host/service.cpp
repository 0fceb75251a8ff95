#include "host/service.h"

#include <cstdlib>
#include <thread>

#include "framework/quillavant_framework.h"
#include "host/quillavant_pipe.h"
#include "journal/edit_journal.h"
#include "log/log.h"
#include "platform/platform.h"
#include "platform/text_conversion.h"

namespace {
const char kPipePrefix[] = "\\\\.\\pipe\\";
constexpr size_t kShortPipeName = 12;
constexpr uint32_t kHeaderSize = 12;
}  // namespace

int instanceNumberFromPipeName(const std::string& pipeName) {
    if (pipeName.size() <= kShortPipeName) {
        return 0;
    }
    size_t letter = pipeName.find('e');
    std::string digits = letter == std::string::npos ? pipeName : pipeName.substr(letter + 1);
    return std::atoi(digits.c_str());
}

int runService(const std::string& pipeName) {
    std::u16string fullName = utf8ToUtf16(kPipePrefix + pipeName);
    setInstanceNumber(instanceNumberFromPipeName(pipeName));
    writeLog(kLogInfo, "The Version Of QuillavantImplement is: %s",
             platform::versionText().c_str());
    writeLog(kLogDebug, "The name of the pipe created is: %s", pipeName.c_str());

    QuillavantPipe* pipe = QuillavantPipe::getInstance(fullName, kHeaderSize);
    if (!pipe->create(pipeName)) {
        writeLog(kLogError, "Create Pipe Failed");
    }
    journal::EditJournal journal(pipeName, journal::JournalSettings::fromEnvironment());
    pipe->framework().setJournal(&journal);
    std::thread server(ThreadHandlerFun, pipe);
    server.join();
    pipe->framework().setJournal(nullptr);
    // Before the engine closes: whatever happens there, a saved project's
    // journal is no longer needed.
    journal.endService();

    if (pipe->isConnected()) {
        pipe->disconnectHandle();
        pipe->freeReplyBuffer();
    }
    pipe->closeHandle();
    pipe->framework().closeEngine();
    return 0;
}
