#include "util/MMap.h"

#include "support/Bytes.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <string>
#include <system_error>

// What can be answered on Windows alone.

namespace plate_mend {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kShareAllButDeletion = FILE_SHARE_READ | FILE_SHARE_WRITE;

/// A file as another program has it open.
class Elsewhere {
  public:
    Elsewhere(const fs::path& path, DWORD access, DWORD share)
        : handle_(::CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                nullptr)),
          error_(handle_ == INVALID_HANDLE_VALUE ? ::GetLastError() : ERROR_SUCCESS) {}
    Elsewhere(const Elsewhere&) = delete;
    Elsewhere& operator=(const Elsewhere&) = delete;
    ~Elsewhere() {
        if (handle_ != INVALID_HANDLE_VALUE) {
            ::CloseHandle(handle_);
        }
    }

    /// ERROR_SUCCESS, or why it could not be opened.
    [[nodiscard]] DWORD error() const { return error_; }

  private:
    HANDLE handle_;
    DWORD error_;
};

class MMapWindows : public ::testing::Test {
  protected:
    MMapWindows() {
        test::reset_stand_ins();
        test::write_file(file, {1, 2, 3});
    }

    /// The line of an open that failed with the error, in hexadecimal.
    static auto open_error(const std::string& number) {
        return test::ErrorLine("src/util/MMap.cpp", "MMAP::MMAP", "Open File Error " + number);
    }

    test::TempDir folder;
    fs::path file = folder / "file";
};

TEST_F(MMapWindows, WritesThroughTheViewReachTheFile) {
    MMAP map(file);
    ASSERT_EQ(map.size(), 3U);
    map.base[1] = 9;
    map.close();
    EXPECT_EQ(test::read_file(file), (Bytes{1, 9, 3}));
}

TEST_F(MMapWindows, FileCanBeRemovedAfterCloseAndNotBefore) {
    MMAP map(file);
    std::error_code error;
    EXPECT_FALSE(fs::remove(file, error));
    EXPECT_EQ(error.value(), ERROR_SHARING_VIOLATION);
    map.close();
    EXPECT_TRUE(fs::remove(file, error));
}

TEST_F(MMapWindows, DestructorClosesTheFileToo) {
    { const MMAP map(file); }
    EXPECT_TRUE(fs::remove(file));
}

