#include "RowImages.h"

#include "locate/RowExtent.h"
#include "locate/RowPhase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace test {
namespace {

using raw_mend::find_row_phase;
using raw_mend::measure_row_traits;
using raw_mend::Packing;
using raw_mend::PhaseFinding;
using raw_mend::RowGeometry;
using raw_mend::RowPhase;
using raw_mend::RowTraits;

/// Where the window of a file has its first whole row.
std::uint64_t expected_phase(std::uint64_t window, const RowGeometry& geometry) {
    return (geometry.row_bytes - window % geometry.row_bytes) % geometry.row_bytes;
}

class RowPhaseOfPacking : public testing::TestWithParam<NamedPacking> {
  protected:
    /// Wide enough for 64 units.
    static Picture picture(unsigned number) {
        return GetParam().packing == Packing::kCells ? clouds(1024, 128, number) : clouds(192, 128, number);
    }
};

INSTANTIATE_TEST_SUITE_P(All, RowPhaseOfPacking, testing::ValuesIn(packings()), [](const auto& test) {
    std::string name = test.param.name;
    std::erase_if(name, [](char c) { return c == ' ' || c == ','; });
    return name;
});

TEST_P(RowPhaseOfPacking, IsExactAtEveryDisplacement) {
    const Picture clear = picture(1);
    const RowGeometry geometry = geometry_of(clear, GetParam().packing, GetParam().bits);
    const Bytes image = coded_rows(clear, geometry);
    for (std::size_t displaced = 0; displaced < geometry.row_bytes; ++displaced) {
        const RowPhase found = find_row_phase(part(image, displaced, image.size()), geometry);
        ASSERT_EQ(found.finding, PhaseFinding::kClear) << displaced << ", distance " << found.distance;
        ASSERT_EQ(*found.phase, expected_phase(displaced, geometry)) << displaced;
        ASSERT_EQ(*found.alignment, *found.phase % geometry.group_bytes());
        ASSERT_GT(found.best, found.second);
        ASSERT_GE(found.rows, 100U);
    }
}

TEST_P(RowPhaseOfPacking, HasNoAnswerWithoutAPicture) {
    const Picture shape = picture(1);
    const RowGeometry geometry = geometry_of(shape, GetParam().packing, GetParam().bits);
    const std::size_t size = geometry.image_bytes();
    for (const unsigned strength : {0U, 1U, 5U, 50U, 400U}) {
        const Picture flat = flat_picture(shape.width, shape.height, strength);
        EXPECT_FALSE(find_row_phase(coded_rows(flat, geometry), geometry).phase) << strength;
    }
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        EXPECT_FALSE(find_row_phase(noise(size, seed), geometry).phase) << seed;
    }
    EXPECT_FALSE(find_row_phase(Bytes(size, 0), geometry).phase);
    EXPECT_FALSE(find_row_phase(Bytes(size, 0x20), geometry).phase);
    Bytes text;
    while (text.size() < size) {
        const std::string line =
            "<rdf:li> line " + std::to_string(text.size() * 7919) + " of many </rdf:li>\n";
        text.insert(text.end(), line.begin(), line.end());
    }
    EXPECT_FALSE(find_row_phase(text, geometry).phase);
}

TEST_P(RowPhaseOfPacking, HasNoAnswerAtAnotherRowLength) {
    const Picture clear = picture(1);
    RowGeometry geometry = geometry_of(clear, GetParam().packing, GetParam().bits);
    const Bytes image = coded_rows(clear, geometry);
    for (const unsigned groups : {1U, 2U, 4U}) {
        RowGeometry longer = geometry;
        longer.row_bytes += std::uint64_t{groups} * geometry.group_bytes();
        EXPECT_FALSE(find_row_phase(image, longer).phase) << groups;
    }
}

TEST_P(RowPhaseOfPacking, ReadsNothingOutsideWindowsOfAnySize) {
    const Picture clear = picture(2);
    const RowGeometry geometry = geometry_of(clear, GetParam().packing, GetParam().bits);
    const Bytes image = coded_rows(clear, geometry);
    std::mt19937 random(1);
    for (unsigned i = 0; i < 60; ++i) {
        const std::size_t first = random() % geometry.row_bytes;
        const std::size_t size = random() % (image.size() - first);
        const RowPhase found = find_row_phase(part(image, first, first + size), geometry);
        if (found.phase) {
            EXPECT_EQ(*found.phase, expected_phase(first, geometry)) << first << ", " << size;
        }
    }
    EXPECT_EQ(find_row_phase(raw_mend::Bytes{}, geometry).finding, PhaseFinding::kTooShort);
}

