#include "RowImages.h"

#include "mend/RowPath.h"
#include "support/Bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {
namespace {

using raw_mend::find_row_path;
using raw_mend::Packing;
using raw_mend::RowGeometry;
using raw_mend::RowPath;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kCluster = 4096;
constexpr std::int64_t kSector = 512;
constexpr std::size_t kWidth = 1000; // Its rows are no sectors in any packing.
constexpr std::size_t kHeight = 600;

/// Clusters lost from the image on, at places in what is left.
Bytes without(Bytes image, const std::vector<std::size_t>& places) {
    for (const std::size_t at : places) {
        image = joined(part(image, 0, at), part(image, at + kCluster, image.size()));
    }
    return image;
}

/// Places so many clusters apart, the first at one of them.
std::vector<std::size_t> places(std::size_t first, std::size_t count, std::size_t apart) {
    std::vector<std::size_t> all;
    for (std::size_t nth = 0; nth < count; ++nth) {
        all.push_back((first + nth * apart) * kCluster);
    }
    return all;
}

void expect_losses(const std::optional<RowPath>& path, const std::vector<std::size_t>& at,
                   const RowGeometry& geometry) {
    ASSERT_TRUE(path);
    ASSERT_THAT(path->steps, SizeIs(at.size()));
    EXPECT_THAT(path->unclear, IsEmpty());
    for (std::size_t nth = 0; nth < at.size(); ++nth) {
        SCOPED_TRACE(nth);
        const raw_mend::RowStep& step = path->steps[nth];
        EXPECT_EQ(step.start, -static_cast<std::int64_t>((nth + 1) * kCluster));
        EXPECT_LE(step.before, at[nth] + geometry.row_bytes);
        EXPECT_GE(step.before + 3 * geometry.row_bytes, at[nth]);
        EXPECT_GE(step.after + geometry.row_bytes, at[nth]);
        EXPECT_LE(step.after, at[nth] + 6 * geometry.row_bytes);
    }
}

TEST(RowPath, LeadsOverAllLosses) {
    const Picture picture = clouds(kWidth, kHeight, 3);
    for (const NamedPacking& kind : packings()) {
        if (kind.packing == Packing::kCells) {
            continue; // Whole cells prove themselves, wherever they are.
        }
        const RowGeometry geometry = geometry_of(picture, kind.packing, kind.bits);
        const Bytes image = coded_rows(picture, geometry);
        for (const std::size_t count : {2U, 3U, 4U}) {
            SCOPED_TRACE(kind.name + ", losses: " + std::to_string(count));
            const auto at = places(12, count, 20);
            expect_losses(
                find_row_path(without(image, at), geometry, 0, -static_cast<std::int64_t>(count * kCluster)),
                at, geometry);
        }
    }
}

/// Where the picture gets brighter at once, rows differ as much as at a loss.
TEST(RowPath, LeadsPastEdgesOfThePicture) {
    Picture picture = clouds(kWidth, kHeight, 4);
    for (const std::size_t edge : {100U, 230U, 400U}) {
        for (std::size_t y = edge; y < edge + 40; ++y) {
            for (std::size_t x = 0; x < kWidth; ++x) {
                picture.at(x, y) = static_cast<std::uint16_t>(picture.at(x, y) / 2);
            }
        }
    }
    const RowGeometry geometry = geometry_of(picture, Packing::kLittleWords, 14);
    const auto at = places(30, 3, 70);
    expect_losses(
        find_row_path(without(coded_rows(picture, geometry), at), geometry, 0, -3 * std::int64_t{kCluster}),
        at, geometry);
}

TEST(RowPath, IsNotFoundOverALossThatCannotBeSeen) {
    Picture picture = clouds(kWidth, kHeight, 5);
    const RowGeometry geometry = geometry_of(picture, Packing::kLittleWords, 14);
    const std::vector<std::size_t> lost{200'704, 602'112, 1'003'520};
    const Bytes visible = without(coded_rows(picture, geometry), lost);
    EXPECT_TRUE(find_row_path(visible, geometry, 0, -3 * std::int64_t{kCluster}));
    const Picture flat = flat_picture(kWidth, kHeight, 6);
    const auto begin = static_cast<std::ptrdiff_t>(150 * kWidth);
    const auto end = static_cast<std::ptrdiff_t>(450 * kWidth);
    std::copy(flat.samples.begin() + begin, flat.samples.begin() + end, picture.samples.begin() + begin);
    const Bytes damaged = without(coded_rows(picture, geometry), lost);
    EXPECT_FALSE(find_row_path(damaged, geometry, 0, -3 * std::int64_t{kCluster}));
}

TEST(RowPath, IsNotSoughtWhereItCannotBeKnown) {
    const Picture picture = clouds(1024, kHeight, 6);
    const RowGeometry geometry = geometry_of(picture, Packing::kLittleWords, 14);
    const Bytes image = coded_rows(picture, geometry);
    const Bytes damaged = without(image, places(12, 3, 20));
    EXPECT_FALSE(find_row_path(damaged, geometry, 0, -3 * std::int64_t{kCluster})) << "they are whole rows";
    EXPECT_FALSE(find_row_path(damaged, geometry, 0, -3 * kSector)) << "nothing is lost there";
    EXPECT_FALSE(find_row_path(image, geometry, 0, 0));
    EXPECT_FALSE(find_row_path(image, geometry, 0, 3 * std::int64_t{kCluster})) << "that is put in";
    EXPECT_FALSE(find_row_path(image, geometry, 0, -100)) << "no sectors";
    EXPECT_FALSE(find_row_path(image, geometry, 0, -9 * kSector)) << "more than eight";
    EXPECT_FALSE(find_row_path(part(image, 0, 100), geometry, 0, -3 * kSector));
    EXPECT_FALSE(find_row_path({}, geometry, 0, -3 * kSector));
}

} // namespace
} // namespace test
