// The preview benchmarks need an X display: without one they run themselves
// again under xvfb-run.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace bench {

// Returns only when a display is set; otherwise replaces the process with
// the same command under xvfb-run, or ends it when that cannot start.
inline void runUnderXvfbWithoutDisplay(int argc, char** argv) {
    const char* display = std::getenv("DISPLAY");
    if (display != nullptr && *display != '\0') {
        return;
    }
    std::vector<char*> arguments = {const_cast<char*>("xvfb-run"), const_cast<char*>("-a")};
    arguments.insert(arguments.end(), argv, argv + argc);
    arguments.push_back(nullptr);
    execvp("xvfb-run", arguments.data());
    std::fprintf(stderr, "no DISPLAY and xvfb-run cannot start\n");
    std::exit(1);
}

}  // namespace bench
