#include "repair/WorkerPool.h"

#include "host/ProgramFile.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using plate_mend::host::Json;
using plate_mend::host::WorkerPool;

class WorkerTasks : public ::testing::Test {
  protected:
    /// The answer to a task that is a member "task" and a file.
    [[nodiscard]] plate_mend::host::WorkerAnswer answer_to(const char* task) const {
        return WorkerPool({.program = program_file()})
            .run(Json::object({{"task", task}, {"file", "missing.arw"}}), folder.path());
    }

    TempDir folder;
};

TEST_F(WorkerTasks, TaskIsDoneByItsName) {
    const auto answer = answer_to("check");
    EXPECT_EQ(answer.problem, "");
    EXPECT_FALSE(answer.json.required_truth("opens"));
}

TEST_F(WorkerTasks, TaskWithAnUnknownNameIsAnError) {
    for (const char* task : {"polish", "", "Check", "check "}) {
        const auto answer = answer_to(task);
        EXPECT_TRUE(answer.json.is_null()) << task;
        EXPECT_EQ(answer.problem, std::string("no such task: ") + task);
    }
}

} // namespace
} // namespace test
