// Start-up, serving and shutdown of the engine service behind InitInstance.
#pragma once

#include <string>

// The instance number a pipe name gives (printed in every log line).
int instanceNumberFromPipeName(const std::string& pipeName);

// Runs the service on the pipe name until the client closes it or goes away.
// Returns 0.
int runService(const std::string& pipeName);
