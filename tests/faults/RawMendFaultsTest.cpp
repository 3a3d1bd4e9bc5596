#include "faults/Limits.h"
#include "faults/Mappings.h"
#include "support/Bytes.h"
#include "support/DngPhoto.h"
#include "support/RawDecode.h"
#include "support/TempDir.h"

#include <raw_mend/raw_mend.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20U;

/// A repair in folders that a test can spoil. All files are open to every user.
class RawMendFault : public ::testing::Test {
  protected:
    RawMendFault() {
        fs::create_directory(output.parent_path());
        write_file(damaged, zeroed(photo.bytes, 0, photo.tile_offsets[0]));
        write_file(sample, DngPhoto({.number = 2, .width = 128, .height = 64, .private_data = 3000}).bytes);
        for (const fs::path& path : {folder.path(), output.parent_path(), damaged, sample}) {
            fs::permissions(path, fs::perms::all);
        }
    }

    void TearDown() override { on_mapping(nullptr); }

    std::int32_t repair() {
        const std::string good = utf8(sample);
        const char* const samples[] = {good.c_str()};
        return RawMendRepair(utf8(damaged).c_str(), samples, 1, utf8(output).c_str(), &report);
    }

    /// What a repair writes when nothing is in its way. The output is not left there.
    [[nodiscard]] Bytes undisturbed() {
        EXPECT_EQ(repair(), RAW_MEND_OK);
        Bytes written = read_file(output);
        EXPECT_EQ(decode_raw(written), decode_raw(photo.bytes));
        fs::remove(output);
        return written;
    }

    [[nodiscard]] bool is_nothing_written() const {
        return fs::is_empty(output.parent_path()) && report.size == 0 && report.piece_count == 0;
    }

    TempDir folder;
    const fs::path damaged = folder / "damaged.dng";
    const fs::path sample = folder / "sample.dng";
    const fs::path output = folder / "out" / "output.dng";
    const DngPhoto photo{DngPhoto::Options{.width = 128, .height = 64}};
    RawMendReport report{};
};

TEST_F(RawMendFault, FullDiskIsNoticedWhereverItEnds) {
    const Bytes wanted = undisturbed();
    for (std::size_t room = 0; room < wanted.size(); room += room + 200 < wanted.size() ? 97 : 1) {
        {
            const FileSizeLimit limit(room);
            ASSERT_EQ(repair(), RAW_MEND_OUTPUT_UNWRITABLE) << "room " << room;
        }
        ASSERT_TRUE(is_nothing_written()) << "room " << room;
    }
    const FileSizeLimit limit(wanted.size());
    EXPECT_EQ(repair(), RAW_MEND_OK) << "The control: it just fits.";
    EXPECT_EQ(read_file(output), wanted);
}

TEST_F(RawMendFault, FullFileSystemLeavesNothing) {
    const auto repair_on_small_file_system = [this] {
        return result_on_small_file_system(output.parent_path(), [this] {
            const std::int32_t code = repair();
            return code == RAW_MEND_OK || is_nothing_written() ? -code : 70;
        });
    };
    const auto result = repair_on_small_file_system();
    if (!result) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    ASSERT_GT(undisturbed().size(), small_file_system());
    EXPECT_EQ(result, -RAW_MEND_OUTPUT_UNWRITABLE);
}

TEST_F(RawMendFault, FolderThatCannotBeWritten) {
    fs::permissions(output.parent_path(), fs::perms{0555});
    const WithoutPrivileges user;
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_UNWRITABLE);
    EXPECT_TRUE(is_nothing_written());
}

TEST_F(RawMendFault, FolderThatVanishesWhileAnImageIsSearchedFor) {
    on_mapping([this](std::size_t number) {
        if (number == 2) {
            fs::remove(output.parent_path());
        }
    });
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_UNWRITABLE);
    EXPECT_FALSE(fs::exists(output.parent_path()));
}

TEST_F(RawMendFault, FileThatAppearsAtTheOutputsPathMeanwhileIsNotTouched) {
    const Bytes other{1, 2, 3};
    on_mapping([&](std::size_t number) {
        if (number == 2) {
            write_file(output, other);
        }
    });
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_EXISTS);
    EXPECT_EQ(read_file(output), other);
    EXPECT_EQ(report.size, 0U);
}

