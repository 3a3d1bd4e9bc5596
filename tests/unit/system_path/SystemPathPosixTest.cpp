#include <system_path/system_path.h>

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

// What can be answered on POSIX alone.

namespace test {
namespace {

namespace fs = std::filesystem;

TEST(SystemPathPosix, EveryPathIsReachableAsItIs) {
    for (const fs::path& path :
         {fs::path("/a/") / std::string(1000, 'x'), fs::path(std::string(5000, 'x'))}) {
        EXPECT_EQ(system_path::reachable(path).native(), path.native());
    }
}

TEST(SystemPathPosix, LinksAreFollowedByStatusAndNotByRemovals) {
    const TempDir folder;
    std::error_code error;
    fs::create_directories(folder / "target");
    write_file(folder / "target" / "file", {1});
    fs::create_directory(folder / "tree");
    fs::create_symlink(folder / "target", folder / "tree" / "link");
    fs::create_symlink(folder / "missing", folder / "broken");
    EXPECT_EQ(system_path::status(folder / "tree" / "link", error).type(), fs::file_type::directory);
    EXPECT_EQ(system_path::status(folder / "broken", error).type(), fs::file_type::not_found);
    system_path::remove_all(folder / "tree", error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(fs::exists(folder / "target" / "file"));
}

TEST(SystemPathPosix, NameThatIsTooLongCannotBeExamined) {
    std::error_code error;
    EXPECT_EQ(system_path::status(std::string(5000, 'x'), error).type(), fs::file_type::none);
    EXPECT_EQ(error, std::errc::filename_too_long);
}

} // namespace
} // namespace test
