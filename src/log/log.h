// The process-wide log. A call formats one line, prints it to standard error
// at once and queues it; a writer thread, started when the client names a log
// directory, appends the queue to the log file every 50 ms. Lines below the
// threshold (Verbose, Debug) are dropped entirely.
#pragma once

#include <functional>
#include <string>

enum LogLevel {
    kLogVerbose = 0,
    kLogDebug = 1,
    kLogInfo = 2,
    kLogWarning = 3,
    kLogError = 4,
};

constexpr int kLogThreshold = kLogInfo;
constexpr size_t kLogMessageLimit = 2047;
constexpr long kLogRotateSize = 10240000;

void writeLog(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

void setLogDirectory(const std::string& directory);
std::string logDirectory();
// Starts the writer thread on the first call; later calls do nothing.
void startLogWriter();

void setInstanceNumber(int number);
int instanceNumber();

// The log file and its backup for a directory and an instance number.
std::string logFilePath(const std::string& directory, int instance);
std::string logBackupPath(const std::string& directory, int instance);

// Rotates the log file once: a file of kLogRotateSize bytes or more becomes
// the backup (an older backup is deleted first).
void rotateLogFile(const std::string& logFile, const std::string& backupFile);

// Builds one log line: "[time] [Level] [instance][pid][tid] message\n".
std::string formatLogLine(int level, const std::string& message);

// Sees every line that passes the threshold, on the logging thread. For
// diagnostics and tests; nullptr removes it.
using LogObserver = std::function<void(int level, const std::string& line)>;
void setLogObserver(LogObserver observer);