TEST(RowPhase, HasNoAnswerWhereTheGeometryIsNotSupported) {
    const Bytes file = noise(100000, 1);
    for (const RowGeometry& geometry :
         {RowGeometry{}, RowGeometry{Packing::kPackedHighFirst, 0, 300, 100, 1, 2},
          RowGeometry{Packing::kLittleWords, 14, ~std::uint64_t{0}, ~std::uint64_t{0}, 1, 2},
          RowGeometry{Packing::kBytes, 8, 200, 100, 0, 0}}) {
        EXPECT_EQ(find_row_phase(file, geometry).finding, PhaseFinding::kUnsupported);
        EXPECT_EQ(measure_row_traits(file, geometry), RowTraits{});
        EXPECT_TRUE(raw_mend::find_row_extent(file, geometry).images.empty());
    }
}

TEST(RowPhase, HasNoAnswerInTwoPhasesAtOnce) {
    const Picture clear = clouds(256, 256, 3);
    const RowGeometry geometry = geometry_of(clear, Packing::kLittleWords, 14);
    const Bytes image = coded_rows(clear, geometry);
    const std::size_t half = image.size() / 2;
    const Bytes lost = joined(part(image, 0, half), part(image, half + 100, image.size()));
    EXPECT_EQ(find_row_phase(lost, geometry).finding, PhaseFinding::kNotDistinct);
}

TEST(RowPhase, OfInterleavedColoursIsThatOfAPixel) {
    constexpr std::size_t kWidth = 160;
    Picture clear = clouds(2 * kWidth, 240, 4);
    const RowGeometry geometry{Packing::kBytes, 8, 3 * kWidth, 120, 3, 1};
    Bytes image;
    for (std::size_t i = 0; i < kWidth * 120; ++i) {
        const unsigned value = clear.at(2 * (i % kWidth), 2 * (i / kWidth)); // One colour of the filter.
        for (const unsigned share : {16U, 20U, 28U}) {
            image.push_back(static_cast<unsigned char>(value / share));
        }
    }
    for (std::size_t displaced = 0; displaced < geometry.row_bytes; ++displaced) {
        const RowPhase found = find_row_phase(part(image, displaced, image.size()), geometry);
        ASSERT_EQ(found.phase, expected_phase(displaced, geometry)) << displaced;
    }
}

/// Such samples look like smaller ones at another place.
TEST(RowPhase, OfSamplesWithIdleLowBitsNeedsTheirNumber) {
    struct Case {
        Packing packing;
        unsigned bits;
        unsigned idle;
    };
    for (const Case& idle : {Case{Packing::kPackedHighFirst, 14, 2}, Case{Packing::kPackedLowFirst, 14, 2},
                             Case{Packing::kLittleWords, 16, 8}, Case{Packing::kBigWords, 16, 8}}) {
        Picture clear = clouds(256, 128, 5);
        if (idle.idle == 8) {
            std::ranges::transform(clear.samples, clear.samples.begin(), [](std::uint16_t value) {
                return static_cast<std::uint16_t>(value & 0xFF0U);
            });
        }
        const RowGeometry geometry = geometry_of(clear, idle.packing, idle.bits);
        const Bytes image = coded_rows(clear, geometry, LowBits::kZero);
        const RowTraits traits = measure_row_traits(image, geometry);
        EXPECT_EQ(traits.idle_low_bits, idle.idle);
        for (std::size_t displaced = 0; displaced < geometry.row_bytes; ++displaced) {
            const Bytes window = part(image, displaced, image.size());
            ASSERT_EQ(find_row_phase(window, geometry).finding, PhaseFinding::kNoAlignment) << displaced;
            ASSERT_EQ(find_row_phase(window, geometry, traits).phase, expected_phase(displaced, geometry));
        }
    }
}

