// Runs one export through a connected service and shows its progress: sends
// the EXPORT_MOVIE control, then polls the export's length, position and
// stopped state about five times a second until the render has stopped.
#pragma once

#include <iosfwd>
#include <string>

#include "client/pipe_client.h"

struct ExportProgressOptions {
    int pollIntervalMs = 200;
    // A terminal gets one line redrawn in place; anything else gets a plain
    // line every linePeriodMs.
    bool terminal = false;
    int linePeriodMs = 1000;
    // Gives up when the position has not moved for this long (a render the
    // engine never finishes would otherwise be polled forever).
    int stallLimitMs = 60000;
};

// Returns 0 when the render reached the last frame, 1 otherwise (nothing to
// render, a failed or abandoned render, or a lost connection). The bar goes
// to out; a terminal is assumed when out is standard output and that is a tty.
int runExportWithProgress(PipeClient& client, const std::string& exportContentJson,
                          std::ostream& out);
int runExportWithProgress(PipeClient& client, const std::string& exportContentJson,
                          std::ostream& out, const ExportProgressOptions& options);
