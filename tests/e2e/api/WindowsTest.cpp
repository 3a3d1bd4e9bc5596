#include "e2e/RepairFixture.h"

#include "support/ArwPhoto.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <fstream>

// What can be answered on Windows alone, through the exports.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OnWindows : public RepairFixture {
  protected:
    static auto open_error(const std::string& number) {
        return ErrorLine("src/util/MMap.cpp", "MMAP::MMAP", "Open File Error " + number);
    }

    ArwPhoto sample{ArwPhoto::Options{.number = 1}};
    ArwPhoto damaged{ArwPhoto::Options{.number = 2}};
};

TEST_F(OnWindows, OldOutputThatIsOpenElsewhereReachesTheHostAsAFilesystemError) {
    for (const char* extension : {"arw", "raw", "sr2", "raf", "dng", "cr2", "nef", "orf", "cr3"}) {
        const fs::path output = folder / ("output." + std::string(extension));
        write_file(output, {1});
        const std::ifstream open(output);
        EXPECT_THROW(advance(extension, Bytes{1}, Bytes{1}), fs::filesystem_error) << extension;
        EXPECT_TRUE(fs::exists(output));
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(OnWindows, DamagedFileThatIsOpenElsewhereWithoutSharedDeletionIsNotMapped) {
    write_file(folder / "damaged.arw", damaged.bytes);
    const std::ifstream open(folder / "damaged.arw", std::ios::binary);
    EXPECT_EQ(advance("arw", std::nullopt, sample.bytes), -1122);
    EXPECT_THAT(lines(), Contains(open_error("20")));
}

TEST_F(OnWindows, DamagedFileInAViewerThatSharesAllIsRepaired) {
    const fs::path path = folder / "damaged.arw";
    write_file(path, damaged.bytes);
    const HANDLE viewer =
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(viewer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(advance("arw", std::nullopt, sample.bytes), 0);
    ::CloseHandle(viewer);
}

TEST_F(OnWindows, BackslashesAndSlashesBothLeadToTheFile) {
    write_file(folder / "damaged.arw", damaged.bytes);
    write_file(folder / "sample.arw", sample.bytes);
    fs::path slashes = folder / "damaged.arw";
    fs::path backslashes = folder / "sample.arw";
    slashes = slashes.generic_wstring();
    backslashes.make_preferred();
    EXPECT_EQ(advance(slashes, backslashes, folder / "output.arw"), 0);
}

} // namespace
} // namespace test
