#include "Written.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::ByteOrder;
using raw_mend::NumberField;
using raw_mend::Splice;

class SpliceOfTwo : public testing::Test {
  protected:
    void SetUp() override {
        splice.append(first);
        splice.append_zeros(3);
        splice.append(second);
    }

    const Bytes first{1, 2, 3, 4};
    const Bytes second{5, 6, 7, 8, 9};
    Splice splice;
};

TEST_F(SpliceOfTwo, HasTheBytesOfItsPartsInOrder) {
    EXPECT_EQ(splice.size(), 12U);
    EXPECT_EQ(written(splice), (Bytes{1, 2, 3, 4, 0, 0, 0, 5, 6, 7, 8, 9}));
}

TEST_F(SpliceOfTwo, ChangesNumbersOfAnySizeInBothOrdersEvenAcrossParts) {
    EXPECT_TRUE(splice.set({.at = 0, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0x0102));
    EXPECT_TRUE(splice.set({.at = 2, .size = 8, .order = ByteOrder::kBig, .base = 0}, 0x1122334455667788));
    EXPECT_EQ(written(splice), (Bytes{2, 1, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 8, 9}));
}

TEST_F(SpliceOfTwo, TakesTheBaseFromANumber) {
    EXPECT_TRUE(splice.set({.at = 8, .size = 4, .order = ByteOrder::kBig, .base = 100}, 357));
    EXPECT_EQ(written(splice), (Bytes{1, 2, 3, 4, 0, 0, 0, 5, 0, 0, 1, 1}));
    EXPECT_FALSE(splice.set({.at = 0, .size = 4, .order = ByteOrder::kBig, .base = 100}, 99));
}

TEST_F(SpliceOfTwo, RefusesNumbersWithoutRoom) {
    EXPECT_TRUE(splice.set({.at = 0, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0xFFFF));
    EXPECT_FALSE(splice.set({.at = 2, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0x10000));
    EXPECT_TRUE(splice.set({.at = 10, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0));
    EXPECT_FALSE(splice.set({.at = 11, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0));
    EXPECT_FALSE(splice.set({.at = ~std::uint64_t{0}, .size = 2, .order = ByteOrder::kLittle, .base = 0}, 0));
    EXPECT_EQ(written(splice), (Bytes{0xFF, 0xFF, 3, 4, 0, 0, 0, 5, 6, 7, 0, 0}));
}

TEST_F(SpliceOfTwo, RefusesNumbersThatContradictEachOther) {
    const NumberField field{.at = 4, .size = 4, .order = ByteOrder::kLittle, .base = 0};
    EXPECT_TRUE(splice.set(field, 7));
    EXPECT_TRUE(splice.set(field, 7));
    EXPECT_FALSE(splice.set(field, 8));
    for (const std::uint64_t at : {1U, 3U, 5U, 7U}) {
        EXPECT_FALSE(splice.set({.at = at, .size = 4, .order = ByteOrder::kLittle, .base = 0}, 7)) << at;
    }
    EXPECT_TRUE(splice.set({.at = 0, .size = 4, .order = ByteOrder::kLittle, .base = 0}, 1));
    EXPECT_TRUE(splice.set({.at = 8, .size = 4, .order = ByteOrder::kLittle, .base = 0}, 2));
    EXPECT_EQ(written(splice), (Bytes{1, 0, 0, 0, 7, 0, 0, 0, 2, 0, 0, 0}));
}

TEST(Splice, WithoutPartsHasNoBytes) {
    const Splice splice;
    EXPECT_EQ(splice.size(), 0U);
    EXPECT_TRUE(written(splice).empty());
}

} // namespace
} // namespace test
