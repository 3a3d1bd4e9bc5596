#include "RawMendFixture.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace test {
namespace {

namespace fs = std::filesystem;

/// A photograph that has lost its head and two of its tiles of 64 x 64 pixels.
class RawMendRepairImageTest : public RawMendFixture {
  protected:
    RawMendRepairImageTest() {
        Bytes bytes = without_head(photo);
        for (const std::size_t tile : {1U, 4U}) {
            const std::size_t offset = photo.tile_offsets[tile];
            bytes = zeroed(bytes, offset, offset + photo.tile_byte_counts[tile]);
        }
        write_file(damaged, bytes);
    }

    std::int32_t repair_image(const RawMendOptions* options, RawMendArea* areas, std::uint32_t capacity) {
        fs::remove(output);
        count = 77;
        std::memset(&report, 77, sizeof report);
        const std::string good = utf8(sample);
        const char* const samples[] = {good.c_str()};
        return RawMendRepairImage(utf8(damaged).c_str(), samples, 1, utf8(output).c_str(), options, &report,
                                  areas, capacity, &count);
    }

    std::uint32_t count = 0;
};

std::uint64_t pixels_in(const std::vector<RawMendArea>& areas, std::uint32_t kind) {
    std::uint64_t pixels = 0;
    for (const RawMendArea& area : areas) {
        pixels += area.kind == kind ? std::uint64_t{area.width} * area.height : 0;
    }
    return pixels;
}

TEST_F(RawMendRepairImageTest, ReturnsTheAreasThatTheReportCounts) {
    std::vector<RawMendArea> areas(RAW_MEND_MOST_AREAS);
    ASSERT_EQ(repair_image(nullptr, areas.data(), RAW_MEND_MOST_AREAS), RAW_MEND_OK);
    ASSERT_EQ(count, 2U);
    areas.resize(count);
    EXPECT_EQ(report.pixel_count, 192U * 128);
    EXPECT_EQ(report.lost_pixel_count, 2U * 64 * 64);
    EXPECT_EQ(report.doubtful_pixel_count, 0U);
    EXPECT_EQ(pixels_in(areas, RAW_MEND_AREA_LOST), report.lost_pixel_count);
    EXPECT_EQ(areas[0].left, 64U);
    EXPECT_EQ(areas[0].top, 0U);
    EXPECT_EQ(areas[1].left, 64U);
    EXPECT_EQ(areas[1].top, 64U);
    EXPECT_EQ(areas[1].reserved, 0U);
}

TEST_F(RawMendRepairImageTest, FillsNoMoreThanTheCapacity) {
    std::array<RawMendArea, 2> areas{};
    areas[1].kind = 77;
    ASSERT_EQ(repair_image(nullptr, areas.data(), 1), RAW_MEND_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(areas[0].kind, std::uint32_t{RAW_MEND_AREA_LOST});
    EXPECT_EQ(areas[1].kind, 77U);
    ASSERT_EQ(repair_image(nullptr, nullptr, 0), RAW_MEND_OK);
    EXPECT_EQ(count, 2U);
}

TEST_F(RawMendRepairImageTest, WithoutOptionsIsAPlainRepair) {
    ASSERT_EQ(repair_image(nullptr, nullptr, 0), RAW_MEND_OK);
    const Bytes result = read_file(output);
    const RawMendReport image_report = report;
    RawMendOptions none{};
    ASSERT_EQ(repair_image(&none, nullptr, 0), RAW_MEND_OK);
    EXPECT_EQ(read_file(output), result);
    fs::remove(output);
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_EQ(read_file(output), result);
    EXPECT_EQ(std::memcmp(&report, &image_report, sizeof report), 0);
}

TEST_F(RawMendRepairImageTest, RefusesWhatItDoesNotKnow) {
    RawMendOptions options{.flags = RAW_MEND_NO_FILL, .reserved = 0};
    EXPECT_EQ(repair_image(&options, nullptr, 0), RAW_MEND_OK) << "the control";
    options.flags = RAW_MEND_NO_OUTPUT << 1U;
    EXPECT_EQ(repair_image(&options, nullptr, 0), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(count, 0U);
    expect_nothing();
    options = {.flags = 0, .reserved = 1};
    EXPECT_EQ(repair_image(&options, nullptr, 0), RAW_MEND_BAD_ARGUMENT);
    expect_nothing();
    EXPECT_EQ(repair_image(nullptr, nullptr, 1), RAW_MEND_BAD_ARGUMENT);
    expect_nothing();
    RawMendArea area{};
    const std::string good = utf8(sample);
    const char* const samples[] = {good.c_str()};
    EXPECT_EQ(RawMendRepairImage(utf8(damaged).c_str(), samples, 1, utf8(output).c_str(), nullptr, &report,
                                 &area, 1, nullptr),
              RAW_MEND_BAD_ARGUMENT);
    expect_nothing();
}

TEST_F(RawMendRepairImageTest, WithoutAnOutputReportsTheSame) {
    ASSERT_EQ(repair_image(nullptr, nullptr, 0), RAW_MEND_OK);
    const RawMendReport written = report;
    const RawMendOptions options{.flags = RAW_MEND_NO_OUTPUT, .reserved = 0};
    std::vector<RawMendArea> areas(RAW_MEND_MOST_AREAS);
    ASSERT_EQ(repair_image(&options, areas.data(), RAW_MEND_MOST_AREAS), RAW_MEND_OK);
    EXPECT_EQ(std::memcmp(&report, &written, sizeof report), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(RawMendRepairImageTest, WithoutAnOutputUsesNoPath) {
    const RawMendOptions options{.flags = RAW_MEND_NO_OUTPUT, .reserved = 0};
    const std::string good = utf8(sample);
    const char* const samples[] = {good.c_str()};
    write_file(output, {1});
    const std::string taken = utf8(output);
    for (const char* const path : {taken.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(RawMendRepairImage(utf8(damaged).c_str(), samples, 1, path, &options, &report, nullptr, 0,
                                     nullptr),
                  RAW_MEND_OK);
    }
    EXPECT_EQ(read_file(output), Bytes{1});
}

TEST_F(RawMendRepairImageTest, SaysWhetherTheFileBeginsWithTheOutput) {
    const RawMendOptions options{.flags = RAW_MEND_NO_OUTPUT, .reserved = 0};
    const auto is_unchanged = [&](const Bytes& file) {
        write_file(damaged, file);
        EXPECT_EQ(repair_image(&options, nullptr, 0), RAW_MEND_OK);
        return (report.notes & RAW_MEND_UNCHANGED) != 0;
    };
    Bytes longer = photo.bytes;
    longer.resize(longer.size() + 1000);
    Bytes displaced = photo.bytes;
    displaced.insert(displaced.begin(), 512, 0x55);
    EXPECT_TRUE(is_unchanged(photo.bytes));
    EXPECT_TRUE(is_unchanged(longer));
    EXPECT_FALSE(is_unchanged(displaced));
    EXPECT_FALSE(is_unchanged(without_head(photo)));
}

TEST_F(RawMendRepairImageTest, ReturnsNoAreasAfterAnError) {
    write_file(damaged, noise(100000, 1));
    RawMendArea area{};
    EXPECT_EQ(repair_image(nullptr, &area, 1), RAW_MEND_NOT_FOUND);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(area.kind, 0U);
    expect_nothing();
}

/// A sample that knows of fewer lost pixels is the better one, whatever its place in the list.
TEST_F(RawMendRepairImageTest, KeepsTheResultWithTheFewestLostPixels) {
    const DngPhoto narrow({.number = 3, .width = 128, .height = 128});
    const fs::path second = folder / "second.dng";
    write_file(second, narrow.bytes);
    for (const auto& order : {std::vector{sample, second}, std::vector{second, sample}}) {
        fs::remove(output);
        ASSERT_EQ(repair(order), RAW_MEND_OK);
        EXPECT_EQ(order[report.sample], sample);
        EXPECT_EQ(report.lost_pixel_count, 2U * 64 * 64);
    }
}

} // namespace
} // namespace test
