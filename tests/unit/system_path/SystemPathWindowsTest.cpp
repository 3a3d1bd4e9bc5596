#include <system_path/system_path.h>

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <fstream>
#include <string>

// What can be answered on Windows alone.

namespace test {
namespace {

namespace fs = std::filesystem;

std::wstring letters(std::size_t count) {
    return std::wstring(count, L'x');
}

TEST(SystemPathWindows, PathGetsItsLongFormWhenItsFolderMayBeTooLong) {
    // Three characters for the drive. Folders may have 247, room for a file name of 8.3 after them.
    const std::wstring longest = LR"(C:\)" + letters(244);
    EXPECT_EQ(system_path::reachable(longest).native(), longest);
    EXPECT_EQ(system_path::reachable(longest + L'x').native(), LR"(\\?\)" + longest + L'x');
}

TEST(SystemPathWindows, LongFormIsWholeAndHasBackslashesAndNoDots) {
    EXPECT_EQ(system_path::reachable(L"C:/a/../b/./" + letters(250) + L"/photo.arw").native(),
              LR"(\\?\C:\b\)" + letters(250) + LR"(\photo.arw)");
}

TEST(SystemPathWindows, DotsAndNotLengthAsGivenDecide) {
    std::wstring path = L"C:\\";
    for (int round = 0; round < 60; ++round) {
        path += L"abc\\..\\";
    }
    path += L"photo.arw";
    ASSERT_GT(path.size(), 260U);
    EXPECT_EQ(system_path::reachable(path).native(), path) << "the system shortens it itself";
}

TEST(SystemPathWindows, RelativePathIsBoundToTheCurrentFolder) {
    const fs::path current = fs::current_path();
    EXPECT_EQ(system_path::reachable(letters(200) + L"/" + letters(200)).native(),
              LR"(\\?\)" + (current / letters(200) / letters(200)).make_preferred().native());
}

TEST(SystemPathWindows, PathOnAServerGetsTheFormOfServers) {
    EXPECT_EQ(system_path::reachable(LR"(\\server\share\)" + letters(250)).native(),
              LR"(\\?\UNC\server\share\)" + letters(250));
}

TEST(SystemPathWindows, LongFormAndDevicesStayAsTheyAre) {
    for (const std::wstring& path : {LR"(\\?\C:\)" + letters(300), LR"(\\.\)" + letters(300)}) {
        EXPECT_EQ(system_path::reachable(path).native(), path);
    }
    std::error_code error;
    EXPECT_EQ(system_path::status(LR"(\\?\C:\windows)", error).type(), fs::file_type::directory);
}

TEST(SystemPathWindows, OpenFileIsNotRemovedAndTheErrorSaysSo) {
    const TempDir folder;
    std::error_code error;
    write_file(folder / "file", {1});
    const std::ifstream open(folder / "file");
    system_path::remove(folder / "file", error);
    EXPECT_EQ(error.value(), ERROR_SHARING_VIOLATION);
    system_path::remove_all(folder.path(), error);
    EXPECT_EQ(error.value(), ERROR_SHARING_VIOLATION);
}

} // namespace
} // namespace test
