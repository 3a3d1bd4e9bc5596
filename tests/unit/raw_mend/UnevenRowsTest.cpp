#include "RowImages.h"

#include "locate/RowExtent.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::find_row_phase;
using raw_mend::Packing;
using raw_mend::RowGeometry;
using raw_mend::RowPhase;
using raw_mend::RowTraits;

const RowTraits kKnown{true, 0, false, false, 0};

/// Rows of packed samples with some bytes after each.
struct UnevenImage {
    RowGeometry geometry;
    Bytes bytes;
};

UnevenImage with_rows_of(const Picture& picture, Packing packing, unsigned bits, const Bytes& after) {
    UnevenImage image{geometry_of(picture, packing, bits), {}};
    const Bytes rows = coded_rows(picture, image.geometry);
    const std::size_t size = image.geometry.row_bytes;
    for (std::size_t row = 0; row < picture.height; ++row) {
        const Bytes one = joined(part(rows, row * size, (row + 1) * size), after);
        image.bytes.insert(image.bytes.end(), one.begin(), one.end());
    }
    image.geometry.row_bytes += after.size();
    return image;
}

std::uint64_t expected_phase(std::uint64_t window, const RowGeometry& geometry) {
    return (geometry.row_bytes - window % geometry.row_bytes) % geometry.row_bytes;
}

void expect_exact_everywhere(const UnevenImage& image) {
    ASSERT_TRUE(image.geometry.supported());
    ASSERT_FALSE(image.geometry.is_even());
    for (std::size_t displaced = 0; displaced < image.geometry.row_bytes; ++displaced) {
        const Bytes window = part(image.bytes, displaced, image.bytes.size());
        const RowPhase found = find_row_phase(window, image.geometry, kKnown);
        ASSERT_EQ(found.phase, expected_phase(displaced, image.geometry))
            << displaced << ", " << image.geometry.bits << ", distance " << found.distance;
    }
}

/// The width leaves the last group incomplete.
TEST(UnevenRows, HaveAnExactPhaseAtEveryDisplacement) {
    for (const Packing packing : {Packing::kPackedHighFirst, Packing::kPackedLowFirst}) {
        for (const unsigned bits : {10U, 14U}) {
            expect_exact_everywhere(with_rows_of(clouds(194, 80, 1), packing, bits, {}));
        }
    }
}

TEST(UnevenRows, MayEndWithBytesThatAreTheSameInAll) {
    expect_exact_everywhere(with_rows_of(clouds(192, 80, 1), Packing::kPackedHighFirst, 10, Bytes(12)));
    expect_exact_everywhere(with_rows_of(clouds(192, 80, 1), Packing::kPackedLowFirst, 12, Bytes(4)));
    expect_exact_everywhere(with_rows_of(clouds(192, 80, 1), Packing::kPackedHighFirst, 14, Bytes(1)));
}

TEST(UnevenRows, HaveNoPhaseWithoutAPicture) {
    const UnevenImage shape = with_rows_of(clouds(194, 80, 1), Packing::kPackedHighFirst, 14, {});
    for (std::uint32_t seed = 1; seed < 20; ++seed) {
        EXPECT_FALSE(find_row_phase(noise(shape.bytes.size(), seed), shape.geometry, kKnown).phase);
    }
    EXPECT_FALSE(find_row_phase(Bytes(shape.bytes.size()), shape.geometry, kKnown).phase);
    EXPECT_FALSE(find_row_phase(Bytes(shape.bytes.size(), 0x20), shape.geometry, kKnown).phase);
    EXPECT_FALSE(find_row_phase(Bytes(shape.bytes.size(), 0x20), shape.geometry).phase);
}

TEST(UnevenRows, AreNotMistakenForSmallerSamplesIfBitsAreIdle) {
    const Picture picture = clouds(194, 80, 1);
    const RowGeometry geometry = geometry_of(picture, Packing::kPackedHighFirst, 14);
    const Bytes image = coded_rows(picture, geometry, LowBits::kZero);
    for (const RowTraits& traits : {RowTraits{}, RowTraits{true, 0, false, false, 2}}) {
        const RowPhase found = find_row_phase(part(image, 100, image.size()), geometry, traits);
        EXPECT_TRUE(!found.phase || *found.phase == expected_phase(100, geometry));
    }
}

TEST(UnevenRows, AreFoundInAFile) {
    const UnevenImage image = with_rows_of(clouds(320, 400, 2), Packing::kPackedLowFirst, 10, Bytes(11));
    const Bytes file = joined(joined(noise(12345, 1), image.bytes), noise(600, 2));
    const RowTraits traits = measure_row_traits(image.bytes, image.geometry);
    EXPECT_EQ(traits, (RowTraits{true, 0, false, false, 0, true}));
    const auto with_sample = find_row_extent(file, image.geometry, traits, {12000, 600});
    ASSERT_EQ(with_sample.images.size(), 1U);
    EXPECT_EQ(with_sample.images[0].start, 12345);
    EXPECT_EQ(with_sample.images[0].proof, raw_mend::PlaceProof::kEnd);
    const auto alone = find_row_extent(file, image.geometry, traits);
    ASSERT_EQ(alone.images.size(), 1U);
    EXPECT_EQ(alone.images[0].start, 12345);
    EXPECT_EQ(alone.images[0].proof, raw_mend::PlaceProof::kBothEdges);
}

} // namespace
} // namespace test
