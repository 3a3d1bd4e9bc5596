#include "Codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

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

} // namespace
} // namespace plate_mend::host
