#include "framework/temp_graph_file.h"

#include "framework/guid_text.h"
#include "platform/module_path.h"
#include "platform/platform.h"

namespace {
constexpr char kGraphExtension[] = ".xml";
}

std::string tempGraphDirectory(const std::string& cachePath) {
    return cachePath.empty() ? platform::moduleDirectory() : cachePath;
}

TempGraphFile makeTempGraphFile(const std::string& cachePath, const std::string& prefix) {
    TempGraphFile file;
    file.path = tempGraphDirectory(cachePath) + platform::kPathSeparator + prefix + makeGuidText() +
                kGraphExtension;
    file.playerName = cachePath.empty() ? file.path : file.path.substr(cachePath.size());
    return file;
}
