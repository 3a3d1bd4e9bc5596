#include "support/Bytes.h"

#include <text_mode/TextMode.h>

#include <gtest/gtest.h>

#include <algorithm>

// A transfer in text mode puts CR before each LF.

namespace test {
namespace {

using text_mode::TextMode;

constexpr unsigned char kLf = 0x0A;
constexpr std::size_t kLeast = 16;

Bytes undone(const Bytes& file) {
    const auto text = TextMode::undo(file);
    return text ? Bytes(text->bytes().begin(), text->bytes().end()) : Bytes();
}

TEST(TextMode, IsUndoneExactly) {
    for (const std::uint32_t seed : {1U, 2U, 3U}) {
        const Bytes original = noise(100000, seed);
        EXPECT_TRUE(undone(in_text_mode(original)) == original) << seed;
    }
}

TEST(TextMode, LeavesEachCrThatWasThere) {
    Bytes original;
    for (std::size_t nth = 0; nth < kLeast; ++nth) {
        original.insert(original.end(), {0x0D, kLf, 0x0D, 0x0D, kLf, 0x0D, 0x41, kLf, kLf});
    }
    EXPECT_TRUE(undone(in_text_mode(original)) == original);
}

TEST(TextMode, IsNotUndoneWhereOneLfIsAlone) {
    const Bytes damaged = in_text_mode(noise(100000, 4));
    EXPECT_TRUE(TextMode::undo(damaged));
    EXPECT_FALSE(TextMode::undo(joined(damaged, {0x00, kLf})));
    EXPECT_FALSE(TextMode::undo(joined({kLf}, damaged)));
}

TEST(TextMode, IsNotUndoneInAFewBytes) {
    EXPECT_FALSE(TextMode::undo(Bytes{}));
    EXPECT_FALSE(TextMode::undo(Bytes{kLf}));
    EXPECT_FALSE(TextMode::undo(Bytes{0x0D, kLf, 0x0D, kLf}));
    EXPECT_FALSE(TextMode::undo(in_text_mode(Bytes(kLeast - 1, kLf))));
    EXPECT_TRUE(undone(in_text_mode(Bytes(kLeast, kLf))) == Bytes(kLeast, kLf));
}

TEST(TextMode, IsNotUndoneWithoutAnyLf) {
    Bytes file = noise(100000, 5);
    std::ranges::replace(file, kLf, static_cast<unsigned char>(0x0D));
    EXPECT_FALSE(TextMode::undo(file));
}

TEST(TextMode, OffsetsAreThoseInTheFile) {
    Bytes original(100, 0x41);
    original[3] = kLf;
    std::fill_n(original.begin() + 40, 20, kLf);
    const Bytes damaged = in_text_mode(original);
    const auto text = TextMode::undo(damaged);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->first_change(), 3U);
    for (const std::size_t offset : {0U, 2U, 10U, 39U, 80U}) {
        EXPECT_EQ(damaged[text->offset_in_file(offset)], original[offset]) << offset;
    }
    EXPECT_EQ(text->offset_in_file(80), 101U);
    EXPECT_EQ(text->offset_in_file(original.size()), damaged.size());
}

} // namespace
} // namespace test
