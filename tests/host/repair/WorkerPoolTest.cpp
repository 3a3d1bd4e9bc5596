#include "repair/WorkerPool.h"

#include "files/Failures.h"
#include "host/ProgramFile.h"
#include "host/platform/Children.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <set>

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Json;
using plate_mend::host::MachineFailure;
using plate_mend::host::WorkerAnswer;
using plate_mend::host::WorkerPool;

constexpr const char* kNoAnswer = "ended without an answer";

/// Workers that do what their tasks say: see TroubledWorker.h.
class WorkerPools : public ::testing::Test {
  protected:
    [[nodiscard]] static Json task(const char* name) { return Json::object({{"task", name}}); }
    /// Trouble that there is only in a process that has done other tasks before.
    [[nodiscard]] static Json task_if_used(const char* name) {
        return Json::object({{"task", name}, {"if_used", true}});
    }

    WorkerAnswer run(const char* name) { return pool.run(task(name), folder.path()); }

    /// The process that answers a task.
    std::uint64_t process_of(const Json& task) {
        const WorkerAnswer answer = pool.run(task, folder.path());
        EXPECT_EQ(answer.problem, "");
        return answer.json.is_null() ? 0 : answer.json.required_integer<std::uint64_t>("process");
    }
    std::uint64_t process() { return process_of(task("answer")); }

    [[nodiscard]] std::ptrdiff_t starts() const {
        const Bytes lines = read_file(folder / "starts");
        return std::count(lines.begin(), lines.end(), '\n');
    }

    TempDir folder;
    WorkerPool pool{{.program = child_program()}};
};

TEST_F(WorkerPools, OneProcessDoesManyTasks) {
    const std::uint64_t first = process();
    for (unsigned number = 2; number <= 100; ++number) {
        const WorkerAnswer answer = run("answer");
        ASSERT_EQ(answer.problem, "");
        EXPECT_EQ(answer.json.required_integer<std::uint64_t>("process"), first);
        EXPECT_EQ(answer.json.required_integer<unsigned>("number"), number);
    }
    EXPECT_EQ(starts(), 1);
}

TEST_F(WorkerPools, TasksMayBeInFoldersWithOddNames) {
    const std::uint64_t first = process();
    const fs::path odd = folder / fs::path(u8"a b \u00FC");
    const fs::path deep = folder / std::string(100, 'x') / std::string(100, 'y');
    for (const fs::path& place : {odd, deep}) {
        fs::create_directories(place);
        const WorkerAnswer answer = pool.run(task("answer"), place);
        EXPECT_EQ(answer.problem, "");
        EXPECT_EQ(answer.json.required_integer<std::uint64_t>("process"), first);
    }
}

TEST_F(WorkerPools, EachThreadHasItsOwn) {
    const std::uint64_t ours = process();
    const TempDir other;
    const auto twice = [&] {
        std::set<std::uint64_t> found;
        for (int round = 0; round < 2; ++round) {
            found.insert(
                pool.run(task("answer"), other.path()).json.required_integer<std::uint64_t>("process"));
        }
        return found;
    };
    const std::set<std::uint64_t> theirs = std::async(std::launch::async, twice).get();
    EXPECT_EQ(theirs.size(), 1U);
    EXPECT_EQ(theirs.count(ours), 0U);
    EXPECT_EQ(process(), ours);
}

TEST_F(WorkerPools, EndOfAWorkerAfterItsAnswerIsNoProblem) {
    const std::uint64_t first = process();
    EXPECT_EQ(process_of(task("end")), first);
    const std::uint64_t second = process();
    EXPECT_NE(second, first);
    EXPECT_EQ(process(), second);
}

TEST_F(WorkerPools, WorkerThatEndsBetweenTasksIsReplaced) {
    for (int round = 0; round < 10; ++round) {
        EXPECT_NE(process_of(task("end afterwards")), 0U);
    }
    EXPECT_EQ(starts(), 10);
}

