#include "judge/PixelSigns.h"

#include "support/Scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

namespace test {
namespace {

using plate_mend::host::find_signs;
using plate_mend::host::PixelSigns;
using plate_mend::host::SensorView;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A photograph whose samples are damaged by the tests.
class Signs : public ::testing::Test {
  protected:
    static constexpr std::size_t kColumns = 640;
    static constexpr std::size_t kRows = 400;
    static constexpr unsigned kBlack = 512;

    [[nodiscard]] PixelSigns found(bool doubtful = false, bool in_columns = false) const {
        return find_signs({.samples = samples.data(),
                           .stride = kColumns,
                           .columns = kColumns,
                           .rows = kRows,
                           .black = kBlack,
                           .white = 16383,
                           .doubtful = doubtful,
                           .in_columns = in_columns,
                           .whole_rows = true});
    }

    /// Samples from a place on, in reading order.
    [[nodiscard]] std::uint16_t* at(std::size_t row, std::size_t column) {
        return &samples[row * kColumns + column];
    }

    /// Any value that the sensor can give.
    static std::uint16_t random(std::uint32_t& state) {
        state = state * 1664525U + 1013904223U;
        return static_cast<std::uint16_t>(state >> 18U);
    }

    std::vector<std::uint16_t> samples = Scene(1).bayer(kColumns, kRows, 14, kBlack);
};

TEST_F(Signs, WholePictureHasNone) {
    EXPECT_THAT(found().findings, IsEmpty());
    EXPECT_THAT(found(true).findings, IsEmpty()) << "doubt alone is no sign";
    EXPECT_THAT(found().bad_rows, ::testing::Each(false));
}

TEST_F(Signs, ImpossibleValues) {
    std::fill_n(at(100, 40), 32, std::uint16_t{16384});
    EXPECT_THAT(found().findings, Contains("values that this sensor cannot give: row 100"));
    samples = Scene(1).bayer(kColumns, kRows, 14, kBlack);
    std::fill_n(at(100, 40), 31, std::uint16_t{16384});
    EXPECT_THAT(found().findings, ::testing::Not(Contains(HasSubstr("cannot give")))) << "a few hot pixels";
    for (std::size_t x = 100; x < 164; x += 2) { // Of one colour only.
        *at(100, x) = 0;
    }
    EXPECT_THAT(found().findings, Contains("values that this sensor cannot give: row 100"));
}

TEST_F(Signs, RunOfZeros) {
    std::fill_n(at(100, 600), 256, std::uint16_t{0});
    const PixelSigns signs = found();
    EXPECT_THAT(signs.findings,
                Contains("runs of one value where a picture should be: 2 rows from row 100 on"));
    EXPECT_TRUE(signs.bad_rows[100]);
    EXPECT_TRUE(signs.bad_rows[101]);
    EXPECT_FALSE(signs.bad_rows[102]);
}

TEST_F(Signs, ShortRunsAreNone) {
    std::fill_n(at(100, 100), 127, std::uint16_t{600});
    EXPECT_THAT(found().findings, IsEmpty());
}

TEST_F(Signs, OverexposedDiscIsNone) {
    // A bright disc, its edge in steps as an edge is.
    for (std::size_t y = 100; y < 300; ++y) {
        const auto off = static_cast<double>(y) - 200;
        const auto half = static_cast<std::size_t>(std::sqrt(100 * 100 - off * off));
        for (std::size_t x = 320 - half; x < 320 + half; ++x) {
            *at(y, x) = 16383;
        }
    }
    EXPECT_THAT(found().findings, IsEmpty());
}

TEST_F(Signs, Noise) {
    std::uint32_t state = 1;
    std::generate_n(at(250, 100), 256, [&] { return random(state); });
    EXPECT_THAT(found().findings, Contains("runs as rough as noise: row 250"));
}

TEST_F(Signs, TailThatIsLost) {
    std::fill(samples.begin() + 300 * kColumns, samples.end(), std::uint16_t{0});
    const PixelSigns signs = found();
    EXPECT_THAT(signs.findings,
                Contains("runs of one value where a picture should be: 100 rows from row 300 on"));
}

TEST_F(Signs, PictureIsDisplacedFromTheMiddleOfARowOn) {
    // All that follows is brighter, as where a stream lost a difference.
    for (auto* sample = at(90, 300); sample != samples.data() + samples.size(); ++sample) {
        *sample = static_cast<std::uint16_t>(*sample + 1500);
    }
    const PixelSigns signs = found();
    EXPECT_THAT(signs.findings, Contains("from row 90 on the picture is displaced"));
    EXPECT_EQ(signs.displaced_from, 90U);
    EXPECT_TRUE(signs.place_is_known);
}

TEST_F(Signs, EndOfALostTopIsNoDisplacement) {
    // A head that is lost reaches into the image, and the picture is calm.
    std::fill(samples.begin(), samples.end(), std::uint16_t{1800});
    std::uint32_t state = 1;
    std::for_each(at(30, 300), samples.data() + samples.size(), [&](std::uint16_t& sample) {
        sample = static_cast<std::uint16_t>(1800 + random(state) % 8);
    });
    std::fill(samples.data(), at(30, 300), std::uint16_t{0});
    const PixelSigns signs = found();
    EXPECT_FALSE(signs.displaced_from.has_value());
    EXPECT_THAT(signs.findings,
                Contains("runs of one value where a picture should be: 31 rows from row 0 on"));
}

TEST_F(Signs, LevelBorderOfThePictureIsNoDisplacement) {
    for (auto* sample = at(200, 0); sample != samples.data() + samples.size(); ++sample) {
        *sample = static_cast<std::uint16_t>(*sample + 1500);
    }
    EXPECT_THAT(found().findings, IsEmpty());
}

TEST_F(Signs, ShiftIsLookedForWhereThereIsDoubt) {
    samples.erase(samples.begin() + 150 * kColumns + 77, samples.begin() + 150 * kColumns + 77 + 50);
    samples.resize(kColumns * kRows, samples.back());
    EXPECT_THAT(found(true).findings, Contains(HasSubstr("the picture is shifted")));
}

TEST_F(Signs, AnotherPictureFromTheMiddleOfARowOn) {
    const auto other = Scene(4).bayer(kColumns, kRows, 14, kBlack);
    const auto own = samples;
    std::size_t count = 0;
    for (std::size_t row = 60; row < 240; row += 20) {
        const auto first = static_cast<std::ptrdiff_t>(row * kColumns + 320);
        samples = own;
        std::copy(other.begin() + first, other.end(), samples.begin() + first);
        const auto findings = found().findings;
        const std::string wanted = "from row " + std::to_string(row) + " on the picture is another one";
        count += std::count(findings.begin(), findings.end(), wanted) == 1 ? 1U : 0U;
    }
    EXPECT_GE(count, 4U) << "of 9; the pictures are of one place, and rows are alike in most of them";
}

TEST_F(Signs, LevelsStepWhereColumnsAreRows) {
    std::transform(at(200, 0), samples.data() + samples.size(), at(200, 0),
                   [](std::uint16_t sample) { return static_cast<std::uint16_t>(sample + 300); });
    EXPECT_THAT(found(false, true).findings, Contains(HasSubstr("on the levels are others")));
    EXPECT_THAT(found().findings, IsEmpty());
}

TEST_F(Signs, ManySingleValuesAreFarOff) {
    std::uint32_t state = 1;
    for (int nth = 0; nth < 1000; ++nth) {
        std::uint16_t& sample = samples[kColumns * (random(state) % kRows) + random(state) % kColumns];
        sample = static_cast<std::uint16_t>(sample ^ 0x0800U);
    }
    EXPECT_THAT(found().findings, Contains(HasSubstr("values are far from all of their neighbours")));
}

TEST_F(Signs, FewSingleValuesMayBeFarOff) {
    for (std::size_t nth = 1; nth <= 100; ++nth) {
        *at(3 * nth, 6 * nth) = 16383;
    }
    EXPECT_THAT(found().findings, IsEmpty());
}

TEST_F(Signs, SingleImpossibleValuesAreScattered) {
    EXPECT_FALSE(found().scattered);
    *at(100, 40) = 16384;
    EXPECT_TRUE(found().scattered);
}

TEST_F(Signs, WrongWidth) {
    const SensorView view{.samples = samples.data(),
                          .stride = 480,
                          .columns = 480,
                          .rows = kColumns * kRows / 480,
                          .black = kBlack,
                          .white = 16383};
    EXPECT_THAT(find_signs(view).findings, Contains(HasSubstr("the width is wrong")));
    EXPECT_EQ(find_signs(view).displaced_from, 0U);
}

TEST_F(Signs, TilesInTheWrongOrder) {
    constexpr std::size_t kTile = 64;
    for (std::size_t y = 0; y < kRows; ++y) { // Neighbours change places.
        for (std::size_t x = 0; x + 2 * kTile <= kColumns; x += 2 * kTile) {
            std::swap_ranges(at(y, x), at(y, x) + kTile, at(y, x + kTile));
        }
    }
    const SensorView view{.samples = samples.data(),
                          .stride = kColumns,
                          .columns = kColumns,
                          .rows = kRows,
                          .black = kBlack,
                          .white = 16383,
                          .tile_columns = kTile};
    EXPECT_THAT(find_signs(view).findings, Contains("tiles do not fit one another"));
}

TEST(SignsOfManyPictures, WholeOnesHaveNone) {
    for (const std::size_t columns : {96U, 160U, 320U, 480U, 1100U}) {
        const std::size_t rows = columns * 3 / 4;
        for (unsigned number = 1; number <= 24; ++number) {
            const auto samples =
                Scene(number).bayer(static_cast<unsigned>(columns), static_cast<unsigned>(rows), 14, 1024);
            const PixelSigns signs = find_signs({.samples = samples.data(),
                                                 .stride = columns,
                                                 .columns = columns,
                                                 .rows = rows,
                                                 .black = 1024,
                                                 .white = 16383,
                                                 .whole_rows = true});
            EXPECT_THAT(signs.findings, IsEmpty()) << "scene " << number << ", " << columns << " columns";
        }
    }
}

TEST(SignsOfSmallPictures, AreNotLookedFor) {
    const std::vector<std::uint16_t> samples(100, 600);
    EXPECT_THAT(find_signs({.samples = samples.data(), .stride = 10, .columns = 10, .rows = 10}).findings,
                Contains(HasSubstr("too small")));
    EXPECT_THAT(find_signs({}).findings, Contains(HasSubstr("too small")));
}

TEST(SignsOfSmallPictures, NothingIsReadOutsideOfFewRowsAndNarrowTiles) {
    const std::vector<std::uint16_t> samples(std::size_t{64} * 3, 600);
    for (const std::size_t rows : {1U, 2U, 3U}) {
        const SensorView view{
            .samples = samples.data(), .stride = 64, .columns = 64, .rows = rows, .dx = 6, .dy = 6};
        EXPECT_THAT(find_signs(view).findings, Contains(HasSubstr("too small"))) << rows << " rows";
    }
    const SensorView tiled{
        .samples = samples.data(), .stride = 64, .columns = 64, .rows = 3, .tile_columns = 1};
    EXPECT_THAT(find_signs(tiled).findings, ::testing::Not(Contains(HasSubstr("tiles"))));
}

} // namespace
} // namespace test
