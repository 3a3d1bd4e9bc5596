#include "e2e/RepairFixture.h"

#include <plate_mend/plate_mend.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// What can be answered on POSIX alone.

namespace test {
namespace {

TEST(AdvancedRepairOnPosix, PathThatCannotBeExaminedReachesTheHostAsAFilesystemError) {
    const std::string endless(5000, 'x');
    for (const char* extension : {"arw", "raw", "sr2", "raf", "dng", "cr2", "nef", "orf", "cr3"}) {
        const std::string name = std::string("photo.") + extension;
        EXPECT_THROW(MndRawAdvanceRepair(name.c_str(), name.c_str(), endless.c_str()),
                     std::filesystem::filesystem_error);
        EXPECT_THROW(MndRawAdvanceRepair((endless + name).c_str(), name.c_str(), "out"),
                     std::filesystem::filesystem_error);
    }
}

} // namespace
} // namespace test