TEST_F(WorkerPools, WorkerThatRepliesTooOftenDoesNoOtherTask) {
    const std::uint64_t first = process_of(task("reply twice"));
    ASSERT_TRUE(comes_true([this] { return fs::exists(folder / "replied"); }));
    EXPECT_NE(process(), first);
}

TEST_F(WorkerPools, CrashCostsOnlyItsTask) {
    const std::uint64_t first = process();
    const WorkerAnswer answer = run("crash");
    EXPECT_NE(answer.problem, "");
    EXPECT_TRUE(answer.json.is_null());
    EXPECT_NE(process(), first);
}

TEST_F(WorkerPools, CrashAfterOtherTasksIsTriedInANewProcess) {
    for (const char* trouble : {"crash", "no memory", "reply nonsense", "answer nonsense", "no answer"}) {
        const std::uint64_t first = process();
        const std::uint64_t second = process_of(task_if_used(trouble));
        EXPECT_NE(second, first) << trouble;
        EXPECT_EQ(process(), second) << trouble;
    }
}

TEST_F(WorkerPools, NewProcessFindsNothingOfTheFirst) {
    const std::uint64_t first = process();
    Json crash = task_if_used("crash");
    crash.set("output", "made");
    EXPECT_NE(process_of(crash), first);
    EXPECT_TRUE(fs::exists(folder / "made"));
}

TEST_F(WorkerPools, LackOfMemoryIsTheMachinesFault) {
    EXPECT_NE(process(), 0U);
    for (int round = 0; round < 2; ++round) {
        try {
            static_cast<void>(run("no memory"));
            ADD_FAILURE();
        } catch (const MachineFailure& e) {
            EXPECT_STREQ(e.what(), "memory ran out");
        }
    }
    EXPECT_NE(process(), 0U);
}

TEST_F(WorkerPools, NonsenseIsNoAnswer) {
    for (const char* trouble : {"reply nonsense", "answer nonsense", "no answer"}) {
        for (int round = 0; round < 2; ++round) { // In a new process, and in one that has done a task.
            EXPECT_EQ(run(trouble).problem, kNoAnswer) << trouble;
            EXPECT_NE(process(), 0U) << trouble;
        }
    }
}

TEST_F(WorkerPools, HangIsEndedOnceByTheTimeLimit) {
    WorkerPool limited{{.program = child_program(), .seconds = 1}};
    EXPECT_EQ(limited.run(task("answer"), folder.path()).problem, "");
    EXPECT_EQ(limited.run(task("hang"), folder.path()).problem, "stopped after 1 second");
    EXPECT_EQ(starts(), 1) << "it is not tried again: the limit would apply twice";
    EXPECT_EQ(limited.run(task("answer"), folder.path()).problem, "");
    EXPECT_EQ(starts(), 2);
}

/// The program's own workers.
class OwnWorkers : public WorkerPools {
  protected:
    WorkerPool own{{.program = program_file()}};
};

TEST_F(OwnWorkers, FolderOfADoneTaskCanBeRemoved) {
    const fs::path photograph = folder / "none.arw";
    write_file(photograph, Bytes(5000, 1));
    for (const char* name : {"preview", "check"}) {
        const fs::path place = folder / "task";
        fs::create_directory(place);
        Json task = Json::object({{"task", name}, {"file", utf8(photograph)}, {"damaged", utf8(photograph)}});
        EXPECT_EQ(own.run(std::move(task), place).problem, "");
        fs::remove_all(place);
        EXPECT_FALSE(fs::exists(place)) << name;
    }
    EXPECT_TRUE(fs::remove(photograph));
}

TEST_F(OwnWorkers, ExceptionCostsOnlyItsTask) {
    EXPECT_EQ(own.run(task("polish"), folder.path()).problem, "no such task: polish");
    EXPECT_EQ(own.run(Json::object({{"task", "check"}, {"file", "missing.arw"}}), folder.path()).problem, "");
}

} // namespace
} // namespace test
