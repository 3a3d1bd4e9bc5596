#include "repair/WorkerPool.h"

#include "files/Failures.h"
#include "host/HostFixture.h"
#include "host/platform/Children.h"
#include "platform/Interrupt.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

// Processes that are counted, and ended from outside.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Interrupted;
using plate_mend::host::Json;
using plate_mend::host::WorkerPool;

/// Whether a process is there, even one that nobody has waited for.
bool is_there(pid_t id) {
    return ::kill(id, 0) == 0;
}

class CountedWorkers : public HostFixture {
  protected:
    /// The program's workers, each of which adds its number to a list when it starts.
    CountedWorkers() {
        std::ofstream(script_) << "#!/bin/sh\necho $$ >> '" << list_.string() << "'\nexec '"
                               << program_file().string() << "' \"$@\"\n";
        fs::permissions(script_, fs::perms::owner_all);
    }

    [[nodiscard]] std::vector<pid_t> started() const {
        std::ifstream list(list_);
        std::vector<pid_t> found;
        for (pid_t id = 0; list >> id;) {
            found.push_back(id);
        }
        return found;
    }

    TempDir desk_;
    fs::path script_ = desk_ / "worker.sh";
    fs::path list_ = desk_ / "started";
};

TEST_F(CountedWorkers, AHundredFilesNeedAFew) {
    fs::create_directory(folder / "card");
    for (int number = 0; number < 100; ++number) {
        write_file(folder / "card" / (std::to_string(number) + ".arw"), damaged);
    }
    EXPECT_EQ(run_as(script_, {"repair", "-j", "2", "-s", in("good.arw"), "--out", in("mended"), in("card")}),
              0)
        << err;
    EXPECT_THAT(started(), ::testing::SizeIs(::testing::Le(2U)));
    for (const pid_t id : started()) {
        EXPECT_FALSE(is_there(id));
    }
}

TEST_F(CountedWorkers, OneDoesNoMoreThanSoManyTasks) {
    WorkerPool pool{{.program = script_}};
    const Json task = Json::object({{"task", "preview"}, {"damaged", in("broken.arw")}});
    for (int number = 0; number < 500; ++number) {
        ASSERT_EQ(pool.run(task, desk_.path()).problem, "");
    }
    EXPECT_EQ(started().size(), 1U);
    ASSERT_EQ(pool.run(task, desk_.path()).problem, "");
    EXPECT_EQ(started().size(), 2U);
}

TEST_F(CountedWorkers, OneThatHasWrittenALogDoesNoOtherTask) {
    fs::create_directory(folder / "card");
    for (int number = 0; number < 3; ++number) {
        write_file(folder / "card" / (std::to_string(number) + ".arw"), damaged);
    }
    EXPECT_EQ(run_as(script_, {"repair", "-j", "1", "-s", in("good.arw"), "--log", folder.path().string(),
                               "--out", in("mended"), in("card")}),
              0)
        << err;
    EXPECT_GE(started().size(), 3U);
}

TEST_F(CountedWorkers, OneThatIsKilledBetweenTasksIsReplaced) {
    WorkerPool pool{{.program = script_}};
    const Json task = Json::object({{"task", "preview"}, {"damaged", in("broken.arw")}});
    for (std::size_t number = 1; number <= 10; ++number) {
        EXPECT_EQ(pool.run(task, desk_.path()).problem, "");
        ASSERT_EQ(started().size(), number);
        ::kill(started().back(), SIGKILL);
    }
}

TEST_F(CountedWorkers, InterruptionEndsOneThatHasDoneOtherTasks) {
    plate_mend::host::platform::remember_interrupts();
    pid_t worker = 0;
    {
        WorkerPool pool{{.program = child_program()}};
        const auto answer = pool.run(Json::object({{"task", "answer"}}), desk_.path());
        worker = answer.json.required_integer<pid_t>("process");
        EXPECT_TRUE(is_there(worker));
        std::thread user([this] {
            EXPECT_TRUE(comes_true([this] { return fs::exists(desk_ / "hangs"); }));
            ::kill(::getpid(), SIGINT);
        });
        EXPECT_THROW(static_cast<void>(pool.run(Json::object({{"task", "hang"}}), desk_.path())),
                     Interrupted);
        user.join();
        EXPECT_FALSE(is_there(worker));
    }
    plate_mend::host::platform::remember_interrupts();
}

} // namespace
} // namespace test
