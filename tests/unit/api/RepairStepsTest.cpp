#include "api/RepairSteps.h"

#include "StandIns.h"
#include "api/WorkDirectory.h"
#include "support/Bytes.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <system_error>

namespace plate_mend {
namespace {

namespace fs = std::filesystem;
using test::Bytes;

class RepairSteps : public ::testing::Test {
  protected:
    RepairSteps() { test::reset_stand_ins(); }

    test::TempDir folder;
};

TEST_F(RepairSteps, DecodesThePathsInTheOrderOfTheArguments) {
    const RepairPaths paths = decode_paths("a.arw", "b.arw", "c.arw");
    EXPECT_EQ(paths.damaged, "a.arw");
    EXPECT_EQ(paths.sample, "b.arw");
    EXPECT_EQ(paths.output, "c.arw");
    EXPECT_THROW((void)decode_paths("\xFF", "b", "c"), std::system_error);
    EXPECT_THROW((void)decode_paths("a", "\xFF", "c"), std::system_error);
    EXPECT_THROW((void)decode_paths("a", "b", "\xFF"), std::system_error);
}

TEST_F(RepairSteps, ClearsAFileADirectoryTreeAndNothing) {
    test::write_file(folder / "file", {1});
    clear_path(folder / "file");
    EXPECT_FALSE(fs::exists(folder / "file"));
    fs::create_directories(folder / "tree" / "below");
    test::write_file(folder / "tree" / "below" / "file", {1});
    clear_path(folder / "tree");
    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_NO_THROW(clear_path(folder / "missing"));
    EXPECT_NO_THROW(remove_path(folder / "missing"));
}

TEST_F(RepairSteps, ProvesThatBothInputsExist) {
    test::write_file(folder / "there", {1});
    const fs::path there = folder / "there";
    const fs::path missing = folder / "missing";
    EXPECT_TRUE(inputs_exist({there, there, missing}));
    EXPECT_FALSE(inputs_exist({missing, there, there}));
    EXPECT_FALSE(inputs_exist({there, missing, there}));
}

TEST_F(RepairSteps, PutsTheTemporaryFileIntoTheWorkDirectory) {
    const auto before = fs::path(work_directory());
    set_work_directory("");
    EXPECT_EQ(temporary_path("temp.arw"), "temp.arw");
    set_work_directory("work");
    EXPECT_EQ(temporary_path("temp.arw"), fs::path("work") / "temp.arw");
    set_work_directory(before);
}

TEST_F(RepairSteps, ClonesAFileOfAnySize) {
    for (const std::size_t size : {0U, 1U, 5000U, (1U << 20U) - 1, 1U << 20U, (3U << 20U) + 7}) {
        const Bytes bytes = test::noise(size, 3);
        test::write_file(folder / "from", bytes);
        EXPECT_TRUE(clone_file(folder / "from", folder / "to"));
        EXPECT_EQ(test::read_file(folder / "to"), bytes);
    }
}

TEST_F(RepairSteps, CloneReplacesWhatWasThere) {
    test::write_file(folder / "from", {1});
    test::write_file(folder / "to", {2, 3, 4});
    EXPECT_TRUE(clone_file(folder / "from", folder / "to"));
    EXPECT_EQ(test::read_file(folder / "to"), Bytes{1});
}

TEST_F(RepairSteps, CloneFailsWhenAStreamDoesNotOpen) {
    test::write_file(folder / "from", {1});
    fs::create_directory(folder / "directory");
    EXPECT_FALSE(clone_file(folder / "missing", folder / "to"));
    EXPECT_FALSE(clone_file(folder / "from", folder / "missing" / "to"));
    EXPECT_FALSE(clone_file(folder / "from", folder / "directory"));
    EXPECT_FALSE(clone_file(folder / "directory", folder / "to"));
}

TEST_F(RepairSteps, GeneralRepairHandsOnBothPathsAndTheCode) {
    StillMendStandInSetResult(-1124);
    EXPECT_EQ(run_general_repair("f\xC3\xBCr.arw", "out.jpg"), -1124);
    ASSERT_EQ(StillMendStandInCallCount(), 1U);
    EXPECT_STREQ(StillMendStandInDamaged(0), "f\xC3\xBCr.arw");
    EXPECT_STREQ(StillMendStandInOutput(0), "out.jpg");
}

TEST_F(RepairSteps, GeneralRepairRejectsIllFormedPathsBeforeTheCall) {
    EXPECT_THROW((void)run_general_repair("\xFF", "out"), std::system_error);
    EXPECT_THROW((void)run_general_repair("in", "\xFF"), std::system_error);
    EXPECT_EQ(StillMendStandInCallCount(), 0U);
}

} // namespace
} // namespace plate_mend
