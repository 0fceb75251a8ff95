#include "platform/module_path.h"

#include "platform/platform.h"
#include "platform/text_conversion.h"

namespace platform {

ModulePath makeModulePath(const std::string& executable) {
    ModulePath result;
    std::string normalised = executable;
    for (char& c : normalised) {
        if (c == '\\') {
            c = kPathSeparatorChar;
        }
    }
    size_t cut = normalised.find_last_of(kPathSeparatorChar);
    if (cut == std::string::npos) {
        result.fileName = normalised;
    } else {
        result.directory = normalised.substr(0, cut + 1);
        result.fileName = normalised.substr(cut + 1);
    }
    result.directoryW = utf8ToUtf16(result.directory);
    result.fileNameW = utf8ToUtf16(result.fileName);
    return result;
}

const ModulePath& modulePath() {
    static const ModulePath path = makeModulePath(executablePath());
    return path;
}

std::string moduleDirectory() {
    std::string directory = modulePath().directory;
    if (!directory.empty() && directory.back() == kPathSeparatorChar) {
        directory.pop_back();
    }
    return directory;
}

}  // namespace platform
