#include "RowImages.h"

#include "locate/RowExtent.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace test {
namespace {

using raw_mend::find_row_extent;
using raw_mend::find_row_phase;
using raw_mend::ImagePlace;
using raw_mend::Packing;
using raw_mend::RowExtent;
using raw_mend::RowGeometry;
using raw_mend::RowPhase;
using raw_mend::RowTraits;

/// A camera's file whose image is not compressed, and a sample for it.
struct RealRows {
    std::string file;
    std::string sample;
    RowGeometry geometry;
    std::size_t start = 0;
};

const std::vector<RealRows>& real_rows() {
    static const std::vector<RealRows> all{
        {"pairs/picamera-rig/image_0.dng",
         "pairs/picamera-rig/image_3.dng",
         {Packing::kPackedHighFirst, 10, 1820, 1088, 1, 2},
         748},
        {"pairs/picamera-rig/image_3.dng",
         "pairs/picamera-rig/image_0.dng",
         {Packing::kPackedHighFirst, 10, 1820, 1088, 1, 2},
         748},
        {"dng/canon-x4-colorchart.dng",
         "dng/canon-x4-colorchart.dng",
         {Packing::kPackedHighFirst, 14, 3304, 1182, 1, 2},
         1536},
        {"nef/nikon-d1.nef", "nef/nikon-d1.nef", {Packing::kPackedHighFirst, 12, 3018, 1324, 1, 2}, 59642},
    };
    return all;
}

class RealRowsTest : public testing::TestWithParam<RealRows> {
  protected:
    void SetUp() override {
        const RealRows& rows = GetParam();
        REAL_FILE_OR_SKIP(found, rows.file);
        REAL_FILE_OR_SKIP(other, rows.sample);
        file = found;
        const std::size_t size = rows.geometry.image_bytes();
        traits = measure_row_traits(raw_mend::Bytes(other).subspan(rows.start, size), rows.geometry);
        after = other.size() - rows.start - size;
        ASSERT_TRUE(traits.break_known);
    }

    [[nodiscard]] RowExtent find(const Bytes& damaged) const {
        return find_row_extent(damaged, GetParam().geometry, traits, {GetParam().start, after});
    }

    Bytes file;
    RowTraits traits;
    std::size_t after = 0;
};

INSTANTIATE_TEST_SUITE_P(All, RealRowsTest, testing::ValuesIn(real_rows()), [](const auto& test) {
    std::string name = test.param.file.substr(test.param.file.rfind('/') + 1);
    std::erase_if(name, [](char c) { return c == '.' || c == '-' || c == '_'; });
    return name;
});

TEST_P(RealRowsTest, HaveAnExactPhaseOver800Rows) {
    const RowGeometry& geometry = GetParam().geometry;
    std::mt19937 random(1);
    for (unsigned i = 0; i < 20; ++i) {
        const std::size_t first = random() % (250 * geometry.row_bytes);
        const Bytes window =
            part(file, GetParam().start + first, GetParam().start + first + 800 * geometry.row_bytes);
        const RowPhase found = find_row_phase(window, geometry, traits);
        EXPECT_EQ(found.phase, (geometry.row_bytes - first % geometry.row_bytes) % geometry.row_bytes)
            << first;
    }
}

TEST_P(RealRowsTest, NeverHaveAWrongPhaseOver64Rows) {
    const RowGeometry& geometry = GetParam().geometry;
    std::mt19937 random(2);
    for (unsigned i = 0; i < 100; ++i) {
        const std::size_t first = random() % ((geometry.rows - 65) * geometry.row_bytes);
        const std::size_t at = GetParam().start + first;
        const Bytes window = part(file, at, at + 64 * geometry.row_bytes);
        for (const RowTraits& known : {traits, RowTraits{}}) {
            const RowPhase found = find_row_phase(window, geometry, known);
            if (found.phase) {
                EXPECT_EQ(*found.phase,
                          (geometry.row_bytes - first % geometry.row_bytes) % geometry.row_bytes);
            }
        }
    }
}

TEST_P(RealRowsTest, AreFoundWhereverTheyAre) {
    std::mt19937 random(3);
    for (unsigned i = 0; i < 12; ++i) {
        const std::size_t displaced = random() % 20000;
        const std::size_t lost = i % 3 == 0 ? 0 : random() % (GetParam().start * 2);
        const RowExtent extent = find(joined(noise(displaced, i + 1), zeroed(file, 0, lost)));
        ASSERT_EQ(extent.images.size(), 1U) << displaced;
        EXPECT_EQ(extent.images[0].start, static_cast<std::int64_t>(GetParam().start + displaced));
        EXPECT_FALSE(extent.images[0].is_doubtful()) << displaced << ", " << lost;
    }
}

TEST_P(RealRowsTest, AreNeverFoundInAWrongPlaceIfTruncated) {
    std::mt19937 random(4);
    for (unsigned i = 0; i < 20; ++i) {
        const std::size_t displaced = random() % 3 * 512;
        const std::size_t size = (file.size() / 3 + random() % (file.size() / 2)) / 512 * 512;
        for (const ImagePlace& place : find(joined(noise(displaced, i + 1), part(file, 0, size))).images) {
            EXPECT_TRUE(place.is_doubtful() ||
                        place.start == static_cast<std::int64_t>(GetParam().start + displaced))
                << displaced << ", " << size;
        }
    }
}

/// Photographs of all kinds, as a sensor would see them by day, in the evening and at night.
TEST(RealPictures, NeverHaveAWrongPhase) {
    constexpr double kDay = 1;
    unsigned by_day = 0;
    std::mt19937 random(5);
    const std::vector<std::string> names{"exif-org_canon-ixus", "exif-org_kodak-dc240",
                                         "exif-org_nikon-e950", "exif-org_olympus-c960",
                                         "exif-org_sony-d700",  "gps_DSCN0010",
                                         "gps_DSCN0029",        "gps_DSCN0038",
                                         "gps_DSCN0042",        "Reconyx_HC500_Hyperfire",
                                         "tests_87_OSError"};
    for (const std::string& name : names) {
        REAL_FILE_OR_SKIP(jpeg, "jpeg/" + name + ".jpg");
        for (const double light : {kDay, 0.15, 0.02}) {
            const Picture picture = picture_of_jpeg(jpeg, light, 1);
            const NamedPacking& named = packings()[random() % packings().size()];
            const RowGeometry geometry = geometry_of(picture, named.packing, named.bits);
            const Bytes image = coded_rows(picture, geometry);
            const auto check = [&](std::size_t first, std::size_t rows, const RowTraits& traits) {
                const Bytes window = part(image, first, first + rows * geometry.row_bytes);
                const RowPhase found = find_row_phase(window, geometry, traits);
                EXPECT_TRUE(!found.phase || (first + *found.phase) % geometry.row_bytes == 0)
                    << name << ", " << light << ", " << named.name << ", " << first << ", " << rows;
                return found.phase.has_value();
            };
            const RowTraits seam{true, 0, false, false, 0};
            for (unsigned i = 0; i < 8; ++i) {
                const std::size_t first = random() % (image.size() - 64 * geometry.row_bytes);
                check(first, 64, i % 2 == 0 ? seam : RowTraits{});
            }
            const bool found = check(random() % geometry.row_bytes, geometry.rows - 1, seam);
            by_day += found && light == kDay ? 1 : 0;
        }
    }
    EXPECT_GE(2 * by_day, names.size()) << "most pictures have a clear seam";
}

} // namespace
} // namespace test
