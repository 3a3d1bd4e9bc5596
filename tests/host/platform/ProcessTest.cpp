#include "platform/Process.h"

#include "host/platform/Children.h"
#include "host/platform/Errors.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using namespace std::chrono_literals;
using platform::Process;

class Processes : public ::testing::Test {
  protected:
    /// Whether the child that holds the lock is gone.
    [[nodiscard]] bool is_free() const { return platform::Lock::take(lock).has_value(); }

    TempDir folder;
    fs::path lock = folder / "lock";
    fs::path ready = folder / "ready";
};

TEST_F(Processes, ReportTheirStatus) {
    for (const int status : {0, 1, 77, 255}) {
        Process process(child_program(), {"status", std::to_string(status)});
        const platform::Ending ending = ending_of(process);
        EXPECT_EQ(ending.status, status);
        EXPECT_EQ(ending.crashed, "");
    }
}

TEST_F(Processes, ReceiveTheirArguments) {
    const std::vector<std::string> arguments{"",
                                             "a b",
                                             "\"",
                                             "\\",
                                             R"(a\"b\\)",
                                             R"(\\ \)",
                                             "'$HOME' %PATH% *",
                                             "line\n",
                                             "\t",
                                             "Gr\xC3\xBCn \xF0\x9F\x98\x80"};
    std::vector<std::string> words{"arguments", platform::bytes_of(ready)};
    std::string expected;
    for (const std::string& argument : arguments) {
        words.push_back(argument);
        expected += argument + '\0';
    }
    Process process(child_program(), words);
    EXPECT_EQ(ending_of(process).status, 0);
    const Bytes bytes = read_file(ready);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), expected);
}

TEST_F(Processes, MissingProgramDoesNotStart) {
    EXPECT_EQ(error_of([&] { Process(folder / "missing", {}); }), std::errc::no_such_file_or_directory);
}

TEST_F(Processes, AreWaitedForUpToALimit) {
    Process process(child_program(), {"lock", platform::bytes_of(lock), platform::bytes_of(ready)});
    EXPECT_FALSE(process.wait(0ms));
    EXPECT_FALSE(process.wait(-5ms));
    EXPECT_FALSE(process.wait(20ms));
    Process quick(child_program(), {"status", "3"});
    const auto event = quick.wait(std::chrono::milliseconds::max());
    ASSERT_TRUE(event && event->ending);
    EXPECT_EQ(event->ending->status, 3);
}

TEST_F(Processes, EndWithTheirObject) {
    {
        const Process process(child_program(), {"lock", platform::bytes_of(lock), platform::bytes_of(ready)});
        ASSERT_TRUE(comes_true([&] { return fs::exists(ready); }));
        EXPECT_FALSE(is_free());
    }
    EXPECT_TRUE(is_free());
}

TEST_F(Processes, ReceiveTextsAndReply) {
    Process process(child_program(), {"echo", platform::bytes_of(lock), platform::bytes_of(ready)});
    for (const std::size_t size : {1U, 3U, 0U, 255U, 4095U, 4096U, 4097U, 20'000U}) {
        EXPECT_FALSE(process.wait(0ms));
        ASSERT_TRUE(process.send(std::string(size, '\n')));
        const auto event = process.wait(30s);
        ASSERT_TRUE(event && !event->ending) << size;
        EXPECT_EQ(event->reply, size % 256);
    }
}

TEST_F(Processes, ReceiveNothingWhenTheyHaveEnded) {
    Process process(child_program(), {"status", "3"});
    EXPECT_EQ(ending_of(process).status, 3);
    EXPECT_FALSE(process.send("text"));
}

TEST_F(Processes, WaitForTextsOnlyAsLongAsSomebodyMaySendThem) {
    {
        const Process middle(child_program(), {"leave", platform::bytes_of(lock), platform::bytes_of(ready)});
        ASSERT_TRUE(comes_true([&] { return fs::exists(ready); }));
        EXPECT_FALSE(is_free());
    }
    EXPECT_TRUE(comes_true([&] { return is_free(); }));
}

TEST_F(Processes, TimeLimitCanBeLifted) {
    Process process(child_program(), {"end-after", "1", "0"});
    EXPECT_FALSE(process.wait(1500ms));
}

TEST_F(Processes, OwnMemoryIsKnown) {
    const platform::OwnMemory before = platform::own_memory();
    constexpr std::size_t kMuch = std::size_t{64} << 20U;
    const std::vector<unsigned char> memory(kMuch, 1);
    const platform::OwnMemory after = platform::own_memory();
    EXPECT_GT(before.used, 0U);
    EXPECT_GE(before.counted, before.used);
    EXPECT_GE(after.used, before.used + kMuch / 2) << memory.size();
    EXPECT_GE(after.counted, before.counted + kMuch / 2) << memory.size();
}

TEST_F(Processes, EndAfterTheirTimeAsACrash) {
    Process process(child_program(), {"end-after", "1"});
    const platform::Ending ending = ending_of(process);
    EXPECT_NE(ending.crashed, "");
    EXPECT_NE(ending.crashed, "it did not end");
}

TEST_F(Processes, EndWithTheOneThatStartedThem) {
    Process middle(child_program(), {"start", platform::bytes_of(lock), platform::bytes_of(ready)});
    const platform::Ending ending = ending_of(middle);
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.crashed, "");
    EXPECT_TRUE(fs::exists(ready)); // The one in question did start.
    EXPECT_TRUE(comes_true([&] { return is_free(); }));
}

TEST_F(Processes, EndWithTheOneThatStartedThemWhenThatIsKilled) {
    {
        const Process middle(child_program(), {"wait", platform::bytes_of(lock), platform::bytes_of(ready)});
        ASSERT_TRUE(comes_true([&] { return fs::exists(ready); }));
        EXPECT_FALSE(is_free());
    }
    EXPECT_TRUE(comes_true([&] { return is_free(); }));
}

TEST_F(Processes, KnowTheirProgramAndNumber) {
    EXPECT_TRUE(fs::exists(platform::own_program()));
    EXPECT_NE(platform::own_id(), 0U);
}

TEST_F(Processes, NoLimitOnMemoryIsNoFailure) {
    EXPECT_TRUE(platform::limit_memory(0));
}

} // namespace
} // namespace test
