// The command processor: turns each request body into operations on the
// player, the project and the undo history, and answers with a result text.
#pragma once

#include <string>

class CQuillavantFramework {
public:
    CQuillavantFramework();

    // A command message (header type 1): one command goes to the full
    // dispatcher and answers its own result; any other count is a batch.
    std::string runCommandMessage(const std::string& body);
    // A control message (header type 2): every control runs; the answer is true.
    std::string runControlMessage(const std::string& body);

    // Releases the preview and the engine at service end.
    void closeEngine();
};
