#include "platform/Files.h"

#include "host/platform/Errors.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <utility>

namespace {

std::function<int()> before_flock; // Its error, or 0 and the system does the work.

} // namespace

// In the place of the one of the run-time library.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" int flock(int file, int operation) noexcept {
    if (before_flock) {
        const auto once = std::exchange(before_flock, nullptr);
        if (const int error = once()) {
            errno = error;
            return -1;
        }
    }
    return static_cast<int>(::syscall(SYS_flock, file, operation));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::Lock;

TEST(LockPosix, LinkIsNotFollowed) {
    const TempDir folder;
    write_file(folder / "target", {1});
    fs::create_symlink(folder / "target", folder / "link");
    fs::create_symlink(folder / "missing", folder / "broken");
    EXPECT_EQ(error_of([&] { (void)Lock::take(folder / "link"); }), std::errc::too_many_symbolic_link_levels);
    EXPECT_EQ(error_of([&] { (void)Lock::take(folder / "broken"); }),
              std::errc::too_many_symbolic_link_levels);
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST(LockPosix, RemovedOrReplacedFileIsLockedAgain) {
    const TempDir folder;
    const fs::path file = folder / "lock";
    for (const bool replaced : {false, true}) {
        before_flock = [&] {
            fs::remove(file);
            if (replaced) {
                write_file(file, {7});
            }
            return 0;
        };
        const auto held = Lock::take(file);
        ASSERT_TRUE(held);
        EXPECT_FALSE(before_flock);
        EXPECT_FALSE(Lock::take(file)); // It is the one that has the name now.
    }
}

TEST(LockPosix, SignalsDoNotDisturb) {
    const TempDir folder;
    before_flock = [] { return EINTR; };
    EXPECT_TRUE(Lock::take(folder / "lock"));
}

TEST(LockPosix, FileSystemWithoutLocksIsAnError) {
    const TempDir folder;
    for (const int error : {ENOLCK, EOPNOTSUPP}) {
        before_flock = [error] { return error; };
        EXPECT_EQ(error_of([&] { (void)Lock::take(folder / "lock"); }).value(), error);
    }
}

} // namespace
} // namespace test
