#include "faults/FaultFixture.h"
#include "faults/Limits.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace test {
namespace {

using ShrunkFile = Fault;

// A mapped file that is cut short by somebody else takes the process with it, with SIGBUS. Nothing else can
// be had: the header says so. The RAF repair logs a line while its working copy is mapped.
TEST_P(ShrunkFile, EndsTheProcess) {
    Bytes without_packet = pair.sample;
    const std::string_view packet = "xpacket end";
    const auto place =
        std::search(without_packet.begin(), without_packet.end(), packet.begin(), packet.end());
    ASSERT_NE(place, without_packet.end());
    *place = 'X';
    write_file(sample, without_packet);
    on_log([this](std::string_view line) {
        if (line.ends_with("has no xpacket, continue next step")) {
            std::filesystem::resize_file(temporary, 0);
        }
    });
    const int status = status_of_child([this] {
        std::signal(SIGBUS, SIG_DFL); // A sanitizer's own handler would end the process otherwise.
        ::_exit(repair().code.value_or(1));
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGBUS);
    EXPECT_EQ(output_bytes(), std::nullopt);
}

TEST_P(ShrunkFile, DoesNoHarmToTheNextRepair) {
    write_file(temporary, {1, 2, 3}); // What the dead process left.
    EXPECT_EQ(repair(), code(0));
    EXPECT_EQ(output_bytes(), expected());
}

INSTANTIATE_TEST_SUITE_P(Raf, ShrunkFile, ::testing::Values(small_pairs()[12]), pair_name);

} // namespace
} // namespace test
