#include "e2e/RepairFixture.h"

#include "support/ArwPhoto.h"
#include "support/Cr3Photo.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <fstream>

// What can be answered on Windows alone, through the exports.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
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

TEST_F(OnWindows, DamagedFileThatIsReadOnlyIsNotMapped) {
    const fs::path path = folder / "damaged.arw";
    write_file(path, damaged.bytes);
    ASSERT_NE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    const bool writable = std::ofstream(path, std::ios::binary | std::ios::app).is_open();
    if (!writable) {
        EXPECT_EQ(advance("arw", std::nullopt, sample.bytes), -1122);
        EXPECT_THAT(lines(), Contains(open_error("5")));
    }
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (writable) {
        GTEST_SKIP() << "this user may write to read-only files, as root may under Wine";
    }
}

TEST_F(OnWindows, SampleThatIsReadOnlyOrOpenElsewhereIsCloned) {
    const fs::path path = folder / "sample.arw";
    write_file(path, sample.bytes);
    const std::ifstream open(path, std::ios::binary);
    ASSERT_NE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_EQ(advance("arw", damaged.bytes, std::nullopt), 0);
    EXPECT_THAT(work_files(), IsEmpty());
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

// The same file twice: a working copy of the sample makes two files of it, and CR3, which has no working
// copy, cannot open it a second time.

TEST_F(OnWindows, OneFileAsDamagedFileAndSampleIsRepairedByTheWayOfAClone) {
    const fs::path path = folder / "photo.arw";
    write_file(path, sample.bytes);
    EXPECT_EQ(advance(path, path, folder / "output.arw"), 0);
    EXPECT_EQ(read_file(path), sample.bytes);
}

TEST_F(OnWindows, OneFileAsDamagedFileAndSampleIsNotMappedTwiceForCr3) {
    const fs::path path = folder / "photo.cr3";
    write_file(path, Cr3Photo().bytes);
    EXPECT_EQ(advance(path, path, folder / "output.cr3"), -1094) << "as an empty damaged file";
    EXPECT_THAT(lines(), Contains(open_error("20")));
    EXPECT_FALSE(fs::exists(folder / "output.cr3"));
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
