#include "faults/FaultFixture.h"
#include "faults/Limits.h"

namespace test {
namespace {

namespace fs = std::filesystem;

using Folders = Fault;

constexpr auto kReadable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
constexpr auto kNotWritable =
    kReadable | fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;

TEST_P(Folders, OutputFolderThatWasNeverThere) {
    fs::remove(output.parent_path());
    EXPECT_EQ(repair(), endings.output_not_opened);
    EXPECT_EQ(output_bytes(), std::nullopt);
    expect_inputs_unchanged();
}

TEST_P(Folders, OutputFolderThatVanishesOnTheWay) {
    on_log([this](std::string_view line) {
        if (line.ends_with("clone success")) {
            fs::remove(output.parent_path());
        }
    });
    const bool vanishes = !is("cr3"); // It has no line before its output is whole.
    EXPECT_EQ(repair(), vanishes ? endings.output_not_opened : code(0));
    EXPECT_EQ(output_bytes().has_value(), !vanishes);
    expect_inputs_unchanged();
}

TEST_P(Folders, OutputFolderThatCannotBeWritten) {
    fs::permissions(output.parent_path(), kNotWritable);
    const WithoutPrivileges user;
    EXPECT_EQ(repair(), endings.output_not_opened);
    EXPECT_EQ(output_bytes(), std::nullopt);
}

TEST_P(Folders, WorkFolderThatCannotBeWritten) {
    fs::permissions(work, kNotWritable);
    const WithoutPrivileges user;
    EXPECT_EQ(repair(), endings.copy_not_opened);
    EXPECT_EQ(output_bytes().has_value(), is("cr3"));
}

TEST_P(Folders, WorkFolderThatIsNotThere) {
    fs::remove(work);
    EXPECT_EQ(repair(), endings.copy_not_opened);
    EXPECT_EQ(output_bytes().has_value(), is("cr3"));
}

TEST_P(Folders, WorkingCopyThatVanishesOnTheWay) {
    on_log([this](std::string_view line) {
        if (line.ends_with("clone success")) {
            fs::remove(temporary);
        }
    });
    EXPECT_EQ(repair(), is("cr3") ? code(0) : endings.sample_not_mapped);
    EXPECT_EQ(output_bytes().has_value(), is("cr3"));
    expect_inputs_unchanged();
}

TEST_P(Folders, DamagedFileThatCannotBeWritten) {
    fs::permissions(damaged, kReadable);
    const WithoutPrivileges user;
    EXPECT_EQ(repair(), endings.damaged_not_mapped);
    EXPECT_EQ(output_bytes(), std::nullopt);
}

TEST_P(Folders, SampleThatCannotBeWritten) {
    fs::permissions(sample, kReadable);
    const WithoutPrivileges user;
    // It is cloned; only a CR3 is mapped where it is.
    EXPECT_EQ(repair(), is("cr3") ? endings.sample_not_mapped : code(0));
}

INSTANTIATE_TEST_SUITE_P(Formats, Folders, ::testing::ValuesIn(one_pair_a_format()), pair_name);

} // namespace
} // namespace test
