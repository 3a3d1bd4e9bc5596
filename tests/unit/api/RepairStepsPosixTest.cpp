#include "api/RepairSteps.h"

#include "FailedOperation.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

// What can be answered on POSIX alone.

namespace plate_mend {
namespace {

TEST(RepairStepsPosix, NamesTheOperationThatFailed) {
    const test::TempDir folder;
    const auto path = folder / std::string(5000, 'x'); // The system refuses to examine it.
    EXPECT_EQ(test::failed_operation([&] { (void)path_exists(path); }), "status");
    EXPECT_EQ(test::failed_operation([&] { clear_path(path); }), "status");
    EXPECT_EQ(test::failed_operation([&] { remove_path(path); }), "status");
}

} // namespace
} // namespace plate_mend
