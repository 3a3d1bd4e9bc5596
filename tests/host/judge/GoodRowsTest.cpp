#include "judge/GoodRows.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using plate_mend::host::PixelSigns;
using plate_mend::host::share_of_good_rows;

constexpr std::size_t kRows = 100;

PixelSigns signs_of_rows(std::initializer_list<std::size_t> bad) {
    PixelSigns signs;
    signs.bad_rows.assign(kRows, false);
    for (const std::size_t row : bad) {
        signs.bad_rows[row] = true;
    }
    return signs;
}

PixelSigns displaced_from(std::size_t row, bool place_is_known) {
    PixelSigns signs = signs_of_rows({row});
    signs.displaced_from = row;
    signs.place_is_known = place_is_known;
    return signs;
}

TEST(GoodRows, AreAllOfAPictureWithoutSigns) {
    const PixelSigns signs = signs_of_rows({});
    EXPECT_EQ(share_of_good_rows({.signs = signs}), 1.0);
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0}), 1.0);
}

TEST(GoodRows, AreThoseWithoutASignWhereEachTakesTheSameBytes) {
    const PixelSigns signs = signs_of_rows({40, 41, 90});
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0}), 0.97);
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 60.5}), 0.58);
}

TEST(GoodRows, AreUnknownInCompressedDataWithASign) {
    const PixelSigns signs = signs_of_rows({40, 90});
    EXPECT_EQ(share_of_good_rows({.signs = signs}), std::nullopt) << "damage shows late there";
}

TEST(GoodRows, AreUnknownWhereSingleValuesAreImpossible) {
    PixelSigns signs = signs_of_rows({40});
    signs.scattered = true;
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0}), std::nullopt);
}

TEST(GoodRows, AreUnknownInCompressedDataWithoutAPlace) {
    const PixelSigns signs = signs_of_rows({});
    EXPECT_EQ(share_of_good_rows({.signs = signs, .data_errors = true}), std::nullopt);
    EXPECT_EQ(share_of_good_rows({.signs = signs, .place_unknown = true}), std::nullopt);
}

TEST(GoodRows, AreUnknownWhereBytesAreLostInAnUnknownPlace) {
    const PixelSigns signs = signs_of_rows({40});
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0, .place_unknown = true}), std::nullopt);
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0, .lost_inside = true}), std::nullopt);
}

TEST(GoodRows, EndWhereADisplacementBegins) {
    const PixelSigns known = displaced_from(40, true);
    EXPECT_EQ(share_of_good_rows({.signs = known, .rows_there = 100.0, .place_unknown = true}), 0.4);
    const PixelSigns shown = displaced_from(40, false);
    EXPECT_EQ(share_of_good_rows({.signs = shown, .rows_there = 100.0}), std::nullopt);
}

TEST(GoodRows, AreNoneWhereAllIsDisplacedFromTheBeginning) {
    const PixelSigns shown = displaced_from(0, false);
    EXPECT_EQ(share_of_good_rows({.signs = shown, .rows_there = 100.0}), 0.0);
    const PixelSigns early = signs_of_rows({2});
    EXPECT_EQ(share_of_good_rows({.signs = early, .place_unknown = true}), 0.0);
    const PixelSigns later = signs_of_rows({3});
    EXPECT_EQ(share_of_good_rows({.signs = later, .place_unknown = true}), std::nullopt);
}

TEST(GoodRows, AreUnknownWhereALossWasFilledAndRowsBeforeItAreBad) {
    const PixelSigns tail = signs_of_rows({80, 90});
    EXPECT_EQ(share_of_good_rows({.signs = tail, .rows_there = 80.0, .filled = true}), 0.8);
    const PixelSigns inside = signs_of_rows({40, 80});
    EXPECT_EQ(share_of_good_rows({.signs = inside, .rows_there = 80.0, .filled = true}), std::nullopt);
}

TEST(GoodRows, AreNoneWhereFewLookGoodInAPictureThatIsBadFromTheBeginning) {
    PixelSigns signs = signs_of_rows({});
    for (std::size_t row = 0; row < 67; ++row) {
        signs.bad_rows[row] = true;
    }
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0}), 0.0);
    signs.bad_rows[66] = false; // More than a third is good.
    EXPECT_EQ(share_of_good_rows({.signs = signs, .rows_there = 100.0}), 0.34);
}

} // namespace
} // namespace test