TEST_F(MMapWindows, ReadOnlyFileIsOpenedByNoMode) {
    ASSERT_NE(::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    const bool writable = Elsewhere(file, GENERIC_WRITE, kShareAll).error() == ERROR_SUCCESS;
    if (!writable) {
        EXPECT_EQ(MMAP(file).size(), 0U);
        EXPECT_EQ(MMAP(file, true).size(), 0U);
        EXPECT_EQ(MMAP(file, false).size(), 0U);
        EXPECT_THAT(test::logged_lines(), ElementsAre(open_error("5"), open_error("5"), open_error("5")));
    }
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (writable) {
        GTEST_SKIP() << "this user may write to read-only files, as root may under Wine";
    }
}

// What others have open decides whether a file is mapped. The request of every mode includes deletion.

TEST_F(MMapWindows, FileInAViewerThatSharesAllIsMapped) {
    const Elsewhere viewer(file, GENERIC_READ, kShareAll);
    EXPECT_EQ(MMAP(file).size(), 3U);
    EXPECT_EQ(MMAP(file, true).size(), 3U);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMapWindows, FileInAViewerThatDoesNotShareDeletionIsMappedByNoMode) {
    const Elsewhere viewer(file, GENERIC_READ, kShareAllButDeletion);
    EXPECT_EQ(MMAP(file).size(), 0U);
    EXPECT_EQ(MMAP(file, true).size(), 0U);
    EXPECT_EQ(MMAP(file, false).size(), 0U);
    EXPECT_THAT(test::logged_lines(), ElementsAre(open_error("20"), open_error("20"), open_error("20")));
}

TEST_F(MMapWindows, FileInAViewerThatMayWriteIsMappedByTheModeThatSharesWriting) {
    const Elsewhere viewer(file, GENERIC_READ | GENERIC_WRITE, kShareAll);
    EXPECT_EQ(MMAP(file).size(), 3U);
    EXPECT_EQ(MMAP(file, true).size(), 0U);
    EXPECT_THAT(test::logged_lines(), ElementsAre(open_error("20")));
}

TEST_F(MMapWindows, SecondMappingOfAFileFailsInEveryMode) {
    const MMAP first(file);
    ASSERT_EQ(first.size(), 3U);
    EXPECT_EQ(MMAP(file).size(), 0U);
    EXPECT_EQ(MMAP(file, true).size(), 0U);
    EXPECT_EQ(MMAP(file, false).size(), 0U);
    EXPECT_THAT(test::logged_lines(), ElementsAre(open_error("20"), open_error("20"), open_error("20")));
}

// What a mapping leaves to others.

TEST_F(MMapWindows, ReadWriteMappingSharesReadingAndWriting) {
    const MMAP map(file);
    ASSERT_EQ(map.size(), 3U);
    EXPECT_EQ(Elsewhere(file, GENERIC_READ, kShareAll).error(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Elsewhere(file, GENERIC_WRITE, kShareAll).error(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Elsewhere(file, DELETE, kShareAll).error(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Elsewhere(file, GENERIC_READ, kShareAllButDeletion).error(), DWORD{ERROR_SHARING_VIOLATION})
        << "the mapping itself asked for deletion";
}

TEST_F(MMapWindows, ReadOnlyMappingSharesReadingAlone) {
    const MMAP map(file, true);
    ASSERT_EQ(map.size(), 3U);
    EXPECT_EQ(Elsewhere(file, GENERIC_READ, kShareAll).error(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Elsewhere(file, GENERIC_WRITE, kShareAll).error(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Elsewhere(file, DELETE, kShareAll).error(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Elsewhere(file, GENERIC_READ, kShareAllButDeletion).error(), DWORD{ERROR_SHARING_VIOLATION})
        << "the mapping itself asked for reading, writing and deletion";
}

// The protections, as the system reports them of the view.

DWORD protection_of(const MMAP& map) {
    MEMORY_BASIC_INFORMATION information{};
    return ::VirtualQuery(map.base, &information, sizeof information) == 0 ? 0 : information.Protect;
}

TEST_F(MMapWindows, ViewsHaveTheProtectionOfTheirMode) {
    EXPECT_EQ(protection_of(MMAP(file)), DWORD{PAGE_READWRITE});
    EXPECT_EQ(protection_of(MMAP(file, true)), DWORD{PAGE_READONLY});
}

// A copy-on-write mapping has no view with the access that is asked for: the system refuses it always.

TEST_F(MMapWindows, CopyOnWriteIsRefusedAndItsHandlesStayOpen) {
    {
        const MMAP map(file, false);
        EXPECT_EQ(map.size(), 0U);
        EXPECT_EQ(map.base, nullptr);
    }
    EXPECT_THAT(test::logged_lines(),
                ElementsAre(test::ErrorLine("src/util/MMap.cpp", "MMAP::MMAP", "Map view of file 5")));
    std::error_code error;
    EXPECT_FALSE(fs::remove(file, error)) << "nobody closed it";
    EXPECT_EQ(error.value(), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Elsewhere(file, GENERIC_WRITE, kShareAll).error(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Elsewhere(file, GENERIC_READ, kShareAll).error(), DWORD{ERROR_SHARING_VIOLATION})
        << "this mode shares writing alone";
}

// The calls under it.

TEST_F(MMapWindows, EmptyFileHasNoMapping) {
    test::write_file(file, {});
    const auto handle = platform::open_file(file, platform::MapMode::kReadWrite);
    ASSERT_NE(handle, platform::kNoHandle);
    EXPECT_EQ(platform::create_mapping(handle, platform::MapMode::kReadWrite), platform::kNoHandle);
    EXPECT_EQ(platform::last_error(), DWORD{ERROR_FILE_INVALID});
    platform::close_file(handle);
}

TEST_F(MMapWindows, ViewLargerThanTheFileIsNone) {
    const auto mode = platform::MapMode::kReadWrite;
    const auto handle = platform::open_file(file, mode);
    const auto mapping = platform::create_mapping(handle, mode);
    ASSERT_NE(mapping, platform::kNoHandle);
    EXPECT_EQ(platform::map_view(mapping, mode, std::uint64_t{1} << 30U), nullptr);
    EXPECT_EQ(platform::last_error(), DWORD{ERROR_ACCESS_DENIED});
    platform::close_mapping(mapping);
    platform::close_file(handle);
}

} // namespace
} // namespace plate_mend
