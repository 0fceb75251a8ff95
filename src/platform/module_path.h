// Where the host executable lives: the effect catalogues sit beside it and
// temporary graph files fall back to its directory.
#pragma once

#include <string>

namespace platform {

struct ModulePath {
    std::string directory;  // ends in the path separator
    std::string fileName;
    std::u16string directoryW;
    std::u16string fileNameW;
};

// Splits an executable path into directory and file name.
ModulePath makeModulePath(const std::string& executable);

// The running process's module path, computed once.
const ModulePath& modulePath();

// The module directory without its trailing separator.
std::string moduleDirectory();

}  // namespace platform
