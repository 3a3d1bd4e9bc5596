#include "platform/Files.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace test {
namespace {

namespace platform = plate_mend::host::platform;

TEST(Removable, NearestFolderDecidesForWhatIsMissing) {
    const TempDir folder;
    const bool here = platform::is_removable(folder.path());
    EXPECT_EQ(platform::is_removable(folder / "missing" / "file"), here);
    EXPECT_EQ(platform::is_removable("missing/file"), platform::is_removable("."));
    EXPECT_EQ(platform::is_removable(""), platform::is_removable("."));
}

} // namespace
} // namespace test
