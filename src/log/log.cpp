#include "log/log.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <deque>
#include <fstream>
#include <mutex>
#include <thread>

#include "platform/platform.h"

namespace {

const char* const kLevelNames[] = {"Verbose", "Debug", "Info", "Warning", "Error"};

struct LogState {
    std::mutex pendingLock;
    std::deque<std::string> pending;
    std::mutex settingsLock;
    std::string directory;
    LogObserver observer;
    std::once_flag writerStarted;
    int instance = 0;
    int processId = 0;
};

// Never destroyed: engine threads may still log while the process exits.
LogState& state() {
    static LogState* instance = new LogState();
    return *instance;
}

long fileSize(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        return -1;
    }
    return static_cast<long>(info.st_size);
}

void writerLoop(std::string logFile) {
    LogState& log = state();
    std::deque<std::string> lines;
    std::ofstream file(logFile, std::ios::app | std::ios::binary);
    for (;;) {
        {
            std::lock_guard<std::mutex> guard(log.pendingLock);
            if (!log.pending.empty()) {
                lines.swap(log.pending);
            }
        }
        while (!lines.empty()) {
            if (file) {
                file << lines.front();
            }
            lines.pop_front();
        }
        if (file) {
            file.flush();
        }
        platform::sleepMilliseconds(50);
    }
}

}  // namespace

std::string logFilePath(const std::string& directory, int instance) {
    return directory + platform::kPathSeparator + "Logs" + platform::kPathSeparator + "log_" +
           std::to_string(instance) + ".txt";
}

std::string logBackupPath(const std::string& directory, int instance) {
    return directory + platform::kPathSeparator + "Logs" + platform::kPathSeparator + "log_" +
           std::to_string(instance) + "backup" + ".txt";
}

void rotateLogFile(const std::string& logFile, const std::string& backupFile) {
    long size = fileSize(logFile);
    if (size < kLogRotateSize) {
        return;
    }
    long backupSize = fileSize(backupFile);
    if (backupSize < 0) {
        writeLog(kLogInfo, "BackUp file");
    } else {
        writeLog(kLogInfo, "remove file of size : %ld", backupSize);
        std::remove(backupFile.c_str());
    }
    std::rename(logFile.c_str(), backupFile.c_str());
}

std::string formatLogLine(int level, const std::string& message) {
    LogState& log = state();
    if (log.processId == 0) {
        log.processId = platform::processId();
    }
    const char* levelName = level >= 0 && level <= 4 ? kLevelNames[level] : "";
    platform::LocalTime now = platform::localTime();
    char stamp[64];
    std::snprintf(stamp, sizeof(stamp), "%4d/%02d/%02d %02d:%02d:%02d.%03d", now.year, now.month,
                  now.day, now.hour, now.minute, now.second, now.millisecond);
    std::string line;
    line.reserve(message.size() + 96);
    char head[192];
    std::snprintf(head, sizeof(head), "[%s] [%s] [%d][%d][%ld] ", stamp, levelName, log.instance,
                  log.processId, platform::threadId());
    line += head;
    line += message;
    line += '\n';
    return line;
}

void writeLog(int level, const char* format, ...) {
    if (level < kLogThreshold) {
        return;
    }
    char message[kLogMessageLimit + 1];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    std::string line = formatLogLine(level, message);
    std::fprintf(stderr, "%s", line.c_str());
    LogState& log = state();
    {
        std::lock_guard<std::mutex> guard(log.pendingLock);
        log.pending.push_back(line);
    }
    LogObserver observer;
    {
        std::lock_guard<std::mutex> guard(log.settingsLock);
        observer = log.observer;
    }
    if (observer) {
        observer(level, line);
    }
}

void setLogDirectory(const std::string& directory) {
    std::lock_guard<std::mutex> guard(state().settingsLock);
    state().directory = directory;
}

std::string logDirectory() {
    std::lock_guard<std::mutex> guard(state().settingsLock);
    return state().directory;
}

void startLogWriter() {
    std::call_once(state().writerStarted, [] {
        std::string directory = logDirectory();
        std::string logFile = logFilePath(directory, state().instance);
        rotateLogFile(logFile, logBackupPath(directory, state().instance));
        writeLog(kLogDebug, "The log file is: %d", state().instance);
        std::thread(writerLoop, logFile).detach();
    });
}

void setInstanceNumber(int number) {
    state().instance = number;
}

int instanceNumber() {
    return state().instance;
}

void setLogObserver(LogObserver observer) {
    std::lock_guard<std::mutex> guard(state().settingsLock);
    state().observer = std::move(observer);
}
