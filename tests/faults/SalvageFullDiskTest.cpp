#include "faults/Limits.h"
#include "faults/SalvageFixture.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

namespace test {
namespace {

namespace fs = std::filesystem;

using SalvageFullDisk = EachSalvage;

// The disk is full after any number of bytes of the picture.
TEST_P(SalvageFullDisk, IsNoticedWhereverItEndsAndLeavesTheOldOutput) {
    const Bytes wanted = undisturbed();
    const Bytes old{1, 2, 3};
    write_file(output, old);
    for (std::size_t room = 0; room < wanted.size(); ++room) {
        {
            const FileSizeLimit limit(room);
            ASSERT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE) << "room " << room;
        }
        ASSERT_EQ(read_file(output), old) << "room " << room;
        ASSERT_EQ(names(), std::vector<std::string>{"output.jpg"}) << "room " << room;
        ASSERT_EQ(report.mcu_count, 0U) << "room " << room;
    }
    const FileSizeLimit limit(wanted.size());
    EXPECT_EQ(salvage(), STILL_MEND_OK) << "The control: it just fits.";
    EXPECT_EQ(report.warnings & (STILL_MEND_END_ADDED | STILL_MEND_REENCODED) & GetParam().warnings,
              GetParam().warnings);
    EXPECT_EQ(read_file(output), wanted);
}

INSTANTIATE_TEST_SUITE_P(Ways, SalvageFullDisk, ::testing::ValuesIn(salvage_cases()), salvage_name);

class SalvageSmallFileSystem : public SalvageFault {
  protected:
    /// Salvages with the output on a small file system. Gives minus the code; 70 where something is left of a
    /// failure, or a success left no picture.
    [[nodiscard]] std::optional<int> salvage_on_small_file_system() {
        return result_on_small_file_system(output.parent_path(), [this] {
            const std::int32_t code = salvage();
            const bool delivered = fs::exists(output) && jpeg_decodes(read_file(output));
            return (code == STILL_MEND_OK ? delivered : names().empty()) ? -code : 70;
        });
    }
};

TEST_F(SalvageSmallFileSystem, TakesAPictureThatFitsAndNoOther) {
    const Bytes large = make_preview(Scene(1), 640, 480);
    ASSERT_GT(large.size(), small_file_system());
    const Bytes small = make_preview(Scene(1), 64, 48);
    ASSERT_LT(small.size(), small_file_system());
    damage(large);
    const auto too_large = salvage_on_small_file_system();
    if (!too_large) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    EXPECT_EQ(too_large, -STILL_MEND_OUTPUT_UNWRITABLE);
    damage(small);
    EXPECT_EQ(salvage_on_small_file_system(), STILL_MEND_OK);
}

} // namespace
} // namespace test
