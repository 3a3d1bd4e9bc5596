#include <quill_log/quill_log.h>

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <system_path/system_path.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class QuillLog : public ::testing::Test {
  protected:
    /// The name of the log file as a caller forms it: directory, backslash, name.
    [[nodiscard]] std::string log_name(const std::string& name = "Some.log") const {
        return utf8(folder.path()) + "\\" + name;
    }

    /// The physical lines of a log.
    [[nodiscard]] std::vector<std::string> lines(const std::string& name = "Some.log") const {
        const Bytes bytes = read_file(folder / name);
        std::string text(bytes.begin(), bytes.end());
        std::erase(text, '\r');
        std::vector<std::string> found;
        while (!text.empty()) {
            const auto end = text.find('\n');
            found.push_back(text.substr(0, end));
            text.erase(0, end == std::string::npos ? end : end + 1);
        }
        return found;
    }

    TempDir folder;
};

MATCHER_P(IsStamped, text, "") {
    static const std::regex stamp(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )");
    std::smatch match;
    return std::regex_search(arg, match, stamp, std::regex_constants::match_continuous) &&
           match.suffix() == text;
}

TEST_F(QuillLog, AppendsLinesWithTimeLevelAndModule) {
    ASSERT_EQ(InitLogEx("config", "Module", log_name().c_str()), 1);
    LogEx("Module", 1, "[%s](%d): %s", "function", 42, "text");
    LogEx("Other", 3, "---%s---\n[%s](%d): text", "src/File.cpp", "function", 43);
    EXPECT_THAT(lines(),
                ElementsAre(IsStamped("[info] [Module] [function](42): text"),
                            IsStamped("[error] [Other] ---src/File.cpp---"), "[function](43): text"));
}

TEST_F(QuillLog, KeepsWhatTheFileHeld) {
    write_file(folder / "Some.log", {'o', 'l', 'd', '\n'});
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    LogEx("Module", 1, "new");
    EXPECT_THAT(lines(), ElementsAre("old", IsStamped("[info] [Module] new")));
}

TEST_F(QuillLog, FolderMayHaveALongNonAsciiPath) {
    fs::path deep = folder.path();
    for (int level = 0; level < 6; ++level) {
        deep /= std::u8string(50, u8'x') + u8"-für-写真";
        fs::create_directory(system_path::reachable(deep));
    }
    ASSERT_EQ(InitLogEx("", "Module", (utf8(deep) + "\\Some.log").c_str()), 1);
    LogEx("Module", 1, "text");
    const Bytes bytes = read_file(system_path::reachable(deep / "Some.log"));
    EXPECT_THAT(std::string(bytes.begin(), bytes.end()), ::testing::HasSubstr("[info] [Module] text"));
    EXPECT_EQ(InitLogEx("", "Module", (utf8(deep / "missing") + "\\Some.log").c_str()), 0);
}

TEST_F(QuillLog, LineIsInTheFileWhenTheCallReturns) {
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    for (std::size_t count = 1; count < 5; ++count) {
        LogEx("Module", 1, "line");
        EXPECT_EQ(lines().size(), count);
    }
}

TEST_F(QuillLog, TextMayBeOfAnyLength) {
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    const std::string text(1U << 20U, 'x');
    LogEx("Module", 1, "%s", text.c_str());
    LogEx("Module", 1, "%s", "");
    EXPECT_THAT(lines(), ElementsAre(IsStamped("[info] [Module] " + text), IsStamped("[info] [Module] ")));
}

TEST_F(QuillLog, TextIsNotReadAsAFormatTwice) {
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    LogEx("Module", 1, "%s", "100%s {} {0} %n");
    EXPECT_THAT(lines(), ElementsAre(IsStamped("[info] [Module] 100%s {} {0} %n")));
}

TEST_F(QuillLog, SecondInitMovesTheLog) {
    ASSERT_EQ(InitLogEx("", "Module", log_name("First.log").c_str()), 1);
    LogEx("Module", 1, "one");
    ASSERT_EQ(InitLogEx("", "Module", log_name("Second.log").c_str()), 1);
    LogEx("Module", 1, "two");
    EXPECT_THAT(lines("First.log"), ElementsAre(IsStamped("[info] [Module] one")));
    EXPECT_THAT(lines("Second.log"), ElementsAre(IsStamped("[info] [Module] two")));
}

TEST_F(QuillLog, FileThatCannotBeOpenedReturnsZeroAndTheLogGoesOn) {
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    fs::create_directory(folder / "Directory.log");
    write_file(folder / "file", {1});
    EXPECT_EQ(InitLogEx("", "Module", (utf8(folder / "missing") + "\\Some.log").c_str()), 0);
    EXPECT_EQ(InitLogEx("", "Module", (utf8(folder / "file") + "\\Some.log").c_str()), 0);
    EXPECT_EQ(InitLogEx("", "Module", log_name("Directory.log").c_str()), 0);
    EXPECT_FALSE(fs::exists(folder / "missing"));
    LogEx("Module", 1, "still here");
    EXPECT_THAT(lines(), ElementsAre(IsStamped("[info] [Module] still here")));
}

TEST_F(QuillLog, FollowsNoChangeOfDirectory) {
    const fs::path before = fs::current_path();
    fs::create_directory(folder / "elsewhere");
    fs::current_path(folder.path());
    ASSERT_EQ(InitLogEx("", "Module", "Some.log"), 1);
    fs::current_path(folder / "elsewhere");
    LogEx("Module", 1, "here");
    fs::current_path(before);
    EXPECT_THAT(lines(), ElementsAre(IsStamped("[info] [Module] here")));
}

TEST_F(QuillLog, NameMayBeNonAscii) {
    ASSERT_EQ(InitLogEx("", "Module", log_name("f\xC3\xBCr \xE5\x86\x99.log").c_str()), 1);
    EXPECT_TRUE(fs::exists(folder / u8"für 写.log"));
}

TEST_F(QuillLog, LinesOfSeveralThreadsStayIntact) {
    ASSERT_EQ(InitLogEx("", "Module", log_name().c_str()), 1);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int line = 0; line < 200; ++line) {
                LogEx("Module", 3, "first half\nsecond half");
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto all = lines();
    ASSERT_EQ(all.size(), 1600U);
    for (std::size_t line = 0; line < all.size(); line += 2) {
        ASSERT_THAT(all[line], IsStamped("[error] [Module] first half"));
        ASSERT_EQ(all[line + 1], "second half");
    }
}

// Each test is a process of its own under ctest, so here nothing has opened a log before.
TEST(QuillLogBeforeInit, LineIsLostAndNothingElse) {
    LogEx("Module", 1, "nobody hears %s", "this");
    LogEx("Module", 3, "nor this");
    SUCCEED();
}

} // namespace
} // namespace test
