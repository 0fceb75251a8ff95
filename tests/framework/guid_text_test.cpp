// The time-based identifiers that name temporary graph files.
#include "framework/guid_text.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

const std::regex kGuidForm("[0-9a-f]{8}-[0-9a-f]{4}-1[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");

TEST(GuidText, HasTheVersionOneLayout) {
    std::string text = makeGuidText();
    EXPECT_EQ(text.size(), 36u);
    EXPECT_TRUE(std::regex_match(text, kGuidForm)) << text;
}

TEST(GuidText, EncodesTheClockAsIntervalsSince1582) {
    GuidGenerator generator;
    // 1970-01-01 00:00:00.000 is 0x01B21DD213814000 intervals after 1582-10-15.
    std::string text = generator.next({0, 0});
    EXPECT_EQ(text.substr(0, 19), "13814000-1dd2-11b2-");
}

TEST(GuidText, ReadingsWithinOneMillisecondStillDiffer) {
    GuidGenerator generator;
    platform::WallClock now{1700000000, 123};
    std::set<std::string> texts;
    for (int i = 0; i < 5; ++i) {
        texts.insert(generator.next(now));
    }
    EXPECT_EQ(texts.size(), 5u);
    // The counter is added to the time: consecutive low time fields.
    std::string first = generator.next({1700000001, 0});
    std::string second = generator.next({1700000001, 0});
    EXPECT_EQ(std::stoul(second.substr(0, 8), nullptr, 16),
              std::stoul(first.substr(0, 8), nullptr, 16) + 1);
    EXPECT_EQ(first.substr(8), second.substr(8));
}

TEST(GuidText, AClockGoingBackAdvancesTheClockSequence) {
    GuidGenerator generator;
    std::string before = generator.next({1700000000, 500});
    std::string after = generator.next({1700000000, 499});
    EXPECT_EQ(std::stoul(after.substr(19, 4), nullptr, 16),
              std::stoul(before.substr(19, 4), nullptr, 16) + 1);
    EXPECT_EQ(before.substr(24), after.substr(24));
}

TEST(GuidText, ConsecutiveCallsGiveDistinctTexts) {
    std::set<std::string> texts;
    for (int i = 0; i < 1000; ++i) {
        texts.insert(makeGuidText());
    }
    EXPECT_EQ(texts.size(), 1000u);
}

}  // namespace
