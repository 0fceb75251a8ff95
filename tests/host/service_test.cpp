#include <gtest/gtest.h>

#include "host/service.h"

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

}  // namespace