TEST_F(RawMendFault, LinksAndPipesAtTheOutputsPathAreNotTouched) {
    const auto expect_left_alone = [this](const std::function<void()>& put) {
        put();
        const auto type = fs::symlink_status(output).type();
        EXPECT_EQ(repair(), RAW_MEND_OUTPUT_EXISTS) << "type " << static_cast<int>(type);
        EXPECT_EQ(fs::symlink_status(output).type(), type);
        fs::remove(output);
    };
    expect_left_alone([this] { fs::create_symlink("/dev/full", output); });
    expect_left_alone([this] { fs::create_symlink("/dev/null", output); });
    expect_left_alone([this] { fs::create_symlink(folder / "nothing", output); });
    expect_left_alone([this] { fs::create_symlink(output, output); });
    expect_left_alone([this] { ASSERT_EQ(::mkfifo(output.c_str(), 0600), 0); });
    EXPECT_FALSE(fs::exists(folder / "nothing"));
    EXPECT_EQ(repair(), RAW_MEND_OK) << "The control: nothing is there.";
}

TEST_F(RawMendFault, InputsThatAreNoFilesOrCannotBeRead) {
    for (const auto& [path, code] :
         {std::pair(damaged, RAW_MEND_DAMAGED_UNREADABLE), std::pair(sample, RAW_MEND_SAMPLE_UNREADABLE)}) {
        const Bytes bytes = read_file(path);
        fs::permissions(path, fs::perms::none);
        {
            const WithoutPrivileges user;
            EXPECT_EQ(repair(), code);
        }
        fs::remove(path);
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
        EXPECT_EQ(repair(), code);
        fs::remove(path);
        fs::create_symlink("/dev/zero", path);
        EXPECT_EQ(repair(), code);
        fs::remove(path);
        fs::create_symlink(folder / "nothing", path);
        EXPECT_EQ(repair(), code);
        fs::remove(path);
        EXPECT_TRUE(is_nothing_written());
        write_file(path, bytes);
    }
    EXPECT_EQ(repair(), RAW_MEND_OK) << "The control.";
}

TEST_F(RawMendFault, InputsThatVanishOnceTheyAreMappedAreNotMissed) {
    const Bytes wanted = undisturbed();
    on_mapping([this](std::size_t number) { fs::remove(number == 1 ? damaged : sample); });
    EXPECT_EQ(repair(), RAW_MEND_OK);
    EXPECT_EQ(read_file(output), wanted);
}

// A mapped file that is cut short by somebody else takes the process with it, as the header says.
TEST_F(RawMendFault, InputThatIsCutShortEndsTheProcessAndLeavesNothing) {
    on_mapping([this](std::size_t number) {
        if (number == 2) {
            fs::resize_file(damaged, 0);
        }
    });
    const int status = status_of_child([this] {
        std::signal(SIGBUS, SIG_DFL); // A sanitizer's own handler would end the process otherwise.
        ::_exit(-repair());
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGBUS);
    EXPECT_TRUE(fs::is_empty(output.parent_path()));
}

TEST_F(RawMendFault, NoRoomToMapAnInputIsALackOfMemory) {
    if (!AddressSpaceLimit::is_possible()) {
        GTEST_SKIP() << "a sanitizer takes all address space";
    }
    const auto code_within = [this](std::uint64_t bytes) {
        const int status = status_of_child([&] {
            const AddressSpaceLimit limit(bytes);
            ::_exit(-repair());
        });
        return WIFEXITED(status) ? -WEXITSTATUS(status) : 1;
    };
    for (const fs::path& path : {damaged, sample}) {
        const auto size = fs::file_size(path);
        fs::resize_file(path, 64 * kMegabyte);
        EXPECT_EQ(code_within(32 * kMegabyte), RAW_MEND_NO_MEMORY);
        EXPECT_TRUE(fs::is_empty(output.parent_path()));
        EXPECT_EQ(code_within(192 * kMegabyte), RAW_MEND_OK) << "The control.";
        fs::remove(output);
        fs::resize_file(path, size);
    }
}

} // namespace
} // namespace test
