#include "e2e/RepairFixture.h"

#include "StandIns.h"
#include "support/ArwPhoto.h"

#include <plate_mend/plate_mend.h>
#include <system_path/system_path.h>

#include <gmock/gmock.h>

// Paths beyond 260 characters, with names that are not ASCII.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;

class LongPaths : public RepairFixture {
  protected:
    LongPaths() {
        fs::create_directory(top);
        for (int level = 0; level < 6; ++level) {
            deep /= std::u8string(50, u8'x') + u8"-für-写真";
            fs::create_directory(reachable(deep));
        }
        EXPECT_GT(deep.native().size(), 300U);
    }

    static fs::path reachable(const fs::path& path) { return system_path::reachable(path); }

    ArwPhoto sample{ArwPhoto::Options{.number = 1}};
    ArwPhoto damaged{ArwPhoto::Options{.number = 2}};
    fs::path top = folder / "top"; ///< The first of the folders that lead down to the deep one.
    fs::path deep = top;
    std::error_code error;
};

TEST_F(LongPaths, RepairWorksWithAllPathsLong) {
    ASSERT_EQ(advance("arw", damaged.bytes, sample.bytes), 0); // The same with short ones.
    fs::create_directory(reachable(deep / "work"));
    write_file(reachable(deep / "damaged.arw"), damaged.bytes);
    write_file(reachable(deep / "sample.arw"), sample.bytes);
    EXPECT_EQ(MndRawInit("logs", "config", utf8(deep / "work").c_str()), 0);
    EXPECT_EQ(advance(deep / "damaged.arw", deep / "sample.arw", deep / "output.arw"), 0);
    EXPECT_EQ(read_file(reachable(deep / "output.arw")), output());
    system_path::remove(deep / "work", error);
    EXPECT_FALSE(error) << "the working copy is gone, so the folder can go";
}

TEST_F(LongPaths, FailureLeavesTheCloneAndTheNextRepairClearsIt) {
    fs::create_directory(reachable(deep / "work"));
    write_file(reachable(deep / "empty.arw"), {});
    write_file(reachable(deep / "damaged.arw"), damaged.bytes);
    write_file(reachable(deep / "sample.arw"), sample.bytes);
    MndRawInit("logs", "config", utf8(deep / "work").c_str());
    EXPECT_EQ(advance(deep / "empty.arw", deep / "sample.arw", deep / "output.arw"), -1122);
    EXPECT_EQ(system_path::status(deep / "work" / "temp.arw", error).type(), fs::file_type::regular);
    EXPECT_EQ(advance(deep / "damaged.arw", deep / "sample.arw", deep / "output.arw"), 0);
    EXPECT_EQ(system_path::status(deep / "work" / "temp.arw", error).type(), fs::file_type::not_found);
}

TEST_F(LongPaths, MissingInputsAreMissing) {
    EXPECT_EQ(advance(deep / "damaged.arw", deep / "sample.arw", deep / "output.arw"), -1120);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(LongPaths, OldOutputFolderWithLongPathsInsideIsRemoved) {
    write_file(reachable(deep / "file"), {1});
    fs::rename(top, folder / "output.arw");
    EXPECT_EQ(advance("arw", damaged.bytes, sample.bytes), 0);
    EXPECT_NE(output(), std::nullopt);
}

TEST_F(LongPaths, CheckRawFileOpensAPhotographAndRefusesAnother) {
    write_file(reachable(deep / "photo.arw"), damaged.bytes);
    write_file(reachable(deep / "noise.arw"), noise(1000, 1));
    EXPECT_EQ(CheckRawFile(utf8(deep / "photo.arw").c_str()), 0);
    for (const char* name : {"noise.arw", "missing.arw"}) {
        const std::string path = utf8(deep / name);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(CheckRawFile(path.c_str()), -1);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Could not open file " + path + "\n");
    }
}

TEST_F(LongPaths, GeneralRepairAndTheLogGetThemAsTheHostGaveThem) {
    const std::string path = utf8(deep / "photo.arw");
    EXPECT_EQ(MndRawGeneralRepair(path.c_str(), (path + ".jpg").c_str()), 0);
    EXPECT_EQ(StillMendStandInDamaged(0), path);
    EXPECT_EQ(StillMendStandInOutput(0), path + ".jpg");
    MndRawInit(path.c_str(), path.c_str(), path.c_str());
    EXPECT_EQ(QuillStandInInitConfig(0), path);
    EXPECT_EQ(QuillStandInInitFile(0), path + "\\PlateMend.log");
}

} // namespace
} // namespace test
