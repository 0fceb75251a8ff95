// Feeds arbitrary header and body bytes through the request path: the JSON
// check, then the command or control dispatcher, with the player idle. The
// service must answer or refuse every input without crashing.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "framework/quillavant_framework.h"
#include "log/log.h"
#include "messages/message_head.h"
#include "messages/parse_json.h"

namespace {

// Requests that would leave the sandbox of an idle player: start the preview
// window, render or write files, start threads. They are not fuzzed here.
bool touchesTheOutsideWorld(const std::string& body) {
    static const char* const kSkipped[] = {
        "PRE_PLAY",           "EXPORT_MOVIE",   "PRE_SNAP_PIC",        "PRE_VIDEO_THUMB",
        "PRE_AUDIO_THUMB",    "SAVE_PROJECT",   "SAVE_MLT_FILE",       "PRE_SET_LOGDIRECTORY",
        "PRE_FULL_SCREEN",    "GET_PORPERTY",   "GET_HWACCEL_ABILITY", "ADD_MULTI_FILTER",
        "ALTER_MULTI_FILTER", "ADD_BATCH_CLIP", "LOAD_PROJECT",
    };
    for (const char* name : kSkipped) {
        if (body.find(name) != std::string::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CQuillavantFramework* framework = [] {
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        // A writer on a folder without "Logs" drains the queue without
        // writing, so a long run does not keep every line in memory.
        setLogDirectory("/nonexistent-quillavant-fuzz");
        startLogWriter();
        return new CQuillavantFramework();
    }();
    if (size < kMessageHeadSize) {
        return 0;
    }
    tgMessageHead head = decodeMessageHead(data);
    std::string body(reinterpret_cast<const char*>(data) + kMessageHeadSize,
                     size - kMessageHeadSize);
    body = body.c_str();  // the pipe keeps text up to the first zero byte of a chunk
    if (touchesTheOutsideWorld(body)) {
        return 0;
    }
    Json::Value parsed;
    if (!parseJsonText(body, parsed)) {
        return 0;
    }
    if (head.type % 2 == 1) {
        framework->runCommandMessage(body);
    } else {
        framework->runControlMessage(body);
    }
    return 0;
}
