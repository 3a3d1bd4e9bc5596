#include "record/Codes.h"

#include "support/Bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace plate_mend::host {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StrEq;

TEST(Codes, EveryCodeOfEveryFormatIsExplainedInWordsWithItsNumber) {
    std::vector<std::int32_t> codes{-1};
    for (const auto& [last, first] : {std::pair{-1026, -1021},
                                      {-1054, -1050},
                                      {-1065, -1060},
                                      {-1095, -1090},
                                      {-1126, -1120},
                                      {-1136, -1130},
                                      {-1147, -1140},
                                      {-1156, -1150}}) {
        for (int code = first; code >= last; --code) {
            codes.push_back(code);
        }
    }
    EXPECT_EQ(codes.size(), 1U + 6 + 5 + 6 + 6 + 7 + 7 + 8 + 7);
    for (const std::int32_t code : codes) {
        EXPECT_THAT(explain_repair(code), Not(HasSubstr("unknown result")));
        EXPECT_THAT(explain_repair(code), EndsWith(" (code " + std::to_string(code) + ")"));
    }
}

TEST(Codes, NumbersOutsideTheBlocksAreUnknown) {
    for (const std::int32_t code : {-2, -1020, -1027, -1055, -1066, -1096, -1119, -1127, -1148, -1157, 1}) {
        EXPECT_THAT(explain_repair(code), HasSubstr("unknown result")) << code;
    }
}

TEST(Codes, SalvagersCodesAreExplained) {
    EXPECT_THAT(explain_salvage(-2), HasSubstr("no picture is left"));
    EXPECT_THAT(explain_salvage(-99), HasSubstr("(code -99)"));
}

bool is_in_no_report(const std::string& name) {
    return name.starts_with("RAW_MEND_PICTURE_") || name.starts_with("RAW_MEND_AREA_") ||
           name == "RAW_MEND_NO_FILL" || name == "RAW_MEND_NO_OUTPUT" || name == "RAW_MEND_MOST_AREAS";
}

/// The constants of the public headers' enumerations as their texts have them: name and value.
std::vector<std::pair<std::string, std::int32_t>> constants_of_headers() {
    std::vector<std::pair<std::string, std::int32_t>> constants;
    for (const char* header : {PLATE_MEND_HEADER, RAW_MEND_HEADER, STILL_MEND_HEADER}) {
        const test::Bytes bytes = test::read_file(header);
        const std::string text(bytes.begin(), bytes.end());
        // A word, an equals sign and a number, also spread over lines.
        const std::regex constant(R"(\b([A-Z][A-Z0-9_]+)\s*=\s*(-?[0-9]+)\b)");
        for (std::sregex_iterator found(text.begin(), text.end(), constant), end; found != end; ++found) {
            if (!is_in_no_report((*found)[1])) {
                constants.emplace_back((*found)[1], std::stoi((*found)[2]));
            }
        }
    }
    return constants;
}

TEST(Codes, EveryConstantOfTheHeadersHasAnEntryAndNoOtherHas) {
    std::vector<std::pair<std::string, std::int32_t>> entries;
    for (const CodeEntry& entry : all_codes()) {
        entries.emplace_back(entry.name, entry.code);
        EXPECT_THAT(entry.meaning, Not(StrEq(""))) << entry.name;
    }
    EXPECT_EQ(entries, constants_of_headers());
    EXPECT_EQ(entries.size(), 100U) << "the headers were read";
}

TEST(Codes, FailureSaysWhatToTryNext) {
    for (const CodeEntry& entry : all_codes()) {
        if (entry.code < 0) {
            EXPECT_THAT(entry.next, Not(StrEq(""))) << entry.name;
        }
    }
}

TEST(Codes, NumberIsExplained) {
    EXPECT_EQ(explain("-1124"), "PLATE_MEND_ARW_NOT_FOUND (-1124), from a repair with a sample\n"
                                "  The damaged file has lost the entries that lead to its image.\n"
                                "  Next: Try 'plate-mend salvage'.\n");
}

TEST(Codes, NumberOfBothLibrariesIsExplainedForBoth) {
    EXPECT_THAT(explain("-1"),
                AllOf(HasSubstr("PLATE_MEND_UNKNOWN"), HasSubstr("STILL_MEND_INPUT_UNREADABLE")));
    EXPECT_THAT(explain("0"), AllOf(HasSubstr("PLATE_MEND_OK"), HasSubstr("STILL_MEND_OK")));
    EXPECT_THAT(explain("256"), HasSubstr("STILL_MEND_REENCODED"));
}

TEST(Codes, NameIsExplainedInAnyCase) {
    EXPECT_EQ(explain("PLATE_MEND_ARW_NOT_FOUND"), explain("-1124"));
    EXPECT_EQ(explain("plate_mend_arw_not_found"), explain("-1124"));
}

TEST(Codes, UnknownTextIsNotExplained) {
    for (const char* text : {"", "-", "-1124x", "1e3", " 0", "PLATE_MEND", "-99999999999", "-1020.0"}) {
        EXPECT_EQ(explain(text), "") << text;
    }
}

} // namespace
} // namespace plate_mend::host
