#include <system_path/system_path.h>

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;

class SystemPath : public ::testing::Test {
  protected:
    /// A folder whose path is longer than 260 characters, with every folder on the way.
    [[nodiscard]] fs::path long_folder() const {
        fs::path path = folder.path();
        for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) {
            path /= std::string(60, letter);
            fs::create_directory(system_path::reachable(path));
        }
        return path;
    }

    TempDir folder;
    std::error_code error = std::make_error_code(std::errc::io_error); // Which every success clears.
};

TEST_F(SystemPath, ShortAndEmptyPathsAreReachableAsTheyAre) {
    for (const fs::path& path :
         {fs::path(), fs::path("photo.arw"), fs::path("../a/./photo.arw"), folder / "x"}) {
        EXPECT_EQ(system_path::reachable(path).native(), path.native());
    }
}

TEST_F(SystemPath, DistinguishesFilesFoldersAndNothing) {
    write_file(folder / "file", {1});
    EXPECT_EQ(system_path::status(folder / "file", error).type(), fs::file_type::regular);
    EXPECT_FALSE(error);
    EXPECT_EQ(system_path::status(folder.path(), error).type(), fs::file_type::directory);
    EXPECT_FALSE(error);
    for (const fs::path& missing : {folder / "missing", folder / "missing" / "below", fs::path()}) {
        EXPECT_EQ(system_path::status(missing, error).type(), fs::file_type::not_found);
        EXPECT_FALSE(fs::exists(system_path::status(missing, error)));
    }
}

TEST_F(SystemPath, RemovesAFileAndAnEmptyFolderButNotAFullOne) {
    write_file(folder / "file", {1});
    fs::create_directories(folder / "full" / "empty");
    system_path::remove(folder / "file", error);
    EXPECT_FALSE(error);
    system_path::remove(folder / "full", error);
    EXPECT_TRUE(error);
    system_path::remove(folder / "full" / "empty", error);
    EXPECT_FALSE(error);
    system_path::remove(folder / "full", error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(SystemPath, RemovesAtAReachablePathAsElsewhere) {
    const fs::path file = system_path::reachable(folder / "file");
    const fs::path full = system_path::reachable(folder / "full");
    write_file(file, {1});
    fs::create_directories(full / "empty");
    system_path::remove_reachable(file, error);
    EXPECT_FALSE(error);
    EXPECT_FALSE(fs::exists(file));
    system_path::remove_reachable(file, error);
    EXPECT_FALSE(error) << "Nothing there is no error.";
    system_path::remove_reachable(full, error);
    EXPECT_TRUE(error);
    EXPECT_TRUE(fs::exists(full / "empty"));
}

TEST_F(SystemPath, RemovesWholeTreesAndSingleFiles) {
    fs::create_directories(folder / "tree" / "a" / "b");
    fs::create_directories(folder / "tree" / u8"für 写真");
    write_file(folder / "tree" / "a" / "b" / "file", {1});
    write_file(folder / "tree" / u8"für 写真" / "file", {1});
    write_file(folder / "file", {1});
    system_path::remove_all(folder / "tree", error);
    EXPECT_FALSE(error);
    system_path::remove_all(folder / "file", error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(SystemPath, RemovingNothingIsNoError) {
    system_path::remove(folder / "missing", error);
    EXPECT_FALSE(error);
    error = std::make_error_code(std::errc::io_error);
    system_path::remove_all(folder / "missing", error);
    EXPECT_FALSE(error);
}

TEST_F(SystemPath, LongPathsWorkAsShortOnesDo) {
    const fs::path path = long_folder();
    const fs::path file = path / u8"für 写真.arw";
    ASSERT_GT(file.native().size(), 300U);
    EXPECT_EQ(system_path::status(path, error).type(), fs::file_type::directory);
    EXPECT_EQ(system_path::status(file, error).type(), fs::file_type::not_found);
    write_file(system_path::reachable(file), {1});
    EXPECT_EQ(system_path::status(file, error).type(), fs::file_type::regular);
    system_path::remove(file, error);
    EXPECT_FALSE(error);
    EXPECT_EQ(system_path::status(file, error).type(), fs::file_type::not_found);
}

TEST_F(SystemPath, TreeWithLongPathsBelowAShortOneIsRemoved) {
    write_file(system_path::reachable(long_folder() / "file"), {1});
    system_path::remove_all(folder / std::string(60, 'a'), error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

} // namespace
} // namespace test
