#include "platform/Files.h"

#include "host/platform/Errors.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;

class Moves : public ::testing::Test {
  protected:
    Moves() { write_file(from, {1}); }

    TempDir folder;
    fs::path from = folder / "from";
    fs::path to = folder / "to";
};

TEST_F(Moves, FileGetsAFreeName) {
    platform::move_new(from, to);
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(read_file(to), Bytes{1});
}

TEST_F(Moves, FolderGetsAFreeName) {
    fs::create_directory(folder / "folder");
    write_file(folder / "folder" / "file", {2});
    platform::move_new(folder / "folder", to);
    EXPECT_EQ(read_file(to / "file"), Bytes{2});
    EXPECT_FALSE(fs::exists(folder / "folder"));
}

TEST_F(Moves, NewNameThatIsTakenStays) {
    write_file(to, {2});
    fs::create_directory(folder / "folder");
    EXPECT_EQ(error_of([&] { platform::move_new(from, to); }), std::errc::file_exists);
    EXPECT_EQ(error_of([&] { platform::move_new(from, folder / "folder"); }), std::errc::file_exists);
    EXPECT_EQ(error_of([&] { platform::move_new(folder / "folder", to); }), std::errc::file_exists);
    EXPECT_EQ(read_file(from), Bytes{1});
    EXPECT_EQ(read_file(to), Bytes{2});
    EXPECT_TRUE(fs::is_empty(folder / "folder"));
}

TEST_F(Moves, MissingFileIsNotMoved) {
    EXPECT_EQ(error_of([&] { platform::move_new(folder / "missing", to); }),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { platform::move_new(from, folder / "missing" / "to"); }),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { platform::move_over(folder / "missing", to); }),
              std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(to));
    EXPECT_TRUE(fs::exists(from));
}

TEST_F(Moves, FileThatHasTheNameIsReplaced) {
    write_file(to, {2, 3});
    platform::move_over(from, to);
    EXPECT_EQ(read_file(to), Bytes{1});
    EXPECT_FALSE(fs::exists(from));
}

TEST_F(Moves, FreeNameNeedsNoReplacing) {
    platform::move_over(from, to);
    EXPECT_EQ(read_file(to), Bytes{1});
    EXPECT_FALSE(fs::exists(from));
}

TEST_F(Moves, FolderThatHasTheNameIsNotReplaced) {
    fs::create_directory(folder / "empty");
    fs::create_directory(to);
    EXPECT_EQ(error_of([&] { platform::move_over(from, to); }), std::errc::is_a_directory);
    EXPECT_EQ(error_of([&] { platform::move_over(folder / "empty", to); }), std::errc::is_a_directory);
    EXPECT_TRUE(fs::is_directory(to));
    EXPECT_TRUE(fs::is_directory(folder / "empty"));
    EXPECT_EQ(read_file(from), Bytes{1});
}

} // namespace
} // namespace test
