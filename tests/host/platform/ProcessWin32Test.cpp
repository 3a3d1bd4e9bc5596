#include "platform/Process.h"

#include "host/platform/Children.h"
#include "platform/Names.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::Process;

TEST(ProcessesWin32, LimitOnMemoryIsSetInAJobOfTheirOwn) {
    Process process(child_program(), {"memory", std::to_string(std::uint64_t{256} << 20U)});
    EXPECT_NE(ending_of(process).status, 1);
}

TEST(ProcessesWin32, ArgumentsMayContainLoneSurrogates) {
    const TempDir folder;
    const fs::path ready = folder / "ready";
    const std::string half = "a\xED\xA0\xBD"
                             "b";
    Process process(child_program(), {"arguments", platform::bytes_of(ready), half});
    EXPECT_EQ(ending_of(process).status, 0);
    const Bytes bytes = read_file(ready);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), half + '\0');
}

TEST(ProcessesWin32, FolderStaysBeforeTheNames) {
    const fs::path current = fs::current_path();
    const TempDir folder;
    EXPECT_EQ(platform::enter(folder.path()), folder.path());
    EXPECT_EQ(fs::current_path(), current);
}

} // namespace
} // namespace test
