// The one place that knows the engine runs on a POSIX system: process and
// thread identity, local time, ticks, the executable's location and the
// build's version. Everything above this layer is portable.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// Separator between the parts of a path wherever the engine joins paths
// itself (log folder, temporary graph files, catalogue files).
constexpr char kPathSeparator[] = "/";
constexpr char kPathSeparatorChar = '/';

struct LocalTime {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

LocalTime localTime();
// When a file was last written, in local time; false when it cannot be read.
bool modificationTime(const std::string& path, LocalTime& time);
int processId();
long threadId();

// Milliseconds from an arbitrary fixed point; only differences are meaningful.
uint64_t tickCountMs();
void sleepNanoseconds(long nanoseconds);
void sleepMilliseconds(long milliseconds);

// Seconds and milliseconds since 1970-01-01 UTC, read together.
struct WallClock {
    int64_t seconds = 0;
    int milliseconds = 0;
};
WallClock wallClock();

// Full path of the running executable; empty when it cannot be read.
std::string executablePath();

// Version of the engine as four decimal numbers joined by ".".
std::string versionText();

// Processors the system has online for this process to run on; at least 1.
int processorCount();

// Directory of environment values the engine reads, or empty when unset.
std::string environmentValue(const char* name);

// Sets an environment value for this process and the libraries in it, unless
// one is already set (the user's own choice wins).
void setEnvironmentDefault(const char* name, const char* value);

// The user's home folder: HOME, else the account's entry; empty when neither
// names one.
std::string homeFolder();

}  // namespace platform
