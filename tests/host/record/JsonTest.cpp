#include "record/Json.h"

#include <gtest/gtest.h>

#include <limits>

namespace plate_mend::host {
namespace {

TEST(Json, IsWrittenInTheOrderOfItsMembers) {
    Json list = Json::array();
    list.append(1);
    list.append("x");
    const Json json = Json::object({{"z", true},
                                    {"a", -5},
                                    {"most", std::numeric_limits<std::uint64_t>::max()},
                                    {"share", 0.5},
                                    {"nothing", std::optional<int>()},
                                    {"something", std::optional<int>(7)},
                                    {"empty", Json::text_or_null("")},
                                    {"texts", std::vector<std::string>{"b", "a"}},
                                    {"list", list}});
    EXPECT_EQ(json.line(), R"({"z":true,"a":-5,"most":18446744073709551615,"share":0.5,"nothing":null,)"
                           R"("something":7,"empty":null,"texts":["b","a"],"list":[1,"x"]})");
}

TEST(Json, BytesThatAreNotUtf8AreReplaced) {
    EXPECT_EQ(Json("a\xFF").line(), "\"a\xEF\xBF\xBD\"");
}

TEST(Json, CopiesAreIndependent) {
    const Json first = Json::object({{"a", Json::object({{"b", 1}})}});
    Json second = first;
    second.set("a", 2);
    Json part = first.member("a");
    part.set("b", 3);
    EXPECT_EQ(first.line(), R"({"a":{"b":1}})");
    EXPECT_EQ(second.line(), R"({"a":2})");
    EXPECT_EQ(part.line(), R"({"b":3})");
}

TEST(Json, PartsOutliveTheWhole) {
    Json part;
    {
        const Json whole = Json::parse(R"({"a":["x","y"]})");
        part = whole.member("a");
    }
    ASSERT_EQ(part.elements().size(), 2U);
    EXPECT_EQ(part.elements().back().text(), "y");
}

TEST(Json, MissingMemberCountsAsNull) {
    for (const char* text : {"{}", R"({"a":null})", "null", "[]", "7"}) {
        const Json json = Json::parse(text);
        EXPECT_TRUE(json.member("a").is_null()) << text;
        EXPECT_EQ(json.text("a"), "") << text;
        EXPECT_FALSE(json.truth("a")) << text;
        EXPECT_EQ(json.real("a"), std::nullopt) << text;
        EXPECT_EQ(json.integer<int>("a"), std::nullopt) << text;
        EXPECT_TRUE(json.member("a").elements().empty()) << text;
        EXPECT_THROW(static_cast<void>(json.required_text("a")), JsonError) << text;
        EXPECT_THROW(static_cast<void>(json.required_truth("a")), JsonError) << text;
        EXPECT_THROW(static_cast<void>(json.required_integer<int>("a")), JsonError) << text;
    }
}

TEST(Json, ValueOfAnotherKindIsAnError) {
    const Json json = Json::parse(R"({"text":"7","number":7,"real":7.5})");
    EXPECT_THROW(static_cast<void>(json.text("number")), JsonError);
    EXPECT_THROW(static_cast<void>(json.truth("number")), JsonError);
    EXPECT_THROW(static_cast<void>(json.real("text")), JsonError);
    EXPECT_THROW(static_cast<void>(json.integer<int>("text")), JsonError);
    EXPECT_THROW(static_cast<void>(json.integer<int>("real")), JsonError);
}

TEST(Json, IntegersMustFitTheirType) {
    const Json json = Json::parse(R"({"a":-1,"b":4294967295,"c":18446744073709551615,"d":-2147483648})");
    EXPECT_EQ(json.integer<std::int32_t>("a"), -1);
    EXPECT_THROW(static_cast<void>(json.integer<std::uint32_t>("a")), JsonError);
    EXPECT_EQ(json.integer<std::uint32_t>("b"), 4294967295U);
    EXPECT_THROW(static_cast<void>(json.integer<std::int32_t>("b")), JsonError);
    EXPECT_EQ(json.integer<std::uint64_t>("c"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_THROW(static_cast<void>(json.integer<std::int64_t>("c")), JsonError);
    EXPECT_EQ(json.required_integer<std::int32_t>("d"), std::numeric_limits<std::int32_t>::min());
}

TEST(Json, TextThatIsNotJsonIsAnError) {
    for (const char* text : {"", "{", "{}x", R"({"a":})", "\xFF"}) {
        EXPECT_THROW(static_cast<void>(Json::parse(text)), JsonError) << text;
    }
}

} // namespace
} // namespace plate_mend::host
