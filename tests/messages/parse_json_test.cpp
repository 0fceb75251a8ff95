#include <gtest/gtest.h>

#include "messages/parse_json.h"

namespace {

struct KindCase {
    const char* json;  // the member "V"
    ValueKind kind;
    bool accepted;
};

class KindRules : public ::testing::TestWithParam<KindCase> {};

TEST_P(KindRules, GetterAcceptsOnlyTheExactKind) {
    const KindCase& c = GetParam();
    CParseJson json;
    ASSERT_TRUE(json.parse(std::string("{\"V\":") + c.json + "}"));
    Json::Value out;
    EXPECT_EQ(json.getValue("V", c.kind, out), c.accepted) << c.json;
    if (!c.accepted) {
        EXPECT_EQ(json.lastError(),
                  std::string("the key:V is not ") + valueKindName(c.kind) + " type");
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, KindRules,
    ::testing::Values(
        KindCase{"1920", ValueKind::Int, true}, KindCase{"-2147483648", ValueKind::Int, true},
        KindCase{"2147483647", ValueKind::Int, true}, KindCase{"3000000000", ValueKind::Int, false},
        KindCase{"1920.0", ValueKind::Int, false}, KindCase{"1e3", ValueKind::Int, false},
        KindCase{"\"1920\"", ValueKind::Int, false}, KindCase{"true", ValueKind::Int, false},
        KindCase{"true", ValueKind::Bool, true}, KindCase{"1", ValueKind::Bool, false},
        KindCase{"2.0", ValueKind::Double, true}, KindCase{"2e1", ValueKind::Double, true},
        KindCase{"2", ValueKind::Double, false}, KindCase{"\"x\"", ValueKind::String, true},
        KindCase{"5", ValueKind::String, false}, KindCase{"[1]", ValueKind::Array, true},
        KindCase{"null", ValueKind::Array, true}, KindCase{"{}", ValueKind::Array, false},
        KindCase{"{}", ValueKind::Object, true}, KindCase{"null", ValueKind::Object, true},
        KindCase{"[]", ValueKind::Object, false}));

TEST(ParseJson, MissingMemberNamesTheKey) {
    CParseJson json;
    ASSERT_TRUE(json.parse("{\"Height\":1}"));
    int width = 7;
    EXPECT_FALSE(json.getInt("Width", width));
    EXPECT_EQ(width, 7);
    EXPECT_EQ(json.lastError(), "json object not found key:Width");
}

TEST(ParseJson, UnparsedObjectFailsEveryGetterAndKeepsItsError) {
    CParseJson json;
    EXPECT_FALSE(json.parse("{not json"));
    std::string error = json.lastError();
    EXPECT_FALSE(error.empty());
    std::string text;
    EXPECT_FALSE(json.getString("ID", text));
    EXPECT_EQ(json.lastError(), error);
    CParseJson never;
    EXPECT_FALSE(never.getString("ID", text));
    EXPECT_TRUE(never.lastError().empty());
}

TEST(ParseJson, NonObjectRootsAndDeepNestingNeverThrow) {
    CParseJson array;
    ASSERT_TRUE(array.parse("[1,2,3]"));
    std::string text;
    EXPECT_FALSE(array.getString("ID", text));
    std::string deep(100000, '[');
    CParseJson nested;
    EXPECT_FALSE(nested.parse(deep));
    EXPECT_TRUE(nested.parse("// a comment\n{\"a\":1}"));
}

TEST(ParseJson, WrongKindStillCopiesTheMember) {
    CParseJson json;
    ASSERT_TRUE(json.parse("{\"Width\":800.0}"));
    Json::Value out;
    EXPECT_FALSE(json.getValue("Width", ValueKind::Int, out));
    EXPECT_EQ(out.asDouble(), 800.0);
    EXPECT_EQ(json.lastError(), "the key:Width is not Int type");
}

}  // namespace
