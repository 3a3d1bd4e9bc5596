#include "faults/Limits.h"
#include "faults/Mappings.h"
#include "faults/SalvageFixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace test {
namespace {

using SalvageShrunkFile = EachSalvage;

// A mapped file that is cut short by somebody else takes the process with it, as the header says.
TEST_P(SalvageShrunkFile, EndsTheProcessAndLeavesNothing) {
    on_mapping([this](std::size_t number) {
        if (number == 1) {
            std::filesystem::resize_file(damaged, 0);
        }
    });
    const int status = status_of_child([this] {
        std::signal(SIGBUS, SIG_DFL); // A sanitizer's own handler would end the process otherwise.
        ::_exit(-salvage());
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGBUS);
    EXPECT_EQ(names(), std::vector<std::string>{});
}

// What goes on to the end of a page that is still there can be read: the rest of the page is zeros.
TEST_P(SalvageShrunkFile, CutWithinItsPageIsAnyDamagedFile) {
    on_mapping([this](std::size_t number) {
        if (number == 1) {
            std::filesystem::resize_file(damaged, 100);
        }
    });
    ASSERT_LT(GetParam().file.size(), static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)));
    EXPECT_EQ(salvage(), STILL_MEND_NOTHING_FOUND);
    expect_nothing_written();
}

INSTANTIATE_TEST_SUITE_P(Ways, SalvageShrunkFile, ::testing::ValuesIn(salvage_cases()), salvage_name);

} // namespace
} // namespace test
