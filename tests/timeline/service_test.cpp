#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/service.h"

using modeltest::xmlOf;

namespace {

struct ServiceJsonCase {
    const char* name;
    const char* json;
    bool accepted;
    const char* in;
    const char* out;
    const char* title;
};

TEST(MeServiceJson, ReadsIdentityAndPointsWithDefaults) {
    const ServiceJsonCase cases[] = {
        {"all fields", R"({"ID":"a","In":"5","Out":"9","Title":"t"})", true, "5", "9", "t"},
        {"no points", R"({"ID":"a"})", true, "-1", "-1", ""},
        {"empty points", R"({"ID":"a","In":"","Out":""})", true, "-1", "-1", ""},
        {"numeric points are not text", R"({"ID":"a","In":5,"Out":9})", true, "-1", "-1", ""},
        {"no identifier", R"({"In":"5"})", false, "-1", "-1", ""},
        {"numeric identifier", R"({"ID":7})", false, "-1", "-1", ""},
    };
    for (const auto& c : cases) {
        MeService service("filter");
        EXPECT_EQ(service.initFromJsonText(c.json), c.accepted) << c.name;
        if (c.accepted) {
            EXPECT_EQ(service.in(), c.in) << c.name;
            EXPECT_EQ(service.out(), c.out) << c.name;
            EXPECT_EQ(service.title(), c.title) << c.name;
        }
    }
}

TEST(MeServiceMltElement, WritesInAndOutOnlyWhenAskedAndNotBothUnset) {
    struct Case {
        const char* in;
        const char* out;
        bool withInOut;
        const char* title;
        bool global;
        const char* expected;
    } cases[] = {
        {"-1", "-1", true, "", false, "<filter id=\"f\"/>\n"},
        {"-1", "250", true, "", false, "<filter id=\"f\" in=\"-1\" out=\"250\"/>\n"},
        {"10", "20", false, "", false, "<filter id=\"f\"/>\n"},
        {"10", "20", true, "T", true,
         "<filter id=\"f\" title=\"T\" global_feed=\"1\" in=\"10\" out=\"20\"/>\n"},
    };
    for (const auto& c : cases) {
        MeService service("filter");
        service.setId("f");
        service.setIn(c.in);
        service.setOut(c.out);
        service.setTitle(c.title);
        service.setGlobal(c.global);
        EXPECT_EQ(xmlOf([&](xmlNodePtr root) { service.writeMltElement(root, c.withInOut); }),
                  c.expected);
    }
}

TEST(MeServiceProjectFile, GlobalFlagAndPointsSurviveTheRoundTrip) {
    MeService service("producer");
    service.setId("c & d");
    service.setIn("3");
    service.setTitle("x");
    service.setGlobal(true);
    std::string written = xmlOf([&](xmlNodePtr root) {
        service.writeXml(xmlNewChild(root, nullptr, BAD_CAST "Owner", nullptr));
    });
    EXPECT_EQ(written,
              "<Owner>\n  <ID>c &amp; d</ID>\n  <In>3</In>\n  <Title>x</Title>\n"
              "  <Global>1</Global>\n</Owner>\n");
    MeService again("producer");
    modeltest::readFirstElement(written, [&](xmlNodePtr owner) { again.readXml(owner->children); });
    EXPECT_EQ(again.id(), "c & d");
    EXPECT_EQ(again.in(), "3");
    EXPECT_EQ(again.out(), "-1");
    EXPECT_TRUE(again.global());
}

}  // namespace
