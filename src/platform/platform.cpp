#include "platform/platform.h"

#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#ifndef QV_VERSION_TEXT
#define QV_VERSION_TEXT ""
#endif

namespace platform {

namespace {

LocalTime toLocalTime(const struct timespec& when) {
    struct tm parts {};
    localtime_r(&when.tv_sec, &parts);
    LocalTime result;
    result.year = parts.tm_year + 1900;
    result.month = parts.tm_mon + 1;
    result.day = parts.tm_mday;
    result.hour = parts.tm_hour;
    result.minute = parts.tm_min;
    result.second = parts.tm_sec;
    result.millisecond = static_cast<int>(when.tv_nsec / 1000000);
    return result;
}

}  // namespace

LocalTime localTime() {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return toLocalTime(now);
}

bool modificationTime(const std::string& path, LocalTime& time) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return false;
    }
    time = toLocalTime(status.st_mtim);
    return true;
}

int processId() {
    return static_cast<int>(getpid());
}

long threadId() {
    return static_cast<long>(syscall(SYS_gettid));
}

uint64_t tickCountMs() {
    struct timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec / 1000000);
}

int processorCount() {
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<int>(online) : 1;
}

void sleepNanoseconds(long nanoseconds) {
    struct timespec pause {};
    pause.tv_sec = nanoseconds / 1000000000L;
    pause.tv_nsec = nanoseconds % 1000000000L;
    while (nanosleep(&pause, &pause) != 0) {
    }
}

void sleepMilliseconds(long milliseconds) {
    sleepNanoseconds(milliseconds * 1000000L);
}

WallClock wallClock() {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    WallClock result;
    result.seconds = static_cast<int64_t>(now.tv_sec);
    result.milliseconds = static_cast<int>(now.tv_nsec / 1000000);
    return result;
}

std::string executablePath() {
    char buffer[PATH_MAX + 1] = {};
    ssize_t length = readlink("/proc/self/exe", buffer, PATH_MAX);
    if (length <= 0) {
        return std::string();
    }
    return std::string(buffer, static_cast<size_t>(length));
}

std::string versionText() {
    return QV_VERSION_TEXT;
}

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

void setEnvironmentDefault(const char* name, const char* value) {
    ::setenv(name, value, 0);
}

std::string homeFolder() {
    std::string home = environmentValue("HOME");
    if (!home.empty()) {
        return home;
    }
    struct passwd entry {};
    struct passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof(buffer), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr) {
        home = found->pw_dir;
    }
    return home;
}

}  // namespace platform