/// A picture whose left and right ends are alike, with a step of some blur at a column.
Picture with_edge(std::size_t column, double blur) {
    Picture picture = flat_picture(512, 256, 3);
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const double distance = (static_cast<double>(x) - static_cast<double>(column)) / blur;
            const double step = 800 / (1 + std::exp(-distance));
            const double back = 800 / (1 + std::exp(-(static_cast<double>(x) - 400) / 20));
            picture.at(x, y) = static_cast<std::uint16_t>(picture.at(x, y) + step - back);
        }
    }
    return picture;
}

TEST(RowPhase, IsNotThatOfAnEdgeInThePicture) {
    for (const double blur : {0.7, 1.0, 2.0, 4.0}) {
        for (const std::size_t column : {100U, 101U, 250U}) {
            const Picture edge = with_edge(column, blur);
            const RowGeometry geometry = geometry_of(edge, Packing::kLittleWords, 14);
            const Bytes image = coded_rows(edge, geometry);
            EXPECT_FALSE(find_row_phase(image, geometry).phase) << blur << ", " << column;
            const RowTraits seam{true, 0, false, false, 0};
            EXPECT_FALSE(find_row_phase(image, geometry, seam).phase) << blur << ", " << column;
        }
    }
}

Picture with_masks(unsigned number, std::size_t left, std::size_t right) {
    Picture picture = clouds(512, 256, number);
    const Picture black = flat_picture(512, 256, 6);
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            if (x < left || x + right >= picture.width) {
                picture.at(x, y) = static_cast<std::uint16_t>(black.samples[y * 512 + x] - 700);
            }
        }
    }
    return picture;
}

TEST(RowTraits, OfASampleWithoutMaskedColumnsIsTheSeam) {
    for (const NamedPacking& named : packings()) {
        const Picture sample = clouds(named.packing == Packing::kCells ? 1024 : 192, 128, 6);
        const RowGeometry geometry = geometry_of(sample, named.packing, named.bits);
        RowTraits seam{true, 0, false, false, 0};
        if (named.packing == Packing::kCells) {
            seam.idle_low_bits.reset();
        }
        EXPECT_EQ(measure_row_traits(coded_rows(sample, geometry), geometry), seam) << named.name;
    }
}

TEST(RowTraits, IsNotKnownFromAFlatSample) {
    const Picture sample = flat_picture(512, 256, 20);
    const RowGeometry geometry = geometry_of(sample, Packing::kPackedHighFirst, 12);
    EXPECT_FALSE(measure_row_traits(coded_rows(sample, geometry), geometry).break_known);
}

TEST(RowTraits, OfMaskedColumnsIsWhereTheyMeetThePicture) {
    struct Masks {
        std::size_t left;
        std::size_t right;
    };
    for (const auto& [left, right] : {Masks{48, 0}, Masks{0, 48}, Masks{48, 16}, Masks{16, 48}}) {
        const Picture sample = with_masks(7, left, right);
        const Picture other = with_masks(8, left, right);
        const RowGeometry geometry = geometry_of(other, Packing::kPackedHighFirst, 14);
        const RowTraits traits = measure_row_traits(coded_rows(sample, geometry), geometry);
        const Bytes image = coded_rows(other, geometry);
        for (std::size_t displaced = 0; displaced < geometry.row_bytes; displaced += 23) {
            const Bytes window = part(image, displaced, image.size());
            EXPECT_FALSE(find_row_phase(window, geometry).phase) << left << ", " << right;
            const RowPhase found = find_row_phase(window, geometry, traits);
            if (found.phase) {
                EXPECT_EQ(*found.phase, expected_phase(displaced, geometry)) << left << ", " << right;
            }
        }
    }
}

TEST(RowTraits, LetsThePhaseBeFoundBesideMaskedColumns) {
    const Picture sample = with_masks(7, 48, 2); // Of the right ones, fewer than a group.
    const Picture other = with_masks(8, 48, 2);
    const RowGeometry geometry = geometry_of(other, Packing::kPackedHighFirst, 14);
    const RowTraits traits = measure_row_traits(coded_rows(sample, geometry), geometry);
    EXPECT_EQ(traits, (RowTraits{true, 48, true, false, 0}));
    const Bytes image = coded_rows(other, geometry);
    for (std::size_t displaced = 0; displaced < geometry.row_bytes; ++displaced) {
        const RowPhase found = find_row_phase(part(image, displaced, image.size()), geometry, traits);
        ASSERT_EQ(found.phase, expected_phase(displaced, geometry)) << displaced;
    }
}

} // namespace
} // namespace test
