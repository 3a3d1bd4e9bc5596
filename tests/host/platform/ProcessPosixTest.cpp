#include "platform/Process.h"

#include "faults/Limits.h"
#include "host/platform/Children.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::Process;
using ::testing::HasSubstr;

class ProcessesPosix : public ::testing::Test {
  protected:
    platform::Ending ending_of_script(const std::string& script) const {
        Process process("/bin/sh", {"-c", script, "sh", platform::bytes_of(ready)});
        return ending_of(process);
    }

    [[nodiscard]] std::string text() const {
        const Bytes bytes = read_file(ready);
        return {bytes.begin(), bytes.end()};
    }

    TempDir folder;
    fs::path ready = folder / "ready";
};

/// Another disposition of a signal while it exists.
class SignalHandling {
  public:
    SignalHandling(int signal, void (*handler)(int)) : signal_(signal) {
        struct sigaction action {};
        action.sa_handler = handler;
        ::sigaction(signal, &action, &old_);
    }
    SignalHandling(const SignalHandling&) = delete;
    SignalHandling& operator=(const SignalHandling&) = delete;
    ~SignalHandling() { ::sigaction(signal_, &old_, nullptr); }

  private:
    int signal_;
    struct sigaction old_ {};
};

TEST_F(ProcessesPosix, CrashesHaveAName) {
    const platform::Ending ending = ending_of_script("kill -SEGV $$");
    EXPECT_EQ(ending.crashed, "Segmentation fault");
}

TEST_F(ProcessesPosix, ArgumentsAreAnyBytes) {
    const std::string odd = "\xFF\xC3(";
    Process process(child_program(), {"arguments", platform::bytes_of(ready), odd});
    EXPECT_EQ(ending_of(process).status, 0);
    EXPECT_EQ(text(), odd + '\0');
}

TEST_F(ProcessesPosix, SignalsThatWeIgnoreOrBlockDoTheirWorkThere) {
    const SignalHandling ignore_pipes(SIGPIPE, SIG_IGN);
    const SignalHandling ignore_sizes(SIGXFSZ, SIG_IGN);
    sigset_t blocked{};
    sigset_t old{};
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGALRM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &old);
    Process process("/bin/cp", {"/proc/self/status", platform::bytes_of(ready)}); // A shell would clear them.
    ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
    EXPECT_EQ(ending_of(process).status, 0);
    EXPECT_THAT(text(), HasSubstr("SigBlk:\t0000000000000000\n"));
    const std::string ignored = text().substr(text().find("SigIgn:") + 7);
    const std::uint64_t mask = std::stoull(ignored, nullptr, 16);
    EXPECT_EQ(mask >> (SIGPIPE - 1) & 1U, 0U);
    EXPECT_EQ(mask >> (SIGXFSZ - 1) & 1U, 0U);
}

TEST_F(ProcessesPosix, EndingIsKnownWhereChildrenWereIgnored) {
    const SignalHandling ignore_children(SIGCHLD, SIG_IGN);
    EXPECT_EQ(ending_of_script("exit 7").status, 7);
    EXPECT_EQ(ending_of_script("kill -SEGV $$").crashed, "Segmentation fault");
}

TEST_F(ProcessesPosix, HaveNoFilesOfOurs) {
    platform::NewFile mine(folder / "mine");
    const platform::SourceFile source(folder / "mine");
    EXPECT_EQ(ending_of_script("ls -l /proc/$$/fd >\"$1\"").status, 0);
    EXPECT_THAT(text(), ::testing::Not(HasSubstr("mine")));
}

TEST_F(ProcessesPosix, ParentThatIsGoneEndsThemAtOnce) {
    Process process(child_program(), {"lock-with", "999999999", platform::bytes_of(folder / "lock"),
                                      platform::bytes_of(ready)});
    EXPECT_EQ(ending_of(process).status, 1);
    EXPECT_FALSE(fs::exists(ready));
}

TEST_F(ProcessesPosix, TimeIsUpThoughTheSignalWasBlockedOrIgnored) {
    const int status = status_of_child([] {
        std::signal(SIGALRM, SIG_IGN);
        sigset_t alarm_only{};
        sigemptyset(&alarm_only);
        sigaddset(&alarm_only, SIGALRM);
        ::pthread_sigmask(SIG_BLOCK, &alarm_only, nullptr);
        platform::end_after(1);
        ::poll(nullptr, 0, 30'000); // Waits for the signal, and not for ever.
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGALRM);
}

#if !defined(PLATE_MEND_LEAK_DETECTION)
TEST_F(ProcessesPosix, MemoryBeyondTheLimitIsRefused) {
    Process process(child_program(), {"memory", std::to_string(std::uint64_t{256} << 20U)});
    EXPECT_EQ(ending_of(process).status, 0);
}

TEST_F(ProcessesPosix, StricterLimitIsKept) {
    const int status = status_of_child([] {
        const rlimit harder{std::uint64_t{1} << 30U, std::uint64_t{1} << 30U};
        ::setrlimit(RLIMIT_AS, &harder);
        const WithoutPrivileges without;
        rlimit now{};
        const bool holds = platform::limit_memory(std::uint64_t{1} << 40U);
        ::getrlimit(RLIMIT_AS, &now);
        ::_exit(holds && now.rlim_cur == harder.rlim_cur ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
}
#endif

TEST_F(ProcessesPosix, FolderIsEntered) {
    const int status = status_of_child([this] {
        const fs::path before_names = platform::enter(folder.path());
        platform::NewFile made(before_names / "short");
        ::_exit(before_names.empty() ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::exists(folder / "short"));
}

} // namespace
} // namespace test
