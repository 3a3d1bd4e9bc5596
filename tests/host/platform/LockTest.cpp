#include "platform/Files.h"

#include "host/platform/Children.h"
#include "host/platform/Errors.h"
#include "platform/Names.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::Lock;

class Locks : public ::testing::Test {
  protected:
    /// Starts a child that takes the lock, and returns what it reports.
    std::string answer_of_child() {
        fs::remove(ready);
        child.emplace(child_program(),
                      std::vector<std::string>{"lock", platform::bytes_of(file), platform::bytes_of(ready)});
        // On Windows a file that is just being renamed exists, but cannot be opened yet.
        EXPECT_TRUE(comes_true([&] { return std::ifstream(ready).is_open(); }));
        const Bytes bytes = read_file(ready);
        return {bytes.begin(), bytes.end()};
    }

    TempDir folder;
    fs::path file = folder / "lock";
    fs::path ready = folder / "ready";
    std::optional<platform::Process> child;
};

TEST_F(Locks, AreHeldOnceInAProcess) {
    auto first = Lock::take(file);
    ASSERT_TRUE(first);
    EXPECT_FALSE(Lock::take(file));
    EXPECT_FALSE(Lock::take(file)); // The one that was refused took nothing away.
    first.reset();
    EXPECT_TRUE(Lock::take(file));
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(Locks, FileOfALockKeepsItsBytes) {
    write_file(file, {1, 2, 3});
    EXPECT_TRUE(Lock::take(file));
    EXPECT_EQ(read_file(file), (Bytes{1, 2, 3}));
}

TEST_F(Locks, MovedObjectHoldsIt) {
    std::optional<Lock> kept;
    {
        auto taken = Lock::take(file);
        ASSERT_TRUE(taken);
        kept.emplace(std::move(*taken));
    }
    EXPECT_FALSE(Lock::take(file));
    auto other = Lock::take(folder / "other");
    ASSERT_TRUE(other);
    *other = std::move(*kept);
    kept.reset();
    EXPECT_FALSE(Lock::take(file));
    other.reset();
    EXPECT_TRUE(Lock::take(file));
}

TEST_F(Locks, AnotherProcessIsKeptOut) {
    const auto held = Lock::take(file);
    ASSERT_TRUE(held);
    EXPECT_EQ(answer_of_child(), "taken");
}

TEST_F(Locks, DeathOfItsHolderFreesIt) {
    EXPECT_EQ(answer_of_child(), "locked");
    EXPECT_FALSE(Lock::take(file));
    child.reset(); // Killed.
    EXPECT_TRUE(comes_true([&] { return Lock::take(file).has_value(); }));
}

TEST_F(Locks, StartedProcessDoesNotInheritIt) {
    auto held = Lock::take(file);
    ASSERT_TRUE(held);
    EXPECT_EQ(answer_of_child(), "taken");
    held.reset();
    EXPECT_TRUE(Lock::take(file)); // Though the child still runs.
}

TEST_F(Locks, FoldersAndMissingFoldersAreErrors) {
    fs::create_directory(file);
    EXPECT_TRUE(error_of([&] { (void)Lock::take(file); }));
    EXPECT_EQ(error_of([&] { (void)Lock::take(folder / "missing" / "lock"); }),
              std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace test
