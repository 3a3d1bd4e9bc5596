#include "platform/Interrupt.h"

#include "faults/Limits.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

// Each test runs in a separate process, so as not to disturb the signals of this one.

namespace test {
namespace {

using plate_mend::host::platform::interrupted;
using plate_mend::host::platform::remember_interrupts;

bool holds_in_a_child(const std::function<bool()>& condition) {
    return status_of_child([&] { ::_exit(condition() ? 0 : 1); }) == 0;
}

TEST(InterruptPosix, RequestsToEndAreRememberedAndForgotten) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_TRUE(holds_in_a_child([signal] {
            std::signal(signal, SIG_DFL);
            remember_interrupts();
            const bool before = interrupted();
            ::raise(signal);
            const bool after = interrupted();
            remember_interrupts();
            return !before && after && !interrupted();
        })) << signal;
    }
}

TEST(InterruptPosix, TerminalThatClosesIsNoRequestUnderNohup) {
    EXPECT_TRUE(holds_in_a_child([] {
        std::signal(SIGHUP, SIG_IGN);
        remember_interrupts();
        ::raise(SIGHUP);
        return !interrupted();
    }));
}

} // namespace
} // namespace test
