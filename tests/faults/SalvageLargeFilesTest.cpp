#include "faults/Limits.h"
#include "faults/SalvageFixture.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

#include <fstream>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30U;

/// Files of the size given, most of it a hole. Their mappings are between pages that cannot be read.
class SalvageLargeFile : public SalvageFault, public ::testing::WithParamInterface<std::uint64_t> {
  protected:
    void SetUp() override {
        if (holes_take_memory(folder.path())) {
            GTEST_SKIP() << "holes that are read take memory here";
        }
    }

    /// Writes bytes into the damaged file at a place.
    void put(std::uint64_t place, const Bytes& bytes) const {
        std::fstream stream(damaged, std::ios::binary | std::ios::in | std::ios::out);
        stream.seekp(static_cast<std::streamoff>(place));
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        ASSERT_TRUE(stream.flush());
    }

    const Bytes picture = make_preview(Scene(1), 320, 240);
    const Bytes cut = part(picture, 0, picture.size() * 2 / 3);
};

// One file throughout: the system fills gigabytes of memory with its zeros once.
TEST_P(SalvageLargeFile, IsScannedFromItsFrontToItsEnd) {
    fs::resize_file(damaged, GetParam());
    EXPECT_EQ(salvage(), STILL_MEND_NOTHING_FOUND);
    expect_nothing_written();

    const std::uint64_t place = GetParam() - cut.size();
    ASSERT_NO_FATAL_FAILURE(put(place, cut));
    EXPECT_EQ(salvage(), STILL_MEND_OK);
    EXPECT_TRUE(jpeg_decodes(read_file(output)));
    EXPECT_EQ(report.picture_offset, place);
    EXPECT_GE(report.first_bad_byte, place);
    EXPECT_LE(report.first_bad_byte, GetParam());

    ASSERT_NO_FATAL_FAILURE(put(1, picture)); // At 0 the whole file would be an intact JPEG.
    EXPECT_EQ(salvage(), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), picture);
    EXPECT_EQ(report.picture_offset, 1U);
    EXPECT_EQ(report.first_bad_byte, STILL_MEND_NO_BAD_BYTE);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SalvageLargeFile, ::testing::Values(2 * kGigabyte, 4 * kGigabyte + 1),
                         [](const auto& size) { return std::to_string(size.param); });

} // namespace
} // namespace test
