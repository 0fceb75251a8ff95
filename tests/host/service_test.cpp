#include <gtest/gtest.h>

#include "host/service.h"
#include "platform/module_path.h"
#include "platform/named_pipe.h"

namespace {

TEST(Service, InstanceNumberComesAfterTheFirstLetterEOfALongName) {
    const std::pair<const char*, int> cases[] = {
        {"EditorPipe", 0},         // twelve characters or fewer: always 0
        {"e12345678901", 0},       // exactly twelve
        {"ABCDFGHIJKLe471", 471},  // after the first e
        {"PipeName_471", 0},       // twelve characters
        {"PipeName_4711", 0},      // the e of Pipe is followed by no digits
        {"ABCDFGHIJKLMN01", 0},    // no e: the whole name, which starts with letters
    };
    for (const auto& [name, number] : cases) {
        EXPECT_EQ(instanceNumberFromPipeName(name), number) << name;
    }
}

TEST(Service, ModulePathSplitsDirectoryAndFileName) {
    platform::ModulePath path = platform::makeModulePath("/opt/q/bin/quillavant-host");
    EXPECT_EQ(path.directory, "/opt/q/bin/");
    EXPECT_EQ(path.fileName, "quillavant-host");
    EXPECT_EQ(path.directoryW, u"/opt/q/bin/");
    EXPECT_FALSE(platform::modulePath().fileName.empty());
}

TEST(Service, PipeNamesMapToSocketsInThePipeFolder) {
    setenv("QUILLAVANT_PIPE_DIR", "/run/q", 1);
    EXPECT_EQ(platform::NamedPipe::socketPath("EditorPipe"), "/run/q/EditorPipe");
    unsetenv("QUILLAVANT_PIPE_DIR");
}

}  // namespace
