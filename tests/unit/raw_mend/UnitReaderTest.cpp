#include "RowImages.h"

#include "locate/UnitReader.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace test {
namespace {

using raw_mend::Packing;
using raw_mend::RowGeometry;

Picture all_values() {
    Picture picture{128, 64, {}};
    for (unsigned i = 0; i < 128 * 64; ++i) {
        picture.samples.push_back(static_cast<std::uint16_t>(i * 2654435761U >> 20U));
    }
    return picture;
}

TEST(UnitReader, ReadsWhatIsStoredInEveryPacking) {
    const Picture picture = all_values();
    for (unsigned bits = 8; bits <= 16; ++bits) {
        for (const Packing packing : {Packing::kPackedHighFirst, Packing::kPackedLowFirst,
                                      Packing::kLittleWords, Packing::kBigWords}) {
            const RowGeometry geometry = geometry_of(picture, packing, bits);
            ASSERT_TRUE(geometry.supported()) << bits;
            const Bytes bytes = coded_rows(picture, geometry);
            raw_mend::Units units;
            raw_mend::read_units(geometry, bytes, picture.samples.size(), units);
            for (std::size_t i = 0; i < picture.samples.size(); ++i) {
                const unsigned stored = stored_sample(picture.samples[i], i, bits);
                ASSERT_EQ(units.first[i], static_cast<float>(stored)) << bits << " bits, " << i;
            }
        }
    }
}

TEST(UnitReader, ReadsTheFirstAndLastSampleOfACell) {
    Picture picture = clouds(128, 32, 1);
    std::ranges::transform(picture.samples, picture.samples.begin(),
                           [](std::uint16_t value) { return static_cast<std::uint16_t>(value / 2); });
    picture.at(0, 3) = 0; // Extremes at the ends of cells.
    picture.at(31, 4) = 2047;
    const RowGeometry geometry = geometry_of(picture, Packing::kCells, 12);
    raw_mend::Units units;
    raw_mend::read_units(geometry, coded_rows(picture, geometry), std::size_t{8} * 32, units);
    for (std::size_t i = 0; i < units.first.size(); ++i) {
        const std::size_t x = i % 8 / 2 * 32 + i % 2;
        EXPECT_NEAR(units.first[i], picture.at(x, i / 8), 16) << i; // Steps of 16 at most.
        EXPECT_NEAR(units.last[i], picture.at(x + 30, i / 8), 16) << i;
    }
    EXPECT_EQ(units.first[24], 0);
    EXPECT_EQ(units.last[33], 2047);
}

TEST(UnitReader, ReadsNoByteMoreThanItNeeds) {
    const Picture picture = all_values();
    for (const NamedPacking& named : packings()) {
        const RowGeometry geometry = geometry_of(picture, named.packing, named.bits);
        const Bytes bytes = noise(std::size_t{5} * geometry.group_bytes(), 1); // An allocation of its own.
        const std::size_t count = std::size_t{5} * geometry.group_units();
        raw_mend::Units units;
        raw_mend::read_units(geometry, bytes, count, units);
        EXPECT_EQ(units.first.size(), count) << named.name;
    }
}

TEST(RowGeometry, IsSupportedIfItsNumbersAreSensible) {
    const RowGeometry sensible{Packing::kPackedHighFirst, 12, 3018, 1324, 1, 2};
    EXPECT_TRUE(sensible.supported());
    const auto changed = [&](auto change) {
        RowGeometry geometry = sensible;
        change(geometry);
        return geometry.supported();
    };
    EXPECT_FALSE(changed([](RowGeometry& g) { g.bits = 0; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.bits = 17; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.row_bytes = 0; }));
    EXPECT_TRUE(changed([](RowGeometry& g) { g.row_bytes = 3019; })) << "no whole groups";
    EXPECT_FALSE(changed([](RowGeometry& g) { g = {Packing::kLittleWords, 12, 3019, 1324, 1, 2}; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g = {Packing::kCells, 11, 3019, 1324, 1, 2}; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.row_bytes = 30; })) << "too narrow";
    EXPECT_FALSE(changed([](RowGeometry& g) { g.row_bytes = std::uint64_t{3} << 40U; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.rows = 0; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.rows = ~std::uint64_t{0}; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.samples_per_pixel = 0; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.samples_per_pixel = 5; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.cfa_period = 3; }));
    EXPECT_FALSE(changed([](RowGeometry& g) { g.packing = Packing::kBytes; })) << "12 bits in a byte";
}

} // namespace
} // namespace test
