#include "cli/export_progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "platform/platform.h"

namespace {

constexpr char kExportControl[] = "EXPORT_MOVIE";
constexpr char kTotalFramesCommand[] = "PRE_GETEXPORTTOTALFRAME";
constexpr char kPositionCommand[] = "PRE_GETEXPORTCURRENTPOS";
constexpr char kStoppedCommand[] = "PRE_ISEXPORTSTOP";
constexpr char kTrueText[] = "true";
constexpr int kBarWidth = 30;

struct ExportState {
    int total = 0;
    int position = 0;
    bool stopped = false;

    // The position is the last frame rendered; 0 also stands for "none yet".
    int framesDone() const { return position > 0 ? std::min(position + 1, total) : 0; }
    bool reachedEnd() const { return total > 0 && position + 1 >= total; }
};

bool queryValue(PipeClient& client, const char* command, std::string* value) {
    PipeReply reply;
    if (!client.sendCommand(command, std::string(), &reply)) {
        return false;
    }
    *value = resultValueText(reply.body);
    return true;
}

bool queryState(PipeClient& client, ExportState* state) {
    std::string total;
    std::string position;
    std::string stopped;
    if (!queryValue(client, kTotalFramesCommand, &total) ||
        !queryValue(client, kPositionCommand, &position) ||
        !queryValue(client, kStoppedCommand, &stopped)) {
        return false;
    }
    state->total = std::atoi(total.c_str());
    state->position = std::atoi(position.c_str());
    state->stopped = stopped == kTrueText;
    return true;
}

std::string clockText(double seconds) {
    long whole = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof(text), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    return text;
}

// One line of figures: bar, percent, frames, frames per second, time left.
class ProgressLine {
  public:
    ProgressLine(std::ostream& out, const ExportProgressOptions& options)
        : out_(out), options_(options) {}

    void update(const ExportState& state, uint64_t elapsedMs) {
        if (options_.terminal) {
            out_ << '\r' << padded(describe(state, elapsedMs)) << std::flush;
            drawn_ = true;
        } else if (elapsedMs >= nextLineMs_) {
            out_ << describe(state, elapsedMs) << '\n' << std::flush;
            nextLineMs_ = elapsedMs + static_cast<uint64_t>(options_.linePeriodMs);
        }
    }

    void finish(const ExportState& state, uint64_t elapsedMs, const char* outcome) {
        if (drawn_) {
            out_ << '\r' << padded(describe(state, elapsedMs)) << '\n';
        }
        out_ << "export " << outcome << ": " << state.framesDone() << "/" << state.total
             << " frames in " << clockText(elapsedMs / 1000.0) << " ("
             << formatRate(rate(state, elapsedMs)) << " fps)\n"
             << std::flush;
    }

  private:
    static double rate(const ExportState& state, uint64_t elapsedMs) {
        return elapsedMs > 0 ? state.framesDone() * 1000.0 / elapsedMs : 0.0;
    }

    static std::string formatRate(double value) {
        char text[32];
        std::snprintf(text, sizeof(text), "%.1f", value);
        return text;
    }

    std::string describe(const ExportState& state, uint64_t elapsedMs) const {
        double fraction = state.total > 0 ? double(state.framesDone()) / state.total : 0.0;
        int filled = static_cast<int>(fraction * kBarWidth);
        double fps = rate(state, elapsedMs);
        std::string left =
            fps > 0.0 ? clockText((state.total - state.framesDone()) / fps) : std::string("--:--");
        char text[160];
        std::snprintf(text, sizeof(text), "[%s%s] %5.1f%% %d/%d frames %s fps %s left",
                      std::string(filled, '#').c_str(),
                      std::string(kBarWidth - filled, '-').c_str(), fraction * 100.0,
                      state.framesDone(), state.total, formatRate(fps).c_str(), left.c_str());
        return text;
    }

    // A redrawn line must cover every character of a longer one before it.
    std::string padded(const std::string& text) {
        std::string line = text;
        if (line.size() < drawnWidth_) {
            line.append(drawnWidth_ - line.size(), ' ');
        }
        drawnWidth_ = text.size();
        return line;
    }

    std::ostream& out_;
    ExportProgressOptions options_;
    bool drawn_ = false;
    size_t drawnWidth_ = 0;
    uint64_t nextLineMs_ = 0;
};

}  // namespace

int runExportWithProgress(PipeClient& client, const std::string& exportContentJson,
                          std::ostream& out) {
    ExportProgressOptions options;
    options.terminal = &out == &std::cout && isatty(STDOUT_FILENO);
    return runExportWithProgress(client, exportContentJson, out, options);
}

int runExportWithProgress(PipeClient& client, const std::string& exportContentJson,
                          std::ostream& out, const ExportProgressOptions& options) {
    PipeReply reply;
    if (!client.sendControl(kExportControl, exportContentJson, &reply)) {
        std::cerr << "quillavant-cli: no reply to " << kExportControl << ": " << client.lastError()
                  << "\n";
        return 1;
    }
    ProgressLine line(out, options);
    ExportState state;
    uint64_t begin = platform::tickCountMs();
    uint64_t lastMoveMs = 0;
    int lastPosition = -1;
    const char* outcome = "stopped";
    for (;;) {
        if (!queryState(client, &state)) {
            outcome = "lost the service";
            break;
        }
        uint64_t elapsedMs = platform::tickCountMs() - begin;
        line.update(state, elapsedMs);
        if (state.stopped) {
            outcome = state.reachedEnd() ? "finished" : "stopped";
            break;
        }
        // The length is known as soon as the render is set up: none means the
        // document gave nothing to render and no render will ever stop.
        if (state.total <= 0) {
            outcome = "has nothing to render";
            break;
        }
        if (state.position != lastPosition) {
            lastPosition = state.position;
            lastMoveMs = elapsedMs;
        } else if (elapsedMs - lastMoveMs > static_cast<uint64_t>(options.stallLimitMs)) {
            outcome = "stalled";
            break;
        }
        platform::sleepMilliseconds(options.pollIntervalMs);
    }
    line.finish(state, platform::tickCountMs() - begin, outcome);
    return state.stopped && state.reachedEnd() ? 0 : 1;
}
