// Loads arbitrary bytes as a project document, then saves and reloads what
// was understood: reading never crashes and what was read writes back.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "project/project.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string input = "/tmp/qv-fuzz-project-" + std::to_string(getpid()) + ".xml";
    static const std::string output = input + ".saved.xml";
    FILE* file = std::fopen(input.c_str(), "wb");
    if (file == nullptr) {
        return 0;
    }
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    MeProject project;
    if (project.loadProject(input)) {
        project.saveProject(output);
        MeProject again;
        again.loadProject(output);
        again.writeTimelineXml(output);
    }
    return 0;
}
