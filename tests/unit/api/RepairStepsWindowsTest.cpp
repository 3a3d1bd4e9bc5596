#include "api/RepairSteps.h"

#include "FailedOperation.h"
#include "api/WorkDirectory.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

// What can be answered on Windows alone.

namespace plate_mend {
namespace {

namespace fs = std::filesystem;

TEST(RepairStepsWindows, FileThatIsOpenElsewhereIsNotRemovedAndTheFailureIsNamed) {
    const test::TempDir folder;
    test::write_file(folder / "file", {1});
    fs::create_directory(folder / "tree");
    test::write_file(folder / "tree" / "file", {1});
    {
        const std::ifstream file(folder / "file");
        const std::ifstream below(folder / "tree" / "file");
        EXPECT_EQ(test::failed_operation([&] { clear_path(folder / "file"); }), "remove");
        EXPECT_EQ(test::failed_operation([&] { clear_path(folder / "tree"); }), "remove_all");
    }
    EXPECT_EQ(test::failed_operation([&] { clear_path(folder / "file"); }), "none");
    EXPECT_EQ(test::failed_operation([&] { clear_path(folder / "tree"); }), "none");
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(RepairStepsWindows, NothingExistsAtANameThatIsNone) {
    EXPECT_FALSE(path_exists(L"a<b"));
    EXPECT_FALSE(path_exists(L"a?b"));
    EXPECT_FALSE(path_exists(std::wstring(5000, L'x')));
    EXPECT_NO_THROW(clear_path(L"a<b"));
}

TEST(RepairStepsWindows, LongPathsGetTheirLongForm) {
    const std::string name(200, 'x');
    const std::string path = "C:\\" + name + "/../" + name + "/./" + name + ".arw";
    const fs::path expected = "\\\\?\\C:\\" + name + "\\" + name + ".arw";
    const RepairPaths paths = decode_paths(path.c_str(), path.c_str(), path.c_str());
    EXPECT_EQ(paths.damaged.native(), expected.native());
    EXPECT_EQ(paths.sample.native(), expected.native());
    EXPECT_EQ(paths.output.native(), expected.native());

    const fs::path before = work_directory();
    set_work_directory("C:\\" + name + "\\" + name);
    EXPECT_EQ(temporary_path("temp.arw").native(),
              fs::path("\\\\?\\C:\\" + name + "\\" + name + "\\temp.arw").native());
    set_work_directory(before);
}

} // namespace
} // namespace plate_mend
