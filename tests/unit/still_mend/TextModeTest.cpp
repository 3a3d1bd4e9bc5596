#include "TextMode.h"
#include "Laboratory.h"
#include "Salvaged.h"

#include <gtest/gtest.h>

#include <algorithm>

// A transfer in text mode puts CR before each LF.

namespace test {
namespace {

Bytes in_text_mode(const Bytes& bytes) {
    Bytes changed;
    for (const unsigned char byte : bytes) {
        if (byte == 0x0A) {
            changed.push_back(0x0D);
        }
        changed.push_back(byte);
    }
    return changed;
}

TEST(TextMode, IsUndoneExactly) {
    for (const char* coding : {"baseline 4:2:0", "baseline 4:2:0, restarts", "progressive grey"}) {
        const Bytes jpeg = make_coded(coding_named(coding), 1, 640, 480);
        const Bytes damaged = in_text_mode(jpeg);
        ASSERT_GT(damaged.size(), jpeg.size());
        const auto [code, output, report] = salvage(damaged);
        EXPECT_EQ(code, STILL_MEND_OK) << coding;
        EXPECT_TRUE(output == jpeg) << coding;
        EXPECT_EQ(report.own_mcu_count, report.mcu_count) << coding;
        EXPECT_EQ(report.warnings, static_cast<unsigned>(STILL_MEND_TEXT_MODE_UNDONE)) << coding;
        ASSERT_LT(report.first_bad_byte, damaged.size()) << coding;
        EXPECT_EQ(damaged[report.first_bad_byte], 0x0D) << coding;
        EXPECT_EQ(jpeg[report.first_bad_byte], 0x0A) << coding;
    }
}

TEST(TextMode, IsNotUndoneWhereOneLfIsAlone) {
    Bytes damaged = in_text_mode(make_coded(coding_named("baseline 4:2:0"), 1, 640, 480));
    EXPECT_TRUE(still_mend::TextMode::undo(damaged));
    damaged.insert(damaged.end(), {0x00, 0x0A});
    EXPECT_FALSE(still_mend::TextMode::undo(damaged));
}

TEST(TextMode, IsNotUndoneInAFewBytes) {
    EXPECT_FALSE(still_mend::TextMode::undo(Bytes{}));
    EXPECT_FALSE(still_mend::TextMode::undo(Bytes{0x0A}));
    EXPECT_FALSE(still_mend::TextMode::undo(Bytes{0x0D, 0x0A, 0x0D, 0x0A}));
}

TEST(TextMode, OffsetsAreThoseInTheFile) {
    Bytes original(100, 0x41);
    original[3] = 0x0A;
    for (std::size_t index = 40; index < 60; ++index) {
        original[index] = 0x0A;
    }
    const Bytes damaged = in_text_mode(original);
    const auto undone = still_mend::TextMode::undo(damaged);
    ASSERT_TRUE(undone);
    EXPECT_TRUE(std::equal(original.begin(), original.end(), undone->bytes().begin(), undone->bytes().end()));
    EXPECT_EQ(undone->first_change(), 3U);
    for (const std::size_t offset : {0U, 2U, 10U, 39U, 80U}) {
        EXPECT_EQ(damaged[undone->offset_in_file(offset)], original[offset]) << offset;
    }
    EXPECT_EQ(undone->offset_in_file(80), 101U);
}

} // namespace
} // namespace test
