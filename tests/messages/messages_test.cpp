#include <gtest/gtest.h>

#include "messages/action_message.h"
#include "messages/message_head.h"
#include "messages/result_text.h"
#include "messages/styled_json.h"

namespace {

TEST(ResultText, BooleanIsThreeStyledLines) {
    EXPECT_EQ(makeJsonText(kReturnResultKey, true), "{\n   \"ReturnResultString\" : true\n}\n");
    EXPECT_EQ(makeJsonText(kReturnResultKey, 25), "{\n   \"ReturnResultString\" : 25\n}\n");
    EXPECT_EQ(makeJsonText(kReturnResultKey, "a\"b"),
              "{\n   \"ReturnResultString\" : \"a\\\"b\"\n}\n");
}

TEST(ResultText, RealNumbersKeepOneTrailingZero) {
    const std::pair<double, const char*> cases[] = {
        {25.5, "25.50"},
        {25.0, "25.0"},
        {0.04, "0.040"},
        {1e20, "1.000000000000000e+20"},
        {29.97002997002997, "29.97002997002997"},
        {0.0, "0.0"},
        {-2.5, "-2.50"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(formatJsonReal(value), text) << value;
        EXPECT_EQ(makeJsonText(kReturnResultKey, value),
                  std::string("{\n   \"ReturnResultString\" : ") + text + "\n}\n");
    }
}

TEST(StyledJson, NestedObjectsAndArraysFollowTheStyledLayout) {
    Json::Value root;
    root["b"]["x"] = 1;
    root["a"] = Json::Value(Json::arrayValue);
    root["a"].append(1);
    root["a"].append("two");
    Json::Value item;
    item["name"] = "h264_qsv";
    root["c"].append(item);
    EXPECT_EQ(toStyledJson(root),
              "{\n"
              "   \"a\" : [ 1, \"two\" ],\n"
              "   \"b\" : {\n"
              "      \"x\" : 1\n"
              "   },\n"
              "   \"c\" : [\n"
              "      {\n"
              "         \"name\" : \"h264_qsv\"\n"
              "      }\n"
              "   ]\n"
              "}\n");
    EXPECT_EQ(toStyledJson(Json::Value()), "null\n");
}

TEST(ActionMessage, ReadsIdentifierAndCommandsInOrder) {
    ActionMessage message;
    ASSERT_TRUE(message.parse(
        R"({"ID":"1","Action":[{"Command":"ADD_TRACK","Content":{"ID":"T0"}},{"Command":7}]})"));
    ASSERT_EQ(message.commands().size(), 2u);
    EXPECT_EQ(message.id(), "1");
    EXPECT_EQ(message.commands()[0]->getCommand(), "ADD_TRACK");
    EXPECT_EQ(message.commands()[0]->getContentId(), "T0");
    EXPECT_EQ(message.commands()[1]->getCommand(), "");
    EXPECT_EQ(message.findByContentId("T0"), message.commands()[0]);
    EXPECT_EQ(message.findByContentId("T"), nullptr);
}

TEST(ActionMessage, MalformedBodiesGiveAnEmptyList) {
    const std::pair<const char*, bool> cases[] = {
        {R"({"Action":[{"Command":"ADD_TRACK"}]})", false},  // no ID
        {R"({"ID":"1"})", true},                             // Action absent
        {R"({"ID":"1","Action":null})", true},
        {R"({"ID":"1","Action":{}})", false},
        {R"({"ID":"1","Action":"x"})", false},
        {"not json", false},
        {"[1,2]", false},
    };
    for (const auto& [body, result] : cases) {
        ActionMessage message;
        EXPECT_EQ(message.parse(body), result) << body;
        EXPECT_TRUE(message.commands().empty()) << body;
    }
}

TEST(ActionMessage, ContentThatIsNotAnObjectFailsEveryRead) {
    ActionMessage message;
    ASSERT_TRUE(message.parse(R"({"ID":"1","Action":[{"Command":"X","Content":"text"}]})"));
    CParseJson content = message.commands()[0]->getContent();
    EXPECT_FALSE(content.isParsed());
    std::string id;
    EXPECT_FALSE(content.getString("ID", id));
    EXPECT_TRUE(content.lastError().empty());
}

TEST(ActionMessage, CommandsReferToTheirOwnDocumentAfterACopy) {
    ActionMessage original;
    ASSERT_TRUE(original.parse(R"({"ID":"1","Action":[{"Command":"A","Content":{"ID":"f"}}]})"));
    ActionMessage copy = original;
    copy.findByContentId("f")->element()["Content"]["Level"] = 3;
    EXPECT_FALSE(original.root()["Action"][0]["Content"].isMember("Level"));
    EXPECT_EQ(copy.root()["Action"][0]["Content"]["Level"].asInt(), 3);
}

TEST(MessageHead, A45ByteCommandStartsWithItsLittleEndianHeader) {
    tgMessageHead head;
    head.type = kCommandMessage;
    head.length = 45;
    unsigned char bytes[kMessageHeadSize];
    encodeMessageHead(head, bytes);
    const unsigned char expected[] = {0, 0, 0, 0, 1, 0, 0, 0, 0x2D, 0, 0, 0};
    EXPECT_EQ(0, memcmp(bytes, expected, sizeof(expected)));
    tgMessageHead back = decodeMessageHead(bytes);
    EXPECT_EQ(back.type, 1);
    EXPECT_EQ(back.length, 45u);
}

}  // namespace
